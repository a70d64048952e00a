// The engine handle: a plain script object whose property "__engine" is an external.
//
// Any object with that property serves as a handle; there is no finalizer, so a handle that script
// drops without destroyConfEngine keeps its engine until the environment ends.
//
// Threads: script thread only.
#pragma once

#include <memory>

#include "module/environment.h"

namespace kavrin::ConferenceEngineWrapper {

struct ResolvedHandle {
  enum class State {
    Live,
    Gone,    // destroyed, or an external that holds null
    Invalid  // no external of this environment at all
  };
  State state = State::Invalid;
  Environment::HandleNumber number = 0;
  std::shared_ptr<Environment::Facade> facade;  // set when Live
};

// Reads "__engine". Leaves no exception pending, also when a getter of script's throws.
ResolvedHandle resolveHandle(napi_env env, napi_value handle);

// The facade behind a handle; null, with the type error "Expected an object as the first argument"
// pending, when there is none.
std::shared_ptr<Environment::Facade> requireFacade(napi_env env, napi_value handle);

void throwNotAHandle(napi_env env);

// The exported functions that create and destroy handles.
napi_value createConfEngine(napi_env env, napi_callback_info info);
napi_value destroyConfEngine(napi_env env, napi_callback_info info);

}  // namespace kavrin::ConferenceEngineWrapper
