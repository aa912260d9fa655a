// The text forms of the small utilities: dates, identifiers, numbers read from text, and paths.
#include "util/date_time.h"
#include "util/path.h"
#include "util/string_conversion.h"
#include "util/uuid.h"

#include <gtest/gtest.h>

#include <climits>
#include <locale>
#include <set>
#include <stdexcept>
#include <string>

namespace {

TEST(DateTimeTest, ToStringPadsFieldsAndOmitsMsec) {
  EXPECT_EQ(DateTime().toString(), "0000-00-00 00:00:00");
  EXPECT_EQ(DateTime(2024, 3, 7, 9, 5, 0, 250).toString(), "2024-03-07 09:05:00");
  EXPECT_EQ(DateTime(1999, 12, 31, 23, 59, 58).toString(), "1999-12-31 23:59:58");
  EXPECT_EQ(DateTime(5, 1, 2, 3, 4, 6).toString(), "0005-01-02 03:04:06");
  EXPECT_EQ(DateTime(12345, 123, 1, 0, 0, 0).toString(), "12345-123-01 00:00:00");
  EXPECT_EQ(DateTime(-5, 1, 1, 0, 0, 0).toString(), "-005-01-01 00:00:00");
}

TEST(UuidTest, CreateGivesDistinctLowerCaseRandomIdentifiers) {
  std::set<std::string> seen;
  for (int round = 0; round < 10000; ++round) {
    const std::string id = uuid::create();
    seen.insert(id);
    ASSERT_EQ(id.size(), 36u) << id;
    for (std::size_t i = 0; i < id.size(); ++i) {
      const bool hyphen = i == 8 || i == 13 || i == 18 || i == 23;
      const bool hexDigit = (id[i] >= '0' && id[i] <= '9') || (id[i] >= 'a' && id[i] <= 'f');
      ASSERT_TRUE(hyphen ? id[i] == '-' : hexDigit) << id << " at " << i;
    }
    // Version 4 (random), standard variant.
    ASSERT_TRUE(id[14] == '4' && std::string("89ab").find(id[19]) != std::string::npos) << id;
  }
  EXPECT_EQ(seen.size(), 10000u);
}

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

struct AppendCase {
  const char* name;
  const char* base;
  const char* component;
  const char* expected;
};

class PathTest : public testing::TestWithParam<AppendCase> {};

TEST_P(PathTest, AppendJoinsWithOneSeparator) {
  fs::Path path{std::string(GetParam().base)};
  EXPECT_EQ(&path.appendPathComponent(GetParam().component), &path);
  EXPECT_EQ(path.text(), GetParam().expected);
}

const AppendCase kAppendCases[] = {
    {"Plain", "a", "b", "a/b"},
    {"LeadingSlashDropped", "a", "/b", "a/b"},
    {"LeadingBackslashDropped", "a", "\\b", "a/b"},
    {"TrailingSlashDropped", "a", "b/", "a/b"},
    {"EmptyComponentKeepsPath", "a", "", "a"},
    {"LoneSlashKeepsPath", "a", "/", "a"},
    {"OnlyOneLeadingSeparatorDropped", "a", "//b", "a//b"},
    {"OnlyOneTrailingSeparatorDropped", "a", "b//", "a/b/"},
    {"EmptyBaseStartsAtRoot", "", "b", "/b"},
};

INSTANTIATE_TEST_SUITE_P(Rows, PathTest, testing::ValuesIn(kAppendCases),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
