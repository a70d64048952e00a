#include "tests/hardening/coverage/conversion_rules.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "tests/unit/fake_node_api/script_value.h"

namespace kavrin {
namespace {

using Kind = Variant::Kind;

bool sameNumber(double left, double right) {
  return left == right || (left != left && right != right);
}

std::string cutAtNul(const std::string& text) { return text.c_str(); }

bool hasScriptForm(const Variant& value) {
  switch (value.kind) {
    case Kind::Null:
    case Kind::Int8:
    case Kind::UInt8:
    case Kind::PendingNumber:
      return false;
    case Kind::ScriptValue:
      return value.scriptValue != nullptr;
    default:
      return true;
  }
}

double expectedNumber(const Variant& value) {
  switch (value.kind) {
    case Kind::Int16:
      return value.int16Value;
    case Kind::UInt16:
      return value.uint16Value;
    case Kind::Int32:
      return value.int32Value;
    case Kind::UInt32:  // as 32 bits with a sign
      return static_cast<std::int32_t>(value.uint32Value);
    case Kind::Long:
      return value.longValue;
    case Kind::ULong:
      return value.uint32Value;
    case Kind::Int64:
    case Kind::UInt64:
      return static_cast<double>(value.int64Value);
    case Kind::Float:
      return value.floatValue;
    default:
      return value.doubleValue;
  }
}

bool matchesBuffer(const Variant& value, napi_value made) {
  const auto size = static_cast<std::size_t>(value.bufferLength);
  return made->isBuffer && made->bytes.size() == size &&
         std::equal(made->bytes.begin(), made->bytes.end(), value.buffer.get());
}

using Members = std::map<std::string, std::vector<const Variant*>>;

// What script may see under each key: keys may be alike up to their first NUL.
Members membersOf(const Variant& value) {
  Members members;
  const auto add = [&](const std::string& key, const Variant& member) {
    if (hasScriptForm(member)) members[cutAtNul(key)].push_back(&member);
  };
  if (value.is(Kind::Object)) {
    for (const auto& [key, member] : value.objectValue) add(key, member);
  } else {
    std::size_t index = 0;
    for (const Variant& element : value.arrayValue) add(std::to_string(index++), element);
  }
  return members;
}

bool matchesObject(const Variant& value, napi_value made, Exactness exactness) {
  if (made->type != napi_object || made->isArray) return false;
  const Members members = membersOf(value);
  if (exactness == Exactness::kWhole && made->properties.size() != members.size()) return false;
  return std::all_of(made->properties.begin(), made->properties.end(), [&](const auto& property) {
    const auto found = members.find(property.key);
    if (found == members.end()) return false;
    const std::vector<const Variant*>& alike = found->second;
    // The last one counts, unless it could not be created.
    if (exactness == Exactness::kWhole) return matches(*alike.back(), property.value, exactness);
    return std::any_of(alike.begin(), alike.end(), [&](const Variant* member) {
      return matches(*member, property.value, exactness);
    });
  });
}

}  // namespace

bool matches(const Variant& value, napi_value made, Exactness exactness) {
  if (!hasScriptForm(value)) return made == nullptr;
  if (made == nullptr) return exactness == Exactness::kPartial;
  switch (value.kind) {
    case Kind::ScriptValue:
      return made == value.scriptValue;
    case Kind::Bool:
      return made->type == napi_boolean && made->boolean == value.boolValue;
    case Kind::String:
      return made->type == napi_string && made->text == cutAtNul(value.stringValue);
    case Kind::Buffer:
      return matchesBuffer(value, made);
    case Kind::Array:
    case Kind::Object:
      return matchesObject(value, made, exactness);
    default:
      return made->type == napi_number && sameNumber(made->number, expectedNumber(value));
  }
}

bool isReadingOf(const Variant& read, napi_value value) {
  switch (value->type) {
    case napi_number:
      return read.is(Kind::PendingNumber) && read.scriptValue == value;
    case napi_boolean:
      return read.is(Kind::Bool) && read.boolValue == value->boolean;
    case napi_string:
      return read.is(Kind::String) && read.stringValue == cutAtNul(value->text);
    default:
      return read.is(Kind::ScriptValue) && read.scriptValue == value;
  }
}

bool same(const Variant& left, const Variant& right) {
  if (left.kind != right.kind || left.isNull != right.isNull) return false;
  switch (left.kind) {
    case Kind::String:
      return left.stringValue == right.stringValue;
    case Kind::Buffer:
      return left.bufferLength == right.bufferLength &&
             std::equal(left.buffer.get(), left.buffer.get() + left.bufferLength,
                        right.buffer.get());
    case Kind::Array:
      return std::equal(left.arrayValue.begin(), left.arrayValue.end(), right.arrayValue.begin(),
                        right.arrayValue.end(), same);
    case Kind::Object:
      return std::equal(left.objectValue.begin(), left.objectValue.end(), right.objectValue.begin(),
                        right.objectValue.end(), [](const auto& one, const auto& other) {
                          return one.first == other.first && same(one.second, other.second);
                        });
    case Kind::PendingNumber:
    case Kind::ScriptValue:
      return left.scriptValue == right.scriptValue && left.env == right.env;
    case Kind::Float:  // as bits, for the sake of NaN
    default:
      return left.uint64Value == right.uint64Value && left.ulongValue == right.ulongValue;
  }
}

}  // namespace kavrin
