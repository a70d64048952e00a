#include "engine/json_reader.h"

#include <rapidjson/error/en.h>

#include <algorithm>
#include <stdexcept>

namespace kavrin {
namespace {

constexpr std::size_t kErrorExcerpt = 32;  // bytes of the text that an error message quotes

// The iterative parser reads what the default one reads, but keeps its stack on the heap: a text
// with a million open brackets must not end the process.
constexpr unsigned kParseFlags = rapidjson::kParseInsituFlag | rapidjson::kParseIterativeFlag;

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
rapidjson::ParseErrorCode errorCode(const rapidjson::Document& document, bool textIsLeft) {
  const rapidjson::ParseErrorCode code = document.GetParseError();
  return code == rapidjson::kParseErrorDocumentEmpty && textIsLeft
             ? rapidjson::kParseErrorValueInvalid
             : code;
}

std::string parseErrorText(const rapidjson::Document& document, const std::string& json,
                           std::size_t start) {
  // The text ends at its first NUL, for the parser as for this message.
  const std::string rest = json.c_str() + std::min(start + document.GetErrorOffset(), json.size());
  return std::string("Parse json fail. err=") +
         rapidjson::GetParseError_En(errorCode(document, !rest.empty())) +
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
  buffer_.assign(json.c_str() + start, json.c_str() + json.size() + 1);
  document_.ParseInsitu<kParseFlags>(buffer_.data());
  if (document_.HasParseError()) throw std::runtime_error(parseErrorText(document_, json, start));
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
