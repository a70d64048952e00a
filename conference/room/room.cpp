#include "conference/room/room.h"

#include <algorithm>
#include <utility>

#include "conference/room/roster_json.h"

namespace kavrin::conference {
namespace {

StreamState stateOf(bool published, bool muted, bool mutedByHost) {
  if (mutedByHost) return StreamState::kMutedByHost;
  if (muted) return StreamState::kMuted;
  return published ? StreamState::kOn : StreamState::kOff;
}

}  // namespace

StreamState Attendee::audioState() const {
  return stateOf(media.audioPublished, media.audioMuted, audioMutedByHost);
}

StreamState Attendee::cameraState() const {
  return stateOf(media.cameraPublished, media.cameraMuted, cameraMutedByHost);
}

AttendeePtr Room::find(const std::string& userId) const {
  const auto found = std::find_if(members_.begin(), members_.end(), [&](const AttendeePtr& member) {
    return member->identity.userId == userId;
  });
  return found == members_.end() ? nullptr : *found;
}

MemberRecord Room::recordOf(const Attendee& member) const {
  MemberRecord record;
  record.presence = member.presence;
  record.userId = member.identity.userId;
  record.name = member.identity.name;
  record.extendedInfo = member.identity.extendedInfo;
  record.host = isHost(member);
  record.audio = member.audioState();
  record.camera = member.cameraState();
  record.cameraPublished = member.media.cameraPublished;
  record.screenPublished = member.media.screenPublished;
  return record;
}

Roster Room::roster() const {
  Roster roster;
  roster.reserve(members_.size());
  for (const AttendeePtr& member : members_) roster.push_back(recordOf(*member));
  return roster;
}

void Room::add(const AttendeePtr& member, Stay stay, const MemberMedia& media) {
  member->room = this;
  member->stay = stay;
  member->presence = ++lastPresence_;
  member->media = media;
  members_.push_back(member);
  member->audioMutedByHost = muted_ && !isHost(*member);
  member->cameraMutedByHost = false;
  member->demand = {};
  member->tell(home_event::Joined{roster(), muted_});
  for (const AttendeePtr& other : members_) {
    if (other != member) other->tell(home_event::MemberJoined{recordOf(*member)});
  }
  routeAll();
  publishRoster();
}

void Room::remove(Attendee& member, RoomState reason) {
  const bool wasHost = isHost(member);
  const auto gone = std::find_if(members_.begin(), members_.end(),
                                 [&](const AttendeePtr& other) { return other.get() == &member; });
  if (gone == members_.end()) return;
  const AttendeePtr keep = *gone;
  members_.erase(gone);
  forget(member, reason);
  for (const AttendeePtr& other : members_) {
    other->tell(home_event::MemberLeft{member.identity.userId});
  }
  if (wasHost && !members_.empty()) {
    Attendee& host = *members_.front();
    host.audioMutedByHost = false;
    host.cameraMutedByHost = false;
    tellChanged(host);
  }
  routeAll();
  publishRoster();
}

void Room::close() {
  const auto members = std::exchange(members_, {});
  for (const AttendeePtr& member : members) forget(*member, RoomState::kClosedByHost);
}

void Room::forget(Attendee& member, RoomState reason) {
  closeChannel(member, "left the room");
  member.router.setRoutes(member.identity.userId, std::make_shared<const Routes>());
  member.tell(home_event::Out{reason});
  member.room = nullptr;
  member.stay = 0;
}

void Room::setMedia(Attendee& member, const MemberMedia& media) {
  const MemberRecord before = recordOf(member);
  member.media = media;
  if (recordOf(member) != before) {
    tellChanged(member);
    publishRoster();
  }
  route(member);
}

void Room::infoChanged(const Attendee& member) {
  tellChanged(member);
  publishRoster();
}

void Room::subscriptionsChanged() { routeAll(); }

void Room::muteMember(Attendee& member, MediaKind kind, bool mute) {
  bool& muted = kind == MediaKind::kAudio ? member.audioMutedByHost : member.cameraMutedByHost;
  if (muted == mute) return;
  muted = mute;
  tellChanged(member);
  route(member);
  publishRoster();
}

void Room::muteRoom(bool mute) {
  muted_ = mute;
  for (const AttendeePtr& member : members_) member->tell(home_event::RoomMuted{mute});
  for (const AttendeePtr& member : members_) {
    if (isHost(*member) || member->audioMutedByHost == mute) continue;
    member->audioMutedByHost = mute;
    tellChanged(*member);
    route(*member);
  }
  publishRoster();
}

void Room::tellChanged(const Attendee& member) {
  const MemberRecord record = recordOf(member);
  for (const AttendeePtr& other : members_) other->tell(home_event::MemberChanged{record});
}

std::shared_ptr<const Routes> Room::routesOf(const Attendee& member) const {
  auto routes = std::make_shared<Routes>();
  const std::string& from = member.identity.userId;
  const bool audio = member.media.audioPublished && member.audioState() == StreamState::kOn;
  const bool camera = member.media.cameraPublished && member.cameraState() == StreamState::kOn;
  if (!audio && !camera && !member.media.screenPublished) return routes;
  for (const AttendeePtr& other : members_) {
    if (other.get() == &member) continue;
    const SubscriptionPolicy& policy = *other->policy;
    if (audio && policy.wantsAudio(from)) routes->audio.push_back(other->listener);
    if (camera && (policy.wantsCamera(from) || policy.watches(from, false))) {
      const bool small =
          member.media.cameraDual && policy.cameraStream(from) == StreamType::kCameraSmall;
      (small ? routes->cameraSmall : routes->camera).push_back(other->listener);
    }
    if (member.media.screenPublished && (policy.wantsScreen(from) || policy.watches(from, true))) {
      routes->screen.push_back(other->listener);
    }
  }
  return routes;
}

void Room::route(Attendee& member) {
  const auto routes = routesOf(member);
  member.router.setRoutes(member.identity.userId, routes);
  if (routes->demand() == member.demand) return;
  member.demand = routes->demand();
  member.tell(member.demand);
}

void Room::routeAll() {
  for (const AttendeePtr& member : members_) route(*member);
}

Code Room::sendToMember(const Attendee& from, const std::string& to,
                        const std::shared_ptr<const std::string>& text) {
  const AttendeePtr member = find(to);
  if (!member) return Code::kNoSuchMember;
  if (!member->listener->hasRoomFor(text->size())) return Code::kBusy;
  member->tell(home_event::Message{from.identity.userId, to, text});
  return Code::kOk;
}

Code Room::sendToRoom(const Attendee& from, const std::shared_ptr<const std::string>& text) {
  for (const AttendeePtr& member : members_) {
    if (member.get() != &from && !member->listener->hasRoomFor(text->size())) {
      return Code::kBusy;
    }
  }
  for (const AttendeePtr& member : members_) {
    if (member.get() != &from) member->tell(home_event::Message{from.identity.userId, "", text});
  }
  return Code::kOk;
}

Code Room::sendToTopic(const std::string& topic, const std::shared_ptr<const std::string>& text) {
  for (const AttendeePtr& member : members_) {
    if (member->topics.count(topic) && !member->listener->hasRoomFor(text->size())) {
      return Code::kBusy;
    }
  }
  for (const AttendeePtr& member : members_) {
    if (member->topics.count(topic)) member->tell(home_event::TopicMessage{text});
  }
  return Code::kOk;
}

void Room::openChannel(Attendee& member) {
  if (std::exchange(member.channelOpen, true)) return;
  member.tell(home_event::Channel{ChannelState::kOpening, "opening"});
  member.tell(home_event::Channel{ChannelState::kOpen, "open"});
}

void Room::closeChannel(Attendee& member, const char* reason) {
  member.topics.clear();
  if (!std::exchange(member.channelOpen, false)) return;
  member.tell(home_event::Channel{ChannelState::kClosed, reason});
}

void Room::subscribe(Attendee& member, const std::string& topic) {
  if (!member.channelOpen || !member.topics.insert(topic).second) return;
  if (topic == kRosterTopic) {
    member.tell(home_event::TopicMessage{
        std::make_shared<const std::string>(rosterJson(id_, muted_, roster()))});
  }
}

void Room::publishRoster() {
  std::shared_ptr<const std::string> text;
  for (const AttendeePtr& member : members_) {
    if (!member->topics.count(kRosterTopic)) continue;
    if (!text) text = std::make_shared<const std::string>(rosterJson(id_, muted_, roster()));
    member->tell(home_event::TopicMessage{text});
  }
}

}  // namespace kavrin::conference
