// What tells apart the generated media of different users.
#pragma once

#include <cstdint>
#include <string>

namespace kavrin::conference {

// The same for the same user in every process.
std::uint32_t userHash(const std::string& userId);

// An opaque colour, 0xAARRGGBB, from a hue (0 to 359 degrees), saturation and value (0.0 to 1.0).
std::uint32_t colourOf(int hue, double saturation, double value);

}  // namespace kavrin::conference
