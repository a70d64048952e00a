#include "bridge/convert.h"

#include <cstring>
#include <utility>

#include "support/logger.h"

namespace node_napi {
namespace {

using Kind = Variant::Kind;

void logFailure(Logger& logger, napi_env env, int line, const char* function, const char* message) {
  // The detail is read first: it belongs to the last Node-API call.
  const std::string text = errorText(env, message);
  logger.writeText(kavrin::kLogError, line, function, message);
  logger.writeText(kavrin::kLogError, line, function, text);
}

Variant unreadable(Logger& logger, napi_env env, int line, const char* message) {
  logFailure(logger, env, line, "node_napi::convertNValueToVariant", message);
  return Variant();
}

// Creates script values of one call and logs those that fail.
class ValueMaker {
 public:
  ValueMaker(Logger& logger, napi_env& env) : logger_(logger), env_(env) {}

  napi_value make(const Variant& value);

 private:
  napi_value checked(napi_status status, napi_value created, const char* message) {
    if (status != napi_ok) {
      logFailure(logger_, env_, __LINE__, "node_napi::convertVariantToNValue", message);
    }
    return created;
  }
  napi_value makeArray(const Variant& value);
  napi_value makeObject(const Variant& value);

  Logger& logger_;
  napi_env& env_;
};

napi_value ValueMaker::makeArray(const Variant& value) {
  napi_value result = nullptr;
  napi_create_object(env_, &result);
  std::uint32_t index = 0;
  for (const Variant& element : value.arrayValue) {
    napi_set_element(env_, result, index++, make(element));
  }
  return result;
}

napi_value ValueMaker::makeObject(const Variant& value) {
  napi_value result = nullptr;
  napi_create_object(env_, &result);
  for (const auto& [key, element] : value.objectValue) {
    napi_set_named_property(env_, result, key.c_str(), make(element));
  }
  return result;
}

napi_value ValueMaker::make(const Variant& value) {
  napi_value made = nullptr;
  switch (value.kind) {
    case Kind::Bool: {
      const napi_status status = napi_get_boolean(env_, value.asBool(), &made);
      return checked(status, made, "create n-value bool error!");
    }
    case Kind::Int16:
    case Kind::UInt16:
    case Kind::Int32:
    case Kind::UInt32: {
      const napi_status status = napi_create_int32(env_, value.asInt32(), &made);
      return checked(status, made, "create n-value int eroor!");
    }
    case Kind::Long:
    case Kind::ULong:
    case Kind::Int64:
    case Kind::UInt64: {
      const napi_status status = napi_create_int64(env_, value.asInt64(), &made);
      return checked(status, made, "create n-value int64 eroor!");
    }
    case Kind::Float:
    case Kind::Double:
    case Kind::LongDouble: {
      const napi_status status = napi_create_double(env_, value.asDouble(), &made);
      return checked(status, made, "create n-value double eroor!");
    }
    case Kind::String: {
      const napi_status status =
          napi_create_string_utf8(env_, value.stringValue.c_str(), NAPI_AUTO_LENGTH, &made);
      return checked(status, made, "create n-value utf8 error!");
    }
    case Kind::Buffer: {
      const auto size = static_cast<std::size_t>(value.bufferLength);
      const napi_status status =
          napi_create_buffer_copy(env_, size, value.buffer.get(), nullptr, &made);
      return checked(status, made, "create n-value buffer error!");
    }
    case Kind::Array:
      return makeArray(value);
    case Kind::Object:
      return makeObject(value);
    case Kind::ScriptValue:
      return value.scriptValue;
    default:
      return nullptr;
  }
}

}  // namespace

std::string errorText(napi_env env, const char* message) {
  const napi_extended_error_info* info = nullptr;
  napi_get_last_error_info(env, &info);
  const char* detail = info == nullptr ? nullptr : info->error_message;
  if (detail == nullptr) detail = "empty error message";
  std::string result = "error:";
  if (message != nullptr) {
    result += message;
    result += ':';
  }
  return result + detail;
}

std::optional<std::string> readText(napi_env env, napi_value value) {
  // Most texts are names and short parameters: one call into a buffer on the stack reads them. A
  // text that may have been cut short (characters have up to four bytes) is measured and read anew.
  constexpr std::size_t kLongestCharacter = 4;
  char shortText[256];
  std::size_t length = 0;
  if (napi_get_value_string_utf8(env, value, shortText, sizeof shortText, &length) != napi_ok) {
    return std::nullopt;
  }
  if (length + kLongestCharacter < sizeof shortText) {
    return std::string(shortText, strnlen(shortText, length));
  }
  if (napi_get_value_string_utf8(env, value, nullptr, 0, &length) != napi_ok) return std::nullopt;
  std::string text(length + 1, '\0');
  if (napi_get_value_string_utf8(env, value, text.data(), text.size(), nullptr) != napi_ok) {
    return std::nullopt;
  }
  text.resize(strnlen(text.c_str(), length));
  return text;
}

Variant convertNValueToVariant(Logger& logger, napi_env& env, napi_value& value) {
  napi_valuetype type = napi_undefined;
  if (napi_typeof(env, value, &type) != napi_ok) {
    return unreadable(logger, env, __LINE__, "Wrong type of argumen.");
  }
  switch (type) {
    case napi_number:
      return Variant::pendingNumber(env, value);
    case napi_boolean: {
      bool read = false;
      if (napi_get_value_bool(env, value, &read) != napi_ok) {
        return unreadable(logger, env, __LINE__, "napi_get_value_bool error");
      }
      return Variant::boolean(read);
    }
    case napi_string: {
      auto text = readText(env, value);
      if (!text) return unreadable(logger, env, __LINE__, "napi_get_value_utf8 error");
      Variant result(Kind::String);  // also when empty: an empty text is a valid argument
      result.stringValue = std::move(*text);
      return result;
    }
    default:
      return Variant::scriptHandle(value);
  }
}

napi_value convertVariantToNValue(Logger& logger, napi_env& env, Variant value) {
  return makeNValue(logger, env, value);
}

napi_value makeNValue(Logger& logger, napi_env& env, const Variant& value) {
  return ValueMaker(logger, env).make(value);
}

}  // namespace node_napi
