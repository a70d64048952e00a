// A screen that is drawn, not captured: a backdrop, two windows whose contents move, and at the
// left edge a strip whose brightness tells the number of the picture in every row alike.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "conference/media/devices.h"

namespace kavrin::conference {

inline constexpr std::int32_t kGeneratedScreen = 0;
inline constexpr std::int32_t kClockWindow = 101;
inline constexpr std::int32_t kTextWindow = 102;
inline constexpr int kStripWidth = 16;  // pixels

std::vector<ShareEntry> generatedShareSources();

// The source's picture number `number`, cut to the request's rectangle. Null when there is no such
// source or the rectangle lies outside.
PicturePtr drawGeneratedShare(const ShareRequest& request, std::uint32_t number);

// Draws pictures at the request's rate on a thread of its own.
std::unique_ptr<Capture> openGeneratedShare(const ShareRequest& request, PictureConsumer consumer);

}  // namespace kavrin::conference
