#include "bridge/variant.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <new>
#include <stdexcept>
#include <utility>

namespace kavrin {
namespace {

using Kind = Variant::Kind;

template <typename Integer>
Integer truncateToward0(double value) {
  using Limits = std::numeric_limits<Integer>;
  if (std::isnan(value)) return 0;
  // The upper limit is not exact in double for 64-bit integers, hence >=.
  if (value >= static_cast<double>(Limits::max())) return Limits::max();
  if (value <= static_cast<double>(Limits::min())) return Limits::min();
  return static_cast<Integer>(value);
}

std::string decimal(auto value) { return std::to_string(value); }

std::string floatingText(double value) {
  char text[64];
  // Locale-independent, unlike the printf family; the digits are those of an output stream.
  const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::general, 6);
  return std::string(text, end.ptr);
}

// Calls `parse`, which throws on bad input as the standard conversions do.
template <typename Result, typename Parse>
Result parsedOrZero(Parse parse) {
  try {
    return parse();
  } catch (const std::logic_error&) {
    return Result{};
  }
}

}  // namespace

Variant::Variant(Kind initialKind) noexcept : env(nullptr), kind(initialKind) {
  construct(initialKind);
}

Variant::Variant(const char* text) : Variant(text == nullptr ? Kind::Null : Kind::String) {
  if (text == nullptr) {
    isNull = true;
  } else {
    stringValue = text;
  }
}

Variant::Variant(std::string text) : Variant(text.empty() ? Kind::Null : Kind::String) {
  if (text.empty()) {
    isNull = true;
  } else {
    stringValue = std::move(text);
  }
}

Variant::Variant(const Variant& other) : Variant(Kind::Null) { copyValue(other); }

Variant::Variant(Variant&& other) noexcept : Variant(Kind::Null) { moveValue(std::move(other)); }

Variant& Variant::operator=(const Variant& other) {
  if (this != &other) {
    // `other` may be an element of this value, so it is copied before anything is destroyed.
    Variant copy(other);
    destroy();
    construct(Kind::Null);
    moveValue(std::move(copy));
  }
  return *this;
}

Variant& Variant::operator=(Variant&& other) noexcept {
  if (this != &other) {
    Variant taken(std::move(other));
    destroy();
    construct(Kind::Null);
    moveValue(std::move(taken));
  }
  return *this;
}

void Variant::construct(Kind newKind) noexcept {
  kind = newKind;
  env = nullptr;
  switch (newKind) {
    case Kind::String:
      new (&stringValue) std::string();
      break;
    case Kind::Buffer:
      new (&buffer) std::unique_ptr<unsigned char[]>();
      break;
    case Kind::Array:
      new (&arrayValue) ArrayType();
      break;
    case Kind::Object:
      new (&objectValue) ObjectType();
      break;
    case Kind::PendingNumber:
    case Kind::ScriptValue:
      scriptValue = nullptr;
      break;
    default:
      uint64Value = 0;  // clears every scalar member
      break;
  }
}

void Variant::destroy() noexcept {
  switch (kind) {
    case Kind::String:
      stringValue.~basic_string();
      break;
    case Kind::Buffer:
      buffer.~unique_ptr();
      break;
    case Kind::Array:
      arrayValue.~ArrayType();
      break;
    case Kind::Object:
      objectValue.~ObjectType();
      break;
    case Kind::PendingNumber:
      // Nothing is released: the handle belongs to the script host.
      env = nullptr;
      scriptValue = nullptr;
      break;
    default:
      break;
  }
}

void Variant::copyValue(const Variant& other) {
  construct(other.kind);
  isNull = other.isNull;
  switch (other.kind) {
    case Kind::String:
      stringValue = other.stringValue;
      break;
    case Kind::Buffer:
      bufferLength = other.bufferLength;
      if (other.buffer != nullptr) {
        const auto size = static_cast<std::size_t>(other.bufferLength);
        buffer = std::make_unique<unsigned char[]>(size);
        std::memcpy(buffer.get(), other.buffer.get(), size);
      }
      break;
    case Kind::Array:
      arrayValue = other.arrayValue;
      break;
    case Kind::Object:
      objectValue = other.objectValue;
      break;
    case Kind::PendingNumber:
    case Kind::ScriptValue:
      env = other.env;
      scriptValue = other.scriptValue;
      break;
    default:
      env = other.env;  // carries ulongValue, which shares its storage
      uint64Value = other.uint64Value;
      break;
  }
}

void Variant::moveValue(Variant&& other) noexcept {
  switch (other.kind) {
    case Kind::String:
      construct(Kind::String);
      stringValue = std::move(other.stringValue);
      break;
    case Kind::Buffer:
      construct(Kind::Buffer);
      buffer = std::move(other.buffer);
      bufferLength = std::exchange(other.bufferLength, 0);
      break;
    case Kind::Array:
      construct(Kind::Array);
      arrayValue = std::move(other.arrayValue);
      break;
    case Kind::Object:
      construct(Kind::Object);
      objectValue = std::move(other.objectValue);
      break;
    default:
      copyValue(other);  // plain words only, nothing that can throw
      break;
  }
  isNull = other.isNull;
}

Variant Variant::int32(std::int32_t value) {
  Variant result(Kind::Int32);
  result.int32Value = value;
  return result;
}

Variant Variant::uint16(std::uint16_t value) {
  Variant result(Kind::UInt16);
  result.uint16Value = value;
  return result;
}

Variant Variant::uint32(std::uint32_t value) {
  Variant result(Kind::UInt32);
  result.uint32Value = value;
  return result;
}

Variant Variant::uint64(std::uint64_t value) {
  Variant result(Kind::UInt64);
  result.uint64Value = value;
  return result;
}

Variant Variant::boolean(bool value) {
  Variant result(Kind::Bool);
  result.boolValue = value;
  return result;
}

Variant Variant::text(std::string value) {
  Variant result(Kind::String);
  result.isNull = value.empty();
  result.stringValue = std::move(value);
  return result;
}

Variant Variant::array(ArrayType elements) {
  Variant result(Kind::Array);
  result.arrayValue = std::move(elements);
  return result;
}

Variant Variant::object(ObjectType entries) {
  Variant result(Kind::Object);
  result.objectValue = std::move(entries);
  return result;
}

Variant Variant::bytes(const void* data, std::int32_t length) {
  Variant result(Kind::Buffer);
  const auto size = static_cast<std::size_t>(length);
  result.buffer = std::make_unique<unsigned char[]>(size);
  result.bufferLength = length;
  if (size != 0) std::memcpy(result.buffer.get(), data, size);
  return result;
}

Variant Variant::scriptHandle(napi_value value) {
  Variant result(Kind::ScriptValue);
  result.scriptValue = value;
  return result;
}

Variant Variant::pendingNumber(napi_env env, napi_value value) {
  Variant result(Kind::PendingNumber);
  result.env = env;
  result.scriptValue = value;
  return result;
}

std::string Variant::toString() const {
  switch (kind) {
    case Kind::String:
      return stringValue;
    case Kind::Bool:
      return boolValue ? "true" : "false";
    case Kind::Int8:
      return std::string(1, static_cast<char>(int8Value));
    case Kind::UInt8:
      return std::string(1, static_cast<char>(uint8Value));
    case Kind::Int16:
      return decimal(int16Value);
    case Kind::UInt16:
      return decimal(uint16Value);
    case Kind::Int32:
      return decimal(int32Value);
    case Kind::UInt32:
      return decimal(uint32Value);
    case Kind::Long:
      return decimal(longValue);
    case Kind::ULong:
      return decimal(ulongValue);
    case Kind::Int64:
      return decimal(int64Value);
    case Kind::UInt64:
      return decimal(uint64Value);
    case Kind::Float:
      return floatingText(floatValue);
    case Kind::Double:
      return floatingText(doubleValue);
    case Kind::LongDouble:
      return floatingText(longDoubleValue);
    default:
      return {};
  }
}

void Variant::setInt32(std::int32_t value) noexcept {
  construct(Kind::Int32);
  int32Value = value;
}

void Variant::resolvePending(Kind target) {
  if (kind != Kind::PendingNumber) return;
  const napi_env scriptEnv = std::exchange(env, nullptr);
  const napi_value number = std::exchange(scriptValue, nullptr);
  setInt32(0);
  switch (target) {
    case Kind::Float:
    case Kind::Double:
    case Kind::LongDouble: {
      double value = 0;
      if (napi_get_value_double(scriptEnv, number, &value) != napi_ok) return;
      construct(Kind::Double);
      doubleValue = value;
      return;
    }
    case Kind::Long:
    case Kind::ULong:
    case Kind::Int64:
    case Kind::UInt64: {
      std::int64_t value = 0;
      if (napi_get_value_int64(scriptEnv, number, &value) != napi_ok) return;
      construct(Kind::Int64);
      int64Value = value;
      return;
    }
    case Kind::Int16:
    case Kind::UInt16:
    case Kind::Int32:
    case Kind::UInt32: {
      std::int32_t value = 0;
      if (napi_get_value_int32(scriptEnv, number, &value) == napi_ok) int32Value = value;
      return;
    }
    default:
      return;
  }
}

bool Variant::toBool() {
  resolvePending(Kind::Bool);
  switch (kind) {
    case Kind::Bool:
      return boolValue;
    case Kind::String:
      return stringValue == "true";
    case Kind::Float:
    case Kind::Double:
    case Kind::LongDouble:
      return toDouble() != 0;  // true for NaN as well
    default:
      return toInt64() != 0;
  }
}

std::int32_t Variant::toInt32() {
  resolvePending(Kind::Int32);
  switch (kind) {
    case Kind::Float:
    case Kind::Double:
    case Kind::LongDouble:
      return truncateToward0<std::int32_t>(toDouble());
    case Kind::String:
      return textToInt32(stringValue);
    default:
      return static_cast<std::int32_t>(toInt64());
  }
}

std::int64_t Variant::toInt64() {
  resolvePending(Kind::Int64);
  switch (kind) {
    case Kind::Bool:
      return 0;  // a boolean is no number
    case Kind::Int8:
      return int8Value;
    case Kind::UInt8:
      return uint8Value;
    case Kind::Int16:
      return int16Value;
    case Kind::UInt16:
      return uint16Value;
    case Kind::Int32:
      return int32Value;
    case Kind::UInt32:
    case Kind::ULong:
      return uint32Value;
    case Kind::Long:
      return longValue;
    case Kind::Int64:
      return int64Value;
    case Kind::UInt64:
      return static_cast<std::int64_t>(uint64Value);
    case Kind::Float:
    case Kind::Double:
    case Kind::LongDouble:
      return truncateToward0<std::int64_t>(toDouble());
    case Kind::String:
      return textToInt64(stringValue);
    default:
      return 0;
  }
}

double Variant::toDouble() {
  resolvePending(Kind::Double);
  switch (kind) {
    case Kind::Float:
      return floatValue;
    case Kind::Double:
      return doubleValue;
    case Kind::LongDouble:
      return longDoubleValue;
    case Kind::UInt64:
      return static_cast<double>(uint64Value);
    case Kind::String:
      return textToDouble(stringValue);
    default:
      return static_cast<double>(toInt64());
  }
}

bool textToBool(const std::string& text) {
  return parsedOrZero<int>([&] { return std::stoi(text); }) != 0;
}

std::int32_t textToInt32(const std::string& text) {
  return parsedOrZero<std::int32_t>([&] { return std::stoi(text); });
}

std::int64_t textToInt64(const std::string& text) {
  return parsedOrZero<std::int64_t>([&] { return std::stoll(text); });
}

double textToDouble(const std::string& text) {
  return parsedOrZero<double>([&] { return std::stod(text); });
}

}  // namespace kavrin
