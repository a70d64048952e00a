#include <algorithm>
#include <set>

#include "tests/conference/member.h"

namespace kavrin::conference_tests {
namespace {

using Ids = std::vector<std::string>;

TEST_F(RoomTest, ReportsJoiningThenJoined) {
  Member& a = add("a");
  const auto states = a.sink.events("RoomStateChange");
  ASSERT_EQ(states.size(), 2u);
  EXPECT_EQ(states[0].numbers[0], room_state::kJoining);
  EXPECT_EQ(states[1].numbers[0], room_state::kJoined);
  EXPECT_EQ(states[0].room, "room");
  EXPECT_EQ(states[1].localUid, "a");
}

TEST_F(RoomTest, EverybodySeesWhoComesAndGoes) {
  Member& a = add("a");
  Member& b = add("b");
  Member& c = add("c");
  EXPECT_EQ(a.attendeeIds(), (Ids{"a", "b", "c"}));
  EXPECT_EQ(b.attendeeIds(), (Ids{"a", "b", "c"}));
  EXPECT_EQ(c.attendeeIds(), (Ids{"a", "b", "c"}));
  EXPECT_EQ(b->LeaveRoom(), code::kOk);
  EXPECT_TRUE(b.attendeeIds().empty());
  EXPECT_TRUE(a.sink.waitUserState("b", user_state::kLeft));
  EXPECT_TRUE(c.sink.waitUserState("b", user_state::kLeft));
  EXPECT_TRUE(b.sink.waitRoomState(room_state::kLeft));
  EXPECT_EQ(a.attendeeIds(), (Ids{"a", "c"}));
}

TEST_F(RoomTest, RoomsAndRootHostsKeepApart) {
  Member& a = add("a", "one");
  Member b("b", host);
  b.join("two");
  Member c("c", uniqueHost());
  c.join("one");
  std::this_thread::sleep_for(50ms);
  EXPECT_EQ(a.attendeeIds(), (Ids{"a"}));
  EXPECT_EQ(b.attendeeIds(), (Ids{"b"}));
  EXPECT_EQ(c.attendeeIds(), (Ids{"c"}));
}

TEST_F(RoomTest, RefusesASecondRoomAndAllowsTheNextAfterLeaving) {
  Member& a = add("a");
  EXPECT_EQ(a->JoinRoom("room"), code::kAlreadyInRoom);
  EXPECT_EQ(a->JoinRoom("other"), code::kAlreadyInRoom);
  EXPECT_EQ(a->LeaveRoom(), code::kOk);
  EXPECT_EQ(a->JoinRoom("other"), code::kOk);
  EXPECT_TRUE(a.sink.waitEvent([](const Event& event) {
    return event.name == "RoomStateChange" && event.room == "other" &&
           event.numbers[0] == room_state::kJoined;
  }));
}

TEST_F(RoomTest, LeavingPromisesToBeOutsideAndSucceedsThere) {
  Member a("a", host);
  EXPECT_EQ(a->LeaveRoom(), code::kOk);
  ASSERT_EQ(a.login(), code::kOk);
  EXPECT_EQ(a->LeaveRoom(), code::kOk);
}

TEST_F(RoomTest, NamesMustBeUsable) {
  Member a("a", host);
  ASSERT_EQ(a.login(), code::kOk);
  EXPECT_EQ(a->JoinRoom(nullptr), code::kInvalidArgument);
  EXPECT_EQ(a->JoinRoom(""), code::kInvalidArgument);
  EXPECT_EQ(a->JoinRoom("\xc3"), code::kInvalidArgument);
  EXPECT_EQ(a->JoinRoom(std::string(1000000, 'r').c_str()), code::kInvalidArgument);
  EXPECT_EQ(a->JoinRoom("Raum für drei 😀"), code::kOk);
}

TEST_F(RoomTest, NeedsALogin) {
  Member a("a", host);
  EXPECT_EQ(a->JoinRoom("room"), code::kNotLoggedIn);
}

TEST_F(RoomTest, ExtendedInfoTravels) {
  Member a("a", host);
  ASSERT_EQ(a.login(), code::kOk);
  EXPECT_EQ(a->SetUserExtendedInfo("first {\"ü\":1}"), code::kOk);
  a.join();
  Member b("b", host);
  b.join();
  ASSERT_TRUE(b.sink.waitUserState("a", user_state::kJoined));
  const auto infoAtB = [&] {
    for (const auto& user : b->GetRoomAttendees()) {
      if (std::string("a") == user.m_pUserId) return std::string(user.m_pUserExtInfo);
    }
    return std::string("absent");
  };
  EXPECT_EQ(infoAtB(), "first {\"ü\":1}");
  EXPECT_EQ(a->SetUserExtendedInfo("second"), code::kOk);
  EXPECT_TRUE(b.sink.waitUserState("a", user_state::kInfoChanged));
  EXPECT_EQ(infoAtB(), "second");
  EXPECT_EQ(a->SetUserExtendedInfo(nullptr), code::kOk);
  EXPECT_TRUE(b.sink.waitUntil([&] { return infoAtB().empty(); }));
  EXPECT_EQ(a->SetUserExtendedInfo(std::string(70000, 'x').c_str()), code::kTooLarge);
}

TEST_F(RoomTest, AttendeesCarryNames) {
  Member& a = add("a");
  const auto& users = a->GetRoomAttendees();
  ASSERT_EQ(users.size(), 1u);
  EXPECT_STREQ(users[0].m_pUserName, "Name of a");
  EXPECT_STREQ(users[0].m_pUserId, "a");
}

TEST_F(RoomTest, RoomInfoAgreesWithTheAttendees) {
  Member& a = add("a");
  add("b");
  KavrinConferenceEngineInfo info;
  a->GetRoomInfo(info);
  EXPECT_EQ(info.m_roomId, "room");
  EXPECT_EQ(info.m_conferenceState, room_state::kJoined);
  ASSERT_EQ(info.UserCount(), 2);
  EXPECT_STREQ(info.UserAt(0).m_pUserId, "a");
  EXPECT_STREQ(info.UserAt(1).m_pUserId, "b");
  EXPECT_EQ(a->LeaveRoom(), code::kOk);
  a->GetRoomInfo(info);
  EXPECT_EQ(info.m_roomId, "");
  EXPECT_EQ(info.m_conferenceState, room_state::kLeft);
  EXPECT_EQ(info.UserCount(), 0);
}

// Whatever a callback tells, the list says the same at that moment.
class Witness {
 public:
  // The witness must outlive the member.
  void watch(Member& member) {
    member_ = &member;
    member.sink.during = [this](const Event& event) { check(event); };
  }
  int disagreements() const { return disagreements_; }
  int checks() const { return checks_; }

 private:
  void check(const Event& event) {
    if (event.name == "RoomStateChange") {
      known_.clear();
      if (event.numbers[0] == room_state::kJoined) known_.insert(member_->id());
    } else if (event.name == "RoomMemberStateChange") {
      if (event.numbers[0] == user_state::kJoined) known_.insert(event.user);
      if (event.numbers[0] == user_state::kLeft) known_.erase(event.user);
    } else {
      return;
    }
    ++checks_;
    const auto ids = member_->attendeeIds();
    KavrinConferenceEngineInfo info;
    (*member_)->GetRoomInfo(info);
    // Between LeaveRoom's return and its event, the list is already empty.
    if (ids.empty() && info.m_roomId.empty()) return;
    const bool same = std::set<std::string>(ids.begin(), ids.end()) == known_;
    if (!same || info.UserCount() != static_cast<int>(ids.size())) ++disagreements_;
  }

  Member* member_ = nullptr;
  std::set<std::string> known_;
  std::atomic<int> disagreements_{0};
  std::atomic<int> checks_{0};
};

TEST_F(RoomTest, ListsAgreeWithTheEventsAtEveryMoment) {
  Witness witness;
  Member a("a", host);
  witness.watch(a);
  ASSERT_EQ(a.login(), code::kOk);
  Member b("b", host), c("c", host);
  b.join();
  a.join();
  for (int round = 0; round < 20; ++round) {
    c.join();
    EXPECT_EQ(c->LeaveRoom(), code::kOk);
    ASSERT_TRUE(c.sink.waitUntil(
        [&] { return c.sink.events("RoomStateChange").back().numbers[0] == room_state::kLeft; }));
  }
  ASSERT_TRUE(a.sink.waitUntil([&] {
    const auto states = a.sink.events("RoomMemberStateChange");
    return std::count_if(states.begin(), states.end(), [](const Event& event) {
             return event.user == "c" && event.numbers[0] == user_state::kLeft;
           }) == 20;
  }));
  EXPECT_EQ(witness.disagreements(), 0);
  EXPECT_GT(witness.checks(), 40);
}

TEST_F(RoomTest, UnInitLeavesTheRoom) {
  Member& a = add("a");
  Member& b = add("b");
  EXPECT_EQ(b->UnInit(), code::kOk);
  EXPECT_TRUE(a.sink.waitUserState("b", user_state::kLeft));
}

}  // namespace
}  // namespace kavrin::conference_tests
