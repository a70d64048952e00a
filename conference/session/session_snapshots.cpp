#include <utility>

#include "conference/media/image_file.h"
#include "conference/session/session.h"

namespace kavrin::conference {
namespace {

constexpr int kMaxPending = 32;
constexpr auto kPatience = std::chrono::milliseconds(1500);  // for a picture to come
constexpr auto kRetry = std::chrono::milliseconds(30);
constexpr auto kFresh = std::chrono::milliseconds(1000);  // how old a picture may be

}  // namespace

Code Session::takeSnapshot(const std::string& userId, std::int32_t type, const std::string& path) {
  if (path.empty() || type < 0 || type > static_cast<std::int32_t>(StreamType::kScreen)) {
    return Code::kInvalidArgument;
  }
  MutexLock lock(mutex_);
  const Code code = ready();
  if (code != Code::kOk) return code;
  if (pendingSnapshots_ >= kMaxPending) return Code::kBusy;
  ++pendingSnapshots_;
  Snapshot snapshot;
  snapshot.userId = userId.empty() ? userId_ : userId;
  snapshot.screen = type == static_cast<std::int32_t>(StreamType::kScreen);
  snapshot.type = type;
  snapshot.path = path;
  snapshot.deadline = Clock::now() + kPatience;
  post([snapshot](Session& self) { self.stepSnapshot(snapshot); });
  return Code::kOk;
}

Code Session::snapshotSource(const Snapshot& snapshot) const {
  if (!isImageFileName(snapshot.path)) return Code::kInvalidArgument;
  if (snapshot.userId == userId_) {
    if (snapshot.screen) return settings_.share ? Code::kOk : Code::kNoPicture;
    const bool flows = joined() && settings_.publishVideo.on() && !settings_.cameraMuted &&
                       !situation_.cameraMutedByHost;
    return settings_.preview || flows ? Code::kOk : Code::kNoPicture;
  }
  const MemberRecord* member = joined() ? view_.find(snapshot.userId) : nullptr;
  if (member == nullptr) return Code::kNoSuchMember;
  const bool runs = snapshot.screen ? member->screenPublished
                                    : member->cameraPublished && member->camera == StreamState::kOn;
  return runs ? Code::kOk : Code::kNoPicture;
}

PicturePtr Session::currentPicture(const Snapshot& snapshot) const {
  PicturePtr picture = snapshot.userId == userId_
                           ? local_.newestPicture(snapshot.screen)
                           : remote_->newestPicture(snapshot.userId, snapshot.screen);
  if (picture && Clock::now() - picture->producedAt > kFresh) picture.reset();
  return picture;
}

void Session::watch(const Snapshot& snapshot, bool on) {
  if (snapshot.userId == userId_) {
    (snapshot.screen ? situation_.screenWatched : situation_.cameraWatched) = on;
    replan();
    return;
  }
  if (subscriptions_.watches(snapshot.userId, snapshot.screen) == on) return;
  subscriptions_.watch(snapshot.userId, snapshot.screen, on);
  pushSubscriptions();
}

void Session::stepSnapshot(const Snapshot& snapshot) {
  PicturePtr picture;
  Code code = Code::kOk;
  {
    MutexLock lock(mutex_);
    code = snapshotSource(snapshot);
    if (code == Code::kOk) {
      picture = currentPicture(snapshot);
      if (!picture && Clock::now() >= snapshot.deadline) code = Code::kNoPicture;
    }
    watch(snapshot, code == Code::kOk && !picture);
  }
  if (code != Code::kOk) {
    finishSnapshot(snapshot, code, 0, 0);
  } else if (!picture) {
    postAt(Clock::now() + kRetry, [snapshot](Session& self) { self.stepSnapshot(snapshot); });
  } else {
    files_.post([weak = weak_from_this(), snapshot, picture] {
      const Code written = writeImageFile(*picture, snapshot.path);
      const auto self = weak.lock();
      if (!self) return;
      self->post([snapshot, written, picture](Session& session) {
        const bool ok = written == Code::kOk;
        session.finishSnapshot(snapshot, written, ok ? picture->width : 0,
                               ok ? picture->height : 0);
      });
    });
  }
}

void Session::finishSnapshot(const Snapshot& snapshot, Code code, int width, int height) {
  ConfRoom where;
  {
    MutexLock lock(mutex_);
    --pendingSnapshots_;
    where = roomOf(stay_);
  }
  report([&](KavrinConferenceEngineEvent& sink) {
    sink.OnSnapshotTaken(where, snapshot.userId.c_str(), snapshot.type, snapshot.path.c_str(),
                         width, height, value(code));
  });
}

}  // namespace kavrin::conference
