// Module entry: the Node-API version and the eight exported functions.
#include <exception>

#include "bridge/node_api.h"
#include "module/call_entry_points.h"
#include "module/engine_handle.h"
#include "module/environment.h"
#include "module/event_polling.h"
#include "module/listener_registration.h"

namespace kavrin::ConferenceEngineWrapper {
namespace {

// The border to script: a C++ exception must not unwind through Node, it becomes a script error.
template <napi_callback Function>
napi_value guardedEntry(napi_env env, napi_callback_info info) {
  try {
    return Function(env, info);
  } catch (const std::exception& error) {
    napi_throw_error(env, nullptr, error.what());
  } catch (...) {
    napi_throw_error(env, nullptr, "unknown exception");
  }
  return nullptr;
}

// A function that cannot be defined is left out silently; the others are still defined.
void define(napi_env env, napi_value exports, const char* name, napi_callback callback) {
  napi_value function = nullptr;
  if (napi_create_function(env, nullptr, 0, callback, nullptr, &function) != napi_ok) return;
  napi_set_named_property(env, exports, name, function);
}

void defineFunctions(napi_env env, napi_value exports) {
  define(env, exports, "createConfEngine", guardedEntry<createConfEngine>);
  define(env, exports, "destroyConfEngine", guardedEntry<destroyConfEngine>);
  define(env, exports, "execFun", guardedEntry<execFun>);
  define(env, exports, "execJsonParamFun", guardedEntry<execJsonParamFun>);
  define(env, exports, "execJsonParamFunWithCallback", guardedEntry<execJsonParamFunWithCallback>);
  define(env, exports, "loadNodeEvents", guardedEntry<loadNodeEvents>);
  define(env, exports, "on", guardedEntry<on>);
  define(env, exports, "off", guardedEntry<off>);
}

}  // namespace
}  // namespace kavrin::ConferenceEngineWrapper

extern "C" {

NAPI_MODULE_EXPORT int32_t node_api_module_get_api_version_v1() { return NAPI_VERSION; }

// A module that cannot be set up has no functions.
NAPI_MODULE_EXPORT napi_value napi_register_module_v1(napi_env env, napi_value exports) {
  try {
    if (kavrin::Environment::install(env)) {
      kavrin::ConferenceEngineWrapper::defineFunctions(env, exports);
    }
  } catch (...) {
    // Too little memory to say so.
  }
  return exports;
}

}  // extern "C"
