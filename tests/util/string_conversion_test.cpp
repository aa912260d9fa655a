#include "util/string_conversion.h"

#include <gtest/gtest.h>

#include <climits>
#include <locale>
#include <stdexcept>
#include <string>

namespace {

TEST(StringConversionTest, ToIntReadsLeadingDecimalNumber) {
  EXPECT_EQ(string::to<int>("07"), 7);
  EXPECT_EQ(string::to<int>(" 42abc"), 42);
  EXPECT_EQ(string::to<int>("\t\n-17"), -17);
  EXPECT_EQ(string::to<int>("3.9"), 3);
  EXPECT_EQ(string::to<int>("x3"), 0);
  EXPECT_EQ(string::to<int>(""), 0);
  EXPECT_EQ(string::to<int>("99999999999"), INT_MAX);
  EXPECT_EQ(string::to<int>("-99999999999"), INT_MIN);
}

// The host may switch the global locale; a grouping locale must not make "1,234" read as 1234.
TEST(StringConversionTest, ToIntIgnoresDigitGroupingOfGlobalLocale) {
  std::locale grouping;
  try {
    grouping = std::locale("en_US.UTF-8");
  } catch (const std::runtime_error&) {
    GTEST_SKIP() << "locale en_US.UTF-8 not installed";
  }
  const std::locale previous = std::locale::global(grouping);
  const int value = string::to<int>("1,234");
  std::locale::global(previous);
  EXPECT_EQ(value, 1);
}

}  // namespace
