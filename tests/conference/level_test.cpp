#include "tests/conference/member.h"

namespace kavrin::conference_tests {
namespace {

class LevelTest : public RoomTest {
 protected:
  static bool waitVolumes(Member& at, const std::function<bool(const Volumes&)>& expected) {
    return at.sink.waitUntil([&] {
      const auto volumes = at.sink.volumes();
      return !volumes.empty() && expected(volumes.back());
    });
  }
};

TEST_F(LevelTest, EveryAudibleMemberIsListed) {
  Member& a = add("a");
  Member& b = add("b");
  add("silent");
  EXPECT_EQ(a->EnablePublish(true, false), code::kOk);
  EXPECT_EQ(b->EnablePublish(true, false), code::kOk);
  EXPECT_EQ(b->EnableAudioVolumeIndication(true, 200), code::kOk);
  EXPECT_TRUE(waitVolumes(b, [](const Volumes& volumes) {
    return volumes.size() == 2 && volumes.count("a") && volumes.count("b") &&
           volumes.at("a") > 40 && volumes.at("a") <= 100;
  }));
}

TEST_F(LevelTest, VolumesComeAtTheAskedCycleAndStop) {
  Member& a = add("a");
  EXPECT_EQ(a->EnableAudioVolumeIndication(true, 200), code::kOk);
  std::this_thread::sleep_for(1500ms);
  const std::size_t count = a.sink.volumes().size();
  EXPECT_GE(count, 4u);
  EXPECT_LE(count, 8u);
  EXPECT_EQ(a->EnableAudioVolumeIndication(false, 0), code::kOk);
  std::this_thread::sleep_for(50ms);
  const std::size_t after = a.sink.volumes().size();
  std::this_thread::sleep_for(500ms);
  EXPECT_EQ(a.sink.volumes().size(), after);
  EXPECT_EQ(a->EnableAudioVolumeIndication(true, 0), code::kInvalidArgument);
  EXPECT_EQ(a->EnableAudioVolumeIndication(true, -5), code::kInvalidArgument);
}

TEST_F(LevelTest, TheMutedAreNotHeard) {
  Member& a = add("a");
  Member& b = add("b");
  EXPECT_EQ(a->EnablePublish(true, false), code::kOk);
  EXPECT_EQ(b->EnableAudioVolumeIndication(true, 100), code::kOk);
  ASSERT_TRUE(waitVolumes(b, [](const Volumes& volumes) { return volumes.count("a"); }));
  EXPECT_EQ(a->MuteAudio("a", true), code::kOk);
  EXPECT_TRUE(waitVolumes(b, [](const Volumes& volumes) { return !volumes.count("a"); }));
}

TEST_F(LevelTest, VolumeFollowsTheMicrophonesVolume) {
  Member& a = add("a");
  Member& b = add("b");
  EXPECT_EQ(a->EnablePublish(true, false), code::kOk);
  EXPECT_EQ(b->EnableAudioVolumeIndication(true, 100), code::kOk);
  EXPECT_EQ(a->SetAudioCaptureDeviceVolume(100), code::kOk);
  ASSERT_TRUE(waitVolumes(
      b, [](const Volumes& volumes) { return volumes.count("a") && volumes.at("a") > 70; }));
  EXPECT_EQ(a->SetAudioCaptureDeviceVolume(5), code::kOk);
  EXPECT_TRUE(waitVolumes(
      b, [](const Volumes& volumes) { return volumes.count("a") && volumes.at("a") < 45; }));
  EXPECT_EQ(a->SetAudioCaptureDeviceVolume(0), code::kOk);
  EXPECT_TRUE(waitVolumes(b, [](const Volumes& volumes) { return !volumes.count("a"); }));
}

TEST_F(LevelTest, ActiveSpeakerIsTheLoudestAndDoesNotFlickerBetweenEquals) {
  Member& a = add("a");
  Member& b = add("b");
  Member& c = add("c");
  EXPECT_EQ(a->EnablePublish(true, false), code::kOk);
  EXPECT_EQ(b->EnablePublish(true, false), code::kOk);
  ASSERT_TRUE(c.sink.waitEvent([](const Event& event) { return event.name == "ActiveSpeaker"; }));
  std::this_thread::sleep_for(1500ms);
  auto speakers = c.sink.events("ActiveSpeaker");
  ASSERT_EQ(speakers.size(), 1u);  // Equals: whoever was first stays.
  const std::string first = speakers[0].user;
  EXPECT_GT(speakers[0].numbers[0], 10);
  Member& quiet = first == "a" ? a : b;
  const std::string other = first == "a" ? "b" : "a";
  EXPECT_EQ(quiet->SetAudioCaptureDeviceVolume(10), code::kOk);
  EXPECT_TRUE(c.sink.waitEvent(
      [&](const Event& event) { return event.name == "ActiveSpeaker" && event.user == other; }));
  EXPECT_EQ(a->EnablePublish(false, false), code::kOk);
  EXPECT_EQ(b->EnablePublish(false, false), code::kOk);
  EXPECT_TRUE(c.sink.waitEvent(
      [&](const Event& event) { return event.name == "ActiveSpeaker" && event.user.empty(); }));
}

TEST_F(LevelTest, NoiseSuppressionSilencesNoise) {
  Member& a = add("a");
  Member& b = add("b");
  EXPECT_EQ(a->SetAudioCaptureDevice(1), code::kOk);
  EXPECT_EQ(a->SetAudioCaptureDeviceVolume(100), code::kOk);
  EXPECT_EQ(a->EnablePublish(true, false), code::kOk);
  EXPECT_EQ(b->EnableAudioVolumeIndication(true, 100), code::kOk);
  ASSERT_TRUE(waitVolumes(b, [](const Volumes& volumes) { return volumes.count("a"); }));
  EXPECT_EQ(a->EnableAINSMode(true), code::kOk);
  EXPECT_TRUE(waitVolumes(b, [](const Volumes& volumes) { return !volumes.count("a"); }));
  EXPECT_EQ(a->EnableAINSMode(false), code::kOk);
  EXPECT_TRUE(waitVolumes(b, [](const Volumes& volumes) { return volumes.count("a"); }));
}

}  // namespace
}  // namespace kavrin::conference_tests
