// The whole table of who gets what: publisher's default and choice against subscriber's default
// and choice, before and during a room.
#include <optional>
#include <tuple>

#include "tests/conference/member.h"

namespace kavrin::conference_tests {
namespace {

using Choice = std::optional<bool>;

// publisher's default and choice, subscriber's default and choice, set before the room
using Row = std::tuple<bool, Choice, bool, Choice, bool>;

class PublishTable : public ::testing::TestWithParam<Row> {
 protected:
  PublishTable() : host(uniqueHost()), a("a", host), b("b", host) {}

  void settle() {
    const auto [publish, publishChoice, subscribe, subscribeChoice, before] = GetParam();
    EXPECT_EQ(a->EnablePublish(publish, publish), code::kOk);
    if (publishChoice) {
      EXPECT_EQ(a->EnablePublishVideoStream(*publishChoice), code::kOk);
      EXPECT_EQ(a->EnablePublishAudioStream(*publishChoice), code::kOk);
    }
    EXPECT_EQ(b->EnableSubscribe(subscribe, subscribe), code::kOk);
    if (subscribeChoice) {
      EXPECT_EQ(b->EnableSubscribeVideoStream("a", *subscribeChoice, true), code::kOk);
      EXPECT_EQ(b->EnableSubscribeAudioStream("a", *subscribeChoice), code::kOk);
    }
    EXPECT_EQ(b->EnableAudioVolumeIndication(true, 100), code::kOk);
  }

  bool heard() {
    for (const Volumes& volumes : b.sink.volumes()) {
      if (volumes.count("a")) return true;
    }
    return false;
  }

  const std::string host;
  Member a;
  Member b;
};

TEST_P(PublishTable, DecidesWhatArrives) {
  const auto [publish, publishChoice, subscribe, subscribeChoice, before] = GetParam();
  const bool published = publishChoice.value_or(publish);
  const bool subscribed = subscribeChoice.value_or(subscribe);
  if (before) settle();
  a.join();
  b.join();
  if (!before) settle();
  if (published) {
    EXPECT_TRUE(b.sink.waitUserState("a", user_state::kCameraStarted));
    EXPECT_TRUE(b.sink.waitUntil([&] { return b.attendeeStates("a")[0] == 1; }));
  }
  if (published && subscribed) {
    EXPECT_TRUE(b.sink.waitFrames("a", 0, 1));
    EXPECT_TRUE(b.sink.waitUntil([&] { return heard(); }));
    return;
  }
  std::this_thread::sleep_for(20ms);
  const int before300 = b.sink.frameCounts()["a/0"];
  b.sink.clear();
  std::this_thread::sleep_for(250ms);
  EXPECT_LE(b.sink.frameCounts()["a/0"], before300 == 0 ? 0 : 1);
  EXPECT_FALSE(heard());
  if (!published) {
    EXPECT_EQ(b.attendeeStates("a"), (std::vector<int>{0, 0, 0}));
  }
}

INSTANTIATE_TEST_SUITE_P(
    All, PublishTable,
    ::testing::Combine(::testing::Bool(), ::testing::Values(Choice(), Choice(false), Choice(true)),
                       ::testing::Bool(), ::testing::Values(Choice(), Choice(false), Choice(true)),
                       ::testing::Bool()));

class PublishTest : public RoomTest {};

TEST_F(PublishTest, NothingIsPublishedUntilAsked) {
  Member& a = add("a");
  Member& b = add("b");
  std::this_thread::sleep_for(100ms);
  EXPECT_EQ(b.attendeeStates("a"), (std::vector<int>{0, 0, 0}));
  EXPECT_TRUE(a.sink.events("VideoDeviceStateChange").empty());
  EXPECT_TRUE(a.sink.events("AudioDeviceStateChange").empty());
}

TEST_F(PublishTest, ExceptionsNameOneMemberAndOneStream) {
  Member& a = add("a");
  Member& b = add("b");
  Member& c = add("c");
  EXPECT_EQ(c->EnableSubscribeVideoStream("a", false, true), code::kOk);
  EXPECT_EQ(a->EnablePublish(false, true), code::kOk);
  EXPECT_EQ(b->EnablePublish(false, true), code::kOk);
  EXPECT_EQ(a->StartScreenShare(Kavrin::ConferenceEngine::VideoOption()), code::kOk);
  EXPECT_TRUE(c.sink.waitFrames("b", 0, 3));
  EXPECT_TRUE(c.sink.waitFrames("a", 2, 1));
  EXPECT_EQ(c.sink.frameCounts()["a/0"], 0);
  EXPECT_EQ(c->EnableSubscribeVideoStream("a", false, false), code::kOk);
  EXPECT_EQ(c->EnableSubscribeVideoStream("a", true, true), code::kOk);
  EXPECT_TRUE(c.sink.waitFrames("a", 0, 1));
  c.sink.clear();
  std::this_thread::sleep_for(400ms);
  EXPECT_EQ(c.sink.frameCounts()["a/2"], 0);
}

TEST_F(PublishTest, ExceptionsOutliveTheRoom) {
  Member& a = add("a");
  Member& b = add("b");
  EXPECT_EQ(b->EnableSubscribeVideoStream("a", false, true), code::kOk);
  EXPECT_EQ(a->EnablePublish(false, true), code::kOk);
  EXPECT_EQ(b->LeaveRoom(), code::kOk);
  b.join();
  ASSERT_TRUE(b.sink.waitUserState("a", user_state::kCameraStarted));
  std::this_thread::sleep_for(250ms);
  EXPECT_EQ(b.sink.frameCounts()["a/0"], 0);
}

TEST_F(PublishTest, ArgumentsAreChecked) {
  Member& a = add("a");
  EXPECT_EQ(a->EnableSubscribeAudioStream(nullptr, true), code::kInvalidArgument);
  EXPECT_EQ(a->EnableSubscribeVideoStream("", true, true), code::kInvalidArgument);
}

}  // namespace
}  // namespace kavrin::conference_tests
