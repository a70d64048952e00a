#include "conference/session/sound_file.h"

#include <cstdio>
#include <sstream>
#include <utility>

#include "conference/gst/sound_sample.h"

namespace kavrin::conference {

std::unique_ptr<SoundFile> SoundFile::play(const std::string& path, SoundConsumer consumer) {
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (file == nullptr) return nullptr;
  std::fclose(file);
  std::ostringstream text;
  text << "filesrc name=file ! decodebin ! audioconvert ! audioresample"
       << " ! audio/x-raw,format=S16LE,layout=interleaved,channels=1,rate=" << kSampleRate
       << " ! appsink name=out sync=true max-buffers=4";
  auto pipeline = SamplePipeline::start(
      text.str(),
      [consumer = std::move(consumer)](GstSamplePtr sample) { consumer(soundOf(sample.get())); },
      path);
  if (!pipeline) return nullptr;
  return std::unique_ptr<SoundFile>(new SoundFile(std::move(pipeline)));
}

}  // namespace kavrin::conference
