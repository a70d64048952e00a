// Feeds every reader of JSON parameters with any text, and holds the reader of short texts against
// the one of long texts: white space behind a text makes it long and must change nothing else.
#include <algorithm>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <variant>

#include "engine/parameters.h"
#include "tests/hardening/coverage/json_model.h"
#include "tests/hardening/coverage/require.h"

namespace kavrin {
namespace {

constexpr std::size_t kPadding = 600;  // bytes, more than the reader of short texts takes
constexpr std::size_t kLongestExcerpt = 32;

// What decoding came to: the record as far as it was read, and the error.
template <typename Record>
struct Outcome {
  Record record;
  bool present = false;
  std::optional<std::string> error;
};

template <typename Record>
Outcome<Record> decode(const std::string& text) {
  Outcome<Record> outcome;
  try {
    outcome.present = decodeJson(text, outcome.record);
  } catch (const std::runtime_error& error) {
    outcome.error = error.what();
  }
  return outcome;
}

template <typename Record>
bool sameRecord(const Record& left, const Record& right) {
  for (const Field<Record>& field : Record::kFields) {
    const auto same = [&](auto member) { return left.*member == right.*member; };
    if (!std::visit(same, field.member)) return false;
  }
  return true;
}

std::string withoutTrailingSpaces(std::string text) {
  text.resize(text.find_last_not_of(' ') + 1);
  return text;
}

// The padding may be quoted by an error of the long text and by no other.
bool sameError(const std::optional<std::string>& left, const std::optional<std::string>& right) {
  if (!left || !right) return left == right;
  return withoutTrailingSpaces(*left) == withoutTrailingSpaces(*right);
}

bool quotesTheText(const std::string& error, const std::string& text) {
  const std::string mark = ". offset=";
  const std::size_t place = error.find(mark);
  if (place == std::string::npos) return false;
  const std::string excerpt = error.substr(place + mark.size());
  return excerpt.size() <= kLongestExcerpt && text.find(excerpt) != std::string::npos;
}

// "not string. (path:key)", with the key of one of the fields.
template <typename Record>
bool namesAField(const std::string& error) {
  if (error == "not object. (path:)") return true;
  return std::any_of(Record::kFields.begin(), Record::kFields.end(), [&](const auto& field) {
    return error.find(std::string(". (path:") + field.key) != std::string::npos;
  });
}

// The text as the library reads it; nothing when it is no JSON, or begins with what only our
// readers skip.
std::optional<rapidjson::Document> parsed(const std::string& text) {
  rapidjson::Document document;
  document.Parse<rapidjson::kParseIterativeFlag>(text.c_str());
  if (document.HasParseError()) return std::nullopt;
  return document;
}

// False when the text is no JSON, which is the same for every record.
template <typename Record>
bool check(const std::string& text, const std::string& padded) {
  const auto shortOutcome = decode<Record>(text);
  const auto longOutcome = decode<Record>(padded);
  require(shortOutcome.present == longOutcome.present, "the same keys are present");
  require(sameError(shortOutcome.error, longOutcome.error), "the same error");
  require(sameRecord(shortOutcome.record, longOutcome.record), "the same record");
  if (const auto root = parsed(text)) {
    require(shortOutcome.error.has_value() == deservesAnError<Record>(*root),
            "there is an error just when a member is of the wrong type");
    require(shortOutcome.error || isReadingOf(*root, shortOutcome.record),
            "the record holds what the text says");
  }
  if (!shortOutcome.error) return true;
  const bool isParseError = shortOutcome.error->starts_with("Parse json fail. err=");
  require(isParseError ? quotesTheText(*shortOutcome.error, text)
                       : namesAField<Record>(*shortOutcome.error),
          "the error tells its place");
  require(!isParseError || sameRecord(shortOutcome.record, Record{}),
          "a text that is no JSON changes nothing");
  return !isParseError;
}

template <typename... Records>
void checkAll(const std::string& text, const std::string& padded) {
  static_cast<void>((check<Records>(text, padded) && ...));
}

}  // namespace
}  // namespace kavrin

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace kavrin;
  const std::string text(reinterpret_cast<const char*>(data), size);
  const std::string padded = text + std::string(kPadding, ' ');
  checkAll<LogTagParameters, InitParameters, DeviceParameters, JoinParameters, SwitchParameters,
           UserSwitchParameters, UserVideoSwitchParameters, MediaSwitchParameters,
           VolumeIndicationParameters, UserParameters, MessageParameters, SnapshotParameters,
           UserStreamTypeParameters, FrameParameters, TopicParameters, SoundFileParameters,
           ResumedMediaParameters, DeviceIdParameters, StreamTypeParameters, VideoQualityParameters,
           VolumeParameters, LoopbackTestParameters, SceneModeParameters>(text, padded);
  return 0;
}
