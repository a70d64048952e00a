// Lets calls in until it is closed, and closing waits for those that are inside.
//
// Guards an object that other threads may call late: whoever wants to call it holds a shared
// RunDown and enters first; the object's owner closes the RunDown before the object goes away.
//
// Threads: enter() may be called from any thread, also while the same thread is inside already.
// close() is called by the owner, who must not be inside. `mutex_` guards the members below it and
// is not held while a call is inside.
#pragma once

#include "support/thread_annotations.h"

namespace kavrin {

class RunDown {
 public:
  // A call that is inside, or that was refused.
  class Pass {
   public:
    explicit Pass(RunDown& runDown) : runDown_(runDown), granted_(runDown.enter()) {}
    ~Pass() {
      if (granted_) runDown_.leave();
    }
    Pass(const Pass&) = delete;
    Pass& operator=(const Pass&) = delete;
    explicit operator bool() const { return granted_; }

   private:
    RunDown& runDown_;
    const bool granted_;
  };

  // Refuses every later call and waits until nobody is inside. May be called again.
  void close() {
    MutexLock lock(mutex_);
    closed_ = true;
    while (inside_ > 0) empty_.wait(mutex_);
  }

 private:
  bool enter() {
    MutexLock lock(mutex_);
    if (closed_) return false;
    ++inside_;
    return true;
  }
  void leave() {
    MutexLock lock(mutex_);
    if (--inside_ == 0) empty_.notifyAll();
  }

  Mutex mutex_;
  CondVar empty_;
  bool closed_ KAVRIN_GUARDED_BY(mutex_) = false;
  int inside_ KAVRIN_GUARDED_BY(mutex_) = 0;
};

}  // namespace kavrin
