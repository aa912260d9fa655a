#include "sim_test_support.h"

#include <cmath>
#include <array>
#include <cstring>
#include <ostream>
#include <vector>

namespace {

using cairnjson::Value;
using sim_test::SimTest;

struct Pair {
  MDColor raw{};
  MDColor corrected{};
};

Pair measure(MDHandle handle) {
  Pair pair;
  EXPECT_EQ(MDMeasureXYZ2(handle, &pair.raw, &pair.corrected), EMERR_OK);
  return pair;
}

bool sameBits(const MDColor& a, const MDColor& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

class MeasurementModelTest : public SimTest {
 protected:
  // The default world without noise, so that readings can be compared exactly.
  void SetUp() override {
    SimTest::SetUp();
    ASSERT_EQ(sim_test::loadWorld(sim_test::defaultWorldWith(
                  [](Value& w) { w["noise"]["amplitude"].setDouble(0.0); })),
              "");
  }
  static void show(double red, double green, double blue) {
    ASSERT_EQ(
        QuilbySimSetShownColor(sim_test::kStudioSerial, sim_test::kStudioProduct, red, green, blue),
        0);
  }
};

TEST_F(MeasurementModelTest, SameWorldAndCallsGiveSameNoisyValues) {
  auto run = [] {
    std::vector<MDColor> readings;
    MDHandle colorimeter = nullptr;
    EXPECT_EQ(MDOpen(sim_test::kColorimeter, &colorimeter), EMERR_OK);
    for (int i = 0; i < 3; ++i) readings.push_back(measure(colorimeter).raw);
    return readings;
  };
  ASSERT_EQ(QuilbySimReset(), 0);  // the default world, with noise
  const std::vector<MDColor> first = run();
  ASSERT_EQ(QuilbySimReset(), 0);
  const std::vector<MDColor> second = run();
  for (std::size_t i = 0; i < first.size(); ++i) EXPECT_TRUE(sameBits(first[i], second[i])) << i;
  EXPECT_FALSE(sameBits(first[0], first[1])) << "noise varies from reading to reading";

  ASSERT_EQ(sim_test::loadWorld(
                sim_test::defaultWorldWith([](Value& w) { w["noise"]["seed"].setInteger(7); })),
            "");
  EXPECT_FALSE(sameBits(run()[0], first[0])) << "another seed, other noise";
}

TEST_F(MeasurementModelTest, WhiteReadsTheMonitorsLuminanceAndWhitePoint) {
  // The swing sensor's factory matrix undoes its response, so its raw reading is the panel's light.
  MDHandle swing = openBuiltIn(sim_test::kStudioHid);
  ASSERT_EQ(MDTakeOutArm(swing), EMERR_OK);
  const MDColor white = measure(swing).raw;
  EXPECT_NEAR(white.Y, 160.0, 0.5);
  EXPECT_NEAR(white.x, 0.3127, 0.001);
  EXPECT_NEAR(white.y, 0.3290, 0.001);
  EXPECT_NEAR(white.u, 4 * white.X / (white.X + 15 * white.Y + 3 * white.Z), 1e-12);
  EXPECT_NEAR(white.black, 0.0, 0.02);

  // Its uncorrelated counts are the sensor's own, further from the truth, in counts.
  double X = 0, Y = 0, Z = 0;
  ASSERT_EQ(CSSG2H_MeasureNotCorrelatedXYZCount(sim_test::kStudioHid, &X, &Y, &Z), EMERR_OK);
  EXPECT_NEAR(Y / 250.0, 160.0, 3.0);
  EXPECT_GT(std::fabs(Z / 250.0 - white.Z), 1.0);
  EXPECT_EQ(Y, std::round(Y));
}

struct ShownColourCase {
  const char* name;
  double red, green, blue;
  double Y, x, y;  // negative: not checked
};

void PrintTo(const ShownColourCase& row, std::ostream* out) { *out << row.name; }

class ShownColourTest : public MeasurementModelTest,
                        public testing::WithParamInterface<ShownColourCase> {};

TEST_P(ShownColourTest, ReadingFollowsTheShownColour) {
  const ShownColourCase& row = GetParam();
  show(row.red, row.green, row.blue);
  MDHandle swing = openBuiltIn(sim_test::kStudioHid);
  ASSERT_EQ(MDTakeOutArm(swing), EMERR_OK);
  const MDColor reading = measure(swing).raw;
  if (row.Y >= 0) {
    EXPECT_NEAR(reading.Y, row.Y, 0.01 * row.Y + 0.05);
  }
  if (row.x >= 0) {
    EXPECT_NEAR(reading.x, row.x, 0.002);
    EXPECT_NEAR(reading.y, row.y, 0.002);
  }
}

const ShownColourCase kShownColours[] = {
    {"Red", 1, 0, 0, -1, 0.680, 0.320},
    {"Green", 0, 1, 0, -1, 0.265, 0.690},
    {"Blue", 0, 0, 1, -1, 0.150, 0.060},
    {"Black", 0, 0, 0, 0.0, -1, -1},
    {"HalfGreyFollowsGamma", 0.5, 0.5, 0.5, 160.0 * 0.21764, 0.3127, 0.3290},  // 0.5^2.2
};

INSTANTIATE_TEST_SUITE_P(Rows, ShownColourTest, testing::ValuesIn(kShownColours),
                         [](const testing::TestParamInfo<ShownColourCase>& info) {
                           return info.param.name;
                         });

TEST_F(MeasurementModelTest, PrimariesAddUpToWhite) {
  MDHandle colorimeter = open(sim_test::kColorimeter);
  double sum = 0;
  for (const auto& rgb :
       {std::array{1.0, 0.0, 0.0}, std::array{0.0, 1.0, 0.0}, std::array{0.0, 0.0, 1.0}}) {
    show(rgb[0], rgb[1], rgb[2]);
    sum += measure(colorimeter).raw.Y;
  }
  show(1, 1, 1);
  EXPECT_NEAR(sum, measure(colorimeter).raw.Y, 1e-9);
}

// Each correction changes the corrected record only, and taking it away restores it.
struct CorrectionCase {
  const char* name;
  EmError (*apply)(MDHandle);
  EmError (*release)(MDHandle);
};

void PrintTo(const CorrectionCase& row, std::ostream* out) { *out << row.name; }

const CorrectionCase kCorrections[] = {
    {"CorrelationCorrection", [](MDHandle h) { return MDApplyCorrelationCorrection(h, 1); },
     MDReleaseCorrelationCorrection},
    {"CorrelationMatrix3Rows", [](MDHandle h) { return MDApplyCorrelationMatrix(h, 1); },
     MDReleaseCorrelationMatrix},
    {"CorrelationMatrix8Rows", [](MDHandle h) { return MDApplyCorrelationMatrix(h, 2); },
     MDReleaseCorrelationMatrix},
    {"UserCorrection",
     [](MDHandle h) {
       const double matrix[9] = {1.1, 0, 0, 0, 0.9, 0, 0, 0, 1};
       return MDSetCorrection(h, matrix);
     },
     MDClearCorrection},
    {"ExtraCorrection",
     [](MDHandle h) {
       const double matrix[9] = {1, 0, 0, 0, 1, 0.05, 0, 0, 1};
       return MDSetExCorrection(h, matrix);
     },
     [](MDHandle h) {
       const double identity[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
       return MDSetExCorrection(h, identity);
     }},
};

class CorrectionTest : public MeasurementModelTest,
                       public testing::WithParamInterface<CorrectionCase> {};

TEST_P(CorrectionTest, ChangesCorrectedUntilTakenAway) {
  MDHandle swing = openBuiltIn(sim_test::kStudioHid);
  ASSERT_EQ(MDTakeOutArm(swing), EMERR_OK);
  ASSERT_EQ(MDClear9PointsCorrelationCorrection(swing), EMERR_OK);
  const Pair before = measure(swing);
  EXPECT_TRUE(sameBits(before.raw, before.corrected));

  ASSERT_EQ(GetParam().apply(swing), EMERR_OK);
  const Pair applied = measure(swing);
  EXPECT_TRUE(sameBits(applied.raw, before.raw));
  EXPECT_GT(std::fabs(applied.corrected.X - applied.raw.X) +
                std::fabs(applied.corrected.Y - applied.raw.Y) +
                std::fabs(applied.corrected.Z - applied.raw.Z),
            0.5);

  ASSERT_EQ(GetParam().release(swing), EMERR_OK);
  EXPECT_TRUE(sameBits(measure(swing).corrected, before.corrected));
}

INSTANTIATE_TEST_SUITE_P(Rows, CorrectionTest, testing::ValuesIn(kCorrections),
                         [](const testing::TestParamInfo<CorrectionCase>& info) {
                           return info.param.name;
                         });

TEST_F(MeasurementModelTest, CorrelationCorrectionIsItsMatrixAndOffset) {
  MDHandle colorimeter = open(sim_test::kColorimeter);
  ASSERT_EQ(MDApplyCorrelationCorrection(colorimeter, 2), EMERR_OK);
  const Pair pair = measure(colorimeter);
  // Correlation 2: a = [[0.994, -0.002, 0.001], [0, 0.989, 0], ...], b = [0.02, 0.02, 0.03].
  EXPECT_NEAR(pair.corrected.Y, 0.989 * pair.raw.Y + 0.02, 1e-9);
  EXPECT_NEAR(pair.corrected.X, 0.994 * pair.raw.X - 0.002 * pair.raw.Y + 0.001 * pair.raw.Z + 0.02,
              1e-9);
}

TEST_F(MeasurementModelTest, DataIndexSelectsTheBuiltInMatrix) {
  MDHandle swing = openBuiltIn(sim_test::kStudioHid);
  ASSERT_EQ(MDTakeOutArm(swing), EMERR_OK);
  const double factory = measure(swing).raw.Y;
  const double doubled[9] = {2, 0, 0, 0, 2, 0, 0, 0, 2};
  ASSERT_EQ(CSSG2H_SetXYZCorrectionMatrix(sim_test::kStudioHid, doubled), EMERR_OK);  // index 3
  // The matrix acts on the sensor's own reading: Y = 0.01 X + 0.98 Y of the white (X = 152.07).
  EXPECT_NEAR(measure(swing).raw.Y, 2 * (0.01 * 152.07 + 0.98 * 160.0), 0.01);
  ASSERT_EQ(CSSG2H_SetColorSensorDataIndex(sim_test::kStudioHid, 0, 0), 0);
  EXPECT_EQ(measure(swing).raw.Y, factory);
}

TEST_F(MeasurementModelTest, AmbientModeReadsTheRoomAndTurnsTheHead) {
  MDHandle colorimeter = open(sim_test::kColorimeter);
  ASSERT_EQ(MDSetMode(colorimeter, 1, 0), EMERR_OK);
  uint32_t position = 99;
  ASSERT_EQ(MDGetSensorPosition(colorimeter, &position), EMERR_OK);
  EXPECT_EQ(position, 1u);
  const MDColor room = measure(colorimeter).raw;
  EXPECT_NEAR(room.Y, 320.0, 3.0);
  EXPECT_NEAR(room.x, 0.3805, 0.003);
}

TEST_F(MeasurementModelTest, TenDegreeObserverChangesTheReading) {
  MDHandle colorimeter = open(sim_test::kColorimeter);
  const MDColor twoDegree = measure(colorimeter).raw;
  ASSERT_EQ(MDSetMode(colorimeter, 0, 1), EMERR_OK);
  const MDColor tenDegree = measure(colorimeter).raw;
  EXPECT_GT(std::fabs(tenDegree.Z - twoDegree.Z), 1.0);
}

TEST_F(MeasurementModelTest, BuiltInChannelsAreConsistent) {
  MDHandle swing = openBuiltIn(sim_test::kStudioHid);
  ASSERT_EQ(MDTakeOutArm(swing), EMERR_OK);
  show(0, 1, 0);
  double R = 0, G = 0, B = 0, ir = 0;
  uint64_t extra = 0;
  ASSERT_EQ(CSSG2H_MeasureRGB(sim_test::kStudioHid, &R, &G, &B), EMERR_OK);
  EXPECT_GT(G, 20 * (std::fabs(R) + std::fabs(B))) << "green shows on the green channel";
  ASSERT_EQ(CSSG2H_GetIRValue(sim_test::kStudioHid, &ir, &extra), EMERR_OK);
  EXPECT_GT(ir, 0.0);
  EXPECT_EQ(extra, 2u) << "the measurement count";
  double raw[3] = {};
  ASSERT_EQ(MDMeasureRaw(swing, raw), EMERR_OK);
  EXPECT_GT(raw[1], 1000.0);
}

// Preconditions of measuring, in the order a real instrument checks them.
TEST_F(MeasurementModelTest, SensorNeedingCalibrationMeasuresOnlyAfterIt) {
  MDHandle spectrometer = open(sim_test::kSpectrometer);
  MDColor raw{}, corrected{};
  EXPECT_EQ(MDIsCalibrationNecessary(spectrometer), 1);
  EXPECT_EQ(MDMeasureXYZ2(spectrometer, &raw, &corrected), EMERR_INVALID_PRECONDITION);
  EXPECT_EQ(raw.Y, 0.0) << "nothing written on failure";
  ASSERT_EQ(MDCalibrate(spectrometer), EMERR_OK);
  EXPECT_EQ(MDIsCalibrationNecessary(spectrometer), 0);
  EXPECT_EQ(MDMeasureXYZ2(spectrometer, &raw, &corrected), EMERR_OK);
  EXPECT_EQ(MDSetMode(spectrometer, 2, 0), EMERR_OK);
  EXPECT_NEAR(measure(spectrometer).raw.Y, 43.1, 1e-9) << "reflectance reads the sample";
}

TEST_F(MeasurementModelTest, ArmMustBeOutToMeasureAndInToCalibrate) {
  MDHandle swing = openBuiltIn(sim_test::kStudioHid);
  MDColor raw{}, corrected{};
  double X, Y, Z;
  EXPECT_EQ(MDMeasureXYZ2(swing, &raw, &corrected), EMERR_SENSOR_POSITION_ERROR);
  EXPECT_EQ(CSSG2H_MeasureNotCorrelatedXYZCount(sim_test::kStudioHid, &X, &Y, &Z),
            EMERR_SENSOR_POSITION_ERROR);
  ASSERT_EQ(MDTakeOutArm(swing), EMERR_OK);
  EXPECT_EQ(MDCalibrate(swing), EMERR_ZERO_CALIBRATION_ERROR);
  EXPECT_EQ(MDMeasureXYZ2(swing, &raw, &corrected), EMERR_OK);
  ASSERT_EQ(MDTakeInArm(swing), EMERR_OK);
  EXPECT_EQ(MDCalibrate(swing), EMERR_OK);
}

TEST_F(MeasurementModelTest, UnsupportedModesAndBadCodesAreRefused) {
  MDHandle colorimeter = open(sim_test::kColorimeter);
  EXPECT_EQ(MDSetMode(colorimeter, 2, 0), EMERR_UNSUPPORTED);
  EXPECT_EQ(MDSetMode(colorimeter, 3, 0), EMERR_OUT_OF_RANGE);
  EXPECT_EQ(MDSetMode(colorimeter, 0, 2), EMERR_OUT_OF_RANGE);
  EXPECT_EQ(MDTakeOutArm(colorimeter), EMERR_UNSUPPORTED);
  EXPECT_EQ(sim_test::world()["sensors"][2ul]["state"]["mode"].toInt(-1), 0)
      << "a refused call changes nothing";
}

TEST_F(MeasurementModelTest, SensorWhosePositionDoesNotFitItsModeCannotMeasure) {
  ASSERT_EQ(sim_test::loadWorld(sim_test::defaultWorldWith(
                [](Value& w) { w["sensors"][2ul]["state"]["position"].setInteger(1); })),
            "");
  MDHandle colorimeter = open(sim_test::kColorimeter);
  MDColor raw{}, corrected{};
  EXPECT_EQ(MDMeasureXYZ2(colorimeter, &raw, &corrected), EMERR_SENSOR_POSITION_ERROR);
  ASSERT_EQ(MDSetMode(colorimeter, 0, 0), EMERR_OK);
  EXPECT_EQ(MDMeasureXYZ2(colorimeter, &raw, &corrected), EMERR_OK);
}

TEST_F(MeasurementModelTest, RecalculationSetsTheLuminanceLevelOfTheMonitor) {
  MDHandle swing = openBuiltIn(sim_test::kStudioHid);
  MDColor target{};
  target.x = 0.3127;
  target.y = 0.329;
  target.Y = 80.0;
  ASSERT_EQ(MDApplyCorrelationCorrectionWithRecalcLuminanceLevelCorrection(swing, 1, target),
            EMERR_OK);
  MDCSSG2LuminanceLevelCorrectionParams level{};
  ASSERT_EQ(CSSG2H_GetLuminanceLevelCorrectionParams(sim_test::kStudioHid, &level), EMERR_OK);
  EXPECT_EQ(level.brightness, 80.0);
  EXPECT_EQ(level.dimmerOut, 512);
  target.y = 0.0;
  EXPECT_EQ(MDApplyCorrelationCorrectionWithRecalcLuminanceLevelCorrection(swing, 1, target),
            EMERR_OUT_OF_DOMAIN);
  MDHandle office = openBuiltIn(sim_test::kOfficeHid);
  target.y = 0.329;
  EXPECT_EQ(MDApplyCorrelationCorrectionWithRecalcLuminanceLevelCorrection(office, 3, target),
            EMERR_UNSUPPORTED);
}

}  // namespace
