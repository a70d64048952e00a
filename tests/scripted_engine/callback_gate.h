// Lets an engine keep its promise that no callback is under way once UnInit has returned.
//
// Threads: any thread. Shutdown: close() returns when the last thread inside has left.
#pragma once

#include "support/thread_annotations.h"

namespace kavrin::scripted {

class CallbackGate {
 public:
  // False when the gate is closed; otherwise the caller is inside until leave().
  bool enter() KAVRIN_EXCLUDES(mutex_) {
    MutexLock lock(mutex_);
    if (closed_) return false;
    ++inside_;
    return true;
  }

  void leave() KAVRIN_EXCLUDES(mutex_) {
    MutexLock lock(mutex_);
    --inside_;
    left_.notifyAll();
  }

  // Turns new callbacks away and waits for those inside.
  void close() KAVRIN_EXCLUDES(mutex_) {
    MutexLock lock(mutex_);
    closed_ = true;
    while (inside_ > 0) left_.wait(mutex_);
  }

 private:
  Mutex mutex_;
  CondVar left_;
  bool closed_ KAVRIN_GUARDED_BY(mutex_) = false;
  int inside_ KAVRIN_GUARDED_BY(mutex_) = 0;
};

}  // namespace kavrin::scripted
