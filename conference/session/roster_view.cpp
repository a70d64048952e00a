#include "conference/session/roster_view.h"

#include <algorithm>

namespace kavrin::conference {
namespace {

using Kind = RosterStep::Kind;

void addStreamSteps(const MemberRecord& before, const MemberRecord& member,
                    std::vector<RosterStep>& steps) {
  const auto add = [&](bool needed, Kind kind) {
    if (needed) steps.push_back({kind, member});
  };
  add(before.audio != member.audio, Kind::kAudio);
  add(member.cameraPublished && !before.cameraPublished, Kind::kCameraStarted);
  add(before.camera != member.camera, Kind::kCamera);
  add(!member.cameraPublished && before.cameraPublished, Kind::kCameraStopped);
  const bool screenChanged = before.screenPublished != member.screenPublished;
  add(screenChanged && member.screenPublished, Kind::kScreenStarted);
  add(screenChanged, Kind::kScreen);
  add(screenChanged && !member.screenPublished, Kind::kScreenStopped);
}

void addStopSteps(const MemberRecord& member, std::vector<RosterStep>& steps) {
  if (member.cameraPublished) steps.push_back({Kind::kCameraStopped, member});
  if (member.screenPublished) steps.push_back({Kind::kScreenStopped, member});
}

}  // namespace

const MemberRecord* RosterView::find(const std::string& userId) const {
  const auto found = std::find_if(members_.begin(), members_.end(),
                                  [&](const MemberRecord& m) { return m.userId == userId; });
  return found == members_.end() ? nullptr : &*found;
}

MemberRecord* RosterView::findToChange(const std::string& userId) {
  return const_cast<MemberRecord*>(find(userId));
}

void RosterView::begin(Stay stay, const std::string& roomId) {
  end();
  stay_ = stay;
  roomId_ = roomId;
}

void RosterView::end() {
  stay_ = 0;
  roomId_.clear();
  roomMuted_ = false;
  members_.clear();
}

std::vector<RosterStep> RosterView::stepsTo(const MemberRecord& member) const {
  std::vector<RosterStep> steps;
  const MemberRecord* known = find(member.userId);
  const MemberRecord nobody;
  const MemberRecord& before = known ? *known : nobody;
  if (!known) steps.push_back({Kind::kJoined, member});
  if (known && (before.name != member.name || before.extendedInfo != member.extendedInfo)) {
    steps.push_back({Kind::kInfo, member});
  }
  if (member.host && !before.host) steps.push_back({Kind::kHost, member});
  addStreamSteps(before, member, steps);
  return steps;
}

std::vector<RosterStep> RosterView::stepsToLeave(const std::string& userId) const {
  std::vector<RosterStep> steps;
  const MemberRecord* member = find(userId);
  if (member == nullptr) return steps;
  addStopSteps(*member, steps);
  steps.push_back({Kind::kLeft, *member});
  return steps;
}

std::vector<RosterStep> RosterView::stepsToEnd() const {
  std::vector<RosterStep> steps;
  for (const MemberRecord& member : members_) {
    addStopSteps(member, steps);
  }
  return steps;
}

void RosterView::apply(const RosterStep& step) {
  const MemberRecord& target = step.member;
  if (step.kind == Kind::kJoined) {
    MemberRecord member;
    member.presence = target.presence;
    member.userId = target.userId;
    member.name = target.name;
    member.extendedInfo = target.extendedInfo;
    const auto later = std::find_if(members_.begin(), members_.end(), [&](const MemberRecord& m) {
      return m.presence > member.presence;
    });
    members_.insert(later, std::move(member));
    return;
  }
  MemberRecord* member = findToChange(target.userId);
  if (member == nullptr) return;
  switch (step.kind) {
    case Kind::kJoined:
      break;
    case Kind::kLeft:
      members_.erase(members_.begin() + (member - members_.data()));
      break;
    case Kind::kHost:
      for (MemberRecord& other : members_) other.host = &other == member;
      break;
    case Kind::kInfo:
      member->name = target.name;
      member->extendedInfo = target.extendedInfo;
      break;
    case Kind::kAudio:
      member->audio = target.audio;
      break;
    case Kind::kCamera:
      member->camera = target.camera;
      break;
    case Kind::kCameraStarted:
      member->cameraPublished = true;
      break;
    case Kind::kCameraStopped:
      member->cameraPublished = false;
      break;
    case Kind::kScreenStarted:
      break;
    case Kind::kScreen:
      member->screenPublished = target.screenPublished;
      break;
    case Kind::kScreenStopped:
      member->screenPublished = false;
      break;
  }
}

}  // namespace kavrin::conference
