// A hook that runs when a script environment ends, before Node closes the environment's
// thread-safe functions.
//
// Node runs cleanup hooks in the reverse order of their registration, and every thread-safe
// function brings a hook of its own that frees it, whoever may still want to post to it. So this
// hook is moved to the end of the list, with rearm(), whenever a thread-safe function has been
// created.
//
// Threads: script thread only.
#pragma once

#include <functional>
#include <utility>

#include "bridge/node_api.h"

namespace kavrin {

class EnvironmentHook {
 public:
  EnvironmentHook(napi_env env, std::function<void()> onTeardown)
      : env_(env), onTeardown_(std::move(onTeardown)), armed_(add(place_)) {}
  ~EnvironmentHook() {
    if (armed_ && !ran_) remove(place_);
  }
  EnvironmentHook(const EnvironmentHook&) = delete;
  EnvironmentHook& operator=(const EnvironmentHook&) = delete;

  // False when Node-API has refused the hook from the start.
  bool isArmed() const { return armed_; }

  // False when Node-API refuses it; the hook then stays where it was.
  bool rearm() {
    if (ran_) return true;
    const int next = 1 - place_;
    if (!add(next)) return false;
    remove(std::exchange(place_, next));
    return true;
  }

 private:
  // Node does not take the same hook twice, so it moves to and fro between two.
  struct Place {
    EnvironmentHook* hook;
  };

  bool add(int place) { return napi_add_env_cleanup_hook(env_, run, &places_[place]) == napi_ok; }
  void remove(int place) { napi_remove_env_cleanup_hook(env_, run, &places_[place]); }

  static void run(void* place) {
    EnvironmentHook* const hook = static_cast<Place*>(place)->hook;
    if (std::exchange(hook->ran_, true)) return;
    hook->onTeardown_();
  }

  napi_env env_;
  std::function<void()> onTeardown_;
  Place places_[2] = {{this}, {this}};
  int place_ = 0;
  bool ran_ = false;
  const bool armed_;
};

}  // namespace kavrin
