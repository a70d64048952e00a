#include <cstring>
#include <future>

#include "tests/conference/member.h"

namespace kavrin::conference_tests {
namespace {

TEST(Version, IsThreeNumbers) {
  char text[32] = "unchanged";
  KavrinConferenceEngine::GetSDKVersion(text, sizeof text);
  int a = -1, b = -1, c = -1;
  char rest = 0;
  EXPECT_EQ(std::sscanf(text, "%d.%d.%d%c", &a, &b, &c, &rest), 3) << text;
}

TEST(Version, IsCutToTheBuffer) {
  char text[4] = {'x', 'x', 'x', 'x'};
  KavrinConferenceEngine::GetSDKVersion(text, 3);
  EXPECT_EQ(text[2], '\0');
  EXPECT_EQ(text[3], 'x');
  KavrinConferenceEngine::GetSDKVersion(text, 0);
  KavrinConferenceEngine::GetSDKVersion(nullptr, 10);
}

TEST(Login, SucceedsForAUserId) {
  Member member("a", uniqueHost());
  EXPECT_EQ(member.login(), code::kOk);
}

TEST(Login, CompletesOnAThreadOfTheEngine) {
  Member member("a", uniqueHost());
  std::promise<std::thread::id> done;
  member->Init("a", "A", "", [&](std::int32_t) { done.set_value(std::this_thread::get_id()); });
  EXPECT_NE(done.get_future().get(), std::this_thread::get_id());
}

TEST(Login, FailsWithoutAUsableUserId) {
  const std::string host = uniqueHost();
  EXPECT_EQ(Member("", host).login(), code::kInvalidArgument);
  EXPECT_EQ(Member("#topic", host).login(), code::kInvalidArgument);
  EXPECT_EQ(Member("\xff\xfe", host).login(), code::kInvalidArgument);
  EXPECT_EQ(Member(std::string(257, 'x'), host).login(), code::kInvalidArgument);
  EXPECT_EQ(Member(std::string(256, 'x'), host).login(), code::kOk);
}

TEST(Login, FailsForNullTexts) {
  Member member("a", uniqueHost());
  std::promise<std::int32_t> done;
  member->Init(nullptr, nullptr, nullptr, [&](std::int32_t code) { done.set_value(code); });
  EXPECT_EQ(done.get_future().get(), code::kInvalidArgument);
}

TEST(Login, CanBeTriedAgainAfterAFailure) {
  Member member("a", uniqueHost());
  std::promise<std::int32_t> done;
  member->Init("", "", "", [&](std::int32_t code) { done.set_value(code); });
  EXPECT_EQ(done.get_future().get(), code::kInvalidArgument);
  EXPECT_EQ(member.login(), code::kOk);
}

TEST(Login, IsRefusedWhileLoggedIn) {
  Member member("a", uniqueHost());
  EXPECT_EQ(member.login(), code::kOk);
  EXPECT_EQ(member.login(), code::kAlreadyLoggedIn);
}

TEST(Login, TakesAnEmptyCompletion) {
  Member member("a", uniqueHost());
  member->Init("a", "A", "", nullptr);
  EXPECT_TRUE(member.sink.waitUntil([&] { return member->JoinRoom("room") == code::kOk; }));
}

TEST(Login, WorksAgainAfterUnInit) {
  Member member("a", uniqueHost());
  EXPECT_EQ(member.login(), code::kOk);
  EXPECT_EQ(member->UnInit(), code::kOk);
  EXPECT_EQ(member.login(), code::kOk);
  member.join();
}

TEST(Login, UnInitCancelsAPendingLoginOrLetsItFinishButCompletesItOnce) {
  for (int round = 0; round < 20; ++round) {
    Member member("a", uniqueHost());
    std::atomic<int> calls{0};
    std::atomic<int> result{-1};
    member->Init("a", "A", "", [&](std::int32_t code) {
      result = code;
      ++calls;
    });
    member->UnInit();
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(result == code::kOk || result == code::kCancelled) << result;
  }
}

TEST(Takeover, FirstLoginIsToldAndIsOut) {
  const std::string host = uniqueHost();
  Member first("a", host);
  Member second("a", host);
  ASSERT_EQ(first.login(), code::kOk);
  ASSERT_EQ(second.login(), code::kOk);
  EXPECT_TRUE(first.sink.waitUserState("a", user_state::kLoggedInElsewhere));
  EXPECT_EQ(first->JoinRoom("room"), code::kLoggedInElsewhere);
  second.join();
}

TEST(Takeover, FirstLeavesItsRoom) {
  const std::string host = uniqueHost();
  Member first("a", host);
  Member other("b", host);
  first.join();
  other.join();
  ASSERT_TRUE(other.sink.waitUserState("a", user_state::kJoined));
  Member second("a", host);
  ASSERT_EQ(second.login(), code::kOk);
  EXPECT_TRUE(first.sink.waitUserState("a", user_state::kLoggedInElsewhere));
  EXPECT_TRUE(first.sink.waitRoomState(room_state::kLoggedInElsewhere));
  EXPECT_TRUE(other.sink.waitUserState("a", user_state::kLeft));
  EXPECT_TRUE(first.attendeeIds().empty());
  const auto events = first.sink.events("RoomMemberStateChange");
  EXPECT_EQ(events.back().room, "room");
  EXPECT_EQ(events.back().localUid, "a");
}

TEST(Takeover, CanBeTakenBack) {
  const std::string host = uniqueHost();
  Member first("a", host);
  Member second("a", host);
  ASSERT_EQ(first.login(), code::kOk);
  ASSERT_EQ(second.login(), code::kOk);
  ASSERT_TRUE(first.sink.waitUserState("a", user_state::kLoggedInElsewhere));
  EXPECT_EQ(first.login(), code::kOk);
  EXPECT_TRUE(second.sink.waitUserState("a", user_state::kLoggedInElsewhere));
  EXPECT_EQ(first->JoinRoom("room"), code::kOk);
}

TEST(Takeover, DoesNotCrossRootHosts) {
  Member first("a", uniqueHost());
  Member second("a", uniqueHost());
  ASSERT_EQ(first.login(), code::kOk);
  ASSERT_EQ(second.login(), code::kOk);
  first.join();
  second.join();
  ASSERT_TRUE(first.sink.waitUserState("a", user_state::kHost));
  std::this_thread::sleep_for(50ms);
  EXPECT_EQ(first.attendeeIds(), std::vector<std::string>{"a"});
  EXPECT_EQ(first.sink.events("RoomMemberStateChange").size(), 1u);
}

}  // namespace
}  // namespace kavrin::conference_tests
