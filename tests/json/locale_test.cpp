// Number text must not depend on the process locale: the parser, the serializer and the value
// conversions read and write "." whatever the locale's decimal point is.
#include "json/cairnjson.h"

#include "support/json_helpers.h"

#include <gtest/gtest.h>

namespace {

using cairnjson::Parser;
using cairnjson::Value;
using quilby_test::compact;

Value text(const char* string) {
  Value value;
  value = string;
  return value;
}

TEST(LocaleTest, DecimalCommaLocaleChangesNothing) {
  quilby_test::ScopedLocale comma({"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "nl_NL.UTF-8"});
  ASSERT_TRUE(comma.active()) << "no locale with a decimal comma is installed";

  EXPECT_EQ(quilby_test::parsed("1.5").toDouble(0), 1.5);
  EXPECT_EQ(quilby_test::parsed("[2.25e1,-7.125E-1]"), quilby_test::parsed("[22.5,-0.7125]"));
  EXPECT_EQ(compact(Value::makeDouble(1.5)), "1.5");
  EXPECT_EQ(compact(Value::makeDouble(-2.5e-10)), "-2.5000000000000002e-10");
  EXPECT_EQ(Value::makeDouble(0.25).toString(""), "0.25");
  EXPECT_EQ(text("1.5").toDouble(0.0), 1.5);
  // A text written with the locale's own separator converts too: the "." is only ever mapped.
  EXPECT_EQ(text("1,5").toDouble(0.0), 1.5);
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
  EXPECT_EQ(text("1.5").toDouble(-1.0), -1.0);
  // Integers and zero exponents never reach the floating-point conversion.
  EXPECT_TRUE(parser.parse("[15,2e0]", value));
}

}  // namespace
