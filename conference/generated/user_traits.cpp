#include "conference/generated/user_traits.h"

#include <cmath>

namespace kavrin::conference {

std::uint32_t userHash(const std::string& userId) {
  std::uint32_t hash = 2166136261u;  // FNV-1a
  for (const char character : userId) {
    hash ^= static_cast<unsigned char>(character);
    hash *= 16777619u;
  }
  return hash ^ (hash >> 15);
}

std::uint32_t colourOf(int hue, double saturation, double value) {
  const auto channel = [&](int offset) {
    const double k = std::fmod(offset + hue / 60.0, 6.0);
    const double share = std::fmax(0.0, std::fmin(1.0, std::fmin(k, 4.0 - k)));
    return static_cast<std::uint32_t>(std::lround(255 * value * (1 - saturation * share)));
  };
  return 0xff000000u | channel(5) << 16 | channel(3) << 8 | channel(1);
}

}  // namespace kavrin::conference
