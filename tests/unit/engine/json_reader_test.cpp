// The typed readers of members.
#include "engine/json_reader.h"

#include <gtest/gtest.h>

#include "tests/unit/engine/json_probes.h"

namespace kavrin {
namespace {

TEST(JsonReaders, AbsentKeysLeaveTheRecordAsItWas) {
  for (const char* text : {"{}", "null", R"({"other":1})", R"({"Text":"x"})"}) {
    const Outcome outcome = decode(text);
    EXPECT_EQ(outcome.thrown, "") << text;
    EXPECT_FALSE(outcome.present) << text;
    EXPECT_EQ(outcome.record.text, "before");
    EXPECT_EQ(outcome.record.number, 77);
    EXPECT_TRUE(outcome.record.flag);
    EXPECT_EQ(outcome.record.list, (IntegerList{7, 7}));
  }
}

TEST(JsonReaders, OnePresentKeyIsEnough) {
  for (const char* text :
       {R"({"text":"x"})", R"({"number":1})", R"({"flag":false})", R"({"list":[]})",
        R"({"text":null})", R"({"number":null})", R"({"flag":null})", R"({"list":null})"}) {
    EXPECT_TRUE(decode(text).present) << text;
  }
}

TEST(JsonReaders, ARootThatIsNoObject) {
  for (const char* text : {"[]", "[1]", "5", "1.5", "\"x\"", "true"}) {
    EXPECT_EQ(decode(text).thrown, "not object. (path:)") << text;
  }
}

TEST(JsonReaders, Texts) {
  EXPECT_EQ(decode(R"({"text":"x"})").record.text, "x");
  EXPECT_EQ(decode(R"({"text":""})").record.text, "");
  EXPECT_EQ(decode(R"({"text":"\u4e2d"})").record.text, "\xE4\xB8\xAD");
  EXPECT_EQ(decode(R"({"text":null})").record.text, "before");
  for (const char* text :
       {R"({"text":1})", R"({"text":true})", R"({"text":[]})", R"({"text":{}})"}) {
    EXPECT_EQ(decode(text).thrown, "not string. (path:text)") << text;
    EXPECT_EQ(decode(text).record.text, "before");
  }
}

TEST(JsonReaders, Integers) {
  const std::pair<const char*, std::int32_t> rows[] = {
      {"50", 50},
      {"-1", -1},
      {"4294967297", 1},
      {"2147483648", -2147483647 - 1},
      {"-2147483649", 2147483647},
      {"9223372036854775807", -1},
      {"-9223372036854775808", 0},
      {"18446744073709551615", -1},
      {"9223372036854775808", 0},
      {"null", 0},
      {"-0", 0},
  };
  for (const auto& [value, expected] : rows) {
    const Outcome outcome = decode(std::string("{\"number\":") + value + "}");
    EXPECT_EQ(outcome.thrown, "") << value;
    EXPECT_EQ(outcome.record.number, expected) << value;
  }
  for (const char* value : {"50.5", "1.0", "1e2", "18446744073709551616", "\"1\"", "true", "[]"}) {
    const Outcome outcome = decode(std::string("{\"number\":") + value + "}");
    EXPECT_EQ(outcome.thrown, "not integer. (path:number)") << value;
    EXPECT_EQ(outcome.record.number, 77) << value;
  }
}

TEST(JsonReaders, Booleans) {
  const std::pair<const char*, bool> rows[] = {
      {"true", true},
      {"false", false},
      {"1", true},
      {"0", false},
      {"-1", true},
      {"null", false},
      {"9223372036854775807", true},
      {"-9223372036854775808", true},
      {"4294967296", true},
  };
  for (const auto& [value, expected] : rows) {
    const Outcome outcome = decode(std::string("{\"flag\":") + value + "}");
    EXPECT_EQ(outcome.thrown, "") << value;
    EXPECT_EQ(outcome.record.flag, expected) << value;
  }
  for (const char* value : {"\"1\"", "1.0", "0.5", "9223372036854775808", "[]", "{}"}) {
    EXPECT_EQ(decode(std::string("{\"flag\":") + value + "}").thrown,
              "not bool or integer. (path:flag)")
        << value;
  }
}

TEST(JsonReaders, IntegerLists) {
  EXPECT_EQ(decode(R"({"list":[1,null,3]})").record.list, (IntegerList{1, 0, 3}));
  EXPECT_EQ(decode(R"({"list":[4294967297,-1,18446744073709551615]})").record.list,
            (IntegerList{1, -1, -1}));
  EXPECT_TRUE(decode(R"({"list":[]})").record.list.empty());
  EXPECT_TRUE(decode(R"({"list":null})").record.list.empty());
  EXPECT_EQ(decode(R"({"list":5})").thrown, "not array. (path:list)");
  EXPECT_EQ(decode(R"({"list":{}})").thrown, "not array. (path:list)");
  const Outcome outcome = decode(R"({"list":[1,2,"x",4]})");
  EXPECT_EQ(outcome.thrown, "not integer. (path:list[2])");
}

TEST(JsonReaders, FieldsBeforeAnErrorKeepTheirNewValues) {
  const Outcome outcome = decode(R"({"flag":false,"list":[1],"number":"bad","text":"new"})");
  EXPECT_EQ(outcome.thrown, "not integer. (path:number)");
  EXPECT_EQ(outcome.record.text, "new");
  EXPECT_EQ(outcome.record.number, 77);
  EXPECT_TRUE(outcome.record.flag);
  EXPECT_EQ(outcome.record.list, (IntegerList{7, 7}));
}

TEST(JsonReaders, MalformedTextChangesNothing) {
  const Outcome outcome = decode(R"({"text":"new","number":1)");
  EXPECT_NE(outcome.thrown, "");
  EXPECT_EQ(outcome.record.text, "before");
  EXPECT_EQ(outcome.record.number, 77);
}

TEST(JsonReaders, TheFirstOfTwoEqualKeysCounts) {
  EXPECT_EQ(decode(R"({"number":1,"number":2})").record.number, 1);
}

TEST(JsonReaders, MandatoryKeysAreNamedWhenTheyAreMissing) {
  const JsonText text(R"({"a":1})");
  const JsonCursor root(text.root(), "");
  const JsonCursor nested(text.root(), "outer");
  EXPECT_NE(root.find("a", JsonCursor::kMandatory), nullptr);
  EXPECT_EQ(root.find("b"), nullptr);
  EXPECT_EQ(thrownBy([&] { root.find("b", JsonCursor::kMandatory); }),
            "mandatory key not found. (path:b)");
  EXPECT_EQ(thrownBy([&] { nested.find("b", JsonCursor::kMandatory); }),
            "mandatory key not found. (path:outer.b)");
  const JsonText null("null");
  EXPECT_EQ(JsonCursor(null.root(), "").find("b", JsonCursor::kMandatory), nullptr);
}

}  // namespace
}  // namespace kavrin
