// The serializer's text, and number text that does not depend on the process locale: the parser,
// the serializer and the value conversions read and write "." whatever the locale's decimal point.
#include "json/cairnjson.h"
#include "json/serializer.h"

#include "support/json_helpers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace {

using cairnjson::Double;
using cairnjson::Parser;
using cairnjson::Serializer;
using cairnjson::Value;
using quilby_test::compact;
using quilby_test::parsed;

std::string pretty(const Value& value, int level) {
  Serializer::Attributes attributes;
  attributes.pretty = true;
  attributes.indentUnit = "  ";
  attributes.lineBreak = "\n";
  std::string text;
  auto out = std::back_inserter(text);
  EXPECT_TRUE(Serializer::serialize(out, value, attributes, level, nullptr));
  return text;
}

// How a byte of a string is written: the short escapes, "\u00xx" for the other control bytes and
// DEL, and every other byte as it is.
std::string written(int byte) {
  switch (byte) {
    case '\b': return "\\b";
    case '\t': return "\\t";
    case '\n': return "\\n";
    case '\f': return "\\f";
    case '\r': return "\\r";
    case '"': return "\\\"";
    case '\\': return "\\\\";
  }
  if (byte >= 0x20 && byte != 0x7F) return std::string(1, static_cast<char>(byte));
  char escape[8];
  std::snprintf(escape, sizeof escape, "\\u%04x", byte);
  return escape;
}

TEST(SerializerTest, EscapesExactlyTheTableBytes) {
  std::string all;
  std::string expected = "\"";
  for (int byte = 0; byte < 256; ++byte) {
    all.push_back(static_cast<char>(byte));
    expected += written(byte);
  }
  EXPECT_EQ(compact(Value::makeString(all)), expected + "\"");
  Value keyed;
  keyed["\n"].setInteger(1);
  EXPECT_EQ(compact(keyed), "{\"\\n\":1}");
}

// Short strings are checked for escapes a word at a time, with overlapping tail words: every byte
// must be told apart at every position of every length around the word sizes.
TEST(SerializerTest, FindsAnEscapedByteAtAnyPositionOfShortStrings) {
  for (std::size_t length = 1; length <= 20; ++length) {
    for (std::size_t position = 0; position < length; ++position) {
      for (int byte = 0; byte < 256; ++byte) {
        std::string text(length, 'a');
        text[position] = static_cast<char>(byte);
        ASSERT_EQ(compact(Value::makeString(text)),
                  "\"" + std::string(position, 'a') + written(byte) +
                      std::string(length - position - 1, 'a') + "\"")
            << "length " << length << ", position " << position << ", byte " << byte;
      }
    }
  }
}

TEST(SerializerTest, PrettyLayoutIndentsPerLevel) {
  EXPECT_EQ(pretty(parsed("{\"a\":[1,2]}"), 0), "{\n  \"a\": [\n    1,\n    2\n  ]\n}");
  EXPECT_EQ(pretty(parsed("{\"a\":{},\"b\":[]}"), 0), "{\n  \"a\": {},\n  \"b\": []\n}");
  EXPECT_EQ(pretty(parsed("[1]"), 2), "[\n      1\n    ]");
  // A negative level keeps everything on one line, but the blank after a colon stays.
  EXPECT_EQ(pretty(parsed("{\"a\":1,\"b\":2}"), -1), "{\"a\": 1,\"b\": 2}");
}

TEST(SerializerTest, NonFiniteNumberStopsWithAnError) {
  Value value = parsed("[1,2]");
  value[1].setDouble(std::numeric_limits<double>::quiet_NaN());
  std::string text;
  std::string error;
  auto out = std::back_inserter(text);
  EXPECT_FALSE(Serializer::serialize(out, value, {}, -1, &error));
  EXPECT_EQ(error, "Floating point is nan or inf.");
  EXPECT_EQ(text, "[1,");

  Value nested = parsed("{\"a\":{\"b\":[0]}}");
  nested["a"]["b"][0].setDouble(-std::numeric_limits<double>::infinity());
  std::string partial;
  auto partialOut = std::back_inserter(partial);
  EXPECT_FALSE(Serializer::serialize(partialOut, nested, {}, -1, nullptr));
  EXPECT_EQ(partial, "{\"a\":{\"b\":[");
}

TEST(SerializerTest, DoubleTextMatchesPrintfForAnyBitPattern) {
  std::mt19937_64 random(7);
  for (int i = 0; i < 200000; ++i) {
    const std::uint64_t bits = random();
    double number;
    std::memcpy(&number, &bits, sizeof number);
    // Every other one of moderate magnitude (2^-80 to 2^80), where the exact shortcuts apply.
    if (i % 2) number = std::ldexp(static_cast<double>(bits >> 11), static_cast<int>(bits % 161) - 132);
    if (!std::isfinite(number) || number == 0.0) continue;
    char expected[128];
    std::snprintf(expected, sizeof expected, "%.17g", number);
    std::string text;
    ASSERT_TRUE(Double(number).toString(std::back_inserter(text)));
    ASSERT_EQ(text, expected);
  }
}

// Numbers random bit patterns almost never give: doubles whose exact value has 18 significant
// digits ending in 5 (the 17th digit is a tie, which "%.17g" rounds to even), and powers of ten,
// whose first digit the magnitude estimate may place one too low.
TEST(SerializerTest, DoubleTextMatchesPrintfOnTiesAndPowersOfTen) {
  std::vector<double> numbers = {
      1234567890123456.25, 1234567890123456.75, 123456789012345.125, 123456789012345.375,
      131073.0 / 262144, 131075.0 / 262144, -1234567890123456.25, 99999999999999984.0, 0x1p57,
      0x1p60, 0x1p-25, 1049.0 / 1048576, 5e-324, 2.2250738585072014e-308};
  for (int exponent = -30; exponent <= 30; ++exponent) numbers.push_back(std::pow(10.0, exponent));
  for (const double number : numbers) {
    char expected[128];
    std::snprintf(expected, sizeof expected, "%.17g", number);
    std::string text;
    ASSERT_TRUE(Double(number).toString(std::back_inserter(text)));
    EXPECT_EQ(text, expected);
  }
}

TEST(SerializerTest, IntegerTextMatchesPrintf) {
  std::vector<long long> numbers = {0, 7, 9, 10, 99, 100, 99999999, 100000000, 100000001,
                                    9999999999999999LL, 10000000000000000LL,
                                    std::numeric_limits<long long>::max(),
                                    std::numeric_limits<long long>::min()};
  std::mt19937_64 random(11);
  for (int i = 0; i < 20000; ++i) {
    // Every magnitude equally often, both signs.
    numbers.push_back(static_cast<long long>(random() >> (random() % 64)) * (i % 2 ? -1 : 1));
  }
  for (const long long number : numbers) {
    char expected[32];
    std::snprintf(expected, sizeof expected, "%lld", number);
    Value value;
    value.setInteger(number);
    ASSERT_EQ(compact(value), expected);
  }
}

// A number read by the parser's building block through iterators that are not pointers.
double readThroughIterators(const std::string& number) {
  Parser::Iterator<std::string::const_iterator> it{number.begin(), number.end()};
  Value value;
  return Parser().parse_number(&value, nullptr, it) ? value.toDouble(-1.0) : -1.0;
}

TEST(LocaleTest, DecimalCommaLocaleChangesNothing) {
  quilby_test::ScopedLocale comma({"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "nl_NL.UTF-8"});
  ASSERT_TRUE(comma.active()) << "no locale with a decimal comma is installed";

  EXPECT_EQ(parsed("[2.25e1,-7.125E-1]"), parsed("[22.5,-0.7125]"));
  EXPECT_EQ(compact(Value::makeDouble(1.5)), "1.5");
  EXPECT_EQ(compact(Value::makeDouble(-2.5e-10)), "-2.5000000000000002e-10");
  EXPECT_EQ(Value::makeDouble(0.25).toString(""), "0.25");
  EXPECT_EQ(Value::makeString("1.5").toDouble(0.0), 1.5);
  // A text written with the locale's own separator converts too: the "." is only ever mapped.
  EXPECT_EQ(Value::makeString("1,5").toDouble(0.0), 1.5);
  // Out of range, numbers are left to strtod with their exponents, whatever the iterators.
  EXPECT_EQ(parsed("[1.5e-400,2e400]"), parsed("[0.0,1e999]"));
  EXPECT_EQ(readThroughIterators("1.5e-400"), 0.0);
}

// With a decimal point of more than one byte the rules still map only its first byte, so the
// results are odd but fixed: output keeps the second byte, and input cannot be read at all.
TEST(LocaleTest, MultiByteDecimalPointFollowsTheFirstByteRule) {
  quilby_test::ScopedLocale pashto({"ps_AF", "ps_AF.UTF-8", "ps_AF.utf8"});
  ASSERT_TRUE(pashto.active()) << "no locale with a two-byte decimal point is installed";

  EXPECT_EQ(compact(Value::makeDouble(1.5)), "1.\xAB" "5");
  EXPECT_EQ(compact(Value::makeDouble(3.0)), "3");
  Parser parser;
  Value value;
  EXPECT_FALSE(parser.parse("[1.5]", value));
  EXPECT_EQ(parser.error(), "Failed to parse floating point.");
  EXPECT_EQ(Value::makeString("1.5").toDouble(-1.0), -1.0);
  // Integers and zero exponents never reach the floating-point conversion.
  EXPECT_TRUE(parser.parse("[15,2e0]", value));
}

}  // namespace
