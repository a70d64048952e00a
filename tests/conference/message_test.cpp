#include <future>

#include "tests/conference/member.h"

namespace kavrin::conference_tests {
namespace {

class MessageTest : public RoomTest {
 protected:
  static std::vector<Event> received(Member& member) { return member.sink.events("CustomMessage"); }
  static bool waitReceived(Member& member, std::size_t count) {
    return member.sink.waitUntil([&] { return received(member).size() >= count; });
  }
};

TEST_F(MessageTest, ToOneReachesThatOneOnly) {
  Member& a = add("a");
  Member& b = add("b");
  Member& c = add("c");
  EXPECT_EQ(a.send("hello b", "b"), code::kOk);
  ASSERT_TRUE(waitReceived(b, 1));
  const Event message = received(b)[0];
  EXPECT_EQ(message.texts[0], "hello b");
  EXPECT_EQ(message.user, "a");
  EXPECT_EQ(message.texts[1], "b");
  EXPECT_EQ(message.room, "room");
  std::this_thread::sleep_for(50ms);
  EXPECT_TRUE(received(a).empty());
  EXPECT_TRUE(received(c).empty());
}

TEST_F(MessageTest, ToAllReachesAllOthers) {
  Member& a = add("a");
  Member& b = add("b");
  Member& c = add("c");
  EXPECT_EQ(a.send("hello all"), code::kOk);
  EXPECT_EQ(a.send("again", ""), code::kOk);
  ASSERT_TRUE(waitReceived(b, 2));
  ASSERT_TRUE(waitReceived(c, 2));
  EXPECT_EQ(received(b)[0].texts, (std::vector<std::string>{"hello all", ""}));
  EXPECT_TRUE(received(a).empty());
}

TEST_F(MessageTest, ToOneselfArrives) {
  Member& a = add("a");
  EXPECT_EQ(a.send("note", "a"), code::kOk);
  EXPECT_TRUE(waitReceived(a, 1));
}

TEST_F(MessageTest, UnknownReceiverIsRefused) {
  Member& a = add("a");
  EXPECT_EQ(a.send("hello", "nobody"), code::kNoSuchMember);
}

TEST_F(MessageTest, AlwaysCompletes) {
  Member a("a", host);
  EXPECT_EQ(a.send("before login"), code::kNotLoggedIn);
  ASSERT_EQ(a.login(), code::kOk);
  EXPECT_EQ(a.send("outside"), code::kNotInRoom);
  a.join();
  EXPECT_EQ(a.send(""), code::kInvalidArgument);
  EXPECT_EQ(a.send("x", "\xff"), code::kInvalidArgument);
  EXPECT_EQ(a.send("x", "#"), code::kInvalidArgument);
  std::promise<int> done;
  a->SendCustomMessage(nullptr, nullptr, [&](int code, const char* text) {
    EXPECT_NE(text, nullptr);
    done.set_value(code);
  });
  EXPECT_EQ(done.get_future().get(), code::kInvalidArgument);
  a->SendCustomMessage("no completion", nullptr, nullptr);
  EXPECT_EQ(a->UnInit(), code::kOk);
  EXPECT_EQ(a.send("after UnInit"), code::kStopped);
}

TEST_F(MessageTest, LargeTextsArriveWhole) {
  Member& a = add("a");
  Member& b = add("b");
  std::string text;
  while (text.size() < 200 * 1024) text += "größer 😀 \t\"\\ ";
  EXPECT_EQ(a.send(text, "b"), code::kOk);
  ASSERT_TRUE(waitReceived(b, 1));
  EXPECT_EQ(received(b)[0].texts[0], text);
  EXPECT_EQ(a.send(std::string(16 * 1024 * 1024 + 1, 'x'), "b"), code::kTooLarge);
}

TEST_F(MessageTest, OrderOfASenderIsKept) {
  Member& a = add("a");
  Member& b = add("b");
  constexpr int kCount = 500;
  for (int number = 0; number < kCount; ++number) {
    a->SendCustomMessage(std::to_string(number).c_str(), number % 2 ? "b" : nullptr, nullptr);
  }
  ASSERT_TRUE(waitReceived(b, kCount));
  const auto messages = received(b);
  for (int number = 0; number < kCount; ++number) {
    ASSERT_EQ(messages[number].texts[0], std::to_string(number));
  }
}

TEST_F(MessageTest, BacklogOfAStuckReceiverIsBounded) {
  Member& a = add("a");
  std::promise<void> release;
  auto released = release.get_future().share();
  Member b("b", host);
  b.sink.during = [&](const Event& event) {
    if (event.name == "CustomMessage" && event.texts[0] == "stuck") released.wait();
  };
  b.join();
  ASSERT_TRUE(a.sink.waitUserState("b", user_state::kJoined));
  EXPECT_EQ(a.send("stuck", "b"), code::kOk);
  ASSERT_TRUE(waitReceived(b, 1));
  const std::string megabytes(8 * 1024 * 1024, 'x');
  int accepted = 0;
  int code = code::kOk;
  while (accepted < 20 && (code = a.send(megabytes, "b")) == code::kOk) ++accepted;
  EXPECT_EQ(code, code::kBusy);
  EXPECT_GE(accepted, 4);
  release.set_value();
  EXPECT_TRUE(b.sink.waitUntil([&] { return a.send("after", "b") == code::kOk; }));
}

TEST_F(MessageTest, UnInitCompletesEveryMessageOnce) {
  Member& a = add("a");
  add("b");
  std::atomic<int> completed{0};
  std::atomic<int> odd{0};
  constexpr int kCount = 300;
  for (int number = 0; number < kCount; ++number) {
    a->SendCustomMessage("x", "b", [&](int code, const char*) {
      if (code != code::kOk && code != code::kCancelled) ++odd;
      ++completed;
    });
  }
  EXPECT_EQ(a->UnInit(), code::kOk);
  EXPECT_EQ(completed, kCount);
  EXPECT_EQ(odd, 0);
}

}  // namespace
}  // namespace kavrin::conference_tests
