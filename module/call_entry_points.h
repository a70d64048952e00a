// The three exported functions through which script calls named methods.
//
//   execFun(engine, name, arguments)                       arguments is an array
//   execJsonParamFun(engine, name, json)
//   execJsonParamFunWithCallback(engine, name, json, callback)
//
// A wrong argument count returns undefined without an error: hosts probe for the functions that
// way.
//
// Threads: script thread only.
#pragma once

#include "bridge/node_api.h"

namespace kavrin::ConferenceEngineWrapper {

napi_value execFun(napi_env env, napi_callback_info info);
napi_value execJsonParamFun(napi_env env, napi_callback_info info);
napi_value execJsonParamFunWithCallback(napi_env env, napi_callback_info info);

}  // namespace kavrin::ConferenceEngineWrapper
