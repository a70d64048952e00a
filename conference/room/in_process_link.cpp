#include "conference/room/in_process_link.h"

#include <utility>

namespace kavrin::conference {

void InProcessLink::leave() {
  MutexLock lock(home_->mutex_);
  home_->leave(*self_, RoomState::kLeft);
}

void InProcessLink::setExtendedInfo(const std::string& info) {
  MutexLock lock(home_->mutex_);
  self_->identity.extendedInfo = info;
  if (self_->room) self_->room->infoChanged(*self_);
}

void InProcessLink::setMedia(const MemberMedia& media) {
  MutexLock lock(home_->mutex_);
  if (self_->room) self_->room->setMedia(*self_, media);
}

void InProcessLink::setSubscriptions(std::shared_ptr<const SubscriptionPolicy> policy) {
  MutexLock lock(home_->mutex_);
  self_->policy = std::move(policy);
  if (self_->room) self_->room->subscriptionsChanged();
}

Room* InProcessLink::hosted(const char* request) {
  Room* room = self_->room;
  if (room == nullptr) return nullptr;
  if (room->isHost(*self_)) return room;
  self_->tell(home_event::Refused{Code::kNotHost, request});
  return nullptr;
}

void InProcessLink::kick(const std::string& userId) {
  MutexLock lock(home_->mutex_);
  Room* room = hosted("KickOut");
  if (room == nullptr || userId == userId_) return;
  const AttendeePtr member = room->find(userId);
  if (member) {
    room->remove(*member, RoomState::kRemovedByHost);
  } else {
    self_->tell(home_event::Refused{Code::kNoSuchMember, "KickOut"});
  }
}

void InProcessLink::muteMember(const std::string& userId, MediaKind kind, bool mute) {
  const char* request = kind == MediaKind::kAudio ? "MuteAudio" : "MuteVideo";
  MutexLock lock(home_->mutex_);
  Room* room = hosted(request);
  if (room == nullptr || userId == userId_) return;
  const AttendeePtr member = room->find(userId);
  if (member) {
    room->muteMember(*member, kind, mute);
  } else {
    self_->tell(home_event::Refused{Code::kNoSuchMember, request});
  }
}

void InProcessLink::muteRoom(bool mute) {
  MutexLock lock(home_->mutex_);
  if (Room* room = hosted("MuteRoom")) room->muteRoom(mute);
}

void InProcessLink::closeRoom() {
  MutexLock lock(home_->mutex_);
  Room* room = hosted("CloseRoom");
  if (room == nullptr) return;
  room->close();
  home_->removeIfEmpty(room->id());
}

void InProcessLink::sendMessage(std::uint64_t id, std::string text, const std::string& to) {
  MutexLock lock(home_->mutex_);
  const Code code = send(std::move(text), to);
  self_->listener->onEvent({0, home_event::MessageDone{id, code}});
}

Code InProcessLink::send(std::string text, const std::string& to) {
  if (!self_->loggedIn) return Code::kLoggedInElsewhere;
  Room* room = self_->room;
  if (room == nullptr) return Code::kNotInRoom;
  const auto shared = std::make_shared<const std::string>(std::move(text));
  if (to.empty()) return room->sendToRoom(*self_, shared);
  if (to.front() == '#') return room->sendToTopic(to.substr(1), shared);
  return room->sendToMember(*self_, to, shared);
}

void InProcessLink::openChannel() {
  MutexLock lock(home_->mutex_);
  if (self_->room) self_->room->openChannel(*self_);
}

void InProcessLink::closeChannel() {
  MutexLock lock(home_->mutex_);
  if (self_->room) self_->room->closeChannel(*self_, "deleted");
}

void InProcessLink::subscribeTopic(const std::string& topic) {
  MutexLock lock(home_->mutex_);
  if (self_->room) self_->room->subscribe(*self_, topic);
}

void InProcessLink::unsubscribeTopic(const std::string& topic) {
  MutexLock lock(home_->mutex_);
  self_->topics.erase(topic);
}

}  // namespace kavrin::conference
