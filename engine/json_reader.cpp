#include "engine/json_reader.h"

#include <rapidjson/error/en.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace kavrin {
namespace {

constexpr std::size_t kErrorExcerpt = 32;  // bytes of the text that an error message quotes

// A short text is read by the default parser, which recurses: its depth is bounded by its length.
// Any other text is read by the iterative one, which accepts the same but keeps its stack on the
// heap: a million open brackets must not end the process.
constexpr unsigned kShortFlags = rapidjson::kParseInsituFlag;
constexpr unsigned kLongFlags = rapidjson::kParseInsituFlag | rapidjson::kParseIterativeFlag;

// Each byte of the signature is skipped on its own, so a partial one is skipped as well.
std::size_t signatureLength(const std::string& json) {
  std::size_t length = 0;
  for (const char byte : {'\xEF', '\xBB', '\xBF'}) {
    if (length < json.size() && json[length] == byte) ++length;
  }
  return length;
}

// The iterative parser calls a text empty that begins with a stray bracket, comma or colon; the
// default one calls it an invalid value, and so do the texts that script and support know.
rapidjson::ParseErrorCode errorCode(rapidjson::ParseErrorCode code, bool textIsLeft) {
  return code == rapidjson::kParseErrorDocumentEmpty && textIsLeft
             ? rapidjson::kParseErrorValueInvalid
             : code;
}

// `offset` counts from the beginning of `json`, whose first NUL ends the text.
std::string parseErrorText(rapidjson::ParseErrorCode code, const std::string& json,
                           std::size_t offset) {
  const std::string rest = json.c_str() + std::min(offset, json.size());
  return std::string("Parse json fail. err=") +
         rapidjson::GetParseError_En(errorCode(code, !rest.empty())) +
         ". offset=" + rest.substr(0, kErrorExcerpt);
}

std::int32_t lowBits(const rapidjson::Value& value) {
  const std::uint64_t bits =
      value.IsInt64() ? static_cast<std::uint64_t>(value.GetInt64()) : value.GetUint64();
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(bits));
}

}  // namespace

JsonText::JsonText(const std::string& json) {
  const std::size_t start = signatureLength(json);
  const std::size_t size = json.size() + 1 - start;  // with the final NUL
  if (size <= shortCopy_.size()) {
    std::memcpy(shortCopy_.data(), json.c_str() + start, size);
    valuePool_.emplace(valueMemory_.data(), valueMemory_.size());
    stackPool_.emplace(stackMemory_.data(), stackMemory_.size());
    shortDocument_.emplace(&*valuePool_, kInlinePool / 2, &*stackPool_);
    parse<kShortFlags>(*shortDocument_, shortCopy_.data(), json, start);
  } else {
    longCopy_.assign(json.c_str() + start, json.c_str() + start + size);
    longDocument_.emplace();
    parse<kLongFlags>(*longDocument_, longCopy_.data(), json, start);
  }
}

template <unsigned Flags, typename Document>
void JsonText::parse(Document& document, char* copy, const std::string& json, std::size_t start) {
  document.template ParseInsitu<Flags>(copy);
  if (document.HasParseError()) {
    throw std::runtime_error(
        parseErrorText(document.GetParseError(), json, start + document.GetErrorOffset()));
  }
  root_ = &document;
}

const rapidjson::Value* JsonCursor::find(const char* key, Options options) const {
  if (value_->IsNull()) return nullptr;
  if (!value_->IsObject()) fail("not object");
  const auto member = value_->FindMember(key);
  if (member != value_->MemberEnd()) return &member->value;
  if (options == kMandatory) fail("mandatory key not found", key);
  return nullptr;
}

bool JsonCursor::read(const char* key, std::string& target) const {
  const rapidjson::Value* value = find(key);
  if (value == nullptr) return false;
  if (value->IsNull()) return true;
  if (!value->IsString()) child(key, *value).fail("not string");
  target.assign(value->GetString(), value->GetStringLength());
  return true;
}

bool JsonCursor::read(const char* key, std::int32_t& target) const {
  const rapidjson::Value* value = find(key);
  if (value == nullptr) return false;
  target = child(key, *value).asInteger();
  return true;
}

bool JsonCursor::read(const char* key, bool& target) const {
  const rapidjson::Value* value = find(key);
  if (value == nullptr) return false;
  if (value->IsNull()) {
    target = false;
  } else if (value->IsBool()) {
    target = value->GetBool();
  } else if (value->IsInt64()) {
    target = value->GetInt64() != 0;
  } else {
    child(key, *value).fail("not bool or integer");
  }
  return true;
}

bool JsonCursor::read(const char* key, IntegerList& target) const {
  const rapidjson::Value* value = find(key);
  if (value == nullptr) return false;
  if (value->IsNull()) {
    target.clear();
    return true;
  }
  if (!value->IsArray()) child(key, *value).fail("not array");
  target.resize(value->Size());
  for (rapidjson::SizeType i = 0; i < value->Size(); ++i) {
    const std::string place = std::string(key) + "[" + std::to_string(i) + "]";
    target[i] = child(place.c_str(), (*value)[i]).asInteger();
  }
  return true;
}

JsonCursor JsonCursor::child(const char* key, const rapidjson::Value& value) const {
  return JsonCursor(value, path_.empty() ? key : path_ + "." + key);
}

std::int32_t JsonCursor::asInteger() const {
  if (value_->IsNull()) return 0;
  if (!value_->IsInt64() && !value_->IsUint64()) fail("not integer");
  return lowBits(*value_);
}

void JsonCursor::fail(const char* message, const char* key) const {
  std::string text = std::string(message) + ". (path:" + path_;
  if (key != nullptr) text += (path_.empty() ? "" : ".") + std::string(key);
  throw std::runtime_error(text + ")");
}

}  // namespace kavrin
