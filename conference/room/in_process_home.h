// A home whose rooms live in this process: all engines with the same root host meet here.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "conference/room/room.h"
#include "conference/room/room_home.h"
#include "support/thread_annotations.h"

namespace kavrin::conference {

// Threads: any. One mutex guards all users and rooms of the home; it is held while events are
// queued at the members, so that everybody gets them in the same order. Media does not take it.
class InProcessHome : public RoomHome, public std::enable_shared_from_this<InProcessHome> {
 public:
  std::unique_ptr<HomeLink> connect(Identity identity,
                                    std::shared_ptr<HomeListener> listener) override;

 private:
  friend class InProcessLink;

  void login(const AttendeePtr& attendee);
  void logout(Attendee& attendee);
  void join(const AttendeePtr& attendee, const std::string& roomId, Stay stay,
            const MemberMedia& media);
  void leave(Attendee& attendee, RoomState reason) KAVRIN_REQUIRES(mutex_);
  void removeIfEmpty(const std::string& roomId) KAVRIN_REQUIRES(mutex_);

  Mutex mutex_;
  std::map<std::string, AttendeePtr> users_ KAVRIN_GUARDED_BY(mutex_);
  std::map<std::string, std::unique_ptr<Room>> rooms_ KAVRIN_GUARDED_BY(mutex_);
};

// The home of a root host; the same object for the same name for as long as somebody holds it.
// Process-wide by purpose: that is what lets engines of one process meet.
std::shared_ptr<RoomHome> inProcessHomeFor(const std::string& rootHost);

}  // namespace kavrin::conference
