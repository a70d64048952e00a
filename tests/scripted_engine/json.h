// The two JSON types that commands and answers are made of, and short ways to read members.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "rapidjson/document.h"
#include "rapidjson/stringbuffer.h"
#include "rapidjson/writer.h"

namespace kavrin::scripted {

using JsonValue = rapidjson::Value;
using JsonWriter = rapidjson::Writer<rapidjson::StringBuffer>;

// The member of an object, or null when `object` is no object or has no such member.
inline const JsonValue* member(const JsonValue& object, const char* key) {
  if (!object.IsObject()) return nullptr;
  const auto found = object.FindMember(key);
  return found == object.MemberEnd() ? nullptr : &found->value;
}

inline std::int64_t integerOf(const JsonValue& object, const char* key, std::int64_t otherwise) {
  const JsonValue* value = member(object, key);
  return value != nullptr && value->IsInt64() ? value->GetInt64() : otherwise;
}

inline bool flagOf(const JsonValue& object, const char* key) {
  const JsonValue* value = member(object, key);
  return value != nullptr && value->IsBool() && value->GetBool();
}

inline std::string textOf(const JsonValue& object, const char* key) {
  const JsonValue* value = member(object, key);
  if (value == nullptr || !value->IsString()) return {};
  return {value->GetString(), value->GetStringLength()};
}

inline void writeText(JsonWriter& out, std::string_view text) {
  out.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

}  // namespace kavrin::scripted
