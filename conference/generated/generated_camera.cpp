#include "conference/generated/generated_camera.h"

#include <sstream>
#include <utility>

#include "conference/generated/user_traits.h"
#include "conference/gst/sample_pipeline.h"

namespace kavrin::conference {
namespace {

std::string patternOf(std::int32_t id, const std::string& userId) {
  const std::uint32_t hash = userHash(userId);
  std::ostringstream text;
  if (id == kBarsCamera) {
    text << "pattern=smpte horizontal-speed=" << 1 + hash % 7;
  } else {
    const int hue = static_cast<int>(hash % 360);
    text << "pattern=ball background-color=" << colourOf(hue, 0.75, 0.55)
         << " foreground-color=" << colourOf((hue + 180) % 360, 0.5, 1.0);
  }
  return text.str();
}

}  // namespace

std::unique_ptr<Capture> openGeneratedCamera(std::int32_t id, const VideoFormat& format,
                                             const std::string& userId, PictureConsumer consumer) {
  std::ostringstream text;
  text << "videotestsrc is-live=true " << patternOf(id, userId)
       << " ! video/x-raw,format=I420,width=" << format.width << ",height=" << format.height
       << ",framerate=" << format.frameRate << "/1"
       << " ! appsink name=out sync=false max-buffers=2 drop=true";
  return SamplePipeline::start(text.str(), [consumer = std::move(consumer)](GstSamplePtr sample) {
    auto picture = pictureOf(std::move(sample), StreamType::kCamera);
    if (picture) consumer(std::move(picture));
  });
}

}  // namespace kavrin::conference
