// What flows between sources, rooms and sinks. Both kinds are immutable once made and shared by
// reference: delivering one to many members copies no samples and no pixels.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "conference/base/codes.h"
#include "conference/base/task_thread.h"

namespace kavrin::conference {

// A picture in tightly packed I420 with even width and height: planes Y, U, V without padding.
struct Picture {
  std::uint16_t width = 0;   // pixels
  std::uint16_t height = 0;  // pixels
  StreamType type = StreamType::kCamera;
  Clock::time_point producedAt;
  const unsigned char* data = nullptr;
  std::shared_ptr<const void> memory;  // owns `data`

  std::size_t size() const { return std::size_t{width} * height * 3 / 2; }
};
using PicturePtr = std::shared_ptr<const Picture>;

inline constexpr int kSampleRate = 48000;     // Hz, one channel, signed 16-bit
inline constexpr int kSamplesPerSound = 960;  // 20 ms

// A stretch of sound, and its loudness as its producer measured it.
struct Sound {
  std::vector<std::int16_t> samples;
  double meanSquare = 0;  // of the samples, full scale being 1.0
  Clock::time_point producedAt;

  std::size_t size() const { return samples.size() * sizeof(std::int16_t); }
};
using SoundPtr = std::shared_ptr<const Sound>;

struct VideoFormat {
  int width = 0;      // pixels, even
  int height = 0;     // pixels, even
  int frameRate = 0;  // pictures per second

  bool operator==(const VideoFormat&) const = default;
};

}  // namespace kavrin::conference
