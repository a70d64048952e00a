// The way to the host's callback object.
#pragma once

#include <atomic>
#include <utility>

#include "engine/engine_interface.h"

namespace kavrin::conference {

// Threads: report() on the engine's callback thread only, close() on any. After close() no call
// begins; one that runs already is the callback thread's to finish.
class Reporter {
 public:
  explicit Reporter(KavrinConferenceEngineEvent* sink) : sink_(sink) {}

  // Calls `call(sink)` unless closed or without a sink.
  template <typename Call>
  void report(Call&& call) {
    if (sink_ != nullptr && open_.load()) std::forward<Call>(call)(*sink_);
  }
  void close() { open_.store(false); }

 private:
  KavrinConferenceEngineEvent* const sink_;
  std::atomic<bool> open_{true};
};

}  // namespace kavrin::conference
