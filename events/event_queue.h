// Engine events waiting for script's next poll.
//
// Threads: any thread. `mutex_` guards the queue and is held for an append or a swap only; queued
// events are immutable and shared by reference count.
#pragma once

#include <deque>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "bridge/variant.h"
#include "support/thread_annotations.h"

namespace kavrin {

// One event of the engine: its name and its values in order.
struct NodeEvent {
  std::string key;
  std::vector<Variant> parms;
};

class EventQueue {
 public:
  using Events = std::deque<std::shared_ptr<const NodeEvent>>;

  // A queue that holds more events than this discards its oldest ones before the next is appended,
  // kDiscard at a time, so that memory stays bounded when script stops polling.
  static constexpr std::size_t kLimit = 1'000'000;
  static constexpr std::size_t kDiscard = 10;

  void append(std::shared_ptr<const NodeEvent> event) {
    MutexLock lock(mutex_);
    if (events_.size() > kLimit) events_.erase(events_.begin(), events_.begin() + kDiscard);
    events_.push_back(std::move(event));
  }

  // All events, oldest first; the queue is empty afterwards.
  Events takeAll() {
    Events taken;
    MutexLock lock(mutex_);
    taken.swap(events_);
    return taken;
  }

 private:
  Mutex mutex_{"event queue"};
  Events events_ KAVRIN_GUARDED_BY(mutex_);
};

}  // namespace kavrin
