// A speaker that measures what it is given and discards it.
#pragma once

#include "conference/media/devices.h"
#include "conference/media/levels.h"
#include "support/thread_annotations.h"

namespace kavrin::conference {

class NullSpeaker : public SoundOutput {
 public:
  void play(const Sound& sound, double gain) override {
    MutexLock lock(mutex_);
    meter_.add(sound.meanSquare * gain * gain);
  }
  double takeMeanSquare() override {
    MutexLock lock(mutex_);
    return meter_.take();
  }

 private:
  Mutex mutex_;
  LevelMeter meter_ KAVRIN_GUARDED_BY(mutex_);
};

}  // namespace kavrin::conference
