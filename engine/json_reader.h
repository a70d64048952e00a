// Reading of JSON parameter texts into records by declared field lists.
//
// A record lists its keys once, in the order in which they are read:
//
//   struct MuteParameters {
//     bool isEnable = false;
//     std::string userId;
//     static constexpr std::array<Field<MuteParameters>, 2> kFields{{
//         {"isEnable", &MuteParameters::isEnable}, {"userId", &MuteParameters::userId}}};
//   };
//
// and decodeJson() fills it. Every key is optional: a missing one leaves the member as it was. The
// type of the member chooses the reader:
//
//   std::string           a JSON string; null leaves the member unchanged
//   std::int32_t          any JSON integer, its low 32 bits; null stores 0
//   bool                  true, false, or an integer within 64-bit signed (non-zero is true);
//                         null stores false
//   std::vector<int32_t>  an array of integers, null elements count 0; null empties the list
//
// Errors are thrown as std::runtime_error with the texts "Parse json fail. err=…", "not object",
// "not string", "not integer", "not bool or integer", "not array", each with its place. Fields read
// before an error keep their new values.
//
// Threads: reentrant; no state.
#pragma once

#include <rapidjson/document.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace kavrin {

using IntegerList = std::vector<std::int32_t>;

// A parsed text. In-situ parsing makes the values point into the text's copy, so both live
// together; a short text and its values need no allocation.
class JsonText {
 public:
  // Parses `json`; a leading byte-order mark, also an incomplete one, is skipped.
  explicit JsonText(const std::string& json);
  JsonText(const JsonText&) = delete;
  JsonText& operator=(const JsonText&) = delete;

  const rapidjson::Value& root() const { return *root_; }

 private:
  using Pool = rapidjson::MemoryPoolAllocator<>;
  using ShortDocument = rapidjson::GenericDocument<rapidjson::UTF8<>, Pool, Pool>;

  static constexpr std::size_t kShortText = 512;  // bytes
  static constexpr std::size_t kInlinePool = 1024;

  template <unsigned Flags, typename Document>
  void parse(Document& document, char* copy, const std::string& json, std::size_t start);

  // The memory comes first: pools and documents are destroyed before it.
  std::array<char, kShortText + 1> shortCopy_;
  alignas(std::max_align_t) std::array<char, kInlinePool> valueMemory_;
  alignas(std::max_align_t) std::array<char, kInlinePool> stackMemory_;
  std::vector<char> longCopy_;
  std::optional<Pool> valuePool_;
  std::optional<Pool> stackPool_;
  std::optional<ShortDocument> shortDocument_;
  std::optional<rapidjson::Document> longDocument_;
  const rapidjson::Value* root_ = nullptr;
};

// A value and where it stands in the text; the path is used in error texts only.
class JsonCursor {
 public:
  enum Options : unsigned { kOptional = 0, kMandatory = 1 };

  JsonCursor(const rapidjson::Value& value, std::string path)
      : value_(&value), path_(std::move(path)) {}

  // The member `key` of an object; null when it is absent, or when the value itself is JSON null.
  const rapidjson::Value* find(const char* key, Options options = kOptional) const;

  // Each returns whether the key was present.
  bool read(const char* key, std::string& target) const;
  bool read(const char* key, std::int32_t& target) const;
  bool read(const char* key, bool& target) const;
  bool read(const char* key, IntegerList& target) const;

 private:
  JsonCursor child(const char* key, const rapidjson::Value& value) const;
  std::int32_t asInteger() const;
  [[noreturn]] void fail(const char* message, const char* key = nullptr) const;

  const rapidjson::Value* value_;
  std::string path_;
};

// One key of a record and the member that takes its value.
template <typename Record>
struct Field {
  const char* key;
  std::variant<std::string Record::*, std::int32_t Record::*, bool Record::*, IntegerList Record::*>
      member;
};

// Fills `record` from the text by Record::kFields. True when at least one key was present.
template <typename Record>
bool decodeJson(const std::string& json, Record& record) {
  const JsonText text(json);
  const JsonCursor root(text.root(), "");
  bool present = false;
  for (const Field<Record>& field : Record::kFields) {
    const auto readInto = [&](auto member) { return root.read(field.key, record.*member); };
    if (std::visit(readInto, field.member)) present = true;
  }
  return present;
}

}  // namespace kavrin
