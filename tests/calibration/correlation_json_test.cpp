#include "calibration/correlation_json.h"

#include "calibration/tolerant_compare.h"
#include "support/json_helpers.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>

namespace {

using quilby_test::compact;
using quilby_test::parsed;

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

MDCSSG2CorrelationDataEx patternedCSSG2() {
  return patterned<MDCSSG2CorrelationDataEx>(
      {offsetof(MDCSSG2CalibrationData, coefficientType),
       offsetof(MDCSSG2CorrelationDataEx, luminanceLevelCorrection) +
           offsetof(MDCSSG2LuminanceLevelCorrectionParams, dimmerOut)});
}

MDIFSv3CorrelationData patternedIFSv3() {
  return patterned<MDIFSv3CorrelationData>({offsetof(R2XC_RefParam, dimmerOut)});
}

template <class Record>
bool sameBytes(const Record& a, const Record& b) {
  return std::memcmp(&a, &b, sizeof(Record)) == 0;
}

TEST(CorrelationJsonTest, RecordsRoundTripThroughTextMemberByMember) {
  const auto cssg2 = patternedCSSG2();
  const std::string cssg2Text = compact(vesk::ToJson(cssg2));
  EXPECT_TRUE(sameBytes(cssg2, vesk::MDCSSG2CorrelationDataExFromJson(parsed(cssg2Text))))
      << cssg2Text;
  const auto ifsv3 = patternedIFSv3();
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

// Records that went through text and the sensor's storage match within each member's tolerance.
TEST(CorrelationJsonTest, RecordsMatchWithinTheTolerancesOfTheirMembers) {
  const auto base = patternedCSSG2();
  const cairnjson::Value json = vesk::ToJson(base);
  EXPECT_TRUE(vesk::MDCSSG2CorrelationDataExEquals(json, parsed(compact(json))));
  struct Change {
    const char* name;
    void (*apply)(MDCSSG2CorrelationDataEx&);
    bool matches;
  };
  const Change changes[] = {
      {"GammaWithin", [](auto& r) { r.correctionData.gamma += 0.05; }, true},
      {"GammaBeyond", [](auto& r) { r.correctionData.gamma += 0.2; }, false},
      {"MatrixSeventhFigure", [](auto& r) { r.calibrationData.calibration.a[1][1] *= 1.0000001; },
       true},
      {"MatrixFourthFigure", [](auto& r) { r.calibrationData.calibration.a[1][1] *= 1.001; },
       false},
      {"CoefficientType", [](auto& r) { r.calibrationData.coefficientType += 1; }, false},
  };
  for (const Change& change : changes) {
    MDCSSG2CorrelationDataEx changed = base;
    change.apply(changed);
    EXPECT_EQ(vesk::MDCSSG2CorrelationDataExEquals(json, vesk::ToJson(changed)), change.matches)
        << change.name;
  }
}

}  // namespace
