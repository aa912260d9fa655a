#include "calibration/tolerant_compare.h"

#include "support/json_helpers.h"
#include "support/small_stack.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

namespace {

using cairnjson::Value;
using quilby_test::parsed;

// A tolerance above 0 selects DoubleNearlyEquals, otherwise SignificantFigureEquals at `figures`.
struct NumberCase {
  const char* name;
  const char* a;
  const char* b;
  double tolerance;
  int figures;
  bool expected;
};

class NumberRuleTest : public testing::TestWithParam<NumberCase> {};

TEST_P(NumberRuleTest, ComparesWithinRule) {
  const NumberCase& row = GetParam();
  const Value a = parsed(row.a), b = parsed(row.b);
  EXPECT_EQ(row.tolerance > 0.0 ? vesk::DoubleNearlyEquals(a, b, row.tolerance)
                                : vesk::SignificantFigureEquals(a, b, row.figures),
            row.expected);
}

const NumberCase kNumberCases[] = {
    {"NearlyInsideTolerance", "1.05", "1.0", 0.1, 0, true},
    {"NearlyExactlyToleranceIsUnequal", "0", "0.5", 0.5, 0, false},
    {"NearlyReadsBoolAndText", "true", R"("1.0")", 0.0001, 0, true},
    {"NearlyReadsObjectAsZero", R"({"x":5})", "0", 0.0001, 0, true},
    {"FiguresZeroFirstMatchesAnything", "0", "5", 0, 6, true},
    {"FiguresZeroSecondMatchesOnlyZero", "5", "0", 0, 6, false},
    {"FiguresSixRoundAlike", "123.4567", "123.4568", 0, 6, true},
    {"FiguresSevenTellApart", "123.4567", "123.4568", 0, 7, false},
    {"FiguresNegativeOffsetTruncatesAlike", "-1.25", "-1.25", 0, 2, true},
    {"FiguresNegativeOffsetIsFourTenths", "-1.26", "-1.25", 0, 2, false},
    {"FiguresMoreDigitsThanFiguresDivided", "1000", "1005", 0, 3, false},
    {"FiguresOneTenthHasExponentMinusTwo", "0.1", "0.1006", 0, 2, false},
    {"FiguresTinyValuesOnFixedGrid", "0.00005", "0.000050004", 0, 6, true},
    {"FiguresFarLargerSecondUnequal", "5", "1e30", 0, 6, false},
    {"FiguresBeyondInt32IdenticalMatch", "3000000.5", "3000000.5", 0, 10, true},
    {"FiguresBeyondInt32NearMissUnequal", "3000000.5", "3000000.5001", 0, 10, false},
    {"FiguresHugeCountUnequal", "5", "6", 0, INT_MAX, false},
    {"FiguresNanFirstUnequalToItself", R"("nan")", R"("nan")", 0, 6, false},
    {"FiguresInfiniteFirstUnequalToItself", R"("inf")", R"("inf")", 0, 6, false},
    {"FiguresLargestDoubleTerminates", "1.7976931348623157e308", "1.7e308", 0, 6, false},
    {"FiguresSmallestDoubleTerminates", "5e-324", "0", 0, 6, true},
};

INSTANTIATE_TEST_SUITE_P(Rows, NumberRuleTest, testing::ValuesIn(kNumberCases),
                         [](const auto& info) { return std::string(info.param.name); });

struct ArrayCase {
  const char* name;
  const char* a;
  const char* b;
  bool nearly;      // DoubleArrayEquals
  bool sixFigures;  // DoubleArraySignificantFigureEquals
};

class DoubleArrayEqualsTest : public testing::TestWithParam<ArrayCase> {};

TEST_P(DoubleArrayEqualsTest, WalksNestedArraysPairwise) {
  const Value a = parsed(GetParam().a), b = parsed(GetParam().b);
  EXPECT_EQ(vesk::DoubleArrayEquals(a, b), GetParam().nearly);
  EXPECT_EQ(vesk::DoubleArraySignificantFigureEquals(a, b), GetParam().sixFigures);
}

const ArrayCase kArrayCases[] = {
    {"BothEmpty", "[]", "[]", true, true},
    {"NullsAreNotArrays", "null", "null", false, false},
    {"AbsoluteToleranceLooserThanSixFigures", "[1,2]", "[1.00005,2]", true, false},
    {"SixFiguresLooserThanAbsoluteTolerance", "[123456.7]", "[123457.1]", false, true},
    {"NestedLengthsDiffer", "[[1],[2]]", "[[1],[2,3]]", false, false},
    {"ElementAfterNestedArrayDiffers", "[[1,[2]],3]", "[[1,[2]],4]", false, false},
    {"ArrayAgainstNumberUnequal", "[[1]]", "[1]", false, false},
    {"NumberAgainstArrayReadsZero", "[0]", "[[5]]", true, true},
    {"ObjectElementReadsZero", R"([{"x":1}])", "[0]", true, true},
};

INSTANTIATE_TEST_SUITE_P(Rows, DoubleArrayEqualsTest, testing::ValuesIn(kArrayCases),
                         [](const auto& info) { return std::string(info.param.name); });

// A recursive walk would need megabytes of stack at this depth; hosts may give 256 KiB.
TEST(DoubleArrayEqualsTest, DeepNestingIsSafeOnSmallStack) {
  const auto nested = [](const char* leaf) {
    return parsed(std::string(200000, '[') + leaf + std::string(200000, ']'));
  };
  const Value a = nested("1"), same = nested("1"), other = nested("2");
  quilby_test::runOnSmallStack([&] {
    EXPECT_TRUE(vesk::DoubleArrayEquals(a, same) && vesk::DoubleArraySignificantFigureEquals(a, same));
    EXPECT_FALSE(vesk::DoubleArrayEquals(a, other) ||
                 vesk::DoubleArraySignificantFigureEquals(a, other));
  });
}

// Two complete records. kColour serves wherever X, Y, Z or R, G, B are read.
const std::string kColour = R"({"X":95.047,"Y":100,"Z":108.883,"R":4,"G":5,"B":6})";
const std::string kPair = R"({"reference":)" + kColour + R"(,"XYZ":)" + kColour + "}";
const std::string kEx =
    R"({"calibrationData":{"brightness":{"criterion":1},"temperature":{"criterion":2},)"
    R"("coefficientType":2,"calibration":{"XYZ0":)" + kColour + R"(,"XYZBlack":)" + kColour +
    R"(,"a":[1.5],"b":[[0.25]]},"measurement":{"red":)" + kPair + R"(,"green":)" + kPair +
    R"(,"blue":)" + kPair + R"(,"white":)" + kPair + R"(,"black":)" + kPair + R"(}},)"
    R"("correctionData":{"gamma":2.2,"threshold":0.5,"step":[16],"correction":)" + kPair +
    R"(,"measurement":{"reference":)" + kColour + R"(,"RGB":)" + kColour + R"(}},)"
    R"("luminanceLevelCorrection":{"brightness":80.5,"dimmerOut":3}})";
const std::string kV3 =
    R"({"reference":{"ambientTemperature":25.5,"setTemperature":6500,"dimmerOut":7,)"
    R"("red":{"tone":0.5},"green":{"tone":0.6},"blue":{"tone":0.7}},)"
    R"("referenceTone":{"tone":[0,1],"gamma":[[2.2],[2.4]]},"normalizedMeasurement":{"red":)" +
    kColour + R"(,"green":)" + kColour + R"(,"blue":)" + kColour + R"(,"black":)" + kColour +
    R"(},"toneCorrection":{"red":)" + kColour + R"(,"green":)" + kColour + R"(,"blue":)" +
    kColour + "}}";

// Changes one member (keys and array indexes joined by ".") of a copy of the record named by the
// row's prefix, and compares the copy with the original.
struct MemberCase {
  const char* name;
  const char* member;
  const char* value;
  bool expected;
};

class StructureComparatorTest : public testing::TestWithParam<MemberCase> {};

TEST_P(StructureComparatorTest, EveryListedMemberDecides) {
  const MemberCase& row = GetParam();
  const bool ex = std::string(row.name).starts_with("Ex");
  const auto equals =
      ex ? vesk::MDCSSG2CorrelationDataExEquals : vesk::MDIFSv3CorrelationDataEquals;
  const Value original = parsed(ex ? kEx : kV3);
  ASSERT_TRUE(equals(original, original));
  Value changed = original;
  quilby_test::valueAt(changed, row.member) = parsed(row.value);
  EXPECT_EQ(equals(original, changed), row.expected);
}

const MemberCase kMemberCases[] = {
    {"ExUnlistedMemberIgnored", "extra", "1", true},
    {"ExBrightnessCriterionInside", "calibrationData.brightness.criterion", "1.005", true},
    {"ExTemperatureCriterionOutside", "calibrationData.temperature.criterion", "2.02", false},
    {"ExCoefficientTypeExactKind", "calibrationData.coefficientType", "2.0", false},
    {"ExWhitePointSixthFigure", "calibrationData.calibration.XYZ0.X", "95.0471", false},
    {"ExCalibrationNestedArray", "calibrationData.calibration.b.0.0", "0.2501", false},
    {"ExCalibrationSeventhFigure", "calibrationData.calibration.a.0", "1.5000001", true},
    {"ExMeasurementWhite", "calibrationData.measurement.white.XYZ.Y", "100.001", false},
    {"ExGammaInside", "correctionData.gamma", "2.25", true},
    {"ExGammaOutside", "correctionData.gamma", "2.4", false},
    {"ExStepLength", "correctionData.step", "[16,32]", false},
    {"ExCorrectionReference", "correctionData.correction.reference.Z", "108.9", false},
    {"ExGrayRGB", "correctionData.measurement.RGB.B", "6.1", false},
    {"ExLevelBrightnessOutside", "luminanceLevelCorrection.brightness", "80.65", false},
    {"ExLevelDimmerOut", "luminanceLevelCorrection.dimmerOut", "4", false},
    {"V3AmbientTemperatureInside", "reference.ambientTemperature", "25.500009", true},
    {"V3DimmerOutExactKind", "reference.dimmerOut", "7.0", false},
    {"V3ToneOutside", "reference.green.tone", "0.75", false},
    {"V3ReferenceGammaNested", "referenceTone.gamma.1.0", "2.41", false},
    {"V3NormalizedBlackXYZ", "normalizedMeasurement.black.Y", "100.1", false},
    {"V3NormalizedRedRGB", "normalizedMeasurement.red.G", "5.1", false},
    {"V3ToneCorrectionBlueXYZ", "toneCorrection.blue.Z", "108.9", false},
    {"V3ToneCorrectionGreenRGB", "toneCorrection.green.B", "6.1", false},
};

INSTANTIATE_TEST_SUITE_P(Rows, StructureComparatorTest, testing::ValuesIn(kMemberCases),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
