// Captures what the local member sends and previews.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "conference/base/task_thread.h"
#include "conference/media/devices.h"
#include "conference/media/levels.h"
#include "conference/room/room_home.h"
#include "conference/session/capture_plan.h"
#include "support/thread_annotations.h"

namespace kavrin::conference {

// Threads: the public functions on any thread. Devices are opened and closed on a worker thread of
// this object, so that callers never wait for hardware; pictures and sounds come on the captures'
// own threads. `mutex_` is never held while a capture is opened, closed or delivering.
//
// Shutdown: stop() shuts all captures; no function given here is called afterwards.
class LocalMedia {
 public:
  enum class Device { kCamera, kMicrophone };

  struct Outlets {
    std::function<void(const PicturePtr&)> preview;
    std::function<void(Device, DeviceState)> deviceState;
    std::function<void(const Sound&)> loopback;
  };

  LocalMedia(std::shared_ptr<DeviceCatalog> catalog, Outlets outlets);
  ~LocalMedia();

  void setLink(std::shared_ptr<HomeLink> link);
  void setPlan(const CapturePlan& plan);
  void stop();

  // Sound that the system plays; mixed into what is sent while the plan says so.
  void addSystemSound(const Sound& sound);

  // The newest picture captured, or null.
  PicturePtr newestPicture(bool screen) const;
  // Mean square of what the microphone gave since the last call; nothing when it gave nothing.
  std::optional<double> takeLoudness();
  // Bytes handed to the room since the last call.
  std::uint64_t takeBytesSent();

 private:
  // What the captures run with, to see when they must be opened anew.
  struct Running {
    std::unique_ptr<Capture> capture;
    CapturePlan plan;
  };

  void reconcile();
  void reconcileCamera(const CapturePlan& plan);
  void reconcileMicrophone(const CapturePlan& plan);
  void reconcileShare(const CapturePlan& plan);
  void closeAll();
  void onCamera(const PicturePtr& picture);
  void onShare(const PicturePtr& picture);
  void onMicrophone(const SoundPtr& sound, class NoiseGate& gate);
  void mixSystemSound(std::vector<std::int16_t>& samples) KAVRIN_REQUIRES(mutex_);
  void send(const std::shared_ptr<HomeLink>& link, const PicturePtr& picture);

  const std::shared_ptr<DeviceCatalog> catalog_;
  const Outlets outlets_;

  mutable Mutex mutex_;
  std::shared_ptr<HomeLink> link_ KAVRIN_GUARDED_BY(mutex_);
  CapturePlan plan_ KAVRIN_GUARDED_BY(mutex_);
  bool stopped_ KAVRIN_GUARDED_BY(mutex_) = false;
  PicturePtr newestCamera_ KAVRIN_GUARDED_BY(mutex_);
  PicturePtr newestShare_ KAVRIN_GUARDED_BY(mutex_);
  LevelMeter loudness_ KAVRIN_GUARDED_BY(mutex_);
  std::uint64_t bytesSent_ KAVRIN_GUARDED_BY(mutex_) = 0;
  std::deque<std::int16_t> systemSound_ KAVRIN_GUARDED_BY(mutex_);

  // Touched by the worker alone, and by stop() after the worker has ended.
  Running camera_;
  Running microphone_;
  Running share_;

  TaskThread worker_;
};

}  // namespace kavrin::conference
