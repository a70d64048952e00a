// Where rooms live: in this process now, on a server later. An engine reaches its rooms only
// through a HomeLink and hears of them only through a HomeListener.
//
// Requests return at once and their outcome arrives as an event. Events of one link arrive in the
// order in which the home made them, and all members of a room see the room's changes in the same
// order.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <variant>

#include "conference/media/picture.h"
#include "conference/room/member.h"
#include "conference/room/subscription_policy.h"

namespace kavrin::conference {

// Tells apart one link's stays in rooms, so that news of a room left earlier can be recognised.
using Stay = std::uint64_t;

namespace home_event {

struct LoginDone {
  Code code;
};
// Another login under the same user id took over; the link is dead.
struct Replaced {};
struct Joined {
  Roster roster;  // the new member included
  bool roomMuted;
};
struct JoinFailed {
  Code code;
};
struct MemberJoined {
  MemberRecord member;
};
struct MemberLeft {
  std::string userId;
};
struct MemberChanged {
  MemberRecord member;
};
struct RoomMuted {
  bool muted;
};
// The end of the stay.
struct Out {
  RoomState reason;
};
// The network home's link to its server went away, came back or is lost for good.
struct Connection {
  RoomState state;
};
// A request was refused after it had been accepted for sending.
struct Refused {
  Code code;
  const char* request;  // a literal
};
struct Message {
  std::string from;
  std::string to;  // empty for the whole room
  std::shared_ptr<const std::string> text;
};
struct MessageDone {
  std::uint64_t id;
  Code code;
};
struct TopicMessage {
  std::shared_ptr<const std::string> text;
};
struct Channel {
  ChannelState state;
  const char* text;  // a literal
};
// Which of this member's streams anybody wants.
struct Demand {
  bool audio = false;
  bool camera = false;
  bool cameraSmall = false;
  bool screen = false;

  bool operator==(const Demand&) const = default;
};

}  // namespace home_event

struct HomeEvent {
  Stay stay = 0;  // 0 for events outside rooms
  std::variant<home_event::LoginDone, home_event::Replaced, home_event::Joined,
               home_event::JoinFailed, home_event::MemberJoined, home_event::MemberLeft,
               home_event::MemberChanged, home_event::RoomMuted, home_event::Out,
               home_event::Connection, home_event::Refused, home_event::Message,
               home_event::MessageDone, home_event::TopicMessage, home_event::Channel,
               home_event::Demand>
      body;
};

// The engine's side. Called on any thread, possibly with the home's lock held: implementations
// only queue, they neither block nor call back.
class HomeListener {
 public:
  virtual ~HomeListener() = default;
  virtual void onEvent(HomeEvent event) = 0;
  virtual void onPicture(const std::string& from, const PicturePtr& picture) = 0;
  virtual void onSound(const std::string& from, const SoundPtr& sound) = 0;
  // False while too many messages wait to be taken.
  virtual bool hasRoomFor(std::size_t messageBytes) const = 0;
};

struct Identity {
  std::string userId;
  std::string name;
  std::string password;
  std::string extendedInfo;
};

// A user's connection to its home. Threads: any. Destroying it logs out.
class HomeLink {
 public:
  virtual ~HomeLink() = default;

  virtual void login() = 0;   // LoginDone
  virtual void logout() = 0;  // leaves the room, too; Out, when there was one
  virtual void join(const std::string& roomId, Stay stay, const MemberMedia& media) = 0;  // Joined
  virtual void leave() = 0;                                                               // Out

  virtual void setExtendedInfo(const std::string& info) = 0;
  virtual void setMedia(const MemberMedia& media) = 0;
  virtual void setSubscriptions(std::shared_ptr<const SubscriptionPolicy> policy) = 0;

  // The host's requests.
  virtual void kick(const std::string& userId) = 0;
  virtual void muteMember(const std::string& userId, MediaKind kind, bool mute) = 0;
  virtual void muteRoom(bool mute) = 0;
  virtual void closeRoom() = 0;

  // `to` empty: everybody else in the room; "#topic": whoever subscribed to the topic. MessageDone.
  virtual void sendMessage(std::uint64_t id, std::string text, const std::string& to) = 0;
  virtual void openChannel() = 0;   // Channel
  virtual void closeChannel() = 0;  // Channel
  virtual void subscribeTopic(const std::string& topic) = 0;
  virtual void unsubscribeTopic(const std::string& topic) = 0;

  // Media of the current stay; dropped where nobody wants it.
  virtual void sendPicture(const PicturePtr& picture) = 0;
  virtual void sendSound(const SoundPtr& sound) = 0;
};

class RoomHome {
 public:
  virtual ~RoomHome() = default;
  virtual std::unique_ptr<HomeLink> connect(Identity identity,
                                            std::shared_ptr<HomeListener> listener) = 0;
};

}  // namespace kavrin::conference
