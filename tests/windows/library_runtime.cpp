// Stands in for a runtime that a host links as "libnode.dll": notes which functions an addon
// defines, and refuses every other call.
#include <cstring>
#include <string>

namespace {

constexpr int kOk = 0;
constexpr int kGenericFailure = 9;

std::string& names() {
  static std::string text;
  return text;
}

}  // namespace

extern "C" {

int refuseCall() { return kGenericFailure; }

int napi_add_env_cleanup_hook(void*, void (*)(void*), void*) { return kOk; }
int napi_remove_env_cleanup_hook(void*, void (*)(void*), void*) { return kOk; }
int napi_set_instance_data(void*, void*, void*, void*) { return kOk; }

int napi_create_function(void*, const char*, std::size_t, void*, void*, void** result) {
  static int function = 0;
  *result = &function;
  return kOk;
}

int napi_set_named_property(void*, void*, const char* name, void*) {
  names() += std::string(name) + ' ';
  return kOk;
}

const char* definedFunctions() { return names().c_str(); }

}  // extern "C"
