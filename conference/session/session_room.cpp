#include <algorithm>
#include <utility>

#include "conference/base/text.h"
#include "conference/room/roster_json.h"
#include "conference/session/session.h"

namespace kavrin::conference {
namespace {

constexpr std::size_t kMaxTopics = 256;

// What a message may be addressed to, checked as far as the sender can.
Code checkMessage(const std::string& text, const std::string& to) {
  if (text.empty()) return Code::kInvalidArgument;
  if (text.size() > kMaxMessageSize) return Code::kTooLarge;
  if (to.empty()) return Code::kOk;
  if (!isId(to) || to == "#") return Code::kInvalidArgument;
  if (to.rfind(std::string("#") + kReservedTopicPrefix, 0) == 0) return Code::kReservedTopic;
  return Code::kOk;
}

}  // namespace

Code Session::inRoom() const {
  const Code code = ready();
  if (code != Code::kOk) return code;
  return joined() ? Code::kOk : Code::kNotInRoom;
}

Code Session::asHost() const {
  const Code code = inRoom();
  if (code != Code::kOk) return code;
  return situation_.host ? Code::kOk : Code::kNotHost;
}

Session::ConfRoom Session::roomOf(Stay stay) const {
  const auto found = roomIds_.find(stay);
  return {found == roomIds_.end() ? std::string() : found->second, userId_};
}

Session::ConfRoom Session::room() const {
  MutexLock lock(mutex_);
  return roomOf(stay_);
}

Code Session::setExtendedInfo(const std::string& info) {
  if (info.size() > kMaxInfoSize) return Code::kTooLarge;
  MutexLock lock(mutex_);
  const Code code = alive();
  if (code != Code::kOk) return code;
  extendedInfo_ = info;
  if (link_) link_->setExtendedInfo(info);
  return Code::kOk;
}

Code Session::joinRoom(const std::string& roomId) {
  if (!isId(roomId)) return Code::kInvalidArgument;
  MutexLock lock(mutex_);
  const Code code = ready();
  if (code != Code::kOk) return code;
  if (stay_ != 0) return Code::kAlreadyInRoom;
  if (settings_.loopbackTest) return Code::kAlreadyRunning;
  stay_ = ++lastStay_;
  roomIds_[stay_] = roomId;
  roomState_ = RoomState::kJoining;
  post([stay = stay_](Session& self) { self.reportRoomState(stay, RoomState::kJoining); });
  link_->join(roomId, stay_, mediaOf(settings_));
  log_.line("JoinRoom " + roomId);
  return Code::kOk;
}

Code Session::leaveRoom() {
  MutexLock lock(mutex_);
  const Code code = alive();
  if (code != Code::kOk) return code;
  if (stay_ == 0) return Code::kOk;  // The promise is to be in no room afterwards.
  endStay(RoomState::kLeft);
  link_->leave();
  log_.line("LeaveRoom");
  return Code::kOk;
}

void Session::endStay(RoomState state) {
  stay_ = 0;
  roomState_ = state;
  situation_ = RoomSituation();
  settings_.share.reset();
  channelWanted_ = false;
  topics_.clear();
  replan();
}

Code Session::changeHost(const std::function<void(HomeLink&)>& request, const std::string& userId) {
  MutexLock lock(mutex_);
  const Code code = asHost();
  if (code != Code::kOk) return code;
  if (!userId.empty() && view_.find(userId) == nullptr) return Code::kNoSuchMember;
  request(*link_);
  return Code::kOk;
}

Code Session::kickOut(const std::string& userId) {
  if (userId.empty()) return Code::kInvalidArgument;
  {
    MutexLock lock(mutex_);
    const Code code = asHost();
    if (code != Code::kOk) return code;
    if (userId == userId_) return Code::kInvalidArgument;
  }
  return changeHost([&](HomeLink& link) { link.kick(userId); }, userId);
}

Code Session::muteRoom(bool enable) {
  return changeHost([&](HomeLink& link) { link.muteRoom(enable); }, {});
}

Code Session::closeRoom() {
  return changeHost([](HomeLink& link) { link.closeRoom(); }, {});
}

Code Session::mute(const std::string& userId, MediaKind kind, bool enable) {
  {
    MutexLock lock(mutex_);
    const Code code = alive();
    if (code != Code::kOk) return code;
    if (userId.empty() || userId == userId_) {
      const bool audio = kind == MediaKind::kAudio;
      const bool mutedByHost = audio ? situation_.audioMutedByHost : situation_.cameraMutedByHost;
      if (mutedByHost && !enable) return Code::kMutedByHost;
      (audio ? settings_.audioMuted : settings_.cameraMuted) = enable;
      pushMedia();
      return Code::kOk;
    }
  }
  return changeHost([&](HomeLink& link) { link.muteMember(userId, kind, enable); }, userId);
}

Roster Session::attendees() const {
  MutexLock lock(mutex_);
  return joined() ? view_.members() : Roster();
}

namespace {

std::int32_t stateOfAll(const Roster& roster, bool (*on)(const MemberRecord&)) {
  return std::any_of(roster.begin(), roster.end(), on)
             ? static_cast<std::int32_t>(StreamState::kOn)
             : static_cast<std::int32_t>(StreamState::kOff);
}

}  // namespace

void Session::roomInfo(KavrinConferenceEngineInfo& info) const {
  info = KavrinConferenceEngineInfo();
  MutexLock lock(mutex_);
  info.m_conferenceState = static_cast<std::int32_t>(roomState_);
  if (stay_ != 0) info.m_roomId = roomOf(stay_).m_roomId;
  if (!joined()) return;
  const Roster& roster = view_.members();
  info.m_audioState =
      view_.roomMuted()
          ? static_cast<std::int32_t>(StreamState::kMutedByHost)
          : stateOfAll(roster, [](const auto& m) { return m.audio == StreamState::kOn; });
  info.m_videoState =
      stateOfAll(roster, [](const auto& m) { return m.camera == StreamState::kOn; });
  info.m_shareState = stateOfAll(roster, [](const auto& m) { return m.screenPublished; });
  for (const MemberRecord& member : roster) info.AddUser(userOf(member));
}

KavrinConferenceEngineUser userOf(const MemberRecord& member) {
  KavrinConferenceEngineUser user(member.name.c_str(), member.userId.c_str(),
                                  member.extendedInfo.c_str());
  user.m_audioState = static_cast<std::uint8_t>(member.audio);
  user.m_cameraState = static_cast<std::uint8_t>(member.camera);
  user.m_screenShareState = member.screenPublished ? 1 : 0;
  return user;
}

void Session::sendMessage(std::string text, const std::string& to, Completion completion) {
  const Completions::Id id = completions_.add(std::move(completion));
  if (id == 0) return;
  Code code = checkMessage(text, to);
  if (code == Code::kOk) {
    MutexLock lock(mutex_);
    code = inRoom();
    if (code == Code::kOk) link_->sendMessage(id, std::move(text), to);
  }
  if (code != Code::kOk) finishLater(id, code);
}

Code Session::createDataChannel() {
  MutexLock lock(mutex_);
  const Code code = inRoom();
  if (code != Code::kOk) return code;
  if (channelWanted_) return Code::kAlreadyRunning;
  channelWanted_ = true;
  link_->openChannel();
  return Code::kOk;
}

Code Session::subscribeData(const std::string& topic) {
  if (!isId(topic)) return Code::kInvalidArgument;
  MutexLock lock(mutex_);
  const Code code = inRoom();
  if (code != Code::kOk) return code;
  if (!channelWanted_) return Code::kNoDataChannel;
  if (topics_.size() >= kMaxTopics && !topics_.count(topic)) return Code::kTooLarge;
  if (topics_.insert(topic).second) link_->subscribeTopic(topic);
  return Code::kOk;
}

Code Session::unsubscribeData(const std::string& topic) {
  if (!isId(topic)) return Code::kInvalidArgument;
  MutexLock lock(mutex_);
  const Code code = inRoom();
  if (code != Code::kOk) return code;
  if (!channelWanted_) return Code::kNoDataChannel;
  if (topics_.erase(topic) == 0) return Code::kNotRunning;
  link_->unsubscribeTopic(topic);
  return Code::kOk;
}

Code Session::deleteDataChannel() {
  MutexLock lock(mutex_);
  const Code code = inRoom();
  if (code != Code::kOk) return code;
  if (!channelWanted_) return Code::kNoDataChannel;
  channelWanted_ = false;
  topics_.clear();
  link_->closeChannel();
  return Code::kOk;
}

}  // namespace kavrin::conference
