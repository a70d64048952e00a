// on(engine, name, callback, context) and off(engine, name): listeners for what the module posts.
//
// on() with another count than four registers nothing and returns undefined; off() with another
// count than two throws "Invalid arguments to off()". With the handle of a destroyed engine both do
// nothing.
//
// Threads: script thread only.
#pragma once

#include "bridge/node_api.h"

namespace kavrin::ConferenceEngineWrapper {

napi_value on(napi_env env, napi_callback_info info);
napi_value off(napi_env env, napi_callback_info info);

}  // namespace kavrin::ConferenceEngineWrapper
