#include "conference/room/in_process_home.h"

#include <utility>

#include "conference/room/in_process_link.h"

namespace kavrin::conference {

std::unique_ptr<HomeLink> InProcessHome::connect(Identity identity,
                                                 std::shared_ptr<HomeListener> listener) {
  auto attendee = std::make_shared<Attendee>();
  attendee->identity = std::move(identity);
  attendee->listener = std::move(listener);
  return std::make_unique<InProcessLink>(shared_from_this(), std::move(attendee));
}

void InProcessHome::login(const AttendeePtr& attendee) {
  MutexLock lock(mutex_);
  AttendeePtr& user = users_[attendee->identity.userId];
  if (user && user != attendee) {
    user->tell(home_event::Replaced{});
    leave(*user, RoomState::kLoggedInElsewhere);
    user->loggedIn = false;
  }
  user = attendee;
  attendee->loggedIn = true;
  attendee->tell(home_event::LoginDone{Code::kOk});
}

void InProcessHome::logout(Attendee& attendee) {
  MutexLock lock(mutex_);
  if (!attendee.loggedIn) return;
  leave(attendee, RoomState::kLeft);
  attendee.loggedIn = false;
  users_.erase(attendee.identity.userId);
}

void InProcessHome::join(const AttendeePtr& attendee, const std::string& roomId, Stay stay,
                         const MemberMedia& media) {
  MutexLock lock(mutex_);
  if (!attendee->loggedIn) {
    attendee->listener->onEvent({stay, home_event::JoinFailed{Code::kNotLoggedIn}});
    return;
  }
  leave(*attendee, RoomState::kLeft);
  std::unique_ptr<Room>& room = rooms_[roomId];
  if (!room) room = std::make_unique<Room>(roomId);
  room->add(attendee, stay, media);
}

void InProcessHome::leave(Attendee& attendee, RoomState reason) {
  Room* room = attendee.room;
  if (room == nullptr) return;
  room->remove(attendee, reason);
  removeIfEmpty(room->id());
}

void InProcessHome::removeIfEmpty(const std::string& roomId) {
  const auto found = rooms_.find(roomId);
  if (found != rooms_.end() && found->second->empty()) rooms_.erase(found);
}

std::shared_ptr<RoomHome> inProcessHomeFor(const std::string& rootHost) {
  static Mutex mutex;
  // Never destroyed: it outlives the threads that use it, also while the process ends.
  static auto& homes = *new std::map<std::string, std::weak_ptr<InProcessHome>>;
  MutexLock lock(mutex);
  for (auto home = homes.begin(); home != homes.end();) {
    home = home->second.expired() ? homes.erase(home) : std::next(home);
  }
  std::shared_ptr<InProcessHome> home = homes[rootHost].lock();
  if (!home) homes[rootHost] = home = std::make_shared<InProcessHome>();
  return home;
}

}  // namespace kavrin::conference
