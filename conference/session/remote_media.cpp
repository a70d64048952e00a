#include "conference/session/remote_media.h"

#include <utility>

namespace kavrin::conference {

void RemoteMedia::setDeliver(Deliver deliver) {
  MutexLock lock(mutex_);
  deliver_ = std::move(deliver);
}

void RemoteMedia::setSpeaker(std::shared_ptr<SoundOutput> speaker) {
  MutexLock lock(mutex_);
  speaker_ = std::move(speaker);
}

void RemoteMedia::setSpeakerGain(double gain) {
  MutexLock lock(mutex_);
  speakerGain_ = gain;
}

void RemoteMedia::onPicture(const std::string& from, const PicturePtr& picture) {
  enqueue(from, picture, true);
}

void RemoteMedia::onPreview(const std::string& localId, const PicturePtr& picture) {
  enqueue(localId, picture, false);
}

void RemoteMedia::enqueue(const std::string& from, const PicturePtr& picture, bool received) {
  const Key key(from, picture->type == StreamType::kScreen);
  {
    MutexLock lock(mutex_);
    if (received) {
      ++counters_.pictures;
      counters_.bytes += picture->size();
    }
    Slot& slot = slots_[key];
    slot.newest = picture;
    slot.received = received;
    const bool queued = slot.waiting != nullptr;
    slot.waiting = picture;
    if (queued) {
      if (received) ++counters_.lost;
      return;
    }
  }
  loop_->post([self = shared_from_this(), key] { self->deliver(key); });
}

void RemoteMedia::deliver(const Key& key) {
  PicturePtr picture;
  Deliver function;
  {
    MutexLock lock(mutex_);
    const auto slot = slots_.find(key);
    if (slot == slots_.end() || !slot->second.waiting) return;
    picture = std::move(slot->second.waiting);
    slot->second.waiting = nullptr;
    function = deliver_;
    if (slot->second.received) {
      ++counters_.delivered;
      counters_.delay +=
          std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - picture->producedAt);
    }
  }
  if (function) function(key.first, picture);
}

void RemoteMedia::onSound(const std::string& from, const SoundPtr& sound) {
  std::shared_ptr<SoundOutput> speaker;
  double gain = 1;
  {
    MutexLock lock(mutex_);
    counters_.bytes += sound->size();
    loudness_[from].add(sound->meanSquare);
    speaker = speaker_;
    gain = speakerGain_;
  }
  if (speaker) speaker->play(*sound, gain);
}

void RemoteMedia::forget(const std::string& from, bool screen) {
  MutexLock lock(mutex_);
  slots_.erase({from, screen});
}

void RemoteMedia::forgetAll() {
  MutexLock lock(mutex_);
  slots_.clear();
  loudness_.clear();
}

PicturePtr RemoteMedia::newestPicture(const std::string& from, bool screen) const {
  MutexLock lock(mutex_);
  const auto slot = slots_.find({from, screen});
  return slot == slots_.end() ? nullptr : slot->second.newest;
}

std::map<std::string, double> RemoteMedia::takeLoudness() {
  std::map<std::string, LevelMeter> meters;
  {
    MutexLock lock(mutex_);
    meters.swap(loudness_);
  }
  std::map<std::string, double> loudness;
  for (auto& [member, meter] : meters) loudness[member] = meter.take();
  return loudness;
}

RemoteMedia::Counters RemoteMedia::takeCounters() {
  MutexLock lock(mutex_);
  return std::exchange(counters_, Counters());
}

}  // namespace kavrin::conference
