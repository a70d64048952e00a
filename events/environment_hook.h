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
      : env_(env), onTeardown_(std::move(onTeardown)) {
    napi_add_env_cleanup_hook(env_, run, this);
  }
  ~EnvironmentHook() {
    if (!ran_) napi_remove_env_cleanup_hook(env_, run, this);
  }
  EnvironmentHook(const EnvironmentHook&) = delete;
  EnvironmentHook& operator=(const EnvironmentHook&) = delete;

  void rearm() {
    if (ran_) return;
    napi_remove_env_cleanup_hook(env_, run, this);
    napi_add_env_cleanup_hook(env_, run, this);
  }

 private:
  static void run(void* self) {
    auto* hook = static_cast<EnvironmentHook*>(self);
    hook->ran_ = true;
    hook->onTeardown_();
  }

  napi_env env_;
  std::function<void()> onTeardown_;
  bool ran_ = false;
};

}  // namespace kavrin
