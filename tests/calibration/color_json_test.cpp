#include "calibration/color_json.h"

#include "support/json_helpers.h"

#include <gtest/gtest.h>

#include <cstring>
#include <ostream>
#include <string>

namespace {

using quilby_test::compact;
using quilby_test::parsed;

// Every member distinct and exactly representable, so that the text shows which one was read.
MDColor sample() {
  MDColor color{};
  color.X = 10.5;
  color.Y = 20.25;
  color.Z = 30.125;
  color.x = 0.25;
  color.y = 0.375;
  color.u = 0.125;
  color.v = 0.5;
  color.cyan = 0.0625;
  color.magenta = 0.1875;
  color.yellow = 0.3125;
  color.black = 0.4375;
  return color;
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

void PrintTo(const LettersCase& row, std::ostream* out) { *out << '"' << row.letters << '"'; }

class ColorJsonTest : public testing::TestWithParam<LettersCase> {};

TEST_P(ColorJsonTest, RecordToJsonHasOneFloatingMemberPerKnownLetter) {
  const cairnjson::Value json = vesk::ColorToJson(sample(), GetParam().letters);
  EXPECT_EQ(compact(json), GetParam().json);
  for (const auto& member : json.members()) EXPECT_TRUE(member.second.isDouble()) << member.first;
}

TEST_P(ColorJsonTest, JsonToRecordReadsTheSameMembersBack) {
  const std::string letters = GetParam().letters;
  const MDColor color = vesk::ColorFromJson(parsed(GetParam().json), letters);
  // What was written comes back; every other member is zero.
  EXPECT_EQ(compact(vesk::ColorToJson(color, letters)), GetParam().json);
  const cairnjson::Value all = vesk::ColorToJson(color, "XYZxyuv");
  const cairnjson::Value inks = vesk::ColorToJson(color, "CMYK");
  const cairnjson::Value wanted = parsed(GetParam().json);
  for (const auto& [key, value] : all.members()) {
    if (letters == "CMYK" || !wanted.contains(key)) {
      EXPECT_EQ(value.toDouble(-1.0), 0.0) << key;
    }
  }
  for (const auto& [key, value] : inks.members()) {
    if (letters != "CMYK") {
      EXPECT_EQ(value.toDouble(-1.0), 0.0) << key;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Letters, ColorJsonTest, testing::ValuesIn(kLetters),
                         [](const testing::TestParamInfo<LettersCase>& info) {
                           return std::string(info.param.name);
                         });

TEST(ColorFromJsonTest, MissingOrNonNumericMembersReadAsZero) {
  const MDColor color = vesk::ColorFromJson(parsed(R"({"x":0.3127,"Y":100,"y":null})"), "xyY");
  EXPECT_EQ(color.x, 0.3127);
  EXPECT_EQ(color.Y, 100.0);
  EXPECT_EQ(color.y, 0.0);
  EXPECT_EQ(color.X, 0.0);
  const MDColor fromArray = vesk::ColorFromJson(parsed("[1,2,3]"), "XYZ");
  const MDColor zero{};
  EXPECT_EQ(std::memcmp(&fromArray, &zero, sizeof zero), 0);
}

}  // namespace
