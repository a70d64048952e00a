// Cameras that are test patterns: a ball that moves over the user's own colours, and colour bars
// that scroll at the user's own speed.
#pragma once

#include <memory>
#include <string>

#include "conference/media/devices.h"

namespace kavrin::conference {

inline constexpr std::int32_t kBallCamera = 0;
inline constexpr std::int32_t kBarsCamera = 1;

std::unique_ptr<Capture> openGeneratedCamera(std::int32_t id, const VideoFormat& format,
                                             const std::string& userId, PictureConsumer consumer);

}  // namespace kavrin::conference
