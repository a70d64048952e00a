// Microphones that are generated: a steady tone of the user's own pitch, and quiet noise.
#pragma once

#include <memory>
#include <string>

#include "conference/media/devices.h"

namespace kavrin::conference {

inline constexpr std::int32_t kToneMicrophone = 0;
inline constexpr std::int32_t kNoiseMicrophone = 1;

std::unique_ptr<Capture> openGeneratedMicrophone(std::int32_t id, const std::string& userId,
                                                 SoundConsumer consumer);

}  // namespace kavrin::conference
