#include "util/path.h"

#include <gtest/gtest.h>

#include <string>

namespace {

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
