// How Variants are read: as text, as numbers, and numbers in texts.
#include <charconv>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>

#include "bridge/variant.h"

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
  return asBool();
}

std::int32_t Variant::toInt32() {
  resolvePending(Kind::Int32);
  return asInt32();
}

std::int64_t Variant::toInt64() {
  resolvePending(Kind::Int64);
  return asInt64();
}

double Variant::toDouble() {
  resolvePending(Kind::Double);
  return asDouble();
}

bool Variant::asBool() const {
  switch (kind) {
    case Kind::Bool:
      return boolValue;
    case Kind::String:
      return stringValue == "true";
    case Kind::Float:
    case Kind::Double:
    case Kind::LongDouble:
      return asDouble() != 0;  // true for NaN as well
    default:
      return asInt64() != 0;
  }
}

std::int32_t Variant::asInt32() const {
  switch (kind) {
    case Kind::Float:
    case Kind::Double:
    case Kind::LongDouble:
      return truncateToward0<std::int32_t>(asDouble());
    case Kind::String:
      return textToInt32(stringValue);
    default:
      return static_cast<std::int32_t>(asInt64());
  }
}

std::int64_t Variant::asInt64() const {
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
      return truncateToward0<std::int64_t>(asDouble());
    case Kind::String:
      return textToInt64(stringValue);
    default:
      return 0;
  }
}

double Variant::asDouble() const {
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
      return static_cast<double>(asInt64());
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
