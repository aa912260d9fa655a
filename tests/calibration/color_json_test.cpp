#include "calibration/color_json.h"

#include "support/json_helpers.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using quilby_test::compact;
using quilby_test::parsed;

// X, Y, Z, x, y, u, v, cyan, magenta, yellow, black: every member distinct and exactly
// representable, so that the text shows which one was read.
constexpr MDColor kSample{10.5, 20.25, 30.125, 0.25, 0.375, 0.125, 0.5, 0.0625, 0.1875, 0.3125,
                          0.4375};

// The sum of a record's members; exact for these values.
double total(const MDColor& c) {
  return c.X + c.Y + c.Z + c.x + c.y + c.u + c.v + c.cyan + c.magenta + c.yellow + c.black;
}

struct LettersCase {
  const char* name;
  const char* letters;
  const char* json;
};

const LettersCase kLetters[] = {
    {"Tristimulus", "XYZ", R"({"X":10.5,"Y":20.25,"Z":30.125})"},
    {"Chromaticity", "xyY", R"({"Y":20.25,"x":0.25,"y":0.375})"},
    {"UniformChromaticity", "uv", R"({"u":0.125,"v":0.5})"},
    {"AllSingleLetters", "XYZxyuv",
     R"({"X":10.5,"Y":20.25,"Z":30.125,"u":0.125,"v":0.5,"x":0.25,"y":0.375})"},
    {"CMYKAsAWhole", "CMYK", R"({"C":0.0625,"K":0.4375,"M":0.1875,"Y":0.3125})"},
    // Only the exact word means inks; otherwise Y is the tristimulus value and C, M, K are unknown.
    {"CMYLetterByLetter", "CMY", R"({"Y":20.25})"},
    {"CMYKReordered", "KCMY", R"({"Y":20.25})"},
    {"LowerCaseCmyk", "cmyk", R"({"y":0.375})"},
    {"UnknownLettersAddNothing", "XQZ!", R"({"X":10.5,"Z":30.125})"},
    {"NoLetters", "", R"({})"},
};

class ColorJsonTest : public testing::TestWithParam<LettersCase> {};

TEST_P(ColorJsonTest, ConvertsOneFloatingMemberPerKnownLetterBothWays) {
  const LettersCase& row = GetParam();
  const cairnjson::Value json = vesk::ColorToJson(kSample, row.letters);
  EXPECT_EQ(compact(json), row.json);
  double written = 0.0;
  for (const auto& [key, value] : json.members()) {
    EXPECT_TRUE(value.isDouble()) << key;
    written += value.toDouble(0.0);
  }
  // Reading the object back gives the same members, and every other member of the record zero.
  const MDColor color = vesk::ColorFromJson(parsed(row.json), row.letters);
  EXPECT_EQ(compact(vesk::ColorToJson(color, row.letters)), row.json);
  EXPECT_EQ(total(color), written);
}

INSTANTIATE_TEST_SUITE_P(Letters, ColorJsonTest, testing::ValuesIn(kLetters),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(ColorFromJsonTest, MissingOrNonNumericMembersReadAsZero) {
  const MDColor color = vesk::ColorFromJson(parsed(R"({"x":0.3127,"Y":100,"y":null})"), "xyY");
  EXPECT_EQ(color.x, 0.3127);
  EXPECT_EQ(color.Y, 100.0);
  EXPECT_EQ(total(color), color.Y + color.x);
  EXPECT_EQ(total(vesk::ColorFromJson(parsed("[1,2,3]"), "XYZ")), 0.0);
}

}  // namespace
