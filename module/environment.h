// What the module keeps per script environment: the engine handles that are alive in it.
//
// The module may be loaded in several environments of one process, the main thread's and those of
// workers; each has an Environment of its own, kept as Node-API instance data.
//
// A handle's external does not hold the facade's address but its number. Numbers are never used
// again, so a handle that was destroyed, or an external from elsewhere, is told apart from a live
// one without touching memory that may be gone or somebody else's.
//
// Calls borrow a facade by shared ownership: script that runs inside a call (getters, proxies) may
// destroy the handle, and the facade then goes away when the call returns.
//
// Threads: script thread only. Shutdown: when the environment ends, all facades are destroyed
// before Node frees their thread-safe functions.
#pragma once

#include <cstdint>
#include <map>
#include <memory>

#include "engine/conference_node_engine.h"
#include "events/environment_hook.h"

namespace kavrin {

class Environment {
 public:
  using Facade = KavrinNodeConferenceEngine;
  using HandleNumber = std::uintptr_t;  // never 0

  // Creates the environment's instance; called once, when the module is registered. False when
  // Node-API refuses it.
  static bool install(napi_env env);
  // Throws std::runtime_error when Node-API does not hand the instance out.
  static Environment& of(napi_env env);

  std::shared_ptr<Facade> create() { return std::make_shared<Facade>(hook_); }
  // A number for a handle that is being made. Taken at once, because script that runs while the
  // handle is made may make others.
  HandleNumber takeNumber() { return nextNumber_++; }
  // Makes a facade reachable under its number.
  void adopt(HandleNumber number, std::shared_ptr<Facade> facade) {
    live_.emplace(number, std::move(facade));
  }

  // Null when the handle was destroyed or never existed.
  std::shared_ptr<Facade> find(HandleNumber number) const;
  // True for a number that was taken and has no facade (any more).
  bool wasDestroyed(HandleNumber number) const;
  // Ends the facade, now or when the calls that borrow it return.
  void destroy(HandleNumber number) { live_.erase(number); }

 private:
  explicit Environment(napi_env env);

  EnvironmentHook hook_;
  std::map<HandleNumber, std::shared_ptr<Facade>> live_;
  const HandleNumber firstNumber_;
  HandleNumber nextNumber_ = firstNumber_;
};

}  // namespace kavrin
