// Parsing of JSON texts and the texts of its errors.
#include <gtest/gtest.h>
#include <rapidjson/error/en.h>

#include <algorithm>
#include <random>

#include "tests/unit/engine/json_probes.h"

namespace kavrin {
namespace {

TEST(JsonText, ParsesAndKeepsTheText) {
  const std::string text = R"({"a":"x"})";
  const JsonText parsed(text);
  EXPECT_STREQ(parsed.root()["a"].GetString(), "x");
  EXPECT_EQ(text, R"({"a":"x"})");
}

TEST(JsonText, ShortAndLongTextsAreReadAlike) {
  // Around the length up to which a text is read without allocations.
  for (std::size_t length = 480; length < 560; ++length) {
    const std::string value(length, 'v');
    const JsonText parsed("{\"key\":\"" + value + "\",\"list\":[1,2,3]}");
    EXPECT_EQ(parsed.root()["key"].GetString(), value);
    EXPECT_EQ(parsed.root()["list"].Size(), 3u);
  }
}

TEST(JsonText, ManyValuesInAShortText) {
  std::string text = "[";
  for (int i = 0; i < 200; ++i) text += i == 0 ? "1" : ",1";
  const JsonText parsed(text + "]");
  EXPECT_EQ(parsed.root().Size(), 200u);
}

TEST(JsonText, SkipsAByteOrderMarkAlsoAnIncompleteOne) {
  for (const char* mark :
       {"\xEF\xBB\xBF", "\xEF", "\xBB", "\xBF", "\xEF\xBB", "\xBB\xBF", "\xEF\xBF"}) {
    const std::string text = mark + std::string(R"({"number":5})");
    EXPECT_EQ(decode(text).record.number, 5) << text;
  }
}

TEST(JsonText, SkipsEachByteOfTheMarkOnce) {
  EXPECT_NE(parseError("\xEF\xEF{}"), "");
  EXPECT_NE(parseError("\xBF\xBB{}"), "");
  EXPECT_NE(parseError(" \xEF\xBB\xBF{}"), "");
}

TEST(JsonText, ErrorsQuoteTheTextFromTheFault) {
  EXPECT_EQ(parseError("{\"a\":}"), "Parse json fail. err=Invalid value.. offset=}");
  EXPECT_EQ(parseError("{\"a\":1"),
            "Parse json fail. err=Missing a comma or '}' after an object member.. offset=");
  EXPECT_EQ(parseError("{a:1}"),
            "Parse json fail. err=Missing a name for object member.. offset=a:1}");
  EXPECT_EQ(parseError("[1,2"),
            "Parse json fail. err=Missing a comma or ']' after an array element.. offset=");
  EXPECT_EQ(
      parseError("{} x"),
      "Parse json fail. err=The document root must not be followed by other values.. offset=x");
  EXPECT_EQ(parseError(""), "Parse json fail. err=The document is empty.. offset=");
  EXPECT_EQ(parseError(" \t\r\n"), "Parse json fail. err=The document is empty.. offset=");
  EXPECT_EQ(parseError("]"), "Parse json fail. err=Invalid value.. offset=]");
}

TEST(JsonText, ErrorsQuoteThirtyTwoBytesAtMost) {
  const std::string tail(100, 'x');
  EXPECT_EQ(parseError("{\"a\":" + tail + "}"),
            "Parse json fail. err=Invalid value.. offset=" + tail.substr(0, 32));
  const std::string padding(2000, ' ');
  EXPECT_EQ(parseError("{\"a\":" + padding + tail + "}"),
            "Parse json fail. err=Invalid value.. offset=" + tail.substr(0, 32));
}

TEST(JsonText, ErrorsAfterAMarkQuoteTheRightPlace) {
  EXPECT_EQ(parseError("\xEF\xBB\xBF{\"a\":}"), "Parse json fail. err=Invalid value.. offset=}");
}

TEST(JsonText, ErrorsBehindATextThatWasChangedInPlaceQuoteTheOriginal) {
  EXPECT_EQ(parseError(R"({"a\u0041":"\t", "b":?"c"})"),
            R"(Parse json fail. err=Invalid value.. offset=?"c"})");
}

TEST(JsonText, ANulEndsTheText) {
  EXPECT_EQ(parseError(std::string("{}\0garbage", 10)), "");
  EXPECT_EQ(parseError(std::string("{\"a\":\0}", 7)),
            "Parse json fail. err=Invalid value.. offset=");
  EXPECT_EQ(parseError(std::string("\0{}", 3)),
            "Parse json fail. err=The document is empty.. offset=");
}

TEST(JsonText, AnEscapedNulStaysInsideItsText) {
  Outcome outcome = decode(R"({"text":"a\u0000b"})");
  EXPECT_EQ(outcome.record.text, std::string("a\0b", 3));
}

TEST(JsonText, DeepNestingIsReadOrRefusedButNeverOverflowsTheStack) {
  constexpr std::size_t kDepth = 1'000'000;
  const std::string open(kDepth, '[');
  EXPECT_EQ(parseError(open), "Parse json fail. err=Invalid value.. offset=");
  EXPECT_EQ(decode(open + std::string(kDepth, ']')).thrown, "not object. (path:)");
  std::string objects;
  for (std::size_t i = 0; i < kDepth; ++i) objects += "{\"a\":";
  EXPECT_EQ(parseError(objects), "Parse json fail. err=Invalid value.. offset=");
}

TEST(JsonText, AVeryLongTextIsRead) {
  const std::string value(20'000'000, 'x');
  EXPECT_EQ(decode("{\"text\":\"" + value + "\"}").record.text, value);
}

// --- The same as the parser's own defaults
// ---------------------------------------------------------

// The error text as the recursive parser with default flags gives rise to it.
std::string expectedError(const std::string& json) {
  std::size_t start = 0;
  for (const char byte : {'\xEF', '\xBB', '\xBF'}) {
    if (start < json.size() && json[start] == byte) ++start;
  }
  std::vector<char> copy(json.c_str() + start, json.c_str() + json.size() + 1);
  rapidjson::Document document;
  document.ParseInsitu(copy.data());
  if (!document.HasParseError()) return {};
  const std::string rest = json.c_str() + std::min(start + document.GetErrorOffset(), json.size());
  return std::string("Parse json fail. err=") +
         rapidjson::GetParseError_En(document.GetParseError()) + ". offset=" + rest.substr(0, 32);
}

// Texts that are nearly JSON: pieces of it in a random order.
std::string randomText(std::mt19937& random) {
  static const char* const kPieces[] = {"{",
                                        "}",
                                        "[",
                                        "]",
                                        ",",
                                        ":",
                                        "\"a\"",
                                        "\"\"",
                                        "\"\\u00e9\"",
                                        "1",
                                        "-1",
                                        "1.5",
                                        "1e5",
                                        "-",
                                        "1e",
                                        "1e999",
                                        "0x1",
                                        "01",
                                        "true",
                                        "false",
                                        "null",
                                        "tru",
                                        "nul",
                                        " ",
                                        "\t\n",
                                        "\"",
                                        "\\",
                                        "\"\\q\"",
                                        "\"\\uD800\"",
                                        "\"\\u12G4\"",
                                        "\x01",
                                        "\"\x01\"",
                                        "\xEF\xBB\xBF",
                                        "/*c*/",
                                        "'a'",
                                        "NaN",
                                        "{\"a\":1}",
                                        "[1,2]",
                                        "{\"a\":",
                                        "[[",
                                        "]]",
                                        ",,",
                                        "::",
                                        "18446744073709551616"};
  std::uniform_int_distribution<std::size_t> piece(0, std::size(kPieces) - 1);
  std::uniform_int_distribution<int> count(0, 9);
  std::string text;
  for (int left = count(random); left > 0; --left) text += kPieces[piece(random)];
  return text;
}

// A valid text with one change.
std::string damagedText(std::mt19937& random) {
  std::string text =
      R"({"deviceId":1,"guid":"a\tb","list":[1,null,-3],"o":{"p":true,"q":[{}]},"x":1.5})";
  std::uniform_int_distribution<std::size_t> place(0, text.size() - 1);
  std::uniform_int_distribution<int> kind(0, 2);
  std::uniform_int_distribution<int> byte(1, 127);
  switch (kind(random)) {
    case 0:
      text.erase(place(random));
      break;
    case 1:
      text[place(random)] = static_cast<char>(byte(random));
      break;
    default:
      text.insert(place(random), 1, static_cast<char>(byte(random)));
  }
  return text;
}

// The iterative parser, which reads long texts, must not be told from the recursive one.
std::string padded(const std::string& text, bool behind) {
  const std::string spaces(600, ' ');
  return behind ? text + spaces : spaces + text;
}

TEST(JsonText, ErrorTextsAreThoseOfTheDefaultParser) {
  std::mt19937 random(20260305);
  int failures = 0;
  for (int i = 0; i < 5000; ++i) {
    const std::string text = i % 2 == 0 ? randomText(random) : damagedText(random);
    for (const std::string& variant : {text, padded(text, false), padded(text, true)}) {
      const std::string expected = expectedError(variant);
      if (!expected.empty()) ++failures;
      ASSERT_EQ(parseError(variant), expected) << "text: " << text;
    }
  }
  EXPECT_GT(failures, 2500);
}

}  // namespace
}  // namespace kavrin
