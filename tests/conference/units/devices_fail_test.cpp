// Devices that do not open.
#include <gtest/gtest.h>

#include <future>

#include "conference/api/engine_object.h"
#include "conference/room/in_process_home.h"
#include "tests/conference/recording_sink.h"

namespace kavrin::conference {
namespace {

using conference_tests::Event;
using conference_tests::RecordingSink;

class BrokenCatalog : public DeviceCatalog {
 public:
  std::vector<CameraEntry> cameras() const override { return {{0, "c", "Broken camera"}}; }
  std::vector<AudioDeviceEntry> microphones() const override { return {{0, "m", "Broken"}}; }
  std::vector<AudioDeviceEntry> speakers() const override { return {{0, "s", "Broken"}}; }
  std::vector<ShareEntry> shareSources() const override {
    return {{0, false, std::string(1000, 'n'), 100, 100}};
  }
  std::unique_ptr<Capture> openCamera(std::int32_t, const VideoFormat&, const std::string&,
                                      PictureConsumer) override {
    return nullptr;
  }
  std::unique_ptr<Capture> openMicrophone(std::int32_t, const std::string&,
                                          SoundConsumer) override {
    return nullptr;
  }
  std::unique_ptr<Capture> openShare(const ShareRequest&, PictureConsumer) override {
    return nullptr;
  }
  std::unique_ptr<SoundOutput> openSpeaker(std::int32_t) override { return nullptr; }
  PicturePtr shareThumbnail(std::int32_t, bool, int, int) override { return nullptr; }
};

TEST(BrokenDevices, AreReportedAndHarmNothing) {
  RecordingSink sink;
  EngineObject engine(&sink, {std::make_shared<BrokenCatalog>(), &inProcessHomeFor});
  engine.SetRootHost("broken devices");
  std::promise<void> loggedIn;
  engine.Init("a", "A", "", [&](std::int32_t) { loggedIn.set_value(); });
  loggedIn.get_future().wait();
  EXPECT_EQ(engine.StartPreview(), 0);
  EXPECT_TRUE(sink.waitEvent([](const Event& event) {
    return event.name == "VideoDeviceStateChange" && event.numbers[0] == 3;
  }));
  EXPECT_EQ(engine.StartAudioDeviceLoopbackTest(100), 0);
  EXPECT_TRUE(sink.waitEvent([](const Event& event) {
    return event.name == "AudioDeviceStateChange" && event.numbers == std::vector<long long>{1, 3};
  }));
  EXPECT_TRUE(sink.waitUntil([&] { return !sink.volumes().empty(); }));
  EXPECT_EQ(engine.TakeSnapshot("a", 0, "/nowhere/x.png"), 0);
  EXPECT_TRUE(sink.waitEvent([](const Event& event) {
    return event.name == "SnapshotTaken" && event.numbers[3] == value(Code::kNoPicture);
  }));
}

TEST(BrokenDevices, LongNamesAreCutAndThumbnailsMayLack) {
  EngineObject engine(nullptr, {std::make_shared<BrokenCatalog>(), &inProcessHomeFor});
  KavrinConferenceEngine::ShareSources sources;
  EXPECT_EQ(engine.EnumScreenAndWindow(sources), 0);
  ASSERT_EQ(sources.size(), 1u);
  EXPECT_EQ(std::string(sources[0].name), std::string(255, 'n'));
  EXPECT_EQ(sources[0].thumbnailData, nullptr);
  EXPECT_EQ(sources[0].thumbnailDataLength, 0);
}

}  // namespace
}  // namespace kavrin::conference
