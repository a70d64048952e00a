#include "conference/generated/generated_microphone.h"

#include <sstream>
#include <utility>

#include "conference/generated/user_traits.h"
#include "conference/gst/sample_pipeline.h"
#include "conference/gst/sound_sample.h"

namespace kavrin::conference {

std::unique_ptr<Capture> openGeneratedMicrophone(std::int32_t id, const std::string& userId,
                                                 SoundConsumer consumer) {
  std::ostringstream text;
  text << "audiotestsrc is-live=true samplesperbuffer=" << kSamplesPerSound;
  if (id == kNoiseMicrophone) {
    text << " wave=white-noise volume=0.004";
  } else {
    text << " wave=sine volume=0.25 freq=" << 200 + userHash(userId) % 800;
  }
  text << " ! audio/x-raw,format=S16LE,layout=interleaved,channels=1,rate=" << kSampleRate
       << " ! appsink name=out sync=false max-buffers=10 drop=true";
  return SamplePipeline::start(text.str(), [consumer = std::move(consumer)](GstSamplePtr sample) {
    consumer(soundOf(sample.get()));
  });
}

}  // namespace kavrin::conference
