// Lets a number of threads begin together.
//
// Not std::latch: with a C++ library that has no futex to wait on, as on Windows, it may miss its
// own wake-up.
//
// Threads: any thread.
#pragma once

#include <cstdint>

#include "support/thread_annotations.h"

namespace kavrin::scripted {

class StartLine {
 public:
  // For that many threads.
  explicit StartLine(std::int64_t missing) : missing_(missing) {}

  // Returns when all threads have arrived.
  void arriveAndWait() KAVRIN_EXCLUDES(mutex_) {
    MutexLock lock(mutex_);
    if (--missing_ <= 0) allHere_.notifyAll();
    while (missing_ > 0) allHere_.wait(mutex_);
  }

 private:
  Mutex mutex_;
  CondVar allHere_;
  std::int64_t missing_ KAVRIN_GUARDED_BY(mutex_);
};

}  // namespace kavrin::scripted
