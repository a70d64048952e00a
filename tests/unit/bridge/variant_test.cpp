// What Variants hold, and how they are copied.
#include <gtest/gtest.h>

#include <cstring>
#include <iterator>
#include <memory>
#include <type_traits>
#include <vector>

#include "tests/unit/bridge/variant_makers.h"
#include "tests/unit/fake_node_api/script_environment.h"

namespace kavrin {
namespace {

TEST(Variant, KindsHaveTheirNumbers) {
  std::uint32_t number = 0;
  for (const Kind kind : kAllKinds) EXPECT_EQ(static_cast<std::uint32_t>(kind), number++);
  EXPECT_EQ(number, 21u);
}

TEST(Variant, ANewOneIsEmptyOrZeroWhateverItsKind) {
  for (const Kind kind : kAllKinds) {
    SCOPED_TRACE(static_cast<int>(kind));
    Variant made(kind);
    EXPECT_EQ(made.kind, kind);
    EXPECT_FALSE(made.isNull);
    EXPECT_EQ(made.reserved, 0);
    EXPECT_FALSE(made.toBool());
    EXPECT_EQ(made.toInt32(), 0);
  }
  EXPECT_EQ(Variant(Kind::String).stringValue, "");
  EXPECT_TRUE(Variant(Kind::Array).arrayValue.empty());
  EXPECT_TRUE(Variant(Kind::Object).objectValue.empty());
  EXPECT_EQ(Variant(Kind::Buffer).buffer, nullptr);
  EXPECT_EQ(Variant(Kind::Buffer).bufferLength, 0);
  EXPECT_EQ(Variant(Kind::PendingNumber).env, nullptr);
  EXPECT_EQ(Variant(Kind::ULong).ulongValue, 0u);
  EXPECT_TRUE(Variant().is(Kind::Null));
}

TEST(Variant, EachKindKeepsItsOwnWidthAndSign) {
  static_assert(std::is_same_v<decltype(Variant::int8Value), std::int8_t>);
  static_assert(std::is_same_v<decltype(Variant::uint8Value), std::uint8_t>);
  static_assert(std::is_same_v<decltype(Variant::longValue), std::int32_t>);
  static_assert(std::is_same_v<decltype(Variant::ulongValue), std::uint32_t>);
  static_assert(std::is_same_v<decltype(Variant::longDoubleValue), double>);
  static_assert(std::is_same_v<decltype(Variant::bufferLength), std::int32_t>);
  static_assert(sizeof(Variant::boolValue) == 1);
}

TEST(Variant, AnEmptyTextGivesNullWithItsFlagSet) {
  const Variant fromString((std::string()));
  EXPECT_TRUE(fromString.is(Kind::Null));
  EXPECT_TRUE(fromString.isNull);
  EXPECT_EQ(fromString.toString(), "");
  const Variant fromPointer(static_cast<const char*>(nullptr));
  EXPECT_TRUE(fromPointer.is(Kind::Null));
  EXPECT_TRUE(fromPointer.isNull);
  // Only an absent pointer is null; an empty C string is a text.
  const Variant empty("");
  EXPECT_TRUE(empty.is(Kind::String));
  EXPECT_FALSE(empty.isNull);
}

TEST(Variant, TextKeepsItsKindWhenItIsEmpty) {
  const Variant empty = Variant::text("");
  EXPECT_TRUE(empty.is(Kind::String));
  EXPECT_TRUE(empty.isNull);
  EXPECT_EQ(empty.toString(), "");
  EXPECT_FALSE(Variant::text("x").isNull);
}

TEST(Variant, CopiesCarryEveryKindAndTheFlag) {
  fake::ScriptEnvironment env;
  napi_value number = env.number(1);
  Variant unsignedLong(Kind::ULong);
  unsignedLong.uint32Value = 7;
  unsignedLong.ulongValue = 8;
  const Variant originals[] = {Variant(),
                               Variant((std::string())),
                               Variant::boolean(true),
                               int8('a'),
                               uint8('b'),
                               int16(-3),
                               Variant::uint16(65535),
                               Variant::int32(-1),
                               Variant::uint32(4294967295u),
                               longInt(-9),
                               unsignedLong,
                               int64(-5000000000),
                               Variant::uint64(18446744073709551615u),
                               floating(1.5f),
                               floating(2.5),
                               floating(3.5, Kind::LongDouble),
                               text("text"),
                               Variant::text(""),
                               Variant::pendingNumber(&env, number),
                               Variant::scriptHandle(number)};
  for (const Variant& original : originals) {
    SCOPED_TRACE(static_cast<int>(original.kind));
    Variant copy(original);
    Variant assigned = Variant::array({Variant::int32(1)});
    assigned = original;
    Variant taken = Variant::object({});
    taken = Variant(original);
    for (const Variant* other : {&copy, &assigned, &taken}) {
      EXPECT_EQ(other->kind, original.kind);
      EXPECT_EQ(other->isNull, original.isNull);
      EXPECT_EQ(other->toString(), original.toString());
      if (original.is(Kind::PendingNumber)) {
        EXPECT_EQ(other->env, &env);
      }
      if (original.is(Kind::PendingNumber) || original.is(Kind::ScriptValue)) {
        EXPECT_EQ(other->scriptValue, number);
      }
    }
  }
  Variant copy(unsignedLong);
  EXPECT_EQ(copy.uint32Value, 7u);
  EXPECT_EQ(copy.ulongValue, 8u);
}

TEST(Variant, CopiesOfABufferAreIndependent) {
  const unsigned char data[10] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9};
  auto original = std::make_unique<Variant>(Variant::bytes(data, 10));
  auto copy = std::make_unique<Variant>(*original);
  Variant assigned;
  assigned = *original;
  EXPECT_NE(copy->buffer.get(), original->buffer.get());
  copy->buffer[0] = 99;
  EXPECT_EQ(original->buffer[0], 0);
  original.reset();
  EXPECT_EQ(copy->bufferLength, 10);
  EXPECT_EQ(copy->buffer[9], 9);
  copy.reset();
  EXPECT_EQ(std::memcmp(assigned.buffer.get(), data, 10), 0);
}

TEST(Variant, ABufferMayBeEmpty) {
  const Variant empty = Variant::bytes(nullptr, 0);
  const Variant copy(empty);
  EXPECT_EQ(copy.bufferLength, 0);
  const Variant neverFilled{Variant(Kind::Buffer)};
  EXPECT_EQ(Variant(neverFilled).buffer, nullptr);
}

TEST(Variant, ArraysAndObjectsAreCopiedDeeply) {
  const unsigned char byte = 1;
  Variant original = Variant::object(
      {{"list", Variant::array({Variant::bytes(&byte, 1), Variant::object({{"k", text("v")}})})}});
  Variant copy(original);
  copy.objectValue.at("list").arrayValue[0].buffer[0] = 2;
  copy.objectValue.at("list").arrayValue[1].objectValue.at("k") = text("other");
  const Variant& list = original.objectValue.at("list");
  EXPECT_EQ(list.arrayValue[0].buffer[0], 1);
  EXPECT_EQ(list.arrayValue[1].objectValue.at("k").toString(), "v");
}

TEST(Variant, ObjectsIterateInAscendingBytewiseOrder) {
  const Variant object = Variant::object(
      {{"b", Variant()}, {"a", Variant()}, {"\xC3\xA4", Variant()}, {"B", Variant()}});
  std::string keys;
  for (const auto& [key, value] : object.objectValue) keys += key + " ";
  EXPECT_EQ(keys, "B a b \xC3\xA4 ");
}

TEST(Variant, SelfAssignmentDoesNothing) {
  const unsigned char data[2] = {1, 2};
  Variant buffer = Variant::bytes(data, 2);
  const unsigned char* block = buffer.buffer.get();
  Variant& same = buffer;
  buffer = same;
  EXPECT_EQ(buffer.buffer.get(), block);
  Variant list = Variant::array({text("x")});
  Variant& sameList = list;
  list = std::move(sameList);
  EXPECT_EQ(list.arrayValue.at(0).toString(), "x");
}

TEST(Variant, AssigningAnElementOfItselfIsSafe) {
  Variant list = Variant::array({Variant::array({text("inner")})});
  list = list.arrayValue[0];
  EXPECT_EQ(list.arrayValue.at(0).toString(), "inner");
  Variant object = Variant::object({{"k", text("v")}});
  object = std::move(object.objectValue.at("k"));
  EXPECT_EQ(object.toString(), "v");
}

TEST(Variant, AssigningNullSetsKindAndFlags) {
  Variant value = text("x");
  value = Variant((std::string()));
  EXPECT_TRUE(value.is(Kind::Null));
  EXPECT_TRUE(value.isNull);
  value = Variant();
  EXPECT_FALSE(value.isNull);
}

TEST(Variant, AMovedFromBufferHasNoBytes) {
  const unsigned char byte = 1;
  Variant from = Variant::bytes(&byte, 1);
  Variant to(std::move(from));
  EXPECT_EQ(to.bufferLength, 1);
  EXPECT_EQ(from.bufferLength, 0);  // NOLINT: the state after a move is part of the contract
  EXPECT_EQ(Variant(from).bufferLength, 0);
}

TEST(Variant, AMovedNumberLosesNoneOfItsWords) {
  std::vector<Variant> values;
  for (const Kind kind : {Kind::Int32, Kind::ULong, Kind::Double}) {
    values.emplace_back(kind);
    values.back().uint64Value = 0x1122334455667788;
    values.back().ulongValue = 99;
  }
  const std::vector<Variant> moved(std::make_move_iterator(values.begin()),
                                   std::make_move_iterator(values.end()));
  for (const Variant& value : moved) {
    EXPECT_EQ(value.uint64Value, 0x1122334455667788u);
    EXPECT_EQ(value.ulongValue, 99u);
  }
}

}  // namespace
}  // namespace kavrin
