// One room of an in-process home: who is in it, who is host, who is muted, who hears whom.
#pragma once

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "conference/room/media_router.h"
#include "conference/room/room_home.h"

namespace kavrin::conference {

class Room;

// A logged-in user at its home. Guarded by the home's mutex, but for `router`, which guards itself.
struct Attendee {
  Identity identity;
  std::shared_ptr<HomeListener> listener;
  bool loggedIn = false;
  std::shared_ptr<const SubscriptionPolicy> policy = std::make_shared<const SubscriptionPolicy>();

  // Of the current stay.
  Room* room = nullptr;
  Stay stay = 0;
  std::uint64_t presence = 0;
  MemberMedia media;
  bool audioMutedByHost = false;
  bool cameraMutedByHost = false;
  bool channelOpen = false;
  std::set<std::string> topics;
  home_event::Demand demand;

  MediaRouter router;

  StreamState audioState() const;
  StreamState cameraState() const;
  template <typename Body>
  void tell(Body body) const {
    listener->onEvent({stay, std::move(body)});
  }
};
using AttendeePtr = std::shared_ptr<Attendee>;

// Threads: every function is called with the home's mutex held.
class Room {
 public:
  explicit Room(std::string id) : id_(std::move(id)) {}
  Room(const Room&) = delete;
  Room& operator=(const Room&) = delete;

  const std::string& id() const { return id_; }
  bool empty() const { return members_.empty(); }
  bool isHost(const Attendee& member) const {
    return !members_.empty() && members_.front().get() == &member;
  }
  AttendeePtr find(const std::string& userId) const;

  void add(const AttendeePtr& member, Stay stay, const MemberMedia& media);
  // The next in order of presence becomes host. The removed member hears `reason`.
  void remove(Attendee& member, RoomState reason);
  void close();

  void setMedia(Attendee& member, const MemberMedia& media);
  void infoChanged(const Attendee& member);
  void subscriptionsChanged();
  void muteMember(Attendee& member, MediaKind kind, bool mute);
  void muteRoom(bool mute);

  // Messages reach all of their receivers or, when one has no room for it, none.
  Code sendToMember(const Attendee& from, const std::string& to,
                    const std::shared_ptr<const std::string>& text);
  Code sendToRoom(const Attendee& from, const std::shared_ptr<const std::string>& text);
  Code sendToTopic(const std::string& topic, const std::shared_ptr<const std::string>& text);
  void openChannel(Attendee& member);
  void closeChannel(Attendee& member, const char* reason);
  void subscribe(Attendee& member, const std::string& topic);

 private:
  MemberRecord recordOf(const Attendee& member) const;
  Roster roster() const;
  void tellChanged(const Attendee& member);
  void forget(Attendee& member, RoomState reason);
  void publishRoster();
  void route(Attendee& member);
  void routeAll();
  std::shared_ptr<const Routes> routesOf(const Attendee& member) const;

  const std::string id_;
  std::vector<AttendeePtr> members_;  // in order of presence; the first is host
  std::uint64_t lastPresence_ = 0;
  bool muted_ = false;
};

}  // namespace kavrin::conference
