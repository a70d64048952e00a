#include "module/engine_handle.h"

#include "module/call_arguments.h"

namespace kavrin::ConferenceEngineWrapper {
namespace {

constexpr const char* kEngineProperty = "__engine";

bool readExternal(napi_env env, napi_value handle, void*& external) {
  napi_value property = nullptr;
  if (napi_get_named_property(env, handle, kEngineProperty, &property) == napi_ok &&
      napi_get_value_external(env, property, &external) == napi_ok) {
    return true;
  }
  // The failure is reported with a text of the module's own, whatever script threw on the way.
  bool pending = false;
  napi_value ignored = nullptr;
  if (napi_is_exception_pending(env, &pending) == napi_ok && pending) {
    napi_get_and_clear_last_exception(env, &ignored);
  }
  return false;
}

}  // namespace

ResolvedHandle resolveHandle(napi_env env, napi_value handle) {
  using State = ResolvedHandle::State;
  ResolvedHandle resolved;
  void* external = nullptr;
  if (!readExternal(env, handle, external)) return resolved;
  Environment& environment = Environment::of(env);
  resolved.number = reinterpret_cast<Environment::HandleNumber>(external);
  resolved.facade = environment.find(resolved.number);
  if (resolved.facade != nullptr) {
    resolved.state = State::Live;
  } else if (external == nullptr || environment.wasDestroyed(resolved.number)) {
    resolved.state = State::Gone;
  }
  return resolved;
}

void throwNotAHandle(napi_env env) {
  napi_throw_type_error(env, nullptr, "Expected an object as the first argument");
}

std::shared_ptr<Environment::Facade> requireFacade(napi_env env, napi_value handle) {
  ResolvedHandle resolved = resolveHandle(env, handle);
  if (resolved.state != ResolvedHandle::State::Live) throwNotAHandle(env);
  return std::move(resolved.facade);
}

napi_value createConfEngine(napi_env env, napi_callback_info) {
  napi_value handle = nullptr;
  napi_value external = nullptr;
  napi_create_object(env, &handle);
  Environment& environment = Environment::of(env);
  std::shared_ptr<Environment::Facade> facade = environment.create();
  const Environment::HandleNumber number = environment.takeNumber();
  void* const pointer = reinterpret_cast<void*>(number);
  if (napi_create_external(env, pointer, nullptr, nullptr, &external) != napi_ok) {
    napi_throw_error(env, nullptr, "Failed to create the external");
    return nullptr;
  }
  if (napi_set_named_property(env, handle, kEngineProperty, external) != napi_ok) {
    napi_throw_error(env, nullptr, "Failed to set the engine");
    return nullptr;
  }
  facade->registerMethods();
  environment.adopt(number, std::move(facade));
  return handle;
}

napi_value destroyConfEngine(napi_env env, napi_callback_info info) {
  const CallArguments<1> arguments(env, info);
  if (arguments.count() == 0) {
    napi_throw_type_error(env, nullptr, "Wrong number of arguments");
    return nullptr;
  }
  const ResolvedHandle handle = resolveHandle(env, arguments[0]);
  if (handle.state == ResolvedHandle::State::Live) {
    Environment::of(env).destroy(handle.number);
  } else {
    throwNotAHandle(env);
  }
  return nullptr;
}

}  // namespace kavrin::ConferenceEngineWrapper
