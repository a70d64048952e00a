// What the code under test did against the rules of Node-API.
//
// Threads: any thread.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "support/thread_annotations.h"

namespace kavrin::fake {

class MisuseLog {
 public:
  void add(std::string text) KAVRIN_EXCLUDES(mutex_) {
    MutexLock lock(mutex_);
    texts_.push_back(std::move(text));
  }

  // Everything so far; the log is empty afterwards.
  std::vector<std::string> take() KAVRIN_EXCLUDES(mutex_) {
    MutexLock lock(mutex_);
    return std::exchange(texts_, {});
  }

 private:
  Mutex mutex_;
  std::vector<std::string> texts_ KAVRIN_GUARDED_BY(mutex_);
};

}  // namespace kavrin::fake
