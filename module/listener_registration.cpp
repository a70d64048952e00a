#include "module/listener_registration.h"

#include "module/call_arguments.h"
#include "module/engine_handle.h"

namespace kavrin::ConferenceEngineWrapper {
namespace {

// The facade for on() and off(): an ended one is passed over silently, anything that never was a
// handle is an error.
std::shared_ptr<Environment::Facade> facadeOf(napi_env env, napi_value handle) {
  ResolvedHandle resolved = resolveHandle(env, handle);
  if (resolved.state == ResolvedHandle::State::Invalid) throwNotAHandle(env);
  return std::move(resolved.facade);
}

}  // namespace

napi_value on(napi_env env, napi_callback_info info) {
  const CallArguments<4> arguments(env, info);
  if (!arguments.complete()) return nullptr;
  const auto facade = facadeOf(env, arguments[0]);
  if (facade == nullptr) return nullptr;
  return facade->emitter().on(env, arguments.count() - 1, arguments.rest());
}

napi_value off(napi_env env, napi_callback_info info) {
  const CallArguments<2> arguments(env, info);
  if (!arguments.complete()) {
    napi_throw_error(env, nullptr, "Invalid arguments to off()");
    return nullptr;
  }
  const auto facade = facadeOf(env, arguments[0]);
  if (facade == nullptr) return nullptr;
  return facade->emitter().off(env, arguments.count() - 1, arguments.rest());
}

}  // namespace kavrin::ConferenceEngineWrapper
