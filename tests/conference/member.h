// A conference member for tests: an engine, its recorder, and the steps that most tests begin with.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "engine/engine_interface.h"
#include "tests/conference/recording_sink.h"

namespace kavrin::conference_tests {

// The numbers of docs/engine.md that tests refer to; written out here, not taken from the library.
namespace code {
inline constexpr int kOk = 0;
inline constexpr int kInvalidArgument = 1001;
inline constexpr int kNotLoggedIn = 1002;
inline constexpr int kAlreadyLoggedIn = 1003;
inline constexpr int kNotInRoom = 1004;
inline constexpr int kAlreadyInRoom = 1005;
inline constexpr int kNotHost = 1006;
inline constexpr int kMutedByHost = 1007;
inline constexpr int kNoSuchMember = 1008;
inline constexpr int kNoSuchDevice = 1009;
inline constexpr int kNotRunning = 1010;
inline constexpr int kAlreadyRunning = 1011;
inline constexpr int kNoDataChannel = 1012;
inline constexpr int kReservedTopic = 1013;
inline constexpr int kTooLarge = 1014;
inline constexpr int kBusy = 1015;
inline constexpr int kFileError = 1016;
inline constexpr int kNoPicture = 1017;
inline constexpr int kCancelled = 1019;
inline constexpr int kStopped = 1020;
inline constexpr int kLoggedInElsewhere = 1022;
}  // namespace code

namespace room_state {
inline constexpr int kJoining = 1;
inline constexpr int kJoined = 2;
inline constexpr int kLeft = 3;
inline constexpr int kClosedByHost = 4;
inline constexpr int kRemovedByHost = 5;
inline constexpr int kLoggedInElsewhere = 6;
}  // namespace room_state

namespace user_state {
inline constexpr int kJoined = 1;
inline constexpr int kLeft = 2;
inline constexpr int kHost = 3;
inline constexpr int kCameraStarted = 4;
inline constexpr int kScreenStarted = 5;
inline constexpr int kInfoChanged = 6;
inline constexpr int kCameraStopped = 7;
inline constexpr int kScreenStopped = 8;
inline constexpr int kLoggedInElsewhere = 18;
}  // namespace user_state

// A root host that no other test uses.
std::string uniqueHost();

class Member {
 public:
  Member(std::string userId, std::string rootHost);
  ~Member();
  Member(const Member&) = delete;
  Member& operator=(const Member&) = delete;

  KavrinConferenceEngine* operator->() { return engine_; }
  KavrinConferenceEngine& engine() { return *engine_; }
  const std::string& id() const { return userId_; }

  // The login's code, waited for; -1 when none came.
  int login();
  // Logs in when necessary, joins and waits until the room has been joined.
  void join(const std::string& roomId = "room");
  // The code of a message, waited for; -1 when none came.
  int send(const std::string& text, const char* to = nullptr);
  // UnInit and DestroyConfEngine.
  void destroy();

  std::vector<std::string> attendeeIds();
  // audio, camera, screen of a member as GetRoomAttendees tells; -1s for an unknown member
  std::vector<int> attendeeStates(const std::string& userId);

  RecordingSink sink;

 private:
  const std::string userId_;
  KavrinConferenceEngine* engine_;
  bool loggedIn_ = false;
};

// Members a, b, c… of one room, joined in this order; each has seen all the others.
class RoomTest : public ::testing::Test {
 protected:
  RoomTest() : host(uniqueHost()) {}
  Member& add(const std::string& userId, const std::string& roomId = "room");
  Member& operator[](const std::string& userId);

  const std::string host;
  std::vector<std::unique_ptr<Member>> members;
};

}  // namespace kavrin::conference_tests
