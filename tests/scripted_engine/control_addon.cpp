// A Node-API addon that gives tests the scripted engine's control interface, and values that only
// native code can make: externals that wrap any pointer, and captured C standard output.
//
// Exports: command(text), externalAt(bigint), pointerOf(external), apiVersionOf(path),
// currentThread(), captureStdout(path), flushStdout().
#include <node_api.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "tests/scripted_engine/control.h"
#include "tests/scripted_engine/control_host.h"

namespace {

napi_value throwError(napi_env env, const char* text) {
  napi_throw_error(env, nullptr, text);
  return nullptr;
}

// The only argument of a call; null when there is none.
napi_value argumentOf(napi_env env, napi_callback_info info) {
  std::size_t count = 1;
  napi_value argument = nullptr;
  if (napi_get_cb_info(env, info, &count, &argument, nullptr, nullptr) != napi_ok || count < 1) {
    return nullptr;
  }
  return argument;
}

bool textFrom(napi_env env, napi_value value, std::string& text) {
  std::size_t length = 0;
  if (value == nullptr || napi_get_value_string_utf8(env, value, nullptr, 0, &length) != napi_ok) {
    return false;
  }
  std::vector<char> bytes(length + 1);
  if (napi_get_value_string_utf8(env, value, bytes.data(), bytes.size(), &length) != napi_ok) {
    return false;
  }
  text.assign(bytes.data(), length);
  return true;
}

napi_value command(napi_env env, napi_callback_info info) {
  std::string text;
  if (!textFrom(env, argumentOf(env, info), text)) return throwError(env, "a text is needed");
  const std::string answer = kavrin::scripted::execute(text);
  napi_value result = nullptr;
  napi_create_string_utf8(env, answer.data(), answer.size(), &result);
  return result;
}

napi_value externalAt(napi_env env, napi_callback_info info) {
  std::uint64_t address = 0;
  bool lossless = false;
  const napi_value argument = argumentOf(env, info);
  if (argument == nullptr ||
      napi_get_value_bigint_uint64(env, argument, &address, &lossless) != napi_ok) {
    return throwError(env, "an address is needed");
  }
  napi_value external = nullptr;
  napi_create_external(env, reinterpret_cast<void*>(static_cast<std::uintptr_t>(address)), nullptr,
                       nullptr, &external);
  return external;
}

napi_value pointerOf(napi_env env, napi_callback_info info) {
  void* pointer = nullptr;
  const napi_value argument = argumentOf(env, info);
  if (argument == nullptr || napi_get_value_external(env, argument, &pointer) != napi_ok) {
    return throwError(env, "an external is needed");
  }
  napi_value address = nullptr;
  napi_create_bigint_uint64(env, reinterpret_cast<std::uintptr_t>(pointer), &address);
  return address;
}

napi_value apiVersionOf(napi_env env, napi_callback_info info) {
  std::string path;
  if (!textFrom(env, argumentOf(env, info), path)) return throwError(env, "a path is needed");
  const auto found = kavrin::scripted::moduleApiVersion(path);
  if (!found) return throwError(env, "the file names no version");
  napi_value version = nullptr;
  napi_create_int32(env, *found, &version);
  return version;
}

napi_value captureStdout(napi_env env, napi_callback_info info) {
  std::string path;
  if (!textFrom(env, argumentOf(env, info), path)) return throwError(env, "a path is needed");
  if (!kavrin::scripted::captureStdout(path)) return throwError(env, "the file cannot be opened");
  return nullptr;
}

napi_value currentThread(napi_env env, napi_callback_info /*info*/) {
  napi_value number = nullptr;
  napi_create_uint32(env, kavrin::scripted::currentThread(), &number);
  return number;
}

napi_value flushStdout(napi_env /*env*/, napi_callback_info /*info*/) {
  std::fflush(stdout);
  return nullptr;
}

}  // namespace

NAPI_MODULE_INIT() {
  const napi_property_descriptor functions[] = {
      {"command", nullptr, command, nullptr, nullptr, nullptr, napi_enumerable, nullptr},
      {"externalAt", nullptr, externalAt, nullptr, nullptr, nullptr, napi_enumerable, nullptr},
      {"pointerOf", nullptr, pointerOf, nullptr, nullptr, nullptr, napi_enumerable, nullptr},
      {"apiVersionOf", nullptr, apiVersionOf, nullptr, nullptr, nullptr, napi_enumerable, nullptr},
      {"currentThread", nullptr, currentThread, nullptr, nullptr, nullptr, napi_enumerable,
       nullptr},
      {"captureStdout", nullptr, captureStdout, nullptr, nullptr, nullptr, napi_enumerable,
       nullptr},
      {"flushStdout", nullptr, flushStdout, nullptr, nullptr, nullptr, napi_enumerable, nullptr},
  };
  napi_define_properties(env, exports, sizeof(functions) / sizeof(functions[0]), functions);
  return exports;
}
