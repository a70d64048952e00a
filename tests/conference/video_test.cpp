#include <algorithm>

#include "tests/conference/member.h"

namespace kavrin::conference_tests {
namespace {

using VideoOption = Kavrin::ConferenceEngine::VideoOption;

class VideoTest : public RoomTest {
 protected:
  static bool waitSize(Member& at, const std::string& user, unsigned type, int width, int height) {
    return at.sink.waitUntil([&] {
      const auto frames = at.sink.frames();
      return !frames.empty() && frames.back().user == user && frames.back().type == type &&
             frames.back().width == width && frames.back().height == height;
    });
  }
  // How many pictures of a stream come within `time`.
  static int countDuring(Member& at, const std::string& key, std::chrono::milliseconds time) {
    const int before = at.sink.frameCounts()[key];
    std::this_thread::sleep_for(time);
    return at.sink.frameCounts()[key] - before;
  }
};

TEST_F(VideoTest, APublishedCameraReachesAllOthers) {
  Member& a = add("a");
  Member& b = add("b");
  Member& c = add("c");
  EXPECT_EQ(a->EnablePublish(false, true), code::kOk);
  EXPECT_TRUE(b.sink.waitUserState("a", user_state::kCameraStarted));
  EXPECT_TRUE(b.sink.waitFrames("a", 0, 5));
  EXPECT_TRUE(c.sink.waitFrames("a", 0, 5));
  const Frame frame = b.sink.frames().back();
  EXPECT_EQ(frame.width, 640);
  EXPECT_EQ(frame.height, 360);
  EXPECT_EQ(frame.room, "room");
  EXPECT_TRUE(a.sink.frames().empty());
}

TEST_F(VideoTest, PicturesMoveAndComeAtASteadyRate) {
  Member& a = add("a");
  Member& b = add("b");
  EXPECT_EQ(a->EnablePublishVideoStream(true), code::kOk);
  ASSERT_TRUE(b.sink.waitFrames("a", 0, 3));
  b.sink.clear();
  const int count = countDuring(b, "a/0", 2000ms);
  EXPECT_GE(count, 18);  // 15 a second
  EXPECT_LE(count, 38);
  const auto frames = b.sink.frames();
  int moved = 0;
  for (std::size_t i = 1; i < frames.size(); ++i) moved += frames[i].data != frames[i - 1].data;
  EXPECT_GT(moved, static_cast<int>(frames.size()) / 2);
}

TEST_F(VideoTest, MembersLookDifferent) {
  Member& a = add("alice");
  Member& b = add("bob");
  Member& c = add("carol");
  EXPECT_EQ(a->EnablePublish(false, true), code::kOk);
  EXPECT_EQ(b->EnablePublish(false, true), code::kOk);
  ASSERT_TRUE(c.sink.waitFrames("alice", 0, 1));
  ASSERT_TRUE(c.sink.waitFrames("bob", 0, 1));
  const auto cornerOf = [&](const std::string& user) {
    const auto frames = c.sink.frames();
    const auto frame =
        std::find_if(frames.begin(), frames.end(), [&](const Frame& f) { return f.user == user; });
    const std::size_t pixels = frame->width * frame->height;
    return std::vector<int>{frame->data[0], frame->data[pixels], frame->data[pixels * 5 / 4]};
  };
  EXPECT_NE(cornerOf("alice"), cornerOf("bob"));
}

TEST_F(VideoTest, AnnouncedBeforeTheFirstAndWithdrawnAfterTheLastPicture) {
  std::mutex mutex;
  std::vector<std::string> order;
  Member a("a", host);
  Member b("b", host);
  b.sink.during = [&](const Event& event) {
    std::lock_guard lock(mutex);
    if (event.name == "RoomMemberVideoFrame") {
      if (order.empty() || order.back() != "frames") order.push_back("frames");
    } else if (event.name == "RoomMemberStateChange" && event.user == "a" &&
               (event.numbers[0] == 4 || event.numbers[0] == 7)) {
      order.push_back(event.numbers[0] == 4 ? "started" : "stopped");
    }
  };
  b.join();
  a.join();
  for (int round = 0; round < 3; ++round) {
    b.sink.clear();
    EXPECT_EQ(a->EnablePublishVideoStream(true), code::kOk);
    ASSERT_TRUE(b.sink.waitFrames("a", 0, 3));
    EXPECT_EQ(a->EnablePublishVideoStream(false), code::kOk);
    ASSERT_TRUE(b.sink.waitUserState("a", user_state::kCameraStopped));
  }
  std::this_thread::sleep_for(150ms);
  std::lock_guard lock(mutex);
  std::vector<std::string> expected;
  for (int round = 0; round < 3; ++round) {
    expected.insert(expected.end(), {"started", "frames", "stopped"});
  }
  EXPECT_EQ(order, expected);
}

TEST_F(VideoTest, LeavingWithdrawsTheStreamsFirst) {
  Member& a = add("a");
  Member& b = add("b");
  EXPECT_EQ(a->EnablePublish(false, true), code::kOk);
  ASSERT_TRUE(b.sink.waitFrames("a", 0, 1));
  EXPECT_EQ(a->LeaveRoom(), code::kOk);
  ASSERT_TRUE(b.sink.waitUserState("a", user_state::kLeft));
  const auto states = b.sink.events("RoomMemberStateChange");
  std::vector<long long> ofA;
  for (const Event& event : states) {
    if (event.user == "a") ofA.push_back(event.numbers[0]);
  }
  EXPECT_EQ(ofA, (std::vector<long long>{1, 3, 4, 7, 2}));
}

TEST_F(VideoTest, TheOneWhoLeavesSeesStreamsWithdrawnAndNoMorePictures) {
  Member& a = add("a");
  Member& b = add("b");
  EXPECT_EQ(a->EnablePublish(false, true), code::kOk);
  ASSERT_TRUE(b.sink.waitFrames("a", 0, 1));
  EXPECT_EQ(b->LeaveRoom(), code::kOk);
  ASSERT_TRUE(b.sink.waitRoomState(room_state::kLeft));
  EXPECT_TRUE(b.sink.waitUserState("a", user_state::kCameraStopped));
  EXPECT_EQ(countDuring(b, "a/0", 200ms), 0);
}

TEST_F(VideoTest, LateJoinersGetRunningStreamsAtOnce) {
  Member& a = add("a");
  Member& b = add("b");
  EXPECT_EQ(a->EnablePublish(false, true), code::kOk);
  EXPECT_EQ(a->StartScreenShare(VideoOption()), code::kOk);
  ASSERT_TRUE(b.sink.waitFrames("a", 0, 1));
  ASSERT_TRUE(b.sink.waitFrames("a", 2, 1));
  Member& c = add("c");
  EXPECT_TRUE(c.sink.waitUserState("a", user_state::kCameraStarted));
  EXPECT_TRUE(c.sink.waitUserState("a", user_state::kScreenStarted));
  EXPECT_TRUE(c.sink.waitFrames("a", 0, 1));
  EXPECT_TRUE(c.sink.waitFrames("a", 2, 1));
  EXPECT_EQ(c.attendeeStates("a"), (std::vector<int>{0, 1, 1}));
}

TEST_F(VideoTest, MutedVideoPausesWithoutWithdrawal) {
  Member& a = add("a");
  Member& b = add("b");
  EXPECT_EQ(a->EnablePublish(false, true), code::kOk);
  ASSERT_TRUE(b.sink.waitFrames("a", 0, 1));
  EXPECT_EQ(a->MuteVideo("a", true), code::kOk);
  ASSERT_TRUE(b.sink.waitUntil([&] { return b.attendeeStates("a")[1] == 2; }));
  std::this_thread::sleep_for(20ms);
  EXPECT_EQ(countDuring(b, "a/0", 300ms), 0);
  EXPECT_EQ(a->MuteVideo("a", false), code::kOk);
  EXPECT_TRUE(b.sink.waitUntil([&] { return b.attendeeStates("a")[1] == 1; }));
  EXPECT_GT(countDuring(b, "a/0", 600ms), 3);
  for (const Event& event : b.sink.events("RoomMemberStateChange")) {
    EXPECT_NE(event.numbers[0], user_state::kCameraStopped);
  }
}

TEST_F(VideoTest, PreviewShowsTheLocalCamera) {
  Member a("a", host);
  EXPECT_EQ(a->StartPreview(), code::kNotLoggedIn);
  ASSERT_EQ(a.login(), code::kOk);
  EXPECT_EQ(a->StopPreview(), code::kNotRunning);
  EXPECT_EQ(a->StartPreview(), code::kOk);
  EXPECT_EQ(a->StartPreview(), code::kAlreadyRunning);
  EXPECT_TRUE(a.sink.waitFrames("a", 0, 5));
  a.join();
  EXPECT_GT(countDuring(a, "a/0", 600ms), 3);
  EXPECT_EQ(a->StopPreview(), code::kOk);
  std::this_thread::sleep_for(20ms);
  EXPECT_EQ(countDuring(a, "a/0", 300ms), 0);
}

TEST_F(VideoTest, ExternalRenderOffKeepsPicturesAway) {
  Member& a = add("a");
  Member& b = add("b");
  EXPECT_EQ(a->EnablePublish(false, true), code::kOk);
  ASSERT_TRUE(b.sink.waitFrames("a", 0, 1));
  EXPECT_EQ(b->EnableExternalRender(false), code::kOk);
  std::this_thread::sleep_for(20ms);
  EXPECT_EQ(countDuring(b, "a/0", 300ms), 0);
  EXPECT_EQ(b->EnableExternalRender(true), code::kOk);
  EXPECT_GT(countDuring(b, "a/0", 600ms), 3);
}

TEST_F(VideoTest, QualityLadder) {
  Member& a = add("a");
  Member& b = add("b");
  EXPECT_EQ(a->EnablePublish(false, true), code::kOk);
  EXPECT_EQ(a->SetVideoQuality(0), code::kOk);
  EXPECT_TRUE(waitSize(b, "a", 0, 320, 180));
  EXPECT_EQ(a->SetVideoQuality(2), code::kOk);
  EXPECT_TRUE(waitSize(b, "a", 0, 1280, 720));
  EXPECT_EQ(a->SetVideoQuality(3), code::kOk);
  EXPECT_TRUE(waitSize(b, "a", 0, 1920, 1080));
  EXPECT_EQ(a->SetVideoQuality(1), code::kOk);
  EXPECT_TRUE(waitSize(b, "a", 0, 640, 360));
  EXPECT_EQ(a->SetVideoQuality(4), code::kInvalidArgument);
  EXPECT_EQ(a->SetVideoQuality(-1), code::kInvalidArgument);
}

TEST_F(VideoTest, CameraOptionsAreObeyed) {
  Member& a = add("a");
  Member& b = add("b");
  EXPECT_EQ(a->EnablePublish(false, true), code::kOk);
  VideoOption option;
  option.deviceId = 1;
  option.width = 403;  // Odd sizes are rounded down; rows are packed whatever the size.
  option.height = 221;
  option.frameRate = 30;
  EXPECT_EQ(a->SetCameraDevice(option), code::kOk);
  ASSERT_TRUE(waitSize(b, "a", 0, 402, 220));
  const int count = countDuring(b, "a/0", 1500ms);
  EXPECT_GE(count, 33);
  EXPECT_LE(count, 57);
  option = VideoOption();
  option.resolution = 1;
  EXPECT_EQ(a->SetCameraDevice(option), code::kOk);
  EXPECT_TRUE(waitSize(b, "a", 0, 320, 180));
}

TEST_F(VideoTest, CameraOptionsAreChecked) {
  Member a("a", host);
  VideoOption option;
  option.deviceId = 7;
  EXPECT_EQ(a->SetCameraDevice(option), code::kNoSuchDevice);
  option = VideoOption();
  option.width = -1;
  EXPECT_EQ(a->SetCameraDevice(option), code::kInvalidArgument);
  option.width = 100000;
  option.height = 100000;
  EXPECT_EQ(a->SetCameraDevice(option), code::kInvalidArgument);
  option = VideoOption();
  option.frameRate = 61;
  EXPECT_EQ(a->SetCameraDevice(option), code::kInvalidArgument);
  option = VideoOption();
  option.resolution = 5;
  EXPECT_EQ(a->SetCameraDevice(option), code::kInvalidArgument);
  EXPECT_EQ(a->SetCameraDevice(VideoOption()), code::kOk);
}

TEST_F(VideoTest, SmallStreamForThoseWhoAsk) {
  Member& a = add("a");
  Member& b = add("b");
  Member& c = add("c");
  EXPECT_EQ(a->EnableDualStreamMode(true), code::kOk);
  EXPECT_EQ(a->EnablePublish(false, true), code::kOk);
  EXPECT_EQ(c->SetRemoteVideoStreamType("a", 1), code::kOk);
  EXPECT_TRUE(waitSize(b, "a", 0, 640, 360));
  EXPECT_TRUE(waitSize(c, "a", 1, 320, 180));
  // By default for all, with an exception for one.
  EXPECT_EQ(b->SetRemoteDefaultVideoStreamType(1), code::kOk);
  EXPECT_TRUE(waitSize(b, "a", 1, 320, 180));
  EXPECT_EQ(b->SetRemoteVideoStreamType("a", 0), code::kOk);
  EXPECT_TRUE(waitSize(b, "a", 0, 640, 360));
  // Without a small stream everybody gets the main one.
  EXPECT_EQ(a->EnableDualStreamMode(false), code::kOk);
  EXPECT_TRUE(waitSize(c, "a", 0, 640, 360));
  EXPECT_EQ(c->SetRemoteVideoStreamType("a", 2), code::kInvalidArgument);
  EXPECT_EQ(c->SetRemoteVideoStreamType(nullptr, 1), code::kInvalidArgument);
  EXPECT_EQ(c->SetRemoteDefaultVideoStreamType(-1), code::kInvalidArgument);
}

TEST_F(VideoTest, WithoutAnAudienceTheCameraRests) {
  Member& a = add("a");
  EXPECT_EQ(a->EnablePublish(false, true), code::kOk);
  const auto cameraStates = [&] { return a.sink.events("VideoDeviceStateChange"); };
  std::this_thread::sleep_for(200ms);
  EXPECT_TRUE(cameraStates().empty());
  Member& b = add("b");
  ASSERT_TRUE(b.sink.waitFrames("a", 0, 1));
  ASSERT_EQ(cameraStates().size(), 1u);
  EXPECT_EQ(cameraStates()[0].numbers[0], 1);
  EXPECT_EQ(b->EnableSubscribe(true, false), code::kOk);
  ASSERT_TRUE(a.sink.waitUntil([&] { return cameraStates().size() == 2; }));
  EXPECT_EQ(cameraStates()[1].numbers[0], 2);
}

}  // namespace
}  // namespace kavrin::conference_tests
