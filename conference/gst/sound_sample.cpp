#include "conference/gst/sound_sample.h"

#include <cstring>

#include "conference/media/levels.h"

namespace kavrin::conference {

SoundPtr soundOf(GstSample* sample) {
  auto sound = std::make_shared<Sound>();
  sound->producedAt = Clock::now();
  GstBuffer* buffer = gst_sample_get_buffer(sample);
  GstMapInfo map;
  if (buffer != nullptr && gst_buffer_map(buffer, &map, GST_MAP_READ)) {
    sound->samples.resize(map.size / sizeof(std::int16_t));
    std::memcpy(sound->samples.data(), map.data, sound->samples.size() * sizeof(std::int16_t));
    gst_buffer_unmap(buffer, &map);
  }
  sound->meanSquare = meanSquare(sound->samples);
  return sound;
}

}  // namespace kavrin::conference
