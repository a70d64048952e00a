#include "conference/generated/generated_catalog.h"

#include <utility>

#include "conference/generated/generated_camera.h"
#include "conference/generated/generated_microphone.h"
#include "conference/generated/generated_screen.h"
#include "conference/generated/null_speaker.h"
#include "conference/media/scaler.h"

namespace kavrin::conference {
namespace {

class GeneratedCatalog : public DeviceCatalog {
 public:
  std::vector<CameraEntry> cameras() const override {
    return {{kBallCamera, "generated:camera:ball", "Test pattern: moving ball (generated)"},
            {kBarsCamera, "generated:camera:bars", "Test pattern: colour bars (generated)"}};
  }

  std::vector<AudioDeviceEntry> microphones() const override {
    return {{kToneMicrophone, "generated:microphone:tone", "Test tone (generated)"},
            {kNoiseMicrophone, "generated:microphone:noise", "Quiet noise (generated)"}};
  }

  std::vector<AudioDeviceEntry> speakers() const override {
    return {{0, "generated:speaker:null", "Null speaker (sound is discarded)"}};
  }

  std::vector<ShareEntry> shareSources() const override { return generatedShareSources(); }

  std::unique_ptr<Capture> openCamera(std::int32_t id, const VideoFormat& format,
                                      const std::string& userId,
                                      PictureConsumer consumer) override {
    return openGeneratedCamera(id, format, userId, std::move(consumer));
  }

  std::unique_ptr<Capture> openMicrophone(std::int32_t id, const std::string& userId,
                                          SoundConsumer consumer) override {
    return openGeneratedMicrophone(id, userId, std::move(consumer));
  }

  std::unique_ptr<Capture> openShare(const ShareRequest& request,
                                     PictureConsumer consumer) override {
    return openGeneratedShare(request, std::move(consumer));
  }

  std::unique_ptr<SoundOutput> openSpeaker(std::int32_t id) override {
    return id == 0 ? std::make_unique<NullSpeaker>() : nullptr;
  }

  PicturePtr shareThumbnail(std::int32_t id, bool window, int width, int height) override {
    ShareRequest request;
    request.id = id;
    request.window = window;
    const PicturePtr picture = drawGeneratedShare(request, 0);
    return picture ? scalePicture(*picture, width, height, StreamType::kScreen) : nullptr;
  }
};

}  // namespace

std::shared_ptr<DeviceCatalog> makeGeneratedCatalog() {
  return std::make_shared<GeneratedCatalog>();
}

}  // namespace kavrin::conference
