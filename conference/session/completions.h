// Completion functions that wait for their outcome; each is called exactly once.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>

#include "conference/base/codes.h"
#include "support/thread_annotations.h"

namespace kavrin::conference {

// Threads: any. Completions are called without a lock, on the thread that calls finish() or
// close().
class Completions {
 public:
  using Completion = std::function<void(Code)>;
  using Id = std::uint64_t;

  // 0, and the completion has been called with kStopped, once closed.
  Id add(Completion completion);
  // Nothing for an id that is finished already.
  void finish(Id id, Code code);
  // Finishes all that wait with kCancelled.
  void close();

 private:
  Mutex mutex_;
  bool closed_ KAVRIN_GUARDED_BY(mutex_) = false;
  Id last_ KAVRIN_GUARDED_BY(mutex_) = 0;
  std::map<Id, Completion> waiting_ KAVRIN_GUARDED_BY(mutex_);
};

}  // namespace kavrin::conference
