#include "conference/room/media_router.h"

#include <algorithm>
#include <chrono>

namespace kavrin::conference {
namespace {

// A stream whose newest picture is older than this does not run.
constexpr auto kRunning = std::chrono::milliseconds(500);

constexpr StreamType kTypes[] = {StreamType::kCamera, StreamType::kCameraSmall,
                                 StreamType::kScreen};

}  // namespace

home_event::Demand Routes::demand() const {
  home_event::Demand demand;
  demand.audio = !audio.empty();
  demand.camera = !camera.empty();
  demand.cameraSmall = !cameraSmall.empty();
  demand.screen = !screen.empty();
  return demand;
}

const std::vector<std::shared_ptr<HomeListener>>& Routes::forPictures(StreamType type) const {
  switch (type) {
    case StreamType::kCameraSmall:
      return cameraSmall;
    case StreamType::kScreen:
      return screen;
    case StreamType::kCamera:
      break;
  }
  return camera;
}

void MediaRouter::setRoutes(const std::string& from, std::shared_ptr<const Routes> routes) {
  PicturePtr newest[3];
  std::shared_ptr<const Routes> before;
  {
    MutexLock lock(mutex_);
    before = std::move(routes_);
    routes_ = routes;
    for (const StreamType type : kTypes) {
      // What nobody receives any more must not turn up later, perhaps in another room.
      PicturePtr& kept = newest_[static_cast<int>(type)];
      if (routes->forPictures(type).empty()) kept.reset();
      newest[static_cast<int>(type)] = kept;
    }
  }
  const auto now = Clock::now();
  for (const StreamType type : kTypes) {
    const PicturePtr& picture = newest[static_cast<int>(type)];
    if (!picture || now - picture->producedAt > kRunning) continue;
    const auto& known = before->forPictures(type);
    for (const auto& receiver : routes->forPictures(type)) {
      if (std::find(known.begin(), known.end(), receiver) == known.end()) {
        receiver->onPicture(from, picture);
      }
    }
  }
}

void MediaRouter::sendPicture(const std::string& from, const PicturePtr& picture) {
  std::shared_ptr<const Routes> table;
  {
    MutexLock lock(mutex_);
    table = routes_;
    if (table->forPictures(picture->type).empty()) return;
    newest_[static_cast<int>(picture->type)] = picture;
  }
  for (const auto& receiver : table->forPictures(picture->type)) {
    receiver->onPicture(from, picture);
  }
}

void MediaRouter::sendSound(const std::string& from, const SoundPtr& sound) {
  const auto table = routes();
  for (const auto& receiver : table->audio) receiver->onSound(from, sound);
}

std::shared_ptr<const Routes> MediaRouter::routes() const {
  MutexLock lock(mutex_);
  return routes_;
}

}  // namespace kavrin::conference
