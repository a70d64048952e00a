#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "tests/conference/member.h"

namespace kavrin::conference_tests {
namespace {

using Kavrin::ConferenceEngine::VideoOption;
namespace fs = std::filesystem;

class SnapshotTest : public RoomTest {
 protected:
  SnapshotTest() : folder(fs::temp_directory_path() / ("snapshots-" + uniqueName())) {
    fs::create_directories(folder);
  }
  ~SnapshotTest() override { fs::remove_all(folder); }

  static std::string uniqueName() {
    return std::to_string(std::chrono::steady_clock::now().time_since_epoch().count());
  }
  std::string file(const std::string& name) const { return (folder / name).string(); }

  // The event of the snapshot into `path`.
  static Event taken(Member& at, const std::string& path) {
    Event found;
    EXPECT_TRUE(at.sink.waitEvent([&](const Event& event) {
      if (event.name != "SnapshotTaken" || event.texts[0] != path) return false;
      found = event;
      return true;
    }));
    if (found.numbers.empty()) found.numbers = {-1, -1, -1, -1};
    return found;
  }

  static std::vector<unsigned char> bytesOf(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
  }

  static int pngNumber(const std::vector<unsigned char>& bytes, std::size_t at) {
    return bytes.at(at) << 24 | bytes.at(at + 1) << 16 | bytes.at(at + 2) << 8 | bytes.at(at + 3);
  }

  const fs::path folder;
};

TEST_F(SnapshotTest, PngOfARemoteCameraHasItsTrueSize) {
  Member& a = add("a");
  Member& b = add("b");
  EXPECT_EQ(a->SetVideoQuality(0), code::kOk);
  EXPECT_EQ(a->EnablePublish(false, true), code::kOk);
  ASSERT_TRUE(b.sink.waitFrames("a", 0, 1));
  const std::string path = file("a.png");
  EXPECT_EQ(b->TakeSnapshot("a", 0, path.c_str()), code::kOk);
  const Event event = taken(b, path);
  EXPECT_EQ(event.user, "a");
  EXPECT_EQ(event.room, "room");
  EXPECT_EQ(event.numbers, (std::vector<long long>{0, 320, 180, 0}));
  const auto bytes = bytesOf(path);
  ASSERT_GT(bytes.size(), 100u);
  EXPECT_EQ(std::string(bytes.begin() + 1, bytes.begin() + 4), "PNG");
  EXPECT_EQ(pngNumber(bytes, 16), 320);
  EXPECT_EQ(pngNumber(bytes, 20), 180);
}

TEST_F(SnapshotTest, JpegOfAScreen) {
  Member& a = add("a");
  Member& b = add("b");
  EXPECT_EQ(a->StartScreenShare(VideoOption()), code::kOk);
  ASSERT_TRUE(b.sink.waitFrames("a", 2, 1));
  const std::string path = file("screen.JPG");
  EXPECT_EQ(b->TakeSnapshot("a", 2, path.c_str()), code::kOk);
  EXPECT_EQ(taken(b, path).numbers, (std::vector<long long>{2, 1920, 1080, 0}));
  const auto bytes = bytesOf(path);
  ASSERT_GT(bytes.size(), 100u);
  EXPECT_EQ(bytes[0], 0xff);
  EXPECT_EQ(bytes[1], 0xd8);
}

TEST_F(SnapshotTest, SizesThatAreNoMultiplesOfEightAreWrittenToo) {
  Member& a = add("a");
  Member& b = add("b");
  VideoOption option;
  option.width = 330;
  option.height = 210;
  EXPECT_EQ(a->SetCameraDevice(option), code::kOk);
  EXPECT_EQ(a->EnablePublish(false, true), code::kOk);
  ASSERT_TRUE(b.sink.waitFrames("a", 0, 1));
  for (const char* name : {"odd.png", "odd.jpeg"}) {
    EXPECT_EQ(b->TakeSnapshot("a", 0, file(name).c_str()), code::kOk);
    EXPECT_EQ(taken(b, file(name)).numbers, (std::vector<long long>{0, 330, 210, 0}));
  }
}

TEST_F(SnapshotTest, WorksForAMemberWhoIsNotSubscribed) {
  Member& a = add("a");
  Member& b = add("b");
  EXPECT_EQ(b->EnableSubscribe(false, false), code::kOk);
  EXPECT_EQ(a->EnablePublish(false, true), code::kOk);
  ASSERT_TRUE(b.sink.waitUserState("a", user_state::kCameraStarted));
  ASSERT_TRUE(b.sink.waitUntil([&] { return b.attendeeStates("a")[1] == 1; }));
  const std::string path = file("unseen.png");
  EXPECT_EQ(b->TakeSnapshot("a", 0, path.c_str()), code::kOk);
  EXPECT_EQ(taken(b, path).numbers[3], code::kOk);
  EXPECT_EQ(b.sink.frameCounts()["a/0"], 0);
  // The camera rests again.
  EXPECT_TRUE(a.sink.waitEvent([](const Event& event) {
    return event.name == "VideoDeviceStateChange" && event.numbers[0] == 2;
  }));
}

TEST_F(SnapshotTest, OfOneself) {
  Member a("a", host);
  ASSERT_EQ(a.login(), code::kOk);
  EXPECT_EQ(a->TakeSnapshot("a", 0, file("none.png").c_str()), code::kOk);
  EXPECT_EQ(taken(a, file("none.png")).numbers[3], code::kNoPicture);
  EXPECT_EQ(a->StartPreview(), code::kOk);
  EXPECT_EQ(a->TakeSnapshot("a", 0, file("preview.png").c_str()), code::kOk);
  EXPECT_EQ(taken(a, file("preview.png")).numbers[3], code::kOk);
  EXPECT_EQ(a->StopPreview(), code::kOk);
  a.join();
  EXPECT_EQ(a->EnablePublish(false, true), code::kOk);
  ASSERT_TRUE(a.sink.waitUserState("a", user_state::kCameraStarted));
  EXPECT_EQ(a->TakeSnapshot("", 0, file("alone.png").c_str()), code::kOk);
  EXPECT_EQ(taken(a, file("alone.png")).numbers[3], code::kOk);
}

TEST_F(SnapshotTest, FailuresAreReportedWithTheirCode) {
  Member& a = add("a");
  Member& b = add("b");
  const auto codeOf = [&](const char* user, int type, const std::string& path) {
    EXPECT_EQ(b->TakeSnapshot(user, type, path.c_str()), code::kOk);
    const Event event = taken(b, path);
    EXPECT_EQ(event.numbers[1], 0);
    EXPECT_EQ(event.numbers[2], 0);
    return event.numbers[3];
  };
  EXPECT_EQ(codeOf("nobody", 0, file("1.png")), code::kNoSuchMember);
  EXPECT_EQ(codeOf("a", 0, file("2.png")), code::kNoPicture);
  EXPECT_EQ(codeOf("a", 2, file("3.png")), code::kNoPicture);
  EXPECT_EQ(a->EnablePublish(false, true), code::kOk);
  ASSERT_TRUE(b.sink.waitFrames("a", 0, 1));
  EXPECT_EQ(codeOf("a", 0, file("4.bmp")), code::kInvalidArgument);
  EXPECT_EQ(codeOf("a", 0, file("noending")), code::kInvalidArgument);
  EXPECT_EQ(codeOf("a", 0, file("missing/5.png")), code::kFileError);
  EXPECT_FALSE(fs::exists(file("2.png")));
  EXPECT_EQ(a->MuteVideo("a", true), code::kOk);
  ASSERT_TRUE(b.sink.waitUntil([&] { return b.attendeeStates("a")[1] == 2; }));
  EXPECT_EQ(codeOf("a", 0, file("6.png")), code::kNoPicture);
}

TEST_F(SnapshotTest, ArgumentsAndStatesAreChecked) {
  Member a("a", host);
  EXPECT_EQ(a->TakeSnapshot("a", 0, file("a.png").c_str()), code::kNotLoggedIn);
  ASSERT_EQ(a.login(), code::kOk);
  EXPECT_EQ(a->TakeSnapshot("a", 0, nullptr), code::kInvalidArgument);
  EXPECT_EQ(a->TakeSnapshot("a", 3, file("a.png").c_str()), code::kInvalidArgument);
  EXPECT_EQ(a->TakeSnapshot("a", -1, file("a.png").c_str()), code::kInvalidArgument);
}

}  // namespace
}  // namespace kavrin::conference_tests
