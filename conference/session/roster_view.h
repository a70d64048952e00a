// The members of the current room as far as they have been reported to the host.
#pragma once

#include <string>
#include <vector>

#include "conference/room/member.h"
#include "conference/room/room_home.h"

namespace kavrin::conference {

// One visible change of one member; each is reported by one callback.
struct RosterStep {
  enum class Kind {
    kJoined,
    kLeft,
    kHost,
    kInfo,
    kAudio,
    kCamera,
    kCameraStarted,
    kCameraStopped,
    kScreen,
    kScreenStarted,
    kScreenStopped
  };
  Kind kind;
  MemberRecord member;  // as it is to be after all steps of the change
};

// The list changes step by step, each step just before its callback, so that the list and the
// callbacks agree at every moment. Not thread-safe.
class RosterView {
 public:
  Stay stay() const { return stay_; }
  const std::string& roomId() const { return roomId_; }
  const Roster& members() const { return members_; }
  const MemberRecord* find(const std::string& userId) const;
  bool roomMuted() const { return roomMuted_; }
  void setRoomMuted(bool muted) { roomMuted_ = muted; }

  // A room whose members are yet to be applied.
  void begin(Stay stay, const std::string& roomId);
  void end();

  std::vector<RosterStep> stepsTo(const MemberRecord& member) const;
  std::vector<RosterStep> stepsToLeave(const std::string& userId) const;
  // The end of all streams.
  std::vector<RosterStep> stepsToEnd() const;
  void apply(const RosterStep& step);

 private:
  MemberRecord* findToChange(const std::string& userId);

  Stay stay_ = 0;
  std::string roomId_;
  bool roomMuted_ = false;
  Roster members_;
};

}  // namespace kavrin::conference
