// A completion function that the module handed to the engine, and what to do with such functions.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "tests/scripted_engine/live_objects.h"

namespace kavrin::scripted {

// One completion function of Init or SendCustomMessage. Callable from any thread, even several at
// once; destroyed with its last owner, on that owner's thread.
struct Completion {
  int id = 0;
  int engine = 0;
  std::string operation;
  std::function<void(std::int32_t code, const char* text)> run;
  LiveToken live{liveObjects().completions};
};

// How the engine answers the completions of one operation.
struct CompletionPlan {
  enum class Mode {
    kAutomatic,  // on a thread of the engine's own
    kInline,     // inside the operation, on the caller's thread
    kHold,       // when the test says so
    kDrop,       // never: the function is destroyed uncalled
  };
  Mode mode = Mode::kAutomatic;
  std::int32_t code = 0;
  std::optional<std::string> text = "";  // none is a null text
  int delayMs = 0;                       // kAutomatic: wait this long first
  bool late = false;                     // kAutomatic: answer even after UnInit has returned
};

}  // namespace kavrin::scripted
