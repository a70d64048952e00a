// Short ways to make Variants of every kind, for their tests.
#pragma once

#include "bridge/variant.h"

namespace kavrin {

using Kind = Variant::Kind;

inline constexpr Kind kAllKinds[] = {
    Kind::Null,  Kind::Bool,   Kind::Int8,       Kind::UInt8,  Kind::Int16,         Kind::UInt16,
    Kind::Int32, Kind::UInt32, Kind::Long,       Kind::ULong,  Kind::Int64,         Kind::UInt64,
    Kind::Float, Kind::Double, Kind::LongDouble, Kind::String, Kind::PendingNumber, Kind::Buffer,
    Kind::Array, Kind::Object, Kind::ScriptValue};

inline Variant int8(std::int8_t value) {
  Variant made(Kind::Int8);
  made.int8Value = value;
  return made;
}
inline Variant uint8(std::uint8_t value) {
  Variant made(Kind::UInt8);
  made.uint8Value = value;
  return made;
}
inline Variant int16(std::int16_t value) {
  Variant made(Kind::Int16);
  made.int16Value = value;
  return made;
}
inline Variant longInt(std::int32_t value) {
  Variant made(Kind::Long);
  made.longValue = value;
  return made;
}
inline Variant int64(std::int64_t value) {
  Variant made(Kind::Int64);
  made.int64Value = value;
  return made;
}
inline Variant floating(float value) {
  Variant made(Kind::Float);
  made.floatValue = value;
  return made;
}
inline Variant floating(double value, Kind kind = Kind::Double) {
  Variant made(kind);
  (kind == Kind::Double ? made.doubleValue : made.longDoubleValue) = value;
  return made;
}
inline Variant text(const char* value) { return Variant(value); }

}  // namespace kavrin
