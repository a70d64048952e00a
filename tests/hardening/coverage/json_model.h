// What a reader of JSON parameters has to make of a value, told once more and independently.
#pragma once

#include <rapidjson/document.h>

#include <algorithm>
#include <cstdint>
#include <string>

#include "engine/json_reader.h"

namespace kavrin {

inline bool isReading(const rapidjson::Value& value, const std::string& read) {
  if (value.IsNull()) return read.empty();  // as it was before
  return value.IsString() && read == std::string(value.GetString(), value.GetStringLength());
}

inline bool isReading(const rapidjson::Value& value, std::int32_t read) {
  if (value.IsNull()) return read == 0;
  const auto low = static_cast<std::uint32_t>(read);
  if (value.IsInt64()) return low == static_cast<std::uint32_t>(value.GetInt64());
  return value.IsUint64() && low == static_cast<std::uint32_t>(value.GetUint64());
}

inline bool isReading(const rapidjson::Value& value, bool read) {
  if (value.IsNull()) return !read;
  if (value.IsBool()) return read == value.GetBool();
  return value.IsInt64() && read == (value.GetInt64() != 0);
}

inline bool isReading(const rapidjson::Value& value, const IntegerList& read) {
  if (value.IsNull()) return read.empty();
  return value.IsArray() && std::equal(value.Begin(), value.End(), read.begin(), read.end(),
                                       [](const rapidjson::Value& element, std::int32_t number) {
                                         return isReading(element, number);
                                       });
}

// `record`, read without an error, holds what the members of `root` say.
template <typename Record>
bool isReadingOf(const rapidjson::Value& root, const Record& record) {
  if (root.IsNull()) return true;
  if (!root.IsObject()) return false;
  for (const Field<Record>& field : Record::kFields) {
    const auto member = root.FindMember(field.key);
    if (member == root.MemberEnd()) continue;
    const auto agrees = [&](auto place) { return isReading(member->value, record.*place); };
    if (!std::visit(agrees, field.member)) return false;
  }
  return true;
}

// True when the wrong type of some member is a reason for an error.
template <typename Record>
bool deservesAnError(const rapidjson::Value& root) {
  if (root.IsNull()) return false;
  if (!root.IsObject()) return true;
  const auto isInteger = [](const rapidjson::Value& value) {
    return value.IsNull() || value.IsInt64() || value.IsUint64();
  };
  const auto fits = [&](const rapidjson::Value& value, const auto& kind) {
    using Kind = std::decay_t<decltype(kind)>;
    if (value.IsNull()) return true;
    if constexpr (std::is_same_v<Kind, std::string>) return value.IsString();
    if constexpr (std::is_same_v<Kind, std::int32_t>) return isInteger(value);
    if constexpr (std::is_same_v<Kind, bool>) return value.IsBool() || value.IsInt64();
    if constexpr (std::is_same_v<Kind, IntegerList>) {
      return value.IsArray() && std::all_of(value.Begin(), value.End(), isInteger);
    }
  };
  const Record any;
  return std::any_of(Record::kFields.begin(), Record::kFields.end(), [&](const auto& field) {
    const auto member = root.FindMember(field.key);
    if (member == root.MemberEnd()) return false;
    return !std::visit([&](auto place) { return fits(member->value, any.*place); }, field.member);
  });
}

}  // namespace kavrin
