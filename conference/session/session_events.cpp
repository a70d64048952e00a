#include <utility>

#include "conference/session/session.h"

namespace kavrin::conference {
namespace {

using Sink = KavrinConferenceEngineEvent;

constexpr std::int32_t kCameraType = static_cast<std::int32_t>(StreamType::kCamera);
constexpr std::int32_t kScreenType = static_cast<std::int32_t>(StreamType::kScreen);

// The user state that reports a step; nothing for steps reported otherwise.
std::optional<UserState> userStateOf(RosterStep::Kind kind) {
  switch (kind) {
    case RosterStep::Kind::kJoined:
      return UserState::kJoined;
    case RosterStep::Kind::kLeft:
      return UserState::kLeft;
    case RosterStep::Kind::kHost:
      return UserState::kHost;
    case RosterStep::Kind::kInfo:
      return UserState::kInfoChanged;
    case RosterStep::Kind::kCameraStarted:
      return UserState::kCameraStarted;
    case RosterStep::Kind::kCameraStopped:
      return UserState::kCameraStopped;
    case RosterStep::Kind::kScreenStarted:
      return UserState::kScreenStarted;
    case RosterStep::Kind::kScreenStopped:
      return UserState::kScreenStopped;
    case RosterStep::Kind::kAudio:
    case RosterStep::Kind::kCamera:
    case RosterStep::Kind::kScreen:
      break;
  }
  return std::nullopt;
}

}  // namespace

void Session::handle(const HomeEvent& event) {
  {
    MutexLock lock(mutex_);
    if (phase_ == Phase::kStopped) return;
    // News of a room that was left already interests nobody, except that the stay is over.
    const bool past = event.stay != 0 && event.stay != stay_;
    const bool always = std::holds_alternative<home_event::Out>(event.body) ||
                        std::holds_alternative<home_event::Replaced>(event.body);
    if (past && !always) return;
  }
  std::visit([&](const auto& body) { on(event.stay, body); }, event.body);
}

void Session::reportRoomState(Stay stay, RoomState state) {
  ConfRoom room;
  {
    MutexLock lock(mutex_);
    room = roomOf(stay);
  }
  report([&](Sink& sink) { sink.OnRoomStateChange(room, static_cast<std::int32_t>(state)); });
}

void Session::on(Stay, const home_event::LoginDone& event) {
  Completions::Id id = 0;
  {
    MutexLock lock(mutex_);
    if (phase_ == Phase::kLoggingIn) {
      phase_ = event.code == Code::kOk ? Phase::kReady : Phase::kIdle;
    }
    id = std::exchange(loginId_, 0);
  }
  log_.line(std::string("login: ") + codeText(event.code));
  completions_.finish(id, event.code);
}

void Session::on(Stay stay, const home_event::Replaced&) {
  ConfRoom room;
  {
    MutexLock lock(mutex_);
    phase_ = Phase::kReplaced;
    settings_.preview = false;
    room = roomOf(stay);
    if (stay_ != 0) endStay(RoomState::kLoggedInElsewhere);
    replan();
  }
  log_.line("logged in elsewhere");
  report([&](Sink& sink) {
    sink.OnRoomMemberStateChange(room, room.m_localUid.c_str(),
                                 static_cast<std::int32_t>(UserState::kLoggedInElsewhere));
  });
}

void Session::on(Stay stay, const home_event::Joined& event) {
  ConfRoom room;
  {
    MutexLock lock(mutex_);
    room = roomOf(stay);
    view_.begin(stay, room.m_roomId);
    view_.setRoomMuted(event.roomMuted);
    situation_.joined = true;
    for (const MemberRecord& member : event.roster) {
      if (member.userId != userId_) continue;
      view_.apply({RosterStep::Kind::kJoined, member});
      learnAboutSelf(member);
    }
    roomState_ = RoomState::kJoined;
    replan();
  }
  levels_.clear();
  reportRoomState(stay, RoomState::kJoined);
  for (const MemberRecord& member : event.roster) showMember(member);
  startRoomTimers(stay);
}

void Session::on(Stay stay, const home_event::JoinFailed& event) {
  ConfRoom room;
  {
    MutexLock lock(mutex_);
    room = roomOf(stay);
    roomIds_.erase(stay);
    endStay(RoomState::kJoinFailed);
  }
  report([&](Sink& sink) {
    sink.OnRoomError(room, value(event.code), codeText(event.code));
    sink.OnRoomStateChange(room, static_cast<std::int32_t>(RoomState::kJoinFailed));
  });
}

void Session::on(Stay, const home_event::MemberJoined& event) { showMember(event.member); }

void Session::on(Stay, const home_event::MemberChanged& event) { showMember(event.member); }

void Session::on(Stay, const home_event::MemberLeft& event) {
  std::vector<RosterStep> steps;
  {
    MutexLock lock(mutex_);
    steps = view_.stepsToLeave(event.userId);
  }
  walk(steps);
}

void Session::on(Stay, const home_event::RoomMuted& event) {
  MutexLock lock(mutex_);
  view_.setRoomMuted(event.muted);
}

void Session::on(Stay stay, const home_event::Out& event) {
  std::vector<RosterStep> steps;
  ConfRoom room;
  {
    MutexLock lock(mutex_);
    room = roomOf(stay);
    if (view_.stay() == stay) steps = view_.stepsToEnd();
    if (stay_ == stay) endStay(event.reason);
  }
  walk(steps);
  {
    MutexLock lock(mutex_);
    if (view_.stay() == stay) view_.end();
    roomIds_.erase(stay);
  }
  remote_->forgetAll();
  log_.line("out of room " + room.m_roomId);
  report(
      [&](Sink& sink) { sink.OnRoomStateChange(room, static_cast<std::int32_t>(event.reason)); });
}

void Session::on(Stay stay, const home_event::Connection& event) {
  {
    MutexLock lock(mutex_);
    roomState_ = event.state == RoomState::kReconnected ? RoomState::kJoined : event.state;
  }
  if (event.state == RoomState::kReconnected) resumeMedia();
  reportRoomState(stay, event.state);
}

// After a reconnection only the media that the host wants resumed goes on.
void Session::resumeMedia() {
  MutexLock lock(mutex_);
  if (!resumeAudio_) settings_.publishAudio.chosen = false;
  if (!resumeVideo_) settings_.publishVideo.chosen = false;
  if (!resumeShare_) settings_.share.reset();
  pushMedia();
}

void Session::on(Stay, const home_event::Refused& event) {
  const ConfRoom where = room();
  const std::string reason = std::string(event.request) + ": " + codeText(event.code);
  report([&](Sink& sink) { sink.OnRoomError(where, value(event.code), reason.c_str()); });
}

void Session::on(Stay, const home_event::Message& event) {
  const ConfRoom where = room();
  report([&](Sink& sink) {
    sink.OnCustomMessage(where, event.text->c_str(), event.from.c_str(), event.to.c_str());
  });
}

void Session::on(Stay, const home_event::MessageDone& event) {
  completions_.finish(event.id, event.code);
}

void Session::on(Stay, const home_event::TopicMessage& event) {
  const ConfRoom where = room();
  report([&](Sink& sink) { sink.OnDataMessageReceived(where, event.text->c_str()); });
}

void Session::on(Stay, const home_event::Channel& event) {
  const ConfRoom where = room();
  report([&](Sink& sink) {
    sink.OnDataChannelStateChanged(where, static_cast<std::int32_t>(event.state), event.text);
  });
}

void Session::on(Stay, const home_event::Demand& event) {
  MutexLock lock(mutex_);
  situation_.demand = event;
  replan();
}

void Session::showMember(const MemberRecord& member) {
  std::vector<RosterStep> steps;
  {
    MutexLock lock(mutex_);
    steps = view_.stepsTo(member);
    if (member.userId == userId_) learnAboutSelf(member);
  }
  walk(steps);
}

// What the local member may do counts from now on, before its callbacks.
void Session::learnAboutSelf(const MemberRecord& member) {
  situation_.host = member.host;
  situation_.audioMutedByHost = member.audio == StreamState::kMutedByHost;
  situation_.cameraMutedByHost = member.camera == StreamState::kMutedByHost;
  replan();
}

void Session::walk(const std::vector<RosterStep>& steps) {
  for (const RosterStep& step : steps) {
    ConfRoom room;
    {
      MutexLock lock(mutex_);
      if (view_.stay() == 0) return;
      view_.apply(step);
      room = {view_.roomId(), userId_};
    }
    forgetStopped(step);
    reportStep(room, step, step.member.userId == room.m_localUid);
  }
}

// Pictures of a stream that does not flow any more are not to be shown or stored later.
void Session::forgetStopped(const RosterStep& step) {
  const std::string& userId = step.member.userId;
  switch (step.kind) {
    case RosterStep::Kind::kCamera:
      if (step.member.camera != StreamState::kOn) remote_->forget(userId, false);
      break;
    case RosterStep::Kind::kCameraStopped:
      remote_->forget(userId, false);
      break;
    case RosterStep::Kind::kScreenStopped:
      remote_->forget(userId, true);
      break;
    default:
      break;
  }
}

void Session::reportStep(const ConfRoom& room, const RosterStep& step, bool local) {
  const MemberRecord& member = step.member;
  const char* userId = member.userId.c_str();
  report([&](Sink& sink) {
    switch (step.kind) {
      case RosterStep::Kind::kAudio:
        sink.OnAudioStateChanged(room, userId, static_cast<std::int32_t>(member.audio));
        return;
      case RosterStep::Kind::kCamera:
        sink.OnVideoStateChanged(room, userId, kCameraType,
                                 static_cast<std::int32_t>(member.camera), 0);
        return;
      case RosterStep::Kind::kScreen:
        sink.OnVideoStateChanged(room, userId, kScreenType, member.screenPublished ? 1 : 0, 0);
        return;
      default:
        break;
    }
    const auto state = userStateOf(step.kind);
    if (!state || (local && *state == UserState::kJoined)) return;
    sink.OnRoomMemberStateChange(room, userId, static_cast<std::int32_t>(*state));
  });
}

bool Session::mayShow(const std::string& from, const Picture& picture) const {
  if (phase_ == Phase::kStopped || !settings_.externalRender) return false;
  if (from == userId_) return settings_.preview;
  const MemberRecord* member = joined() ? view_.find(from) : nullptr;
  if (member == nullptr) return false;
  if (picture.type == StreamType::kScreen) {
    return member->screenPublished && subscriptions_.wantsScreen(from);
  }
  return member->cameraPublished && member->camera == StreamState::kOn &&
         subscriptions_.wantsCamera(from);
}

void Session::deliverPicture(const std::string& from, const PicturePtr& picture) {
  ConfRoom room;
  {
    MutexLock lock(mutex_);
    if (!mayShow(from, *picture)) return;
    room = roomOf(stay_);
  }
  const Kavrin::ConferenceEngine::VideoFrame frame{
      picture->width, picture->height, static_cast<std::uint32_t>(picture->type), picture->data};
  report([&](Sink& sink) { sink.OnRoomMemberVideoFrame(room, from.c_str(), frame); });
}

}  // namespace kavrin::conference
