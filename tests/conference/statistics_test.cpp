#include "tests/conference/member.h"

namespace kavrin::conference_tests {
namespace {

class StatisticsTest : public RoomTest {};

TEST_F(StatisticsTest, ComeOnceASecondWhileInARoom) {
  Member& a = add("a");
  std::this_thread::sleep_for(3300ms);
  const std::size_t count = a.sink.events("RtcStats").size();
  EXPECT_GE(count, 2u);
  EXPECT_LE(count, 4u);
  EXPECT_EQ(a->LeaveRoom(), code::kOk);
  ASSERT_TRUE(a.sink.waitRoomState(room_state::kLeft));
  const std::size_t after = a.sink.events("RtcStats").size();
  std::this_thread::sleep_for(1200ms);
  EXPECT_EQ(a.sink.events("RtcStats").size(), after);
}

TEST_F(StatisticsTest, RatesFollowWhatFlows) {
  Member& a = add("a");
  Member& b = add("b");
  ASSERT_TRUE(a.sink.waitEvent([](const Event& event) { return event.name == "RtcStats"; }));
  for (const Event& event : a.sink.events("RtcStats")) EXPECT_EQ(event.numbers[0], 0);
  EXPECT_EQ(a->SetVideoQuality(0), code::kOk);
  EXPECT_EQ(a->EnablePublish(false, true), code::kOk);
  // 320 x 180 x 1.5 bytes, 15 times a second: 10368 kbit/s.
  const auto steady = [](const Event& event, int index) {
    return event.name == "RtcStats" && event.numbers[index] > 8000 && event.numbers[index] < 13000;
  };
  EXPECT_TRUE(a.sink.waitEvent([&](const Event& event) { return steady(event, 0); }));
  EXPECT_TRUE(b.sink.waitEvent([&](const Event& event) { return steady(event, 1); }));
  for (const Event& event : b.sink.events("RtcStats")) EXPECT_EQ(event.numbers[0], 0);
}

TEST_F(StatisticsTest, LossAndDelayAreMeasured) {
  Member& a = add("a");
  Member b("b", host);
  b.sink.during = [](const Event& event) {
    if (event.name == "RoomMemberVideoFrame") std::this_thread::sleep_for(150ms);
  };
  b.join();
  EXPECT_EQ(a->EnablePublish(false, true), code::kOk);
  EXPECT_TRUE(b.sink.waitEvent([](const Event& event) {
    return event.name == "RtcStats" && event.numbers[3] > 10 && event.numbers[4] > 10;
  }));
}

TEST_F(StatisticsTest, QualityIsReportedForTheLocalUser) {
  Member& a = add("a");
  Member& b = add("b");
  ASSERT_TRUE(a.sink.waitEvent([](const Event& event) { return event.name == "NetworkQuality"; }));
  const Event idle = a.sink.events("NetworkQuality")[0];
  EXPECT_EQ(idle.user, "a");
  EXPECT_EQ(idle.numbers, (std::vector<long long>{0, 0}));  // unknown: nothing flows
  EXPECT_EQ(a->EnablePublish(false, true), code::kOk);
  EXPECT_TRUE(a.sink.waitEvent(
      [](const Event& event) { return event.name == "NetworkQuality" && event.numbers[0] >= 1; }));
  EXPECT_TRUE(b.sink.waitEvent(
      [](const Event& event) { return event.name == "NetworkQuality" && event.numbers[1] >= 1; }));
}

}  // namespace
}  // namespace kavrin::conference_tests
