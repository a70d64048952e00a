#include "tests/hardening/coverage/any_value.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace kavrin {
namespace {

using Kind = Variant::Kind;
using fake::ScriptEnvironment;

constexpr int kDeepest = 4;
constexpr std::uint8_t kMostChildren = 5;

constexpr const char* kFunctions[] = {
    "napi_typeof",
    "napi_get_value_bool",
    "napi_get_value_string_utf8",
    "napi_get_value_double",
    "napi_get_value_int32",
    "napi_get_value_int64",
    "napi_get_boolean",
    "napi_create_int32",
    "napi_create_int64",
    "napi_create_double",
    "napi_create_string_utf8",
    "napi_create_buffer_copy",
    "napi_create_object",
    "napi_set_element",
    "napi_set_named_property",
    "napi_get_last_error_info",
};

constexpr napi_status kStatuses[] = {napi_generic_failure, napi_pending_exception, napi_invalid_arg,
                                     napi_cannot_run_js};

std::vector<unsigned char> anyBytes(Input& input) {
  std::vector<unsigned char> bytes(input.number<std::uint8_t>());
  std::generate(bytes.begin(), bytes.end(), [&] { return input.number<unsigned char>(); });
  return bytes;
}

napi_value anyScriptObject(ScriptEnvironment& env, Input& input, int depth);

napi_value anyScriptValue(ScriptEnvironment& env, Input& input, int depth) {
  switch (input.below(14)) {
    case 1:
      return env.null();
    case 2:
      return env.boolean(input.flag());
    case 3:
      return env.number(input.number<double>());
    case 4:
      return env.number(input.number<std::int32_t>());
    case 5:
      return env.number(static_cast<double>(input.number<std::int64_t>()));
    case 6:
      return env.string(input.text());
    case 7:
      return env.make(napi_symbol);
    case 8:
      return env.make(napi_bigint);
    case 9:
      return env.function({});
    case 10:
      return env.external(nullptr);
    case 11:
      return env.buffer(anyBytes(input));
    case 12:
    case 13:
      return depth < kDeepest ? anyScriptObject(env, input, depth + 1) : env.object();
    default:
      return env.undefined();
  }
}

napi_value anyScriptObject(ScriptEnvironment& env, Input& input, int depth) {
  napi_value made = input.flag() ? env.array() : env.object();
  for (int count = input.below(kMostChildren); count > 0; --count) {
    const std::string key = input.text();
    if (input.flag()) {
      env.defineGetter(made, key, [&env] { return env.throwError("mine"); });
    } else if (made->isArray) {
      made->elements.push_back(anyScriptValue(env, input, depth));
    } else {
      made->set(key, anyScriptValue(env, input, depth));
    }
  }
  return made;
}

Variant anyVariant(ScriptEnvironment& env, Input& input, int depth);

Variant anyScalar(Kind kind, Input& input) {
  Variant made(kind);
  switch (kind) {
    case Kind::Bool:
      made.boolValue = input.flag();
      break;
    case Kind::ULong:
      made.uint32Value = input.number<std::uint32_t>();
      made.ulongValue = input.number<std::uint32_t>();
      break;
    case Kind::Float:
      made.floatValue = input.number<float>();
      break;
    case Kind::Double:
    case Kind::LongDouble:
      made.doubleValue = input.number<double>();
      break;
    default:
      made.uint64Value = input.number<std::uint64_t>();
      break;
  }
  return made;
}

Variant anyArray(ScriptEnvironment& env, Input& input, int depth) {
  Variant::ArrayType elements;
  for (int count = input.below(kMostChildren); count > 0; --count) {
    elements.push_back(anyVariant(env, input, depth));
  }
  return Variant::array(std::move(elements));
}

Variant anyObject(ScriptEnvironment& env, Input& input, int depth) {
  Variant::ObjectType entries;
  for (int count = input.below(kMostChildren); count > 0; --count) {
    std::string key = input.text();
    entries[std::move(key)] = anyVariant(env, input, depth);
  }
  return Variant::object(std::move(entries));
}

Variant anyVariant(ScriptEnvironment& env, Input& input, int depth) {
  constexpr std::uint8_t kKinds = 21;
  const Kind kind = static_cast<Kind>(input.below(kKinds));
  switch (kind) {
    case Kind::Null:
      return input.flag() ? Variant(static_cast<const char*>(nullptr)) : Variant();
    case Kind::String:
      return Variant::text(input.text());
    case Kind::PendingNumber:
      return Variant::pendingNumber(&env, anyScriptValue(env, input, depth));
    case Kind::Buffer: {
      const std::vector<unsigned char> bytes = anyBytes(input);
      return Variant::bytes(bytes.data(), static_cast<std::int32_t>(bytes.size()));
    }
    case Kind::Array:
      return depth < kDeepest ? anyArray(env, input, depth + 1) : Variant(kind);
    case Kind::Object:
      return depth < kDeepest ? anyObject(env, input, depth + 1) : Variant(kind);
    case Kind::ScriptValue:
      return Variant::scriptHandle(input.flag() ? anyScriptValue(env, input, depth) : nullptr);
    default:
      return anyScalar(kind, input);
  }
}

}  // namespace

napi_value anyScriptValue(ScriptEnvironment& env, Input& input) {
  return anyScriptValue(env, input, 0);
}

Variant anyVariant(ScriptEnvironment& env, Input& input) { return anyVariant(env, input, 0); }

void planFaults(fake::FaultPlan& faults, Input& input) {
  constexpr std::uint8_t kMostFaults = 4;
  constexpr std::uint8_t kLatest = 12;
  for (int count = input.below(kMostFaults); count > 0; --count) {
    const char* function = kFunctions[input.below(std::size(kFunctions))];
    const napi_status status = kStatuses[input.below(std::size(kStatuses))];
    const int nth = input.below(kLatest);
    if (nth == 0) {
      faults.failAlways(function, status);
    } else {
      faults.fail(function, nth, status);
    }
  }
}

bool faultHappened(fake::FaultPlan& faults) {
  return std::any_of(std::begin(kFunctions), std::end(kFunctions),
                     [&](const char* function) { return faults.happened(function); });
}

}  // namespace kavrin
