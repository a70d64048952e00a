// The threads that this library starts.
//
// Threads: any thread. Shutdown: joinAll() returns when every started function has ended.
#pragma once

#include <functional>
#include <thread>
#include <vector>

#include "support/thread_annotations.h"

namespace kavrin::scripted {

class Jobs {
 public:
  // Runs `work` on a new thread.
  void start(std::function<void()> work) KAVRIN_EXCLUDES(mutex_) {
    MutexLock lock(mutex_);
    threads_.emplace_back(std::move(work));
  }

  void joinAll() KAVRIN_EXCLUDES(mutex_) {
    for (std::vector<std::thread> ended = take(); !ended.empty(); ended = take()) {
      for (std::thread& thread : ended) thread.join();
    }
  }

 private:
  std::vector<std::thread> take() KAVRIN_EXCLUDES(mutex_) {
    MutexLock lock(mutex_);
    std::vector<std::thread> taken;
    taken.swap(threads_);
    return taken;
  }

  Mutex mutex_;
  std::vector<std::thread> threads_ KAVRIN_GUARDED_BY(mutex_);
};

}  // namespace kavrin::scripted
