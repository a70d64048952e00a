#include "bridge/variant.h"

#include <cstring>
#include <new>
#include <utility>

namespace kavrin {

using Kind = Variant::Kind;

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

Variant& Variant::operator=(const Variant& other) {
  if (this != &other) {
    // `other` may be an element of this value, so it is copied before anything is destroyed.
    Variant copy(other);
    destroy();
    construct(Kind::Null);
    moveValue(copy);
  }
  return *this;
}

Variant& Variant::operator=(Variant&& other) noexcept {
  if (this != &other) {
    Variant taken(std::move(other));
    destroy();
    construct(Kind::Null);
    moveValue(taken);
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

void Variant::destroyLargeValue() noexcept {
  switch (kind) {
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

void Variant::moveLargeValue(Variant& other) noexcept {
  switch (other.kind) {
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

void Variant::setInt32(std::int32_t value) noexcept {
  construct(Kind::Int32);
  int32Value = value;
}

}  // namespace kavrin
