// One engine object from its creation to its end.
//
// Threads: script thread, but for calls(), which completions on engine threads enter before they
// touch the engine. Shutdown: unInit(), then destruction, which waits for completions inside and
// gives the engine back to its library.
#pragma once

#include <memory>

#include "engine/engine_interface.h"
#include "support/run_down.h"

namespace kavrin {

class EngineSession {
 public:
  // Takes the engine over. `calls` is the gate that the engine's completions use.
  EngineSession(KavrinConferenceEngine& engine, std::shared_ptr<RunDown> calls)
      : engine_(engine), calls_(std::move(calls)) {}
  ~EngineSession() {
    try {
      unInit();
    } catch (...) {
      // The engine is given back all the same; there is nobody left to tell.
    }
    calls_->close();
    try {
      KavrinConferenceEngine::DestroyConfEngine(&engine_);
    } catch (...) {
      // What is left of the engine is its library's.
    }
  }
  EngineSession(const EngineSession&) = delete;
  EngineSession& operator=(const EngineSession&) = delete;

  KavrinConferenceEngine& engine() { return engine_; }

  // Stops the engine, once; returns the engine's code, or 0 when it was stopped before.
  std::int32_t unInit() {
    if (stopped_) return 0;
    stopped_ = true;
    return engine_.UnInit();
  }

 private:
  KavrinConferenceEngine& engine_;
  const std::shared_ptr<RunDown> calls_;
  bool stopped_ = false;
};

}  // namespace kavrin
