#include "tests/conference/member.h"

namespace kavrin::conference_tests {
namespace {

constexpr const char* kRoster = "room/members";

class DataChannelTest : public RoomTest {
 protected:
  static std::vector<Event> received(Member& member) {
    return member.sink.events("DataMessageReceived");
  }
  static bool waitText(Member& member, const std::string& part) {
    return member.sink.waitEvent([&](const Event& event) {
      return event.name == "DataMessageReceived" && event.texts[0].find(part) != std::string::npos;
    });
  }
  static bool waitChannel(Member& member, int state) {
    return member.sink.waitEvent([&](const Event& event) {
      return event.name == "DataChannelStateChanged" && event.numbers[0] == state;
    });
  }
};

TEST_F(DataChannelTest, StatesAreReported) {
  Member& a = add("a");
  EXPECT_EQ(a->CreateDataChannel(), code::kOk);
  EXPECT_EQ(a->CreateDataChannel(), code::kAlreadyRunning);
  EXPECT_TRUE(waitChannel(a, 2));
  EXPECT_EQ(a.sink.events("DataChannelStateChanged")[0].numbers[0], 1);
  EXPECT_EQ(a->DeleteDataChannel(), code::kOk);
  EXPECT_TRUE(waitChannel(a, 3));
  EXPECT_EQ(a->DeleteDataChannel(), code::kNoDataChannel);
}

TEST_F(DataChannelTest, ClosesWithTheRoom) {
  Member& a = add("a");
  Member& b = add("b");
  EXPECT_EQ(b->CreateDataChannel(), code::kOk);
  ASSERT_TRUE(waitChannel(b, 2));
  EXPECT_EQ(a->KickOut("b"), code::kOk);
  EXPECT_TRUE(b.sink.waitRoomState(room_state::kRemovedByHost));
  EXPECT_TRUE(waitChannel(b, 3));
  b.join();
  EXPECT_EQ(b->SubscribeData("x"), code::kNoDataChannel);
}

TEST_F(DataChannelTest, TopicsAreExact) {
  Member& a = add("a");
  Member& b = add("b");
  Member& c = add("c");
  for (Member* member : {&b, &c}) EXPECT_EQ((*member)->CreateDataChannel(), code::kOk);
  EXPECT_EQ(b->SubscribeData("chat"), code::kOk);
  EXPECT_EQ(c->SubscribeData("chat/sub"), code::kOk);
  EXPECT_EQ(a.send("größer", "#chat"), code::kOk);
  EXPECT_EQ(a.send("sub", "#chat/sub"), code::kOk);
  EXPECT_EQ(a.send("nobody listens", "#silence"), code::kOk);
  EXPECT_TRUE(waitText(b, "größer"));
  EXPECT_TRUE(waitText(c, "sub"));
  EXPECT_EQ(received(b).size(), 1u);
  EXPECT_EQ(received(c).size(), 1u);
  EXPECT_EQ(received(b)[0].texts[0], "größer");
  EXPECT_EQ(received(b)[0].room, "room");
  EXPECT_TRUE(b.sink.events("CustomMessage").empty());
}

TEST_F(DataChannelTest, ASenderWhoSubscribedHearsItself) {
  Member& a = add("a");
  EXPECT_EQ(a->CreateDataChannel(), code::kOk);
  EXPECT_EQ(a->SubscribeData("t"), code::kOk);
  EXPECT_EQ(a.send("echo", "#t"), code::kOk);
  EXPECT_TRUE(waitText(a, "echo"));
}

TEST_F(DataChannelTest, UnsubscribingEndsIt) {
  Member& a = add("a");
  EXPECT_EQ(a->CreateDataChannel(), code::kOk);
  EXPECT_EQ(a->SubscribeData("t"), code::kOk);
  EXPECT_EQ(a->SubscribeData("t"), code::kOk);
  EXPECT_EQ(a->UnsubscribeData("t"), code::kOk);
  EXPECT_EQ(a->UnsubscribeData("t"), code::kNotRunning);
  EXPECT_EQ(a.send("gone", "#t"), code::kOk);
  std::this_thread::sleep_for(50ms);
  EXPECT_TRUE(received(a).empty());
}

TEST_F(DataChannelTest, StatesAndArgumentsAreChecked) {
  Member a("a", host);
  EXPECT_EQ(a->CreateDataChannel(), code::kNotLoggedIn);
  ASSERT_EQ(a.login(), code::kOk);
  EXPECT_EQ(a->CreateDataChannel(), code::kNotInRoom);
  EXPECT_EQ(a->SubscribeData("t"), code::kNotInRoom);
  a.join();
  EXPECT_EQ(a->SubscribeData("t"), code::kNoDataChannel);
  EXPECT_EQ(a->UnsubscribeData("t"), code::kNoDataChannel);
  EXPECT_EQ(a->CreateDataChannel(), code::kOk);
  EXPECT_EQ(a->SubscribeData(nullptr), code::kInvalidArgument);
  EXPECT_EQ(a->SubscribeData(""), code::kInvalidArgument);
  EXPECT_EQ(a->SubscribeData(std::string(300, 't').c_str()), code::kInvalidArgument);
  for (int topic = 0; topic < 256; ++topic) {
    EXPECT_EQ(a->SubscribeData(std::to_string(topic).c_str()), code::kOk);
  }
  EXPECT_EQ(a->SubscribeData("one too many"), code::kTooLarge);
}

TEST_F(DataChannelTest, TheRoomsTopicsAreItsOwn) {
  Member& a = add("a");
  EXPECT_EQ(a.send("forged", "#room/members"), code::kReservedTopic);
}

TEST_F(DataChannelTest, TheRoomPublishesItsRoster) {
  Member& a = add("a");
  EXPECT_EQ(a->CreateDataChannel(), code::kOk);
  EXPECT_EQ(a->SubscribeData(kRoster), code::kOk);
  ASSERT_TRUE(waitText(a, R"("id":"a","name":"Name of a")"));
  EXPECT_NE(received(a)[0].texts[0].find(R"("topic":"room/members","room":"room","host":"a")"),
            std::string::npos)
      << received(a)[0].texts[0];
  Member& b = add("b");
  EXPECT_TRUE(waitText(a, R"("id":"b")"));
  EXPECT_EQ(b->EnablePublish(true, true), code::kOk);
  EXPECT_TRUE(waitText(a, R"("host":false,"audio":1,"camera":1,"screen":0)"));
  EXPECT_EQ(b->SetUserExtendedInfo("in\"fo"), code::kOk);
  EXPECT_TRUE(waitText(a, R"("info":"in\"fo")"));
  EXPECT_EQ(a->MuteRoom(true), code::kOk);
  EXPECT_TRUE(waitText(a, R"("muted":true)"));
  const std::size_t count = received(a).size();
  EXPECT_EQ(b->LeaveRoom(), code::kOk);
  ASSERT_TRUE(a.sink.waitUntil([&] { return received(a).size() > count; }));
  EXPECT_EQ(received(a).back().texts[0].find(R"("id":"b")"), std::string::npos);
}

}  // namespace
}  // namespace kavrin::conference_tests
