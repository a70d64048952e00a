// Fans out one member's media to those who want it.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "conference/room/room_home.h"
#include "support/thread_annotations.h"

namespace kavrin::conference {

// Who receives what of one member.
struct Routes {
  std::vector<std::shared_ptr<HomeListener>> audio;
  std::vector<std::shared_ptr<HomeListener>> camera;
  std::vector<std::shared_ptr<HomeListener>> cameraSmall;
  std::vector<std::shared_ptr<HomeListener>> screen;

  home_event::Demand demand() const;
  const std::vector<std::shared_ptr<HomeListener>>& forPictures(StreamType type) const;
};

// Threads: setRoutes is called by the home, the others on the member's capture threads. The lock
// is held to read or replace the table, never while delivering.
class MediaRouter {
 public:
  // Those who are new to a running stream get its newest picture at once.
  void setRoutes(const std::string& from, std::shared_ptr<const Routes> routes);
  void sendPicture(const std::string& from, const PicturePtr& picture);
  void sendSound(const std::string& from, const SoundPtr& sound);

 private:
  std::shared_ptr<const Routes> routes() const;

  mutable Mutex mutex_;
  std::shared_ptr<const Routes> routes_ KAVRIN_GUARDED_BY(mutex_) =
      std::make_shared<const Routes>();
  PicturePtr newest_[3] KAVRIN_GUARDED_BY(mutex_);  // by stream type
};

}  // namespace kavrin::conference
