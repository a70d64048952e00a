// Text forms and typed reads of Variants, and the numbers of scripts that they resolve.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tests/unit/bridge/variant_makers.h"
#include "tests/unit/fake_node_api/script_environment.h"

namespace kavrin {
namespace {

TEST(Variant, TextForms) {
  Variant unsignedLong(Kind::ULong);
  unsignedLong.uint32Value = 1;
  unsignedLong.ulongValue = 4294967295u;
  const std::pair<Variant, const char*> rows[] = {
      {Variant(), ""},
      {text("as it is"), "as it is"},
      {Variant::boolean(true), "true"},
      {Variant::boolean(false), "false"},
      {int8('a'), "a"},
      {uint8('b'), "b"},
      {int16(-32768), "-32768"},
      {Variant::uint16(65535), "65535"},
      {Variant::int32(-1), "-1"},
      {Variant::uint32(4294967295u), "4294967295"},
      {longInt(-2147483647), "-2147483647"},
      {unsignedLong, "4294967295"},
      {int64(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808"},
      {Variant::uint64(18446744073709551615u), "18446744073709551615"},
      {floating(0.1f), "0.1"},
      {floating(1.0 / 3), "0.333333"},
      {floating(1234567.0), "1.23457e+06"},
      {floating(100000.0), "100000"},
      {floating(-2.5, Kind::LongDouble), "-2.5"},
      {floating(std::nan("")), "nan"},
      {floating(-std::numeric_limits<double>::infinity()), "-inf"},
      {Variant::bytes("x", 1), ""},
      {Variant::array({text("x")}), ""},
      {Variant::object({{"k", text("x")}}), ""},
      {Variant::scriptHandle(nullptr), ""},
  };
  for (const auto& [value, expected] : rows) EXPECT_EQ(value.toString(), expected);
  EXPECT_EQ(int8(0).toString(), std::string(1, '\0'));
}

TEST(Variant, TheTextFormDoesNotResolveAPendingNumber) {
  fake::ScriptEnvironment env;
  const Variant pending = Variant::pendingNumber(&env, env.number(5));
  EXPECT_EQ(pending.toString(), "");
  EXPECT_TRUE(pending.is(Kind::PendingNumber));
  EXPECT_EQ(env.faults.calls("napi_get_value_int32"), 0);
}

TEST(Variant, UnsignedLongPrintsOneMemberAndReadsAnother) {
  Variant value(Kind::ULong);
  value.uint32Value = 5;
  value.ulongValue = 6;
  EXPECT_EQ(value.toString(), "6");
  EXPECT_EQ(value.toInt32(), 5);
  EXPECT_EQ(value.toInt64(), 5);
  EXPECT_EQ(value.toDouble(), 5.0);
  EXPECT_TRUE(value.toBool());
  value.uint32Value = 0;
  EXPECT_FALSE(value.toBool());
}

TEST(Variant, ReadsAsBoolean) {
  const std::pair<Variant, bool> rows[] = {
      {Variant(), false},
      {Variant::boolean(true), true},
      {Variant::boolean(false), false},
      {int8(1), true},
      {uint8(0), false},
      {int16(-1), true},
      {Variant::uint16(0), false},
      {Variant::int32(2), true},
      {Variant::uint32(0), false},
      {longInt(1), true},
      {int64(4294967296), true},  // beyond 32 bits
      {Variant::uint64(0), false},
      {floating(0.25f), true},
      {floating(0.0), false},
      {floating(-0.0), false},
      {floating(std::nan("")), true},
      {floating(0.1, Kind::LongDouble), true},
      {text("true"), true},
      {text("True"), false},
      {text("true "), false},
      {text("1"), false},
      {Variant::bytes("x", 1), false},
      {Variant::array({Variant::boolean(true)}), false},
      {Variant::object({{"k", Variant()}}), false},
      {Variant::scriptHandle(nullptr), false},
  };
  for (auto [value, expected] : rows) {
    EXPECT_EQ(value.toBool(), expected) << static_cast<int>(value.kind) << " " << value.toString();
  }
}

TEST(Variant, ReadsAsInt32) {
  const std::pair<Variant, std::int32_t> rows[] = {
      {Variant(), 0},
      {Variant::boolean(true), 0},  // a boolean is no number
      {int8(-5), -5},
      {uint8(200), 200},
      {int16(-300), -300},
      {Variant::uint16(65535), 65535},
      {Variant::int32(-1), -1},
      {Variant::uint32(4294967295u), -1},
      {longInt(-7), -7},
      {int64(4294967297), 1},
      {Variant::uint64(18446744073709551615u), -1},
      {floating(3.9f), 3},
      {floating(-3.9), -3},
      {floating(2.5, Kind::LongDouble), 2},
      {text("42"), 42},
      {text("abc"), 0},
      {text("2147483648"), 0},
      {Variant::bytes("1", 1), 0},
      {Variant::array({Variant::int32(1)}), 0},
      {Variant::object({{"k", Variant::int32(1)}}), 0},
      {Variant::scriptHandle(nullptr), 0},
  };
  for (auto [value, expected] : rows) {
    EXPECT_EQ(value.toInt32(), expected) << static_cast<int>(value.kind) << " " << value.toString();
  }
}

TEST(Variant, FloatingReadsOutOfRangeStayInRange) {
  const double infinity = std::numeric_limits<double>::infinity();
  EXPECT_EQ(floating(1e300).toInt32(), std::numeric_limits<std::int32_t>::max());
  EXPECT_EQ(floating(-infinity).toInt32(), std::numeric_limits<std::int32_t>::min());
  EXPECT_EQ(floating(infinity).toInt64(), std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(floating(9223372036854775808.0).toInt64(), std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(floating(-9223372036854775808.0).toInt64(), std::numeric_limits<std::int64_t>::min());
  EXPECT_EQ(floating(std::nan("")).toInt32(), 0);
  EXPECT_EQ(floating(std::nan("")).toInt64(), 0);
}

TEST(Variant, ReadsAsInt64AndDouble) {
  EXPECT_EQ(Variant::uint32(4294967295u).toInt64(), 4294967295);
  EXPECT_EQ(longInt(-1).toInt64(), -1);
  EXPECT_EQ(Variant::uint64(18446744073709551615u).toInt64(), -1);
  EXPECT_EQ(text("9223372036854775807").toInt64(), std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(floating(-2.9f).toInt64(), -2);
  EXPECT_EQ(Variant::uint64(18446744073709551615u).toDouble(), 18446744073709551616.0);
  EXPECT_EQ(Variant::int32(-3).toDouble(), -3.0);
  EXPECT_EQ(floating(1.5f).toDouble(), 1.5);
  EXPECT_EQ(text("2.5").toDouble(), 2.5);
  EXPECT_EQ(Variant().toDouble(), 0.0);
}

class PendingNumber : public ::testing::Test {
 protected:
  Variant pending(double number) { return Variant::pendingNumber(&env, env.number(number)); }

  fake::ScriptEnvironment env;
};

TEST_F(PendingNumber, IsClassifiedByItsFirstTypedRead) {
  Variant asInt32 = pending(3.9);
  EXPECT_EQ(asInt32.toInt32(), 3);
  EXPECT_TRUE(asInt32.is(Kind::Int32));
  Variant asDouble = pending(3.9);
  EXPECT_EQ(asDouble.toDouble(), 3.9);
  EXPECT_TRUE(asDouble.is(Kind::Double));
  Variant asInt64 = pending(4294967296.0);
  EXPECT_EQ(asInt64.toInt64(), 4294967296);
  EXPECT_TRUE(asInt64.is(Kind::Int64));
  EXPECT_EQ(pending(4294967296.0).toInt32(), 0);
}

TEST_F(PendingNumber, ReadAsBooleanIsAlwaysFalse) {
  Variant number = pending(3.7);
  EXPECT_FALSE(number.toBool());
  EXPECT_TRUE(number.is(Kind::Int32));
  EXPECT_EQ(number.int32Value, 0);
  EXPECT_EQ(number.env, nullptr);
}

TEST_F(PendingNumber, ResolvesByTheGroupOfItsTarget) {
  for (const Kind target : kAllKinds) {
    SCOPED_TRACE(static_cast<int>(target));
    Variant number = pending(7.5);
    number.resolvePending(target);
    switch (target) {
      case Kind::Float:
      case Kind::Double:
      case Kind::LongDouble:
        ASSERT_TRUE(number.is(Kind::Double));
        EXPECT_EQ(number.doubleValue, 7.5);
        break;
      case Kind::Long:
      case Kind::ULong:
      case Kind::Int64:
      case Kind::UInt64:
        ASSERT_TRUE(number.is(Kind::Int64));
        EXPECT_EQ(number.int64Value, 7);
        break;
      case Kind::Int16:
      case Kind::UInt16:
      case Kind::Int32:
      case Kind::UInt32:
        ASSERT_TRUE(number.is(Kind::Int32));
        EXPECT_EQ(number.int32Value, 7);
        break;
      default:
        ASSERT_TRUE(number.is(Kind::Int32));
        EXPECT_EQ(number.int32Value, 0);
    }
    EXPECT_EQ(number.env, nullptr);
  }
}

TEST_F(PendingNumber, BecomesZeroWhenItCannotBeRead) {
  const std::pair<Kind, const char*> rows[] = {{Kind::Double, "napi_get_value_double"},
                                               {Kind::Int64, "napi_get_value_int64"},
                                               {Kind::Int32, "napi_get_value_int32"}};
  for (const auto& [target, function] : rows) {
    env.faults.fail(function);
    Variant number = pending(5);
    number.resolvePending(target);
    EXPECT_TRUE(env.faults.happened(function));
    EXPECT_TRUE(number.is(Kind::Int32)) << function;
    EXPECT_EQ(number.int32Value, 0) << function;
    EXPECT_EQ(number.env, nullptr) << function;
  }
}

TEST_F(PendingNumber, OtherKindsAreLeftAlone) {
  Variant value = text("x");
  value.resolvePending(Kind::Int32);
  EXPECT_EQ(value.toString(), "x");
}

TEST(VariantTextNumbers, ParseBaseTenAndSwallowWhatIsNoNumber) {
  EXPECT_TRUE(textToBool("1"));
  EXPECT_TRUE(textToBool("-3"));
  EXPECT_FALSE(textToBool("0"));
  EXPECT_FALSE(textToBool("true"));
  EXPECT_FALSE(textToBool(""));
  EXPECT_FALSE(textToBool("99999999999"));
  EXPECT_EQ(textToInt32("-17"), -17);
  EXPECT_EQ(textToInt32("0x10"), 0);
  EXPECT_EQ(textToInt32("010"), 10);
  EXPECT_EQ(textToInt32("abc"), 0);
  EXPECT_EQ(textToInt32("2147483647"), 2147483647);
  EXPECT_EQ(textToInt32("2147483648"), 0);
  EXPECT_EQ(textToInt32("-2147483649"), 0);
  EXPECT_EQ(textToInt64("9223372036854775807"), std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(textToInt64("9223372036854775808"), 0);
  EXPECT_EQ(textToInt64("x"), 0);
  EXPECT_EQ(textToDouble("1.25"), 1.25);
  EXPECT_EQ(textToDouble("1e400"), 0.0);
  EXPECT_EQ(textToDouble("no"), 0.0);
  EXPECT_EQ(textToDouble(""), 0.0);
}

}  // namespace
}  // namespace kavrin
