// Variant: the tagged value that carries every argument from script into a method handler and
// every result, and every value of an event, back.
//
// Only the member that belongs to the current kind is meaningful; writing another one is an error
// of the caller. A Variant owns what it holds: copies are deep, two Variants never share a buffer,
// an array or an object. Values that belong to the script host (PendingNumber, ScriptValue) are
// bare handles and are valid only while the call that brought them runs.
//
// Threads: a Variant is not synchronised. Once it is part of a queued event it is never changed.
// Kinds that hold script handles exist on the script thread only.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "bridge/node_api.h"

namespace kavrin {

class Variant {
 public:
  enum class Kind : std::uint32_t {
    Null = 0,
    Bool = 1,
    Int8 = 2,
    UInt8 = 3,
    Int16 = 4,
    UInt16 = 5,
    Int32 = 6,  // the kind of result codes
    UInt32 = 7,
    Long = 8,   // 32-bit signed
    ULong = 9,  // 32-bit unsigned
    Int64 = 10,
    UInt64 = 11,
    Float = 12,
    Double = 13,
    LongDouble = 14,  // double precision
    String = 15,
    PendingNumber = 16,  // a script number not yet read; the first typed read resolves it
    Buffer = 17,
    Array = 18,
    Object = 19,
    ScriptValue = 20,  // returned to script unchanged
  };

  using ArrayType = std::vector<Variant>;
  using ObjectType = std::map<std::string, Variant>;  // ascending bytewise key order

  Variant() noexcept : Variant(Kind::Null) {}
  // Everything empty or zero.
  explicit Variant(Kind initialKind) noexcept : uint64Value(0), env(nullptr), kind(initialKind) {
    if (initialKind >= Kind::String) construct(initialKind);
  }
  // Null with isNull set when `text` is null, else a String.
  explicit Variant(const char* text);
  // Null with isNull set when `text` is empty, else a String.
  explicit Variant(std::string text);
  // As text(), built where it stays.
  struct AsText {};
  Variant(AsText, std::string_view text)
      : stringValue(text), env(nullptr), kind(Kind::String), isNull(text.empty()) {}

  Variant(const Variant& other);
  Variant(Variant&& other) noexcept : Variant(Kind::Null) { moveValue(other); }
  Variant& operator=(const Variant& other);
  Variant& operator=(Variant&& other) noexcept;
  ~Variant() { destroy(); }

  static Variant int32(std::int32_t value) {
    Variant result(Kind::Int32);
    result.int32Value = value;
    return result;
  }
  static Variant uint16(std::uint16_t value);
  static Variant uint32(std::uint32_t value);
  static Variant uint64(std::uint64_t value);
  static Variant boolean(bool value);
  // Kind String whatever the text; isNull is set when it is empty.
  static Variant text(std::string value) { return Variant(AsText(), std::move(value)); }
  static Variant array(ArrayType elements);
  static Variant object(ObjectType entries);
  static Variant bytes(const void* data, std::int32_t length);
  static Variant scriptHandle(napi_value value);
  static Variant pendingNumber(napi_env env, napi_value value);

  // The text form. Numbers in decimal, floating kinds with six significant digits, Int8 and UInt8
  // as the single character, kinds without a text form as empty text. Resolves nothing.
  std::string toString() const;

  // Turns a PendingNumber into the number kind that a read as `target` asks for, or into Int32 0
  // when `target` is no number kind or the read fails. Other kinds stay as they are. Script thread.
  void resolvePending(Kind target);

  // Typed reads; each resolves a PendingNumber first (a read as Bool gives false, always). Texts
  // are parsed, floating kinds truncated toward zero and clamped to the target's range, kinds
  // without a number give 0.
  bool toBool();
  std::int32_t toInt32();
  std::int64_t toInt64();
  double toDouble();

  // The same reads of values that nobody resolves, such as those of a queued event; a PendingNumber
  // gives 0.
  bool asBool() const;
  std::int32_t asInt32() const;
  std::int64_t asInt64() const;
  double asDouble() const;

  bool is(Kind other) const { return kind == other; }

  // One storage for all kinds but the few words below it.
  union {
    bool boolValue;
    std::int8_t int8Value;
    std::uint8_t uint8Value;
    std::int16_t int16Value;
    std::uint16_t uint16Value;
    std::int32_t int32Value;
    std::uint32_t uint32Value;  // also what the typed reads of a ULong return
    std::int32_t longValue;
    std::int64_t int64Value;
    std::uint64_t uint64Value;
    float floatValue;
    double doubleValue;
    double longDoubleValue;
    std::string stringValue;
    std::unique_ptr<unsigned char[]> buffer;
    ArrayType arrayValue;
    ObjectType objectValue;
    napi_value scriptValue;
  };
  union {
    napi_env env;               // PendingNumber
    std::int32_t bufferLength;  // Buffer, bytes
    std::uint32_t ulongValue;   // ULong, in the text form only
  };
  Kind kind;
  std::uint8_t reserved = 0;
  bool isNull = false;

 private:
  Variant(AsText, std::string&& text) noexcept
      : stringValue(std::move(text)), env(nullptr), kind(Kind::String) {
    isNull = stringValue.empty();
  }

  void construct(Kind newKind) noexcept;
  void copyValue(const Variant& other);
  // Into a value of kind Null.
  void moveValue(Variant& other) noexcept;
  void moveLargeValue(Variant& other) noexcept;
  void destroy() noexcept;
  void destroyLargeValue() noexcept;
  void setInt32(std::int32_t value) noexcept;
};

// Every value of an event is made, moved and destroyed, on engine threads; most are texts and
// numbers, so these are handled where they are used.
inline void Variant::moveValue(Variant& other) noexcept {
  if (other.kind == Kind::String) {
    new (&stringValue) std::string(std::move(other.stringValue));
    kind = Kind::String;
    isNull = other.isNull;
  } else if (other.kind < Kind::String) {
    uint64Value = other.uint64Value;  // every scalar member
    env = other.env;                  // ulongValue too, which shares its storage
    kind = other.kind;
    isNull = other.isNull;
  } else {
    moveLargeValue(other);
  }
}

inline void Variant::destroy() noexcept {
  if (kind == Kind::String) {
    stringValue.~basic_string();
  } else if (kind > Kind::String) {
    destroyLargeValue();
  }
}

// Numbers in texts, base 10. A text that is no number, or is out of range, gives false or 0.
bool textToBool(const std::string& text);
std::int32_t textToInt32(const std::string& text);
std::int64_t textToInt64(const std::string& text);
double textToDouble(const std::string& text);

}  // namespace kavrin
