#include "json/value.h"

#include "support/json_helpers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

namespace {

using cairnjson::Type;
using cairnjson::Value;
using quilby_test::compact;
using quilby_test::parsed;

constexpr auto boolean = Value::makeBool;
constexpr auto integer = Value::makeInteger;
constexpr auto real = Value::makeDouble;
constexpr auto text = Value::makeString;

TEST(ValueTest, KindConstructorGivesEmptyContent) {
  const std::pair<Type, const char*> rows[] = {
      {Type::Null, "null"},   {Type::Bool, "false"}, {Type::Integer, "0"}, {Type::Double, "0.0"},
      {Type::String, "\"\""}, {Type::Object, "{}"},  {Type::Array, "[]"}};
  for (const auto& [type, written] : rows) EXPECT_EQ(compact(Value(type)), written);
}

// Writing through a member turns any value into an object; through an index, into an array grown
// with nulls.
TEST(ValueTest, WritingThroughAMemberOrAnIndexReshapesTheValue) {
  Value value = text("gone");
  value["a"];
  EXPECT_EQ(compact(value), "{\"a\":null}");
  value[3].setBool(true);
  EXPECT_EQ(compact(value), "[null,null,null,true]");
  value[1].setInteger(7);
  EXPECT_EQ(compact(value), "[null,7,null,true]");
  value["b"].setInteger(2);
  EXPECT_EQ(compact(value), "{\"b\":2}");
}

TEST(ValueTest, ConstLookupsNeverInsertAndShareOneNull) {
  const Value object = parsed("{\"a\":1}");
  const Value array = parsed("[1]");
  const Value& missing = object["b"];
  EXPECT_EQ(&missing, &Value::s_null());
  EXPECT_EQ(&array["a"], &Value::s_null());
  EXPECT_EQ(&object[0], &Value::s_null());
  EXPECT_EQ(&array[1], &Value::s_null());
  EXPECT_EQ(object.size(), 1u);
  EXPECT_EQ(array[0].toInt(0), 1);
}

TEST(ValueTest, CopiesShareUntilWritten) {
  Value a = parsed("{\"k\":0,\"nested\":{\"x\":\"shared\"},\"list\":[1]}");
  Value b = a;
  const Value& constA = a;
  const Value& constB = b;
  EXPECT_EQ(&constA.members(), &constB.members());

  b["k"].setInteger(1);
  EXPECT_EQ(compact(a), "{\"k\":0,\"list\":[1],\"nested\":{\"x\":\"shared\"}}");
  EXPECT_EQ(compact(b), "{\"k\":1,\"list\":[1],\"nested\":{\"x\":\"shared\"}}");
  EXPECT_NE(&constA.members(), &constB.members());
  // Members not written through still share their containers with the original.
  EXPECT_EQ(&constA["nested"].members(), &constB["nested"].members());
  EXPECT_EQ(&constA["nested"]["x"].stringRef(), &constB["nested"]["x"].stringRef());
  EXPECT_EQ(&constA["list"].elements(), &constB["list"].elements());

  // Writing one level deeper detaches that level only.
  b["list"][0].setInteger(9);
  EXPECT_EQ(compact(a["list"]), "[1]");
  EXPECT_EQ(compact(b["list"]), "[9]");
  EXPECT_EQ(&constA["nested"].members(), &constB["nested"].members());
}

TEST(ValueTest, SetTypeKeepsContentOfTheSameKindOnly) {
  Value value = parsed("{\"a\":1}");
  value.setType(Type::Object);
  EXPECT_EQ(compact(value), "{\"a\":1}");
  value.setType(Type::Array);
  EXPECT_EQ(compact(value), "[]");
  value.setType(Type::Double);
  EXPECT_EQ(compact(value), "0.0");
}

TEST(ValueTest, SelfAssignmentKeepsTheValue) {
  Value value = parsed("[\"x\"]");
  Value& alias = value;
  value = alias;
  EXPECT_EQ(compact(value), "[\"x\"]");
}

TEST(ValueTest, PushBackOfOwnElementIsSafe) {
  Value value = parsed("[\"a\"]");
  for (int i = 0; i < 10; ++i) value.push_back(value[0]);
  EXPECT_EQ(value.size(), 11u);
  EXPECT_EQ(value[10].stringRef(), "a");
}

TEST(ValueTest, SizeCountsMembersElementsAndBytes) {
  EXPECT_EQ(parsed("{\"a\":1,\"b\":2}").size(), 2u);
  EXPECT_EQ(parsed("[1,2,3]").size(), 3u);
  EXPECT_EQ(text("h\xc3\xa9llo").size(), 6u);
  EXPECT_EQ(real(12.5).size(), 0u);
  EXPECT_TRUE(parsed("{\"a\":null}").contains("a"));
  EXPECT_FALSE(parsed("[\"a\"]").contains("a"));
}

struct Conversion {
  const char* name;
  Value value;
  int toInt;
  unsigned toUInt;
  long long toLLong;
  double toDouble;
};

const int kIntDef = -77;
const unsigned kUIntDef = 77;
const long long kLLongDef = -7777;
const double kDoubleDef = -7.5;

class ValueConversionTest : public testing::TestWithParam<Conversion> {};

TEST_P(ValueConversionTest, FollowsTheRangeAndWholeTextRules) {
  const Conversion& row = GetParam();
  EXPECT_EQ(row.value.toInt(kIntDef), row.toInt);
  EXPECT_EQ(row.value.toUInt(kUIntDef), row.toUInt);
  EXPECT_EQ(row.value.toLLong(kLLongDef), row.toLLong);
  if (std::isnan(row.toDouble)) {
    EXPECT_TRUE(std::isnan(row.value.toDouble(kDoubleDef)));
  } else {
    EXPECT_EQ(row.value.toDouble(kDoubleDef), row.toDouble);
  }
}

const double kNaN = std::numeric_limits<double>::quiet_NaN();
const long long kMin64 = std::numeric_limits<long long>::min();

INSTANTIATE_TEST_SUITE_P(
    Table, ValueConversionTest,
    testing::Values(
        Conversion{"Null", Value(), kIntDef, kUIntDef, kLLongDef, kDoubleDef},
        Conversion{"True", boolean(true), 1, 1, 1, 1.0},
        Conversion{"False", boolean(false), 0, 0, 0, 0.0},
        Conversion{"IntegerTwoToThe32", integer(4294967296), kIntDef, kUIntDef, 4294967296, 4294967296.0},
        Conversion{"IntegerMinusOne", integer(-1), -1, kUIntDef, -1, -1.0},
        Conversion{"IntegerUIntMax", integer(4294967295), kIntDef, 4294967295u, 4294967295, 4294967295.0},
        Conversion{"IntegerIntMin", integer(-2147483648LL), -2147483647 - 1, kUIntDef, -2147483648LL, -2147483648.0},
        Conversion{"DoubleHalfUp", real(2.5), 3, 3, 3, 2.5},
        Conversion{"DoubleHalfDown", real(-2.5), -3, kUIntDef, -3, -2.5},
        Conversion{"DoubleSmallNegative", real(-0.4), 0, 0, 0, -0.4},
        Conversion{"DoubleIntMaxEdge", real(2147483647.4), 2147483647, 2147483647u, 2147483647, 2147483647.4},
        Conversion{"DoubleAboveIntMax", real(2147483647.5), kIntDef, 2147483648u, 2147483648LL, 2147483647.5},
        Conversion{"DoubleTwoToThe63", real(9223372036854775808.0), kIntDef, kUIntDef, kMin64, 9223372036854775808.0},
        Conversion{"DoubleHuge", real(1e19), kIntDef, kUIntDef, kLLongDef, 1e19},
        Conversion{"DoubleNaN", real(kNaN), kIntDef, kUIntDef, kLLongDef, kNaN},
        Conversion{"StringDecimal", text("12"), 12, 12, 12, 12.0},
        Conversion{"StringLeadingBlank", text(" 12"), 12, 12, 12, 12.0},
        Conversion{"StringTrailingBlank", text("12 "), kIntDef, kUIntDef, kLLongDef, kDoubleDef},
        Conversion{"StringEmpty", text(""), 0, 0, 0, 0.0},
        Conversion{"StringHex", text("0x1F"), 31, 31, 31, 31.0},
        Conversion{"StringOctal", text("017"), 15, 15, 15, 17.0},
        Conversion{"StringNegative", text("-5"), -5, kUIntDef, -5, -5.0},
        Conversion{"StringFraction", text("1.5"), kIntDef, kUIntDef, kLLongDef, 1.5},
        Conversion{"StringEmbeddedNul", text(std::string("7\0", 2)), kIntDef, kUIntDef, kLLongDef, kDoubleDef},
        Conversion{"StringBeyond64Bits", text("99999999999999999999"), kIntDef, kUIntDef, 9223372036854775807LL, 1e20},
        Conversion{"Object", parsed("{\"a\":1}"), kIntDef, kUIntDef, kLLongDef, kDoubleDef}),
    [](const testing::TestParamInfo<Conversion>& info) { return std::string(info.param.name); });

TEST(ValueTest, ToStringGivesTheTextFormOfScalars) {
  EXPECT_EQ(boolean(true).toString("d"), "true");
  EXPECT_EQ(integer(-9223372036854775807LL - 1).toString("d"), "-9223372036854775808");
  EXPECT_EQ(real(0.1).toString("d"), "0.10000000000000001");
  EXPECT_EQ(real(-0.0).toString("d"), "0.0");
  EXPECT_EQ(real(kNaN).toString("d"), "nan");
  EXPECT_EQ(real(-std::numeric_limits<double>::infinity()).toString("d"), "-inf");
  EXPECT_EQ(text("as is").toString("d"), "as is");
  EXPECT_EQ(parsed("[1]").toString("d"), "d");
}

TEST(ValueTest, EqualityComparesKindsAndContent) {
  EXPECT_NE(integer(1), real(1.0));
  EXPECT_EQ(real(0.0), real(-0.0));
  EXPECT_NE(real(kNaN), real(kNaN));
  const Value withNaN = parsed("[1]");
  Value copy = withNaN;
  copy[0].setDouble(kNaN);
  const Value sameContainer = copy;
  EXPECT_NE(copy, sameContainer) << "NaN stays unequal even inside a shared container";
  EXPECT_EQ(parsed("{\"b\":1,\"a\":[true,null]}"), parsed("{\"a\":[true,null],\"b\":1}"));
  EXPECT_NE(parsed("[1,2]"), parsed("[2,1]"));
  EXPECT_NE(parsed("[{\"a\":[1]}]"), parsed("[{\"a\":[2]}]")) << "one-element levels count too";
  EXPECT_NE(parsed("{\"a\":1}"), parsed("{\"b\":1}"));
  EXPECT_NE(parsed("{\"a\":1}"), parsed("{\"a\":1,\"b\":1}"));
  EXPECT_NE(text("ab"), text(std::string("ab\0", 3)));
  EXPECT_EQ(Value(Type::String), text(""));
}

TEST(ValueTest, NonFiniteNumbersAreFoundAtAnyDepthAndOnlyThere) {
  EXPECT_FALSE(cairnjson::holdsNonFiniteNumber(parsed(R"({"a":[1.5,2,"x",{"b":-0.25}]})")));
  Value deep = parsed(R"({"a":[1.5,{"b":[0.5]}]})");
  deep["a"][1]["b"][0].setDouble(kNaN);
  EXPECT_TRUE(cairnjson::holdsNonFiniteNumber(deep));
  EXPECT_TRUE(cairnjson::holdsNonFiniteNumber(real(-std::numeric_limits<double>::infinity())));
}

}  // namespace
