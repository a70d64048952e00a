// Takes in pictures and sound, from other members and from the local preview, and hands the newest
// pictures to the callback thread.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include "conference/base/task_thread.h"
#include "conference/media/devices.h"
#include "conference/media/levels.h"
#include "support/thread_annotations.h"

namespace kavrin::conference {

// Threads: onPicture and onSound on capture threads, the rest on any. Of each stream at most one
// picture waits: a newer one takes the place of one that has not been delivered, which counts as
// lost. So the queue is bounded by the number of streams, however slow the host's callback is.
class RemoteMedia : public std::enable_shared_from_this<RemoteMedia> {
 public:
  using Deliver = std::function<void(const std::string& from, const PicturePtr& picture)>;

  struct Counters {
    std::uint64_t bytes = 0;
    std::uint64_t pictures = 0;  // received
    std::uint64_t lost = 0;      // of these, replaced before delivery
    std::uint64_t delivered = 0;
    std::chrono::microseconds delay{0};  // from production to delivery, sum over `delivered`
  };

  explicit RemoteMedia(std::shared_ptr<TaskThread> loop) : loop_(std::move(loop)) {}

  // `deliver` is called on the loop's thread.
  void setDeliver(Deliver deliver);
  void setSpeaker(std::shared_ptr<SoundOutput> speaker);
  void setSpeakerGain(double gain);

  void onPicture(const std::string& from, const PicturePtr& picture);
  // A picture of the local member; travels the same way but does not count as received.
  void onPreview(const std::string& localId, const PicturePtr& picture);
  void onSound(const std::string& from, const SoundPtr& sound);

  // Drops what is kept of a stream that has ended.
  void forget(const std::string& from, bool screen);
  void forgetAll();

  // The newest picture received, or null.
  PicturePtr newestPicture(const std::string& from, bool screen) const;
  // Mean square by member since the last call, for members that were heard.
  std::map<std::string, double> takeLoudness();
  Counters takeCounters();

 private:
  using Key = std::pair<std::string, bool>;  // member, screen
  struct Slot {
    PicturePtr waiting;
    PicturePtr newest;
    bool received = false;
  };

  void enqueue(const std::string& from, const PicturePtr& picture, bool received);
  void deliver(const Key& key);

  const std::shared_ptr<TaskThread> loop_;

  mutable Mutex mutex_;
  Deliver deliver_ KAVRIN_GUARDED_BY(mutex_);
  std::shared_ptr<SoundOutput> speaker_ KAVRIN_GUARDED_BY(mutex_);
  double speakerGain_ KAVRIN_GUARDED_BY(mutex_) = 1;
  std::map<Key, Slot> slots_ KAVRIN_GUARDED_BY(mutex_);
  std::map<std::string, LevelMeter> loudness_ KAVRIN_GUARDED_BY(mutex_);
  Counters counters_ KAVRIN_GUARDED_BY(mutex_);
};

}  // namespace kavrin::conference
