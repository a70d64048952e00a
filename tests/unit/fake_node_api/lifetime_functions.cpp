// Node-API functions around lifetimes: references, scopes, instance data, cleanup hooks.
#include "tests/unit/fake_node_api/script_environment.h"

using kavrin::fake::enter;

namespace {

// False, noted as misuse, for a reference that was deleted.
bool usable(napi_env env, napi_ref reference, const char* function) {
  if (!reference->deleted) return true;
  env->misuse.add(std::string(function) + " with a reference that was deleted");
  return false;
}

}  // namespace

napi_status napi_create_reference(napi_env env, napi_value value, uint32_t initial_refcount,
                                  napi_ref* result) {
  return enter(env, __func__, [&] {
    if (value == nullptr || result == nullptr) return napi_invalid_arg;
    const bool holdable =
        value->type == napi_object || value->type == napi_function || value->type == napi_symbol;
    if (!holdable) return napi_invalid_arg;
    *result = env->addReference(value, initial_refcount);
    return napi_ok;
  });
}

napi_status napi_delete_reference(napi_env env, napi_ref ref) {
  const char* function = __func__;
  return enter(env, function, [&] {
    if (ref == nullptr || !usable(env, ref, function)) return napi_invalid_arg;
    ref->deleted = true;
    return napi_ok;
  });
}

napi_status napi_get_reference_value(napi_env env, napi_ref ref, napi_value* result) {
  const char* function = __func__;
  return enter(env, function, [&] {
    if (ref == nullptr || result == nullptr || !usable(env, ref, function)) {
      return napi_invalid_arg;
    }
    *result = ref->value;
    return napi_ok;
  });
}

napi_status napi_open_handle_scope(napi_env env, napi_handle_scope* result) {
  return enter(env, __func__, [&] {
    *result = env->openScope();
    return napi_ok;
  });
}

napi_status napi_close_handle_scope(napi_env env, napi_handle_scope scope) {
  return enter(env, __func__, [&] {
    if (scope == nullptr) return napi_invalid_arg;
    return env->closeScope(scope) ? napi_ok : napi_handle_scope_mismatch;
  });
}

napi_status napi_set_instance_data(napi_env env, void* data, napi_finalize finalize_cb,
                                   void* finalize_hint) {
  return enter(env, __func__, [&] {
    env->instanceData = {data, finalize_cb, finalize_hint};
    return napi_ok;
  });
}

napi_status napi_get_instance_data(napi_env env, void** data) {
  return enter(env, __func__, [&] {
    *data = env->instanceData.data;
    return napi_ok;
  });
}

napi_status napi_add_env_cleanup_hook(node_api_basic_env env, void (*fun)(void*), void* arg) {
  return enter(env, __func__, [&] {
    env->addHook({fun, arg});
    return napi_ok;
  });
}

napi_status napi_remove_env_cleanup_hook(node_api_basic_env env, void (*fun)(void*), void* arg) {
  return enter(env, __func__, [&] {
    env->removeHook({fun, arg});
    return napi_ok;
  });
}
