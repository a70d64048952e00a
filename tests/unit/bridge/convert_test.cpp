#include "bridge/convert.h"

#include <gtest/gtest.h>

#include "tests/unit/fake_node_api/script_environment.h"
#include "tests/unit/support/log_capture.h"

namespace node_napi {
namespace {

using fake = kavrin::fake::ScriptEnvironment;
using kavrin::fake::show;
using Kind = Variant::Kind;
using Lines = std::vector<std::string>;

class ConversionTest : public ::testing::Test {
 protected:
  Variant toVariant(napi_value value) {
    napi_env environment = &env;
    return convertNValueToVariant(logger, environment, value);
  }
  napi_value toScript(Variant value) {
    napi_env environment = &env;
    return convertVariantToNValue(logger, environment, std::move(value));
  }

  kavrin::testing::LogCapture log;
  Logger logger;
  fake env;
};

// --- Error texts ---------------------------------------------------------------------------------

TEST_F(ConversionTest, ErrorTextNamesTheMessageAndNodesDetail) {
  napi_valuetype type = napi_undefined;
  napi_typeof(&env, nullptr, &type);
  EXPECT_EQ(errorText(&env, "what"), "error:what:Invalid argument");
  EXPECT_EQ(errorText(&env), "error:Invalid argument");
}

TEST_F(ConversionTest, ErrorTextWithoutADetail) {
  napi_typeof(&env, env.null(), std::make_unique<napi_valuetype>().get());
  EXPECT_EQ(errorText(&env, "what"), "error:what:empty error message");
  EXPECT_EQ(errorText(&env), "error:empty error message");
  env.faults.fail("napi_get_last_error_info");
  EXPECT_EQ(errorText(&env, "what"), "error:what:empty error message");
}

// --- From script ---------------------------------------------------------------------------------

TEST_F(ConversionTest, NumbersStayPendingAndAreNotRead) {
  napi_value number = env.number(3.9);
  Variant converted = toVariant(number);
  EXPECT_TRUE(converted.is(Kind::PendingNumber));
  EXPECT_EQ(converted.env, &env);
  EXPECT_EQ(converted.scriptValue, number);
  EXPECT_EQ(env.faults.calls("napi_get_value_double"), 0);
  EXPECT_EQ(Variant(converted).toInt32(), 3);
  EXPECT_EQ(Variant(converted).toDouble(), 3.9);
  EXPECT_FALSE(Variant(converted).toBool());
}

TEST_F(ConversionTest, LargeNumbersFollowTheRead) {
  EXPECT_EQ(toVariant(env.number(4294967296.0)).toInt32(), 0);
  EXPECT_EQ(toVariant(env.number(4294967296.0)).toInt64(), 4294967296);
}

TEST_F(ConversionTest, Booleans) {
  Variant converted = toVariant(env.boolean(true));
  EXPECT_TRUE(converted.is(Kind::Bool));
  EXPECT_TRUE(converted.boolValue);
  EXPECT_FALSE(toVariant(env.boolean(false)).toBool());
}

TEST_F(ConversionTest, TextsAreCutAtTheirFirstNul) {
  EXPECT_EQ(toVariant(env.string("text")).toString(), "text");
  EXPECT_EQ(toVariant(env.string({"a\0b", 3})).toString(), "a");
  EXPECT_EQ(toVariant(env.string("\xE4\xB8\xAD")).toString(), "\xE4\xB8\xAD");
}

TEST_F(ConversionTest, TextsOfEveryLengthAroundTheShortBufferArriveWhole) {
  for (std::size_t length = 240; length < 270; ++length) {
    const std::string ascii(length, 'x');
    EXPECT_EQ(toVariant(env.string(ascii)).stringValue, ascii);
    std::string wide = std::string(length % 4, 'x');
    while (wide.size() < length) wide += "\xF0\x9F\x98\x80";
    EXPECT_EQ(toVariant(env.string(wide)).stringValue, wide);
    const std::string cut = ascii + std::string("\0behind", 7);
    EXPECT_EQ(toVariant(env.string(cut)).stringValue, ascii);
  }
}

TEST_F(ConversionTest, AnEmptyTextIsAText) {
  Variant converted = toVariant(env.string(""));
  EXPECT_TRUE(converted.is(Kind::String));
  EXPECT_FALSE(converted.isNull);
}

TEST_F(ConversionTest, AVeryLongTextArrivesWhole) {
  const std::string text(10'000'000, 'x');
  EXPECT_EQ(toVariant(env.string(text)).stringValue, text);
}

TEST_F(ConversionTest, EverythingElseIsHandedOnWithItsHandle) {
  napi_value values[] = {
      env.undefined(), env.null(),       env.make(napi_symbol), env.object(),         env.array({}),
      env.buffer({1}), env.function({}), env.external(nullptr), env.make(napi_bigint)};
  for (napi_value value : values) {
    Variant converted = toVariant(value);
    EXPECT_TRUE(converted.is(Kind::ScriptValue)) << show(value);
    EXPECT_EQ(converted.scriptValue, value) << show(value);
    EXPECT_EQ(toScript(converted), value) << show(value);
  }
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(ConversionTest, FailedReadsAreLoggedTwiceAndGiveNull) {
  struct Row {
    const char* function;
    int nth;
    napi_value value;
    const char* message;
  };
  napi_value longText = env.string(std::string(1000, 'x'));
  const Row rows[] = {
      {"napi_typeof", 1, env.number(1), "Wrong type of argumen."},
      {"napi_get_value_bool", 1, env.boolean(true), "napi_get_value_bool error"},
      {"napi_get_value_string_utf8", 1, env.string("x"), "napi_get_value_utf8 error"},
      {"napi_get_value_string_utf8", 2, longText, "napi_get_value_utf8 error"},
      {"napi_get_value_string_utf8", 3, longText, "napi_get_value_utf8 error"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.function) + " " + std::to_string(row.nth));
    env.faults.fail(row.function, row.nth, napi_generic_failure);
    EXPECT_TRUE(toVariant(row.value).is(Kind::Null));
    const std::string prefix = "ERROR node_napi::convertNValueToVariant: ";
    EXPECT_EQ(log.lines(),
              (Lines{prefix + row.message, prefix + "error:" + row.message + ":Unknown failure"}));
    EXPECT_EQ(env.takeException(), "");
  }
}

TEST_F(ConversionTest, ANullHandleIsAFailedRead) {
  EXPECT_TRUE(toVariant(nullptr).is(Kind::Null));
  EXPECT_TRUE(log.contains("ERROR", "error:Wrong type of argumen.:Invalid argument"));
}

// --- To script -----------------------------------------------------------------------------------

Variant ofKind(Kind kind, std::int64_t number) {
  Variant made(kind);
  made.int64Value = number;  // little-endian: every integer member sees its low bytes
  return made;
}

TEST_F(ConversionTest, ScalarKindsToScript) {
  Variant single(Kind::Float);
  single.floatValue = 0.5f;
  Variant extended(Kind::LongDouble);
  extended.longDoubleValue = 2.25;
  Variant precise(Kind::Double);
  precise.doubleValue = 1.1;
  const std::pair<Variant, const char*> rows[] = {
      {Variant::boolean(true), "true"},
      {Variant::boolean(false), "false"},
      {ofKind(Kind::Int16, -2), "-2"},
      {Variant::uint16(65535), "65535"},
      {Variant::int32(-2147483647), "-2147483647"},
      {Variant::uint32(4294967295u), "-1"},
      {Variant::uint32(2147483648u), "-2147483648"},
      {ofKind(Kind::Long, -3), "-3"},
      {ofKind(Kind::ULong, 4294967295), "4294967295"},
      {ofKind(Kind::Int64, 9007199254740991), "9007199254740991"},
      {Variant::uint64(18446744073709551615u), "-1"},
      {single, "0.5"},
      {precise, "1.1000000000000001"},
      {extended, "2.25"},
      {Variant("text"), "\"text\""},
      {Variant::text(""), "\"\""},
      {Variant(std::string("cut\0here", 8)), "\"cut\""},
  };
  for (const auto& [value, expected] : rows) EXPECT_EQ(show(toScript(value)), expected);
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(ConversionTest, EachNumberGroupHasItsOwnCreation) {
  const std::pair<Kind, const char*> rows[] = {
      {Kind::Int16, "napi_create_int32"},      {Kind::UInt16, "napi_create_int32"},
      {Kind::Int32, "napi_create_int32"},      {Kind::UInt32, "napi_create_int32"},
      {Kind::Long, "napi_create_int64"},       {Kind::ULong, "napi_create_int64"},
      {Kind::Int64, "napi_create_int64"},      {Kind::UInt64, "napi_create_int64"},
      {Kind::Float, "napi_create_double"},     {Kind::Double, "napi_create_double"},
      {Kind::LongDouble, "napi_create_double"}};
  for (const auto& [kind, function] : rows) {
    const int before = env.faults.calls(function);
    toScript(Variant(kind));
    EXPECT_EQ(env.faults.calls(function), before + 1) << static_cast<int>(kind);
  }
}

TEST_F(ConversionTest, KindsWithoutAScriptFormGiveNoHandleAndNoLine) {
  EXPECT_EQ(toScript(Variant()), nullptr);
  EXPECT_EQ(toScript(ofKind(Kind::Int8, 1)), nullptr);
  EXPECT_EQ(toScript(ofKind(Kind::UInt8, 1)), nullptr);
  EXPECT_EQ(toScript(Variant::pendingNumber(&env, env.number(1))), nullptr);
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(ConversionTest, BuffersAreCopied) {
  unsigned char data[] = {1, 2, 3};
  napi_value buffer = toScript(Variant::bytes(data, 3));
  EXPECT_EQ(show(buffer), "<Buffer 01 02 03>");
  EXPECT_EQ(show(toScript(Variant::bytes(nullptr, 0))), "<Buffer>");
  EXPECT_EQ(show(toScript(Variant(Kind::Buffer))), "<Buffer>");
}

TEST_F(ConversionTest, ArraysBecomeObjectsWithIndexKeys) {
  napi_value made = toScript(Variant::array(
      {Variant::int32(7), Variant::array({Variant("x")}), Variant(), Variant::boolean(true)}));
  EXPECT_FALSE(made->isArray);
  // A value without a script form leaves its place empty.
  EXPECT_EQ(show(made), R"({"0":7,"1":{"0":"x"},"3":true})");
  EXPECT_EQ(show(toScript(Variant::array({}))), "{}");
}

TEST_F(ConversionTest, ObjectsKeepAscendingKeys) {
  EXPECT_EQ(show(toScript(Variant::object(
                {{"b", Variant::int32(1)}, {"a", Variant::object({{"k", Variant("v")}})}}))),
            R"({"a":{"k":"v"},"b":1})");
}

TEST_F(ConversionTest, ResultsOfSettingElementsAreNotExamined) {
  env.faults.fail("napi_set_element", 1);
  EXPECT_EQ(show(toScript(Variant::array({Variant::int32(1), Variant::int32(2)}))), R"({"1":2})");
  env.faults.fail("napi_set_named_property", 1);
  EXPECT_EQ(show(toScript(Variant::object({{"a", Variant::int32(1)}, {"b", Variant::int32(2)}}))),
            R"({"b":2})");
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(ConversionTest, FailedCreationsAreLoggedTwiceAndGiveNoHandle) {
  struct Row {
    const char* function;
    Variant value;
    const char* message;
  };
  const Row rows[] = {
      {"napi_get_boolean", Variant::boolean(true), "create n-value bool error!"},
      {"napi_create_int32", Variant::int32(1), "create n-value int eroor!"},
      {"napi_create_int64", Variant::uint64(1), "create n-value int64 eroor!"},
      {"napi_create_double", Variant(Kind::Double), "create n-value double eroor!"},
      {"napi_create_string_utf8", Variant("x"), "create n-value utf8 error!"},
      {"napi_create_buffer_copy", Variant::bytes("x", 1), "create n-value buffer error!"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.function);
    env.faults.fail(row.function, 1, napi_generic_failure);
    EXPECT_EQ(toScript(row.value), nullptr);
    const std::string prefix = "ERROR node_napi::convertVariantToNValue: ";
    EXPECT_EQ(log.lines(),
              (Lines{prefix + row.message, prefix + "error:" + row.message + ":Unknown failure"}));
  }
}

TEST_F(ConversionTest, ObjectsThatCannotBeCreatedGiveNoHandleAndNoLine) {
  env.faults.failAlways("napi_create_object");
  EXPECT_EQ(toScript(Variant::array({Variant::int32(1)})), nullptr);
  EXPECT_EQ(toScript(Variant::object({{"a", Variant::int32(1)}})), nullptr);
  EXPECT_TRUE(log.lines().empty());
}

// --- Texts ---------------------------------------------------------------------------------------

TEST_F(ConversionTest, ReadTextTellsTextsFromOtherValues) {
  EXPECT_EQ(readText(&env, env.string({"a\0b", 3})), "a");
  EXPECT_EQ(readText(&env, env.string("")), "");
  EXPECT_EQ(readText(&env, env.number(1)), std::nullopt);
  EXPECT_EQ(readText(&env, nullptr), std::nullopt);
}

}  // namespace
}  // namespace node_napi
