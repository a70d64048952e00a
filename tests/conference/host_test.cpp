#include "tests/conference/member.h"

namespace kavrin::conference_tests {
namespace {

constexpr int kOff = 0;
constexpr int kOn = 1;
constexpr int kMuted = 2;
constexpr int kMutedByHostState = 3;

class HostTest : public RoomTest {
 protected:
  static bool waitAudio(Member& at, const std::string& user, int state) {
    return at.sink.waitUntil([&] { return at.attendeeStates(user)[0] == state; });
  }
  static bool waitCamera(Member& at, const std::string& user, int state) {
    return at.sink.waitUntil([&] { return at.attendeeStates(user)[1] == state; });
  }
  static bool sawAudio(Member& at, const std::string& user, int state) {
    return at.sink.waitEvent([&](const Event& event) {
      return event.name == "AudioStateChanged" && event.user == user && event.numbers[0] == state;
    });
  }
  static int hostEvents(Member& at, const std::string& user) {
    int count = 0;
    for (const Event& event : at.sink.events("RoomMemberStateChange")) {
      if (event.user == user && event.numbers[0] == user_state::kHost) ++count;
    }
    return count;
  }
};

TEST_F(HostTest, FirstMemberIsHostAndEverybodyKnows) {
  Member& a = add("a");
  Member& b = add("b");
  EXPECT_TRUE(a.sink.waitUserState("a", user_state::kHost));
  EXPECT_EQ(hostEvents(a, "a"), 1);
  EXPECT_TRUE(b.sink.waitUserState("a", user_state::kHost));
  EXPECT_EQ(hostEvents(b, "b"), 0);
}

// Once it was host only after the callback that said so.
TEST_F(HostTest, TheHostMayActAsSoonAsTheRoomIsJoined) {
  std::atomic<int> result{-1};
  Member a("a", host);
  a.sink.during = [&](const Event& event) {
    if (event.name == "RoomStateChange" && event.numbers[0] == room_state::kJoined) {
      result = a->MuteRoom(true);
    }
  };
  a.join();
  EXPECT_TRUE(a.sink.waitUntil([&] { return result == code::kOk; }));
}

TEST_F(HostTest, LongestPresentMemberFollows) {
  Member& a = add("a");
  Member& b = add("b");
  Member& c = add("c");
  EXPECT_EQ(a->LeaveRoom(), code::kOk);
  EXPECT_TRUE(b.sink.waitUserState("b", user_state::kHost));
  EXPECT_TRUE(c.sink.waitUserState("b", user_state::kHost));
  EXPECT_EQ(c->KickOut("b"), code::kNotHost);
  EXPECT_EQ(b->KickOut("c"), code::kOk);
  EXPECT_TRUE(c.sink.waitRoomState(room_state::kRemovedByHost));
}

TEST_F(HostTest, AHostWhoComesBackIsAnOrdinaryMember) {
  Member& a = add("a");
  Member& b = add("b");
  EXPECT_EQ(a->LeaveRoom(), code::kOk);
  ASSERT_TRUE(b.sink.waitUserState("b", user_state::kHost));
  a.join();
  EXPECT_TRUE(a.sink.waitUserState("b", user_state::kHost));
  EXPECT_EQ(a->MuteRoom(true), code::kNotHost);
}

TEST_F(HostTest, OthersAreRefused) {
  add("a");
  Member& b = add("b");
  ASSERT_TRUE(b.sink.waitUserState("a", user_state::kHost));
  EXPECT_EQ(b->KickOut("a"), code::kNotHost);
  EXPECT_EQ(b->MuteRoom(true), code::kNotHost);
  EXPECT_EQ(b->CloseRoom(), code::kNotHost);
  EXPECT_EQ(b->MuteAudio("a", true), code::kNotHost);
  EXPECT_EQ(b->MuteVideo("a", true), code::kNotHost);
}

TEST_F(HostTest, KickOutRemoves) {
  Member& a = add("a");
  Member& b = add("b");
  Member& c = add("c");
  EXPECT_EQ(a->KickOut("b"), code::kOk);
  EXPECT_TRUE(b.sink.waitRoomState(room_state::kRemovedByHost));
  EXPECT_TRUE(a.sink.waitUserState("b", user_state::kLeft));
  EXPECT_TRUE(c.sink.waitUserState("b", user_state::kLeft));
  EXPECT_TRUE(b.attendeeIds().empty());
  EXPECT_EQ(b.send("still here?"), code::kNotInRoom);
  EXPECT_EQ(b->LeaveRoom(), code::kOk);
  b.join();  // Removal is not a ban.
}

TEST_F(HostTest, KickOutChecksItsArgument) {
  Member& a = add("a");
  EXPECT_EQ(a->KickOut(nullptr), code::kInvalidArgument);
  EXPECT_EQ(a->KickOut(""), code::kInvalidArgument);
  EXPECT_EQ(a->KickOut("a"), code::kInvalidArgument);
  EXPECT_EQ(a->KickOut("nobody"), code::kNoSuchMember);
}

TEST_F(HostTest, CloseRoomEndsItForAll) {
  Member& a = add("a");
  Member& b = add("b");
  EXPECT_EQ(a->CloseRoom(), code::kOk);
  EXPECT_TRUE(a.sink.waitRoomState(room_state::kClosedByHost));
  EXPECT_TRUE(b.sink.waitRoomState(room_state::kClosedByHost));
  EXPECT_TRUE(a.attendeeIds().empty());
  b.join();
  EXPECT_EQ(b.attendeeIds(), std::vector<std::string>{"b"});
}

TEST_F(HostTest, OneMayMuteOneselfAndUndoIt) {
  Member& a = add("a");
  Member& b = add("b");
  EXPECT_EQ(b->EnablePublish(true, true), code::kOk);
  EXPECT_TRUE(waitAudio(a, "b", kOn));
  EXPECT_EQ(b->MuteAudio("b", true), code::kOk);
  EXPECT_TRUE(sawAudio(a, "b", kMuted));
  EXPECT_TRUE(sawAudio(b, "b", kMuted));
  EXPECT_TRUE(waitAudio(a, "b", kMuted));
  EXPECT_EQ(b->MuteAudio("", false), code::kOk);
  EXPECT_TRUE(waitAudio(a, "b", kOn));
  EXPECT_EQ(b->MuteVideo(nullptr, true), code::kOk);
  EXPECT_TRUE(waitCamera(a, "b", kMuted));
  EXPECT_EQ(b->MuteVideo("b", false), code::kOk);
  EXPECT_TRUE(waitCamera(a, "b", kOn));
}

TEST_F(HostTest, OnlyTheHostLiftsTheHostsMute) {
  Member& a = add("a");
  Member& b = add("b");
  EXPECT_EQ(b->EnablePublish(true, true), code::kOk);
  EXPECT_TRUE(waitAudio(a, "b", kOn));
  EXPECT_EQ(a->MuteAudio("b", true), code::kOk);
  EXPECT_EQ(a->MuteVideo("b", true), code::kOk);
  EXPECT_TRUE(waitAudio(b, "b", kMutedByHostState));
  EXPECT_TRUE(waitCamera(b, "b", kMutedByHostState));
  EXPECT_EQ(b->MuteAudio("b", false), code::kMutedByHost);
  EXPECT_EQ(b->MuteVideo("b", false), code::kMutedByHost);
  EXPECT_EQ(a->MuteAudio("b", false), code::kOk);
  EXPECT_EQ(a->MuteVideo("b", false), code::kOk);
  EXPECT_TRUE(waitAudio(b, "b", kOn));
  EXPECT_TRUE(waitCamera(a, "b", kOn));
}

TEST_F(HostTest, MutingAStrangerIsRefused) {
  Member& a = add("a");
  EXPECT_EQ(a->MuteAudio("nobody", true), code::kNoSuchMember);
  EXPECT_EQ(a->MuteVideo("nobody", true), code::kNoSuchMember);
}

TEST_F(HostTest, AMutedRoomMutesAllButTheHostAndNewcomersToo) {
  Member& a = add("a");
  Member& b = add("b");
  EXPECT_EQ(a->EnablePublish(true, false), code::kOk);
  EXPECT_EQ(a->MuteRoom(true), code::kOk);
  EXPECT_TRUE(waitAudio(a, "b", kMutedByHostState));
  EXPECT_TRUE(waitAudio(b, "b", kMutedByHostState));
  EXPECT_TRUE(waitAudio(b, "a", kOn));
  Member& c = add("c");
  EXPECT_TRUE(waitAudio(c, "c", kMutedByHostState));
  EXPECT_TRUE(waitAudio(a, "c", kMutedByHostState));
  KavrinConferenceEngineInfo info;
  c->GetRoomInfo(info);
  EXPECT_EQ(info.m_audioState, kMutedByHostState);
  EXPECT_EQ(c->MuteAudio("c", false), code::kMutedByHost);
  // The host may give the floor to one, and lift the mute for all.
  EXPECT_EQ(a->MuteAudio("c", false), code::kOk);
  EXPECT_TRUE(waitAudio(c, "c", kOff));
  EXPECT_EQ(a->MuteRoom(false), code::kOk);
  EXPECT_TRUE(waitAudio(b, "b", kOff));
}

TEST_F(HostTest, WhoBecomesHostIsFreedOfTheMute) {
  Member& a = add("a");
  Member& b = add("b");
  EXPECT_EQ(a->MuteRoom(true), code::kOk);
  ASSERT_TRUE(waitAudio(b, "b", kMutedByHostState));
  EXPECT_EQ(a->LeaveRoom(), code::kOk);
  EXPECT_TRUE(waitAudio(b, "b", kOff));
  EXPECT_EQ(b->MuteAudio("b", false), code::kOk);
}

TEST_F(HostTest, NeedsARoom) {
  Member a("a", host);
  EXPECT_EQ(a->MuteRoom(true), code::kNotLoggedIn);
  ASSERT_EQ(a.login(), code::kOk);
  EXPECT_EQ(a->MuteRoom(true), code::kNotInRoom);
  EXPECT_EQ(a->CloseRoom(), code::kNotInRoom);
  EXPECT_EQ(a->KickOut("b"), code::kNotInRoom);
  EXPECT_EQ(a->MuteAudio("b", true), code::kNotInRoom);
}

}  // namespace
}  // namespace kavrin::conference_tests
