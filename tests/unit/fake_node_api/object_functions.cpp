// Node-API functions that run script or touch objects: properties, elements, calls, exceptions.
#include <utility>

#include "tests/unit/fake_node_api/script_environment.h"

using kavrin::fake::callNative;
using kavrin::fake::enter;
using kavrin::fake::enterScript;

namespace {

// Primitives are boxed; undefined and null have no properties.
bool hasProperties(napi_value value) {
  return value != nullptr && value->type != napi_undefined && value->type != napi_null;
}

napi_status setProperty(napi_env env, napi_value object, const std::string& key, napi_value value) {
  if (env->beforePropertySet) {
    // The hook runs with no hook of its own, as a setter that does not call itself.
    const auto hook = std::exchange(env->beforePropertySet, nullptr);
    hook(key);
    env->beforePropertySet = hook;
  }
  object->set(key, value);
  return env->pendingException() == nullptr ? napi_ok : napi_generic_failure;
}

// Runs `read`, which may run a getter.
template <typename Read>
napi_status guardedRead(napi_env env, napi_value* result, Read read) {
  const napi_value value = read();
  if (env->pendingException() != nullptr) return napi_generic_failure;
  *result = value == nullptr ? env->undefined() : value;
  return napi_ok;
}

napi_status throwNamed(napi_env env, const char* name, const char* message) {
  env->throwError(message, name);
  return napi_ok;
}

}  // namespace

napi_status napi_set_property(napi_env env, napi_value object, napi_value key, napi_value value) {
  return enterScript(env, __func__, [&] {
    if (key == nullptr || value == nullptr || object == nullptr) return napi_invalid_arg;
    if (!hasProperties(object)) return napi_object_expected;
    return setProperty(env, object, key->text, value);
  });
}

napi_status napi_set_named_property(napi_env env, napi_value object, const char* utf8name,
                                    napi_value value) {
  return enterScript(env, __func__, [&] {
    if (value == nullptr || object == nullptr || utf8name == nullptr) return napi_invalid_arg;
    if (!hasProperties(object)) return napi_object_expected;
    return setProperty(env, object, utf8name, value);
  });
}

napi_status napi_get_named_property(napi_env env, napi_value object, const char* utf8name,
                                    napi_value* result) {
  return enterScript(env, __func__, [&] {
    if (object == nullptr || utf8name == nullptr || result == nullptr) return napi_invalid_arg;
    if (!hasProperties(object)) return napi_object_expected;
    return guardedRead(env, result, [&] { return env->get(object, utf8name); });
  });
}

napi_status napi_set_element(napi_env env, napi_value object, uint32_t index, napi_value value) {
  return enterScript(env, __func__, [&] {
    if (value == nullptr || object == nullptr) return napi_invalid_arg;
    if (!hasProperties(object)) return napi_object_expected;
    object->setElement(index, value);
    return napi_ok;
  });
}

napi_status napi_get_element(napi_env env, napi_value object, uint32_t index, napi_value* result) {
  return enterScript(env, __func__, [&] {
    if (object == nullptr || result == nullptr) return napi_invalid_arg;
    if (!hasProperties(object)) return napi_object_expected;
    return guardedRead(env, result, [&] {
      const auto* property = object->find(std::to_string(index));
      return property != nullptr ? env->get(object, property->key) : object->element(index);
    });
  });
}

napi_status napi_get_array_length(napi_env env, napi_value value, uint32_t* result) {
  return enter(env, __func__, [&] {
    if (value == nullptr || result == nullptr) return napi_invalid_arg;
    if (!value->isArray) return napi_array_expected;
    *result = static_cast<uint32_t>(value->elements.size());
    return napi_ok;
  });
}

napi_status napi_create_function(napi_env env, const char*, size_t, napi_callback cb, void* data,
                                 napi_value* result) {
  return enterScript(env, __func__, [&] {
    if (cb == nullptr || result == nullptr) return napi_invalid_arg;
    *result = env->function([env, cb, data](napi_value receiver, const auto& arguments) {
      napi_callback_info__ info{receiver, arguments, data};
      napi_value returned = nullptr;
      callNative(env, "a function of the module", [&] { returned = cb(env, &info); });
      return returned;
    });
    return napi_ok;
  });
}

napi_status napi_get_cb_info(napi_env env, napi_callback_info cbinfo, size_t* argc,
                             napi_value* argv, napi_value* this_arg, void** data) {
  return enter(env, __func__, [&] {
    if (cbinfo == nullptr) return napi_invalid_arg;
    if (argv != nullptr) {
      if (argc == nullptr) return napi_invalid_arg;
      for (std::size_t i = 0; i < *argc; ++i) {
        argv[i] = i < cbinfo->arguments.size() ? cbinfo->arguments[i] : env->undefined();
      }
    }
    if (argc != nullptr) *argc = cbinfo->arguments.size();
    if (this_arg != nullptr) *this_arg = cbinfo->receiver;
    if (data != nullptr) *data = cbinfo->data;
    return napi_ok;
  });
}

napi_status napi_call_function(napi_env env, napi_value recv, napi_value func, size_t argc,
                               const napi_value* argv, napi_value* result) {
  return enterScript(env, __func__, [&] {
    if (recv == nullptr || func == nullptr) return napi_invalid_arg;
    if (func->type != napi_function) return napi_invalid_arg;
    const napi_value value = env->invoke(func, recv, std::vector<napi_value>(argv, argv + argc));
    if (env->pendingException() != nullptr) return napi_pending_exception;
    if (result != nullptr) *result = value;
    return napi_ok;
  });
}

napi_status napi_throw_error(napi_env env, const char*, const char* msg) {
  return enterScript(env, __func__, [&] { return throwNamed(env, "Error", msg); });
}

napi_status napi_throw_type_error(napi_env env, const char*, const char* msg) {
  return enterScript(env, __func__, [&] { return throwNamed(env, "TypeError", msg); });
}

napi_status napi_is_exception_pending(napi_env env, bool* result) {
  return enter(env, __func__, [&] {
    *result = env->pendingException() != nullptr;
    return napi_ok;
  });
}

napi_status napi_get_and_clear_last_exception(napi_env env, napi_value* result) {
  return enter(env, __func__, [&] {
    const napi_value exception = env->pendingException();
    *result = exception == nullptr ? env->undefined() : exception;
    env->setException(nullptr);
    return napi_ok;
  });
}
