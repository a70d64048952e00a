#include <algorithm>

#include "tests/conference/member.h"

namespace kavrin::conference_tests {
namespace {

using Kavrin::ConferenceEngine::ScreenShareDeviceInfo;
using Kavrin::ConferenceEngine::VideoOption;

constexpr unsigned kScreenType = 2;

// The sources, with their thumbnails released when the test is over.
class Sources {
 public:
  explicit Sources(KavrinConferenceEngine& engine) : code(engine.EnumScreenAndWindow(list)) {}
  ~Sources() {
    for (auto& source : list) delete[] source.thumbnailData;
  }
  std::vector<ScreenShareDeviceInfo> list;
  const int code;
};

class ScreenTest : public RoomTest {
 protected:
  static bool waitSize(Member& at, int width, int height) {
    return at.sink.waitUntil([&] {
      const auto frames = at.sink.frames();
      return !frames.empty() && frames.back().type == kScreenType && frames.back().width == width &&
             frames.back().height == height;
    });
  }
  static VideoOption windowOption(int id) {
    VideoOption option;
    option.deviceId = id;
    option.deviceType = Kavrin::ConferenceEngine::kShareSourceWindow;
    return option;
  }
  static int windowId(Member& member, std::size_t index) {
    Sources sources(member.engine());
    std::vector<int> ids;
    for (const auto& source : sources.list) {
      if (source.type == Kavrin::ConferenceEngine::kShareSourceWindow) ids.push_back(source.id);
    }
    return ids.at(index);
  }
};

TEST_F(ScreenTest, SourcesAreListedWithThumbnails) {
  Member a("a", host);
  Sources sources(a.engine());
  EXPECT_EQ(sources.code, code::kOk);
  int screens = 0, windows = 0;
  for (const auto& source : sources.list) {
    (source.type == Kavrin::ConferenceEngine::kShareSourceWindow ? windows : screens) += 1;
    EXPECT_NE(std::string(source.name).find("enerated"), std::string::npos) << source.name;
    ASSERT_NE(source.thumbnailData, nullptr);
    EXPECT_EQ(source.thumbnailDataLength, source.thumbnailWidth * source.thumbnailHeight * 4);
    EXPECT_EQ(source.thumbnailData[3], 255);
  }
  EXPECT_GE(screens, 1);
  EXPECT_GE(windows, 2);
}

TEST_F(ScreenTest, IsAnnouncedDeliveredAndWithdrawn) {
  Member& a = add("a");
  Member& b = add("b");
  EXPECT_EQ(a->StartScreenShare(VideoOption()), code::kOk);
  EXPECT_TRUE(b.sink.waitUserState("a", user_state::kScreenStarted));
  EXPECT_TRUE(waitSize(b, 1920, 1080));
  EXPECT_EQ(b.attendeeStates("a")[2], 1);
  EXPECT_TRUE(b.sink.waitEvent([](const Event& event) {
    return event.name == "VideoStateChanged" && event.numbers == std::vector<long long>{2, 1, 0};
  }));
  EXPECT_EQ(a->StopScreenShare(), code::kOk);
  EXPECT_TRUE(b.sink.waitUserState("a", user_state::kScreenStopped));
  EXPECT_EQ(b.attendeeStates("a")[2], 0);
  const int count = b.sink.frameCounts()["a/2"];
  std::this_thread::sleep_for(300ms);
  EXPECT_EQ(b.sink.frameCounts()["a/2"], count);
}

TEST_F(ScreenTest, StatesAndArgumentsAreChecked) {
  Member a("a", host);
  EXPECT_EQ(a->StartScreenShare(VideoOption()), code::kNotLoggedIn);
  ASSERT_EQ(a.login(), code::kOk);
  EXPECT_EQ(a->StartScreenShare(VideoOption()), code::kNotInRoom);
  a.join();
  EXPECT_EQ(a->StopScreenShare(), code::kNotRunning);
  EXPECT_EQ(a->UpdateScreenShareSrcInfo(VideoOption()), code::kNotRunning);
  VideoOption option;
  option.deviceId = 12345;
  EXPECT_EQ(a->StartScreenShare(option), code::kNoSuchDevice);
  option = VideoOption();
  option.left = 1919;
  EXPECT_EQ(a->StartScreenShare(option), code::kInvalidArgument);
  option = VideoOption();
  option.width = -4;
  EXPECT_EQ(a->StartScreenShare(option), code::kInvalidArgument);
  EXPECT_EQ(a->SetScreenShareSceneMode(2), code::kInvalidArgument);
  EXPECT_EQ(a->SetScreenShareSceneMode(-1), code::kInvalidArgument);
  EXPECT_EQ(a->StartScreenShare(VideoOption()), code::kOk);
  EXPECT_EQ(a->StartScreenShare(VideoOption()), code::kAlreadyRunning);
  EXPECT_EQ(a->LeaveRoom(), code::kOk);
  a.join();
  EXPECT_EQ(a->StopScreenShare(), code::kNotRunning);
}

TEST_F(ScreenTest, AWindowHasItsOwnSizeAndASourceCanBeChanged) {
  Member& a = add("a");
  Member& b = add("b");
  EXPECT_EQ(a->StartScreenShare(windowOption(windowId(a, 0))), code::kOk);
  EXPECT_TRUE(waitSize(b, 800, 600));
  EXPECT_EQ(a->UpdateScreenShareSrcInfo(windowOption(windowId(a, 1))), code::kOk);
  EXPECT_TRUE(waitSize(b, 640, 360));
  VideoOption part;
  part.left = 100;
  part.top = 50;
  part.width = 321;
  part.height = 240;
  EXPECT_EQ(a->UpdateScreenShareSrcInfo(part), code::kOk);
  EXPECT_TRUE(waitSize(b, 320, 240));
  for (const Event& event : b.sink.events("RoomMemberStateChange")) {
    EXPECT_NE(event.numbers[0], user_state::kScreenStopped);
  }
}

TEST_F(ScreenTest, ExcludedWindowsDoNotShow) {
  Member& a = add("a");
  Member& b = add("b");
  VideoOption option;  // a part of the screen that the first window covers
  option.left = 300;
  option.top = 200;
  option.width = 64;
  option.height = 64;
  EXPECT_EQ(a->StartScreenShare(option), code::kOk);
  ASSERT_TRUE(waitSize(b, 64, 64));
  const unsigned char with = b.sink.frames().back().data[32 * 64 + 48];
  option.excludedWindows = {windowId(a, 0)};
  EXPECT_EQ(a->UpdateScreenShareSrcInfo(option), code::kOk);
  EXPECT_TRUE(b.sink.waitUntil([&] { return b.sink.frames().back().data[32 * 64 + 48] != with; }));
}

TEST_F(ScreenTest, SceneModesTradeSizeForMotion) {
  Member& a = add("a");
  Member& b = add("b");
  EXPECT_EQ(a->SetScreenShareSceneMode(1), code::kOk);
  EXPECT_EQ(a->StartScreenShare(VideoOption()), code::kOk);
  ASSERT_TRUE(waitSize(b, 1280, 720));
  int before = b.sink.frameCounts()["a/2"];
  std::this_thread::sleep_for(1000ms);
  EXPECT_GT(b.sink.frameCounts()["a/2"] - before, 8);
  EXPECT_EQ(a->SetScreenShareSceneMode(0), code::kOk);
  ASSERT_TRUE(waitSize(b, 1920, 1080));
  before = b.sink.frameCounts()["a/2"];
  std::this_thread::sleep_for(1000ms);
  EXPECT_LE(b.sink.frameCounts()["a/2"] - before, 7);
}

// The generated screen shows the picture's number as the brightness of its left edge, the same in
// every row: rows of two pictures in one would differ.
TEST_F(ScreenTest, PicturesAreNeverHalfOfTwo) {
  Member& a = add("a");
  Member& b = add("b");
  EXPECT_EQ(a->SetScreenShareSceneMode(1), code::kOk);
  VideoOption option;
  option.frameRate = 30;
  EXPECT_EQ(a->StartScreenShare(option), code::kOk);
  ASSERT_TRUE(b.sink.waitFrames("a", kScreenType, 30));
  std::vector<int> levels;
  for (const Frame& frame : b.sink.frames()) {
    const int first = frame.data[4];
    levels.push_back(first);
    for (int row = 0; row < frame.height; ++row) {
      ASSERT_NEAR(frame.data[row * frame.width + 4], first, 2) << "row " << row;
    }
  }
  std::sort(levels.begin(), levels.end());
  levels.erase(std::unique(levels.begin(), levels.end()), levels.end());
  EXPECT_GT(levels.size(), 10u);
}

}  // namespace
}  // namespace kavrin::conference_tests
