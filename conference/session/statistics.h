// From counters to the statistics that the host sees.
#pragma once

#include <chrono>
#include <cstdint>

#include "conference/base/codes.h"
#include "conference/session/remote_media.h"
#include "engine/engine_interface.h"

namespace kavrin::conference {

// Figures of one period. Rates are kbit/s and stay at 65535 where the field is too narrow.
Kavrin::ConferenceEngine::RtcStatistics statisticsOf(std::uint64_t bytesSent,
                                                     const RemoteMedia::Counters& received,
                                                     std::chrono::microseconds period);

// From loss in percent and delay in milliseconds; unknown when nothing flowed.
Quality qualityOf(bool flowed, std::uint16_t lossRate, std::uint16_t delay);

}  // namespace kavrin::conference
