// Node-API functions that create, tell apart and read values.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "tests/unit/fake_node_api/script_environment.h"

using kavrin::fake::enter;
using kavrin::fake::enterScript;

namespace {

napi_status give(napi_value* result, napi_value value) {
  if (result == nullptr) return napi_invalid_arg;
  *result = value;
  return napi_ok;
}

// ToInt32: modulo 2^32.
std::int32_t wrapped(double number) {
  if (!std::isfinite(number)) return 0;
  constexpr double kModulus = 4294967296.0;
  double rest = std::fmod(std::trunc(number), kModulus);
  if (rest < 0) rest += kModulus;
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(rest));
}

std::int64_t saturated(double number) {
  using Limits = std::numeric_limits<std::int64_t>;
  if (!std::isfinite(number)) return 0;
  if (number >= 9223372036854775808.0) return Limits::max();
  if (number <= -9223372036854775808.0) return Limits::min();
  return static_cast<std::int64_t>(number);
}

template <typename Number, typename Convert>
napi_status readNumber(napi_value value, Number* result, Convert convert) {
  if (value == nullptr || result == nullptr) return napi_invalid_arg;
  if (value->type != napi_number) return napi_number_expected;
  *result = convert(value->number);
  return napi_ok;
}

// The length of the longest beginning of `text` that fits and ends with a whole character.
std::size_t wholeCharacters(const std::string& text, std::size_t room) {
  if (text.size() <= room) return text.size();
  const auto continues = [&](std::size_t i) { return (text[i] & 0xC0) == 0x80; };
  while (room > 0 && continues(room)) --room;
  return room;
}

}  // namespace

napi_status napi_get_last_error_info(napi_env env, const napi_extended_error_info** result) {
  if (env == nullptr || result == nullptr) return napi_invalid_arg;
  if (const auto fault = env->faults.enter(__func__)) return *fault;
  *result = &env->lastError();
  return napi_ok;
}

napi_status napi_get_undefined(napi_env env, napi_value* result) {
  return enter(env, __func__, [&] { return give(result, env->undefined()); });
}

napi_status napi_get_global(napi_env env, napi_value* result) {
  return enter(env, __func__, [&] { return give(result, env->global()); });
}

napi_status napi_get_boolean(napi_env env, bool value, napi_value* result) {
  return enter(env, __func__, [&] { return give(result, env->boolean(value)); });
}

napi_status napi_create_object(napi_env env, napi_value* result) {
  return enter(env, __func__, [&] { return give(result, env->object()); });
}

napi_status napi_create_array(napi_env env, napi_value* result) {
  return enter(env, __func__, [&] { return give(result, env->array()); });
}

napi_status napi_create_array_with_length(napi_env env, size_t length, napi_value* result) {
  return enter(env, __func__,
               [&] { return give(result, env->array(std::vector<napi_value>(length))); });
}

napi_status napi_create_int32(napi_env env, int32_t value, napi_value* result) {
  return enter(env, __func__, [&] { return give(result, env->number(value)); });
}

napi_status napi_create_int64(napi_env env, int64_t value, napi_value* result) {
  return enter(env, __func__,
               [&] { return give(result, env->number(static_cast<double>(value))); });
}

napi_status napi_create_double(napi_env env, double value, napi_value* result) {
  return enter(env, __func__, [&] { return give(result, env->number(value)); });
}

napi_status napi_create_string_utf8(napi_env env, const char* str, size_t length,
                                    napi_value* result) {
  return enter(env, __func__, [&] {
    if (str == nullptr && length != 0) return napi_invalid_arg;
    if (length != NAPI_AUTO_LENGTH && length > INT32_MAX) return napi_invalid_arg;
    if (str == nullptr) return give(result, env->string(""));
    return give(result, env->string({str, length == NAPI_AUTO_LENGTH ? std::strlen(str) : length}));
  });
}

napi_status napi_create_external(napi_env env, void* data, napi_finalize finalize_cb, void*,
                                 napi_value* result) {
  return enterScript(env, __func__, [&] {
    napi_value external = env->external(data);
    external->hasFinalizer = finalize_cb != nullptr;
    return give(result, external);
  });
}

napi_status napi_create_buffer_copy(napi_env env, size_t length, const void* data,
                                    void** result_data, napi_value* result) {
  return enterScript(env, __func__, [&] {
    constexpr std::size_t kLargest = std::size_t{1} << 32;
    if (length > kLargest) return napi_generic_failure;
    std::vector<unsigned char> bytes(length);
    if (length != 0) std::memcpy(bytes.data(), data, length);
    napi_value buffer = env->buffer(std::move(bytes));
    if (result_data != nullptr) *result_data = buffer->bytes.data();
    return give(result, buffer);
  });
}

napi_status napi_typeof(napi_env env, napi_value value, napi_valuetype* result) {
  return enter(env, __func__, [&] {
    if (value == nullptr || result == nullptr) return napi_invalid_arg;
    *result = value->type;
    return napi_ok;
  });
}

napi_status napi_get_value_bool(napi_env env, napi_value value, bool* result) {
  return enter(env, __func__, [&] {
    if (value == nullptr || result == nullptr) return napi_invalid_arg;
    if (value->type != napi_boolean) return napi_boolean_expected;
    *result = value->boolean;
    return napi_ok;
  });
}

napi_status napi_get_value_double(napi_env env, napi_value value, double* result) {
  return enter(env, __func__,
               [&] { return readNumber(value, result, [](double number) { return number; }); });
}

napi_status napi_get_value_int32(napi_env env, napi_value value, int32_t* result) {
  return enter(env, __func__, [&] { return readNumber(value, result, wrapped); });
}

napi_status napi_get_value_int64(napi_env env, napi_value value, int64_t* result) {
  return enter(env, __func__, [&] { return readNumber(value, result, saturated); });
}

napi_status napi_get_value_external(napi_env env, napi_value value, void** result) {
  return enter(env, __func__, [&] {
    if (value == nullptr || result == nullptr) return napi_invalid_arg;
    if (value->type != napi_external) return napi_invalid_arg;
    *result = value->external;
    return napi_ok;
  });
}

napi_status napi_get_value_string_utf8(napi_env env, napi_value value, char* buf, size_t bufsize,
                                       size_t* result) {
  return enter(env, __func__, [&] {
    if (value == nullptr) return napi_invalid_arg;
    if (value->type != napi_string) return napi_string_expected;
    if (buf == nullptr) {
      if (result == nullptr) return napi_invalid_arg;
      *result = value->text.size();
      return napi_ok;
    }
    if (bufsize == 0) return napi_ok;
    const std::size_t copied = wholeCharacters(value->text, bufsize - 1);
    std::memcpy(buf, value->text.data(), copied);
    buf[copied] = '\0';
    if (result != nullptr) *result = copied;
    return napi_ok;
  });
}

napi_status napi_is_buffer(napi_env env, napi_value value, bool* result) {
  return enter(env, __func__, [&] {
    if (value == nullptr || result == nullptr) return napi_invalid_arg;
    *result = value->isBuffer;
    return napi_ok;
  });
}

napi_status napi_get_buffer_info(napi_env env, napi_value value, void** data, size_t* length) {
  return enter(env, __func__, [&] {
    if (value == nullptr || !value->isBuffer) return napi_invalid_arg;
    if (data != nullptr) *data = value->detached ? nullptr : value->bytes.data();
    if (length != nullptr) *length = value->detached ? 0 : value->bytes.size();
    return napi_ok;
  });
}
