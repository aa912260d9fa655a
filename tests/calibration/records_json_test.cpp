// The device libraries' records to and from JSON: colours, dates and correlation data.
#include "calibration/color_json.h"
#include "calibration/correlation_json.h"
#include "calibration/date_json.h"

#include "support/json_helpers.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <string>
#include <utility>

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

TEST(DateJsonTest, ToJsonWritesTheChosenMembersAsIntegers) {
  const DateTime march7(2024, 3, 7, 9, 5, 30, 250);
  EXPECT_EQ(compact(vesk::ToJson(march7, true, false, false)),
            R"({"dateString":"2024-03-07 09:05:30",)"
            R"("day":7,"hour":9,"minute":5,"month":3,"year":2024})");
  EXPECT_EQ(compact(vesk::ToJson(march7, false, false, false)),
            R"({"day":7,"hour":9,"minute":5,"month":3,"year":2024})");
  EXPECT_EQ(compact(vesk::ToJson(march7, false, true, true)),
            R"({"day":7,"hour":9,"minute":5,"month":3,"msec":250,"second":30,"year":2024})");
}

TEST(DateJsonTest, FromJsonReadsTextByLengthAndObjectsByMemberWithoutMsec) {
  // Text rows sit at both ends of each length band: a field is read only once its digits fit.
  const std::pair<const char*, DateTime> rows[] = {
      {R"("202")", DateTime(2000, 1, 1, 0, 0, 0)},
      {R"("2024")", DateTime(2024, 1, 1, 0, 0, 0)},
      {R"("2024-0")", DateTime(2024, 1, 1, 0, 0, 0)},
      {R"("2024-03")", DateTime(2024, 3, 1, 0, 0, 0)},
      {R"("2024-03-0")", DateTime(2024, 3, 1, 0, 0, 0)},
      {R"("2024-03-07 09")", DateTime(2024, 3, 7, 9, 0, 0)},
      {R"("2024-03-07 09:05:3")", DateTime(2024, 3, 7, 9, 5, 0)},
      {R"("2024-03-07 09:05:30.250Z")", DateTime(2024, 3, 7, 9, 5, 30)},  // tail ignored
      {R"("2024/03/07T09.05.30")", DateTime(2024, 3, 7, 9, 5, 30)},  // separators not examined
      {R"("2024-xx-7x 25:61:99")", DateTime(2024, 0, 7, 25, 61, 99)},  // pieces read as streams
      // Anything but text is an object of numbers; what is not one reads as zeros.
      {"null", DateTime()},
      {"[2024,3,7]", DateTime()},
      {R"({"year":2024})", DateTime(2024, 0, 0, 0, 0, 0)},
      {R"({"year":"2024","month":2.6,"day":true,"msec":250})", DateTime(2024, 3, 1, 0, 0, 0)},
  };
  for (const auto& [json, expected] : rows) {
    const DateTime date = vesk::DateTimeFromJson(parsed(json));
    EXPECT_EQ(date, expected) << json << " gave " << date.toString() << " msec " << date.msec;
  }
}

// A record whose every 8-byte slot holds a different double, except the slots of its int32_t
// members (by offset), which hold a different integer and zero padding. It reads back byte for
// byte only if every member has a key of its own.
template <class Record>
Record patterned(std::initializer_list<std::size_t> integerOffsets) {
  Record record{};
  auto* bytes = reinterpret_cast<unsigned char*>(&record);
  for (std::size_t slot = 0; slot < sizeof(Record) / sizeof(double); ++slot) {
    const double value = 1.25 * static_cast<double>(slot + 1) + 1e-7;
    std::memcpy(bytes + slot * sizeof(double), &value, sizeof value);
  }
  std::int32_t integer = 1000;
  for (const std::size_t offset : integerOffsets) {
    std::memset(bytes + offset, 0, sizeof(double));
    std::memcpy(bytes + offset, &integer, sizeof integer);
    ++integer;
  }
  return record;
}

template <class Record>
bool sameBytes(const Record& a, const Record& b) {
  return std::memcmp(&a, &b, sizeof(Record)) == 0;
}

TEST(CorrelationJsonTest, RecordsRoundTripThroughTextMemberByMember) {
  const auto cssg2 = patterned<MDCSSG2CorrelationDataEx>(
      {offsetof(MDCSSG2CalibrationData, coefficientType),
       offsetof(MDCSSG2CorrelationDataEx, luminanceLevelCorrection) +
           offsetof(MDCSSG2LuminanceLevelCorrectionParams, dimmerOut)});
  const std::string cssg2Text = compact(vesk::ToJson(cssg2));
  EXPECT_TRUE(sameBytes(cssg2, vesk::MDCSSG2CorrelationDataExFromJson(parsed(cssg2Text))))
      << cssg2Text;
  const auto ifsv3 = patterned<MDIFSv3CorrelationData>({offsetof(R2XC_RefParam, dimmerOut)});
  const std::string ifsv3Text = compact(vesk::ToJson(ifsv3));
  EXPECT_TRUE(sameBytes(ifsv3, vesk::MDIFSv3CorrelationDataFromJson(parsed(ifsv3Text))))
      << ifsv3Text;
}

TEST(CorrelationJsonTest, WritesMemberNamesNestedObjectsAndRows) {
  const MDCSSG2LuminanceLevelCorrectionParams levels{160.5, 1023};
  EXPECT_EQ(compact(vesk::ToJson(levels)), R"({"brightness":160.5,"dimmerOut":1023})");
  EXPECT_TRUE(vesk::ToJson(levels)["dimmerOut"].isInteger());
  KMCAL_CALDATA_USERPROOF calibration{};
  calibration.a[0][0] = 1.5;
  calibration.a[2][1] = -0.25;
  calibration.b[2] = 0.125;
  calibration.XYZBlack.Y = 0.5;
  EXPECT_EQ(compact(vesk::ToJson(calibration)),
            R"({"XYZ0":{"X":0.0,"Y":0.0,"Z":0.0},"XYZBlack":{"X":0.0,"Y":0.5,"Z":0.0},)"
            R"("a":[[1.5,0.0,0.0],[0.0,0.0,0.0],[0.0,-0.25,0.0]],"b":[0.0,0.0,0.125]})");
}

TEST(CorrelationJsonTest, ReadsLenientlyFromAZeroedRecord) {
  const auto calibration = vesk::MDCSSG2CalibrationDataFromJson(
      parsed(R"({"coefficientType": 2.5, "brightness": {"criterion": "1.5"}, "temperature": 7,)"
             R"( "calibration": {"a": [[1, 2], "x", [3, 4, 5, 6]], "b": [true]}, "extra": 1})"));
  EXPECT_EQ(calibration.coefficientType, 3);  // rounded half away from zero
  EXPECT_EQ(calibration.brightness.criterion, 1.5);
  EXPECT_EQ(calibration.temperature.criterion, 0.0);  // not an object
  const double a[3][3] = {{1, 2, 0}, {0, 0, 0}, {3, 4, 5}};
  EXPECT_EQ(std::memcmp(calibration.calibration.a, a, sizeof a), 0);
  EXPECT_EQ(calibration.calibration.b[0], 1.0);
  EXPECT_EQ(vesk::R2XC_RefParamFromJson(parsed(R"({"dimmerOut": 3000000000})")).dimmerOut, 0);
  EXPECT_TRUE(
      sameBytes(vesk::MDIFSv3CorrelationDataFromJson(parsed("[1, 2]")), MDIFSv3CorrelationData{}));
  const MDDate date = vesk::MDDateFromJson(parsed(R"("2023-12-01 09:10:59")"));
  EXPECT_TRUE(sameBytes(date, MDDate{2023, 12, 1, 9, 10}));
}

}  // namespace
