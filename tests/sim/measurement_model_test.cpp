#include "sim_test_support.h"

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

namespace {

using namespace sim_test;

struct Pair {
  MDColor raw{}, corrected{};
};

Pair measure(MDHandle handle) {
  Pair pair;
  EXPECT_EQ(MDMeasureXYZ2(handle, &pair.raw, &pair.corrected), EMERR_OK);
  return pair;
}

// A colour's bytes, so that readings compare bit for bit.
std::string bits(const MDColor& color) {
  return std::string(reinterpret_cast<const char*>(&color), sizeof color);
}

// The default world without noise, so that readings can be compared exactly, and with a clock.
class MeasurementModelTest : public SimTest {
 protected:
  void SetUp() override {
    SimTest::SetUp();
    const char* clock = R"({"year": 2024, "month": 7, "day": 1, "hour": 12, "minute": 30})";
    ASSERT_EQ(loadWorld(worldWith({{"noise.amplitude", "0.0"}, {"clock", clock}})), "");
  }
  // The studio monitor's arm sensor with its arm out.
  static MDHandle armSensorOut() {
    MDHandle armSensor = openBuiltIn(kStudioHid);
    EXPECT_EQ(MDTakeOutArm(armSensor), EMERR_OK);
    return armSensor;
  }
};

TEST_F(MeasurementModelTest, SameSeedGivesSameNoisyReadingsAndAnotherSeedOthers) {
  auto run = [] {
    MDHandle colorimeter = open(kColorimeter);
    return std::vector{bits(measure(colorimeter).raw), bits(measure(colorimeter).raw)};
  };
  ASSERT_EQ(QuilbySimReset(), 0);  // the default world, with noise
  const std::vector<std::string> first = run();
  ASSERT_EQ(QuilbySimReset(), 0);
  EXPECT_EQ(run(), first);
  EXPECT_NE(first[0], first[1]) << "noise varies from reading to reading";
  ASSERT_EQ(loadWorld(worldWith({{"noise.seed", "7"}})), "");
  EXPECT_NE(run()[0], first[0]) << "another seed, other noise";
}

// Primaries and grey against the panel's description (a negative value is not checked).
struct Shown {
  const char* name;
  double red, green, blue, Y, x, y;
};

// The arm sensor's factory matrix undoes its response, so its raw reading is the panel's light.
TEST_F(MeasurementModelTest, ReadingFollowsTheShownColourAndPrimariesAddUpToWhite) {
  const Shown kShown[] = {
      {"Red", 1, 0, 0, -1, 0.680, 0.320},
      {"Green", 0, 1, 0, -1, 0.265, 0.690},
      {"Blue", 0, 0, 1, -1, 0.150, 0.060},
      {"Black", 0, 0, 0, 0.0, -1, -1},
      {"HalfGreyFollowsGamma", 0.5, 0.5, 0.5, 160.0 * 0.21764, 0.3127, 0.3290},  // 0.5^2.2
  };
  MDHandle armSensor = armSensorOut(), colorimeter = open(kColorimeter);
  double primaries = 0;
  for (const Shown& row : kShown) {
    SCOPED_TRACE(row.name);
    show(row.red, row.green, row.blue);
    const MDColor reading = measure(armSensor).raw;
    if (row.Y >= 0) {
      EXPECT_NEAR(reading.Y, row.Y, 0.003 * row.Y + 0.05);
    }
    if (row.x >= 0) {
      EXPECT_NEAR(reading.x, row.x, 0.001);
      EXPECT_NEAR(reading.y, row.y, 0.001);
    }
    if (row.red + row.green + row.blue == 1) primaries += measure(colorimeter).raw.Y;
  }
  show(1, 1, 1);
  EXPECT_NEAR(primaries, measure(colorimeter).raw.Y, 1e-9);
  const MDColor white = measure(armSensor).raw;
  EXPECT_NEAR(white.Y, 160.0, 0.5);
  EXPECT_NEAR(white.x, 0.3127, 0.001);
  EXPECT_NEAR(white.y, 0.3290, 0.001);
  EXPECT_NEAR(white.u, 4 * white.X / (white.X + 15 * white.Y + 3 * white.Z), 1e-12);
  EXPECT_NEAR(white.black, 0.0, 0.02);
}

constexpr double kUserMatrix[9] = {1.1, 0, 0, 0, 0.9, 0, 0, 0, 1};
constexpr double kExtraMatrix[9] = {1, 0, 0, 0, 1, 0.05, 0, 0, 1};
constexpr double kIdentity[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};

struct Correction {
  const char* name;
  EmError (*apply)(MDHandle);
  EmError (*release)(MDHandle);
};

TEST_F(MeasurementModelTest, EachCorrectionChangesCorrectedOnlyUntilTakenAway) {
  const Correction kCorrections[] = {
      {"CorrelationCorrection", [](MDHandle h) { return MDApplyCorrelationCorrection(h, 1); },
       MDReleaseCorrelationCorrection},
      {"CorrelationMatrix3Rows", [](MDHandle h) { return MDApplyCorrelationMatrix(h, 1); },
       MDReleaseCorrelationMatrix},
      {"CorrelationMatrix8Rows", [](MDHandle h) { return MDApplyCorrelationMatrix(h, 2); },
       MDReleaseCorrelationMatrix},
      {"UserCorrection", [](MDHandle h) { return MDSetCorrection(h, kUserMatrix); },
       MDClearCorrection},
      {"ExtraCorrection", [](MDHandle h) { return MDSetExCorrection(h, kExtraMatrix); },
       [](MDHandle h) { return MDSetExCorrection(h, kIdentity); }},
  };
  MDHandle armSensor = armSensorOut();
  ASSERT_EQ(MDClear9PointsCorrelationCorrection(armSensor), EMERR_OK);
  const Pair before = measure(armSensor);
  EXPECT_EQ(bits(before.raw), bits(before.corrected));
  for (const Correction& row : kCorrections) {
    SCOPED_TRACE(row.name);
    ASSERT_EQ(row.apply(armSensor), EMERR_OK);
    const Pair applied = measure(armSensor);
    EXPECT_EQ(bits(applied.raw), bits(before.raw));
    EXPECT_GT(std::fabs(applied.corrected.X - applied.raw.X) +
                  std::fabs(applied.corrected.Y - applied.raw.Y) +
                  std::fabs(applied.corrected.Z - applied.raw.Z),
              0.5);
    ASSERT_EQ(row.release(armSensor), EMERR_OK);
    EXPECT_EQ(bits(measure(armSensor).corrected), bits(before.corrected));
  }
}

// The matrix of the selected data set acts on the sensor's own reading; 3 rows clear the other 5.
TEST_F(MeasurementModelTest, MatrixOfTheSelectedDataSetActsOnTheReading) {
  MDHandle armSensor = armSensorOut();
  const double factory = measure(armSensor).raw.Y;
  double doubled[24] = {2, 0, 0, 0, 2, 0, 0, 0, 2};
  ASSERT_EQ(CSSG2H_SetXYZCorrectionMatrix(kStudioHid, doubled), EMERR_OK);  // index 3
  // Y = 0.01 X + 0.98 Y of the white (X = 152.07), doubled.
  EXPECT_NEAR(measure(armSensor).raw.Y, 2 * (0.01 * 152.07 + 0.98 * 160.0), 0.01);
  ASSERT_EQ(CSSG2H_GetXYZCorrectionMatrix8DXT(kStudioHid, doubled), EMERR_OK);
  for (int i = 9; i < 24; ++i) EXPECT_EQ(doubled[i], 0.0) << i;
  ASSERT_EQ(CSSG2H_SetColorSensorDataIndex(kStudioHid, 0, 0), 0);
  EXPECT_EQ(measure(armSensor).raw.Y, factory);
  ASSERT_EQ(CSSG2H_GetXYZCorrectionMatrix8DXT(kStudioHid, doubled), EMERR_OK);
  EXPECT_NE(doubled[9], 0.0) << "the factory set has 8 rows";
  EXPECT_EQ(CSSG2H_SupportedXYZCorrectionMatrix8DXT(kOfficeHid), 0);
  EXPECT_EQ(CSSG2H_GetXYZCorrectionMatrix8DXT(kOfficeHid, doubled), EMERR_UNSUPPORTED);
}

TEST_F(MeasurementModelTest, ObserverAndAmbientModeChangeTheReading) {
  MDHandle colorimeter = open(kColorimeter);
  const MDColor twoDegree = measure(colorimeter).raw;
  ASSERT_EQ(MDSetMode(colorimeter, 0, 1), EMERR_OK);
  EXPECT_GT(std::fabs(measure(colorimeter).raw.Z - twoDegree.Z), 1.0) << "ten-degree observer";
  ASSERT_EQ(MDSetMode(colorimeter, 1, 0), EMERR_OK);
  uint32_t position = 99;
  ASSERT_EQ(MDGetSensorPosition(colorimeter, &position), EMERR_OK);
  EXPECT_EQ(position, 1u) << "ambient mode turns the head";
  const MDColor room = measure(colorimeter).raw;
  EXPECT_NEAR(room.Y, 320.0, 3.0);
  EXPECT_NEAR(room.x, 0.3805, 0.003);
}

TEST_F(MeasurementModelTest, BuiltInChannelsAreConsistent) {
  MDHandle armSensor = armSensorOut();
  show(0, 1, 0);
  double R = 0, G = 0, B = 0, ir = 0, raw[3] = {};
  uint64_t extra = 0;
  ASSERT_EQ(CSSG2H_MeasureRGB(kStudioHid, &R, &G, &B), EMERR_OK);
  EXPECT_GT(G, 20 * (std::fabs(R) + std::fabs(B))) << "green shows on the green channel";
  ASSERT_EQ(CSSG2H_GetIRValue(kStudioHid, &ir, &extra), EMERR_OK);
  EXPECT_GT(ir, 0.0);
  EXPECT_EQ(extra, 2u) << "the measurement count";
  ASSERT_EQ(MDMeasureRaw(armSensor, raw), EMERR_OK);
  EXPECT_GT(raw[1], 1000.0);
}

// Preconditions of measuring, in the order a real instrument checks them.
TEST_F(MeasurementModelTest, SensorNeedingCalibrationMeasuresOnlyAfterIt) {
  MDHandle spectrometer = open(kSpectrophotometer);
  MDColor raw{}, corrected{};
  EXPECT_EQ(MDIsCalibrationNecessary(spectrometer), 1);
  EXPECT_EQ(MDMeasureXYZ2(spectrometer, &raw, &corrected), EMERR_INVALID_PRECONDITION);
  EXPECT_EQ(raw.Y, 0.0) << "nothing written on failure";
  ASSERT_EQ(MDCalibrate(spectrometer), EMERR_OK);
  EXPECT_EQ(MDIsCalibrationNecessary(spectrometer), 0);
  EXPECT_EQ(measureStatus(spectrometer), EMERR_OK);
  EXPECT_EQ(MDSetMode(spectrometer, 2, 0), EMERR_OK);
  EXPECT_NEAR(measure(spectrometer).raw.Y, 43.1, 1e-9) << "reflectance reads the sample";
}

TEST_F(MeasurementModelTest, ArmMustBeOutToMeasureAndInToCalibrateAndCountsAreTheSensors) {
  MDHandle armSensor = openBuiltIn(kStudioHid);
  double X, Y, Z;
  EXPECT_EQ(measureStatus(armSensor), EMERR_SENSOR_POSITION_ERROR);
  EXPECT_EQ(CSSG2H_MeasureNotCorrelatedXYZCount(kStudioHid, &X, &Y, &Z),
            EMERR_SENSOR_POSITION_ERROR);
  ASSERT_EQ(MDTakeOutArm(armSensor), EMERR_OK);
  EXPECT_EQ(MDCalibrate(armSensor), EMERR_ZERO_CALIBRATION_ERROR);
  const MDColor white = measure(armSensor).raw;
  // The uncorrelated counts are the sensor's own, further from the panel's light.
  ASSERT_EQ(CSSG2H_MeasureNotCorrelatedXYZCount(kStudioHid, &X, &Y, &Z), EMERR_OK);
  EXPECT_NEAR(Y / 250.0, 160.0, 3.0);
  EXPECT_GT(std::fabs(Z / 250.0 - white.Z), 1.0);
  EXPECT_EQ(Y, std::round(Y));
  ASSERT_EQ(MDTakeInArm(armSensor), EMERR_OK);
  EXPECT_EQ(MDCalibrate(armSensor), EMERR_OK);
}

// A world may leave a sensor's head where its mode does not measure.
TEST_F(MeasurementModelTest, ModesThatDoNotFitAreRefused) {
  ASSERT_EQ(loadWorld(worldWith({{"sensors[2].state.position", "1"}})), "");
  MDHandle colorimeter = open(kColorimeter);
  EXPECT_EQ(measureStatus(colorimeter), EMERR_SENSOR_POSITION_ERROR);
  const std::string state = compact(world()["sensors"][2ul]["state"]);
  EXPECT_EQ(MDSetMode(colorimeter, 2, 0), EMERR_UNSUPPORTED);
  EXPECT_EQ(MDSetMode(colorimeter, 3, 0), EMERR_OUT_OF_RANGE);
  EXPECT_EQ(MDSetMode(colorimeter, 0, 2), EMERR_OUT_OF_RANGE);
  EXPECT_EQ(MDTakeOutArm(colorimeter), EMERR_UNSUPPORTED);
  EXPECT_EQ(compact(world()["sensors"][2ul]["state"]), state) << "refusals change nothing";
  ASSERT_EQ(MDSetMode(colorimeter, 0, 0), EMERR_OK);
  EXPECT_EQ(measureStatus(colorimeter), EMERR_OK);
}

TEST_F(MeasurementModelTest, RecalculationSetsTheLuminanceLevelOfTheMonitor) {
  MDHandle armSensor = openBuiltIn(kStudioHid);
  MDColor target{};
  target.x = 0.3127;
  target.y = 0.329;
  target.Y = 80.0;
  ASSERT_EQ(MDApplyCorrelationCorrectionWithRecalcLuminanceLevelCorrection(armSensor, 1, target),
            EMERR_OK);
  MDCSSG2LuminanceLevelCorrectionParams level{};
  ASSERT_EQ(CSSG2H_GetLuminanceLevelCorrectionParams(kStudioHid, &level), EMERR_OK);
  EXPECT_EQ(level.brightness, 80.0);
  EXPECT_EQ(level.dimmerOut, 512);
  target.y = 0.0;
  EXPECT_EQ(MDApplyCorrelationCorrectionWithRecalcLuminanceLevelCorrection(armSensor, 1, target),
            EMERR_OUT_OF_DOMAIN);
  target.y = 0.329;
  EXPECT_EQ(MDApplyCorrelationCorrectionWithRecalcLuminanceLevelCorrection(openBuiltIn(kOfficeHid),
                                                                           3, target),
            EMERR_UNSUPPORTED);
}

// The stored correlations and matrices, and the data sets of the built-in sensors.
class CorrectionDatabaseTest : public MeasurementModelTest {};

TEST_F(CorrectionDatabaseTest, AddedCorrelationIsListedReadBackAndApplicable) {
  MDCSSG2CorrelationDataEx data{};
  data.calibrationData.calibration.a[0][0] = 2.0;
  data.calibrationData.calibration.a[0][1] = 0.5;
  data.calibrationData.calibration.a[1][1] = 1.0;
  data.calibrationData.calibration.a[2][2] = 1.0;
  data.calibrationData.calibration.b[1] = 0.25;
  data.correctionData.step[7] = 0.25;
  int64_t id = 0;
  ASSERT_EQ(MDAddCSSG2CorrelationDataEx(kOfficeSerial, kOfficeProduct, 48, "QS20-240117", &data, &id),
            EMERR_OK);
  EXPECT_EQ(id, 4);
  MDCSSG2CorrelationDataEx read{};
  ASSERT_EQ(MDGetCSSG2CorrelationDataEx(id, &read), EMERR_OK);
  EXPECT_EQ(std::memcmp(&read, &data, sizeof read), 0);
  MDDate date{};
  ASSERT_EQ(MDGetCorrelationDataDate(id, &date), EMERR_OK);
  EXPECT_EQ(date.year, 2024);
  EXPECT_EQ(date.minute, 30);

  // The office monitor's built-in sensor lists it after the stored one and applies a and b.
  MDHandle office = openBuiltIn(kOfficeHid);
  MDDeviceID reference = 0;
  int64_t listed = 0;
  char serial[MD_REFERENCE_SERIAL_SIZE], product[MD_CORRELATION_PRODUCT_SIZE],
      monitor[MD_CORRELATION_SERIAL_SIZE];
  ASSERT_EQ(MDEnumCorrelationCorrection(office, 1, &reference, serial, product, monitor, &listed),
            EMERR_OK);
  EXPECT_EQ(listed, id);
  EXPECT_STREQ(monitor, kOfficeSerial);
  ASSERT_EQ(MDApplyCorrelationCorrection(office, static_cast<uint64_t>(id)), EMERR_OK);
  const Pair pair = measure(office);
  EXPECT_NEAR(pair.corrected.X, 2.0 * pair.raw.X + 0.5 * pair.raw.Y, 1e-9);
  EXPECT_NEAR(pair.corrected.Y, pair.raw.Y + 0.25, 1e-9);
  EXPECT_EQ(world()["correlations"][3ul]["data"]["correctionData"]["step"][7ul].toDouble(0), 0.25);
}

TEST_F(CorrectionDatabaseTest, RefusesWhatItCannotStoreAndDatesWhatItStores) {
  MDCSSG2CorrelationDataEx data{};
  MDIFSv3CorrelationData ifs{};
  int64_t id = -1, added = 0;
  const MDDate badDate{2024, 13, 1, 0, 0};
  EXPECT_EQ(MDAddCSSG2CorrelationDataWithDateEx("M", "P", 1, "R", &data, &badDate, &id),
            EMERR_INVALID_DATA);
  EXPECT_EQ(MDAddCSSG2CorrelationDataEx(std::string(17, 'S').c_str(), "P", 1, "R", &data, &id),
            EMERR_INVALID_DATA_SIZE);
  EXPECT_EQ(MDAddCSSG2CorrelationDataEx("M", nullptr, 1, "R", &data, &id), EMERR_INVALID_ARGUMENT);
  EXPECT_EQ(MDGetCSSG2CorrelationDataEx(3, &data), EMERR_INVALID_DATA) << "correlation 3 is IFSv3";
  EXPECT_EQ(MDGetIFSv3CorrelationData(3, &ifs), EMERR_OK);
  EXPECT_EQ(ifs.reference.dimmerOut, 612);
  EXPECT_EQ(MDGetIFSv3CorrelationData(99, &ifs), EMERR_NOT_REGISTERED);
  double rows[24] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  EXPECT_EQ(MDAddCorrelationMatrix("P", 1, 1, "R", rows, 5, &id), EMERR_INVALID_ARGUMENT);
  EXPECT_EQ(id, -1);
  EXPECT_EQ(world()["correlations"].size(), 3u);

  // The latest matrix is the newest one.
  ASSERT_EQ(MDGetLatestCorrelationMatrixID(kStudioProduct, 3, &id), EMERR_OK);
  EXPECT_EQ(id, 2);
  ASSERT_EQ(MDAddCorrelationMatrix(kStudioProduct, 3, 33, "QS10-0042117", rows, 8, &added), EMERR_OK);
  ASSERT_EQ(MDGetLatestCorrelationMatrixID(kStudioProduct, 3, &id), EMERR_OK);
  EXPECT_EQ(id, added);
  EXPECT_EQ(MDGetLatestCorrelationMatrixID(kStudioProduct, 4, &id), EMERR_NO_MORE_DATA);
  MDDate date{};
  ASSERT_EQ(MDGetCorrelationMatrixDate(added, &date), EMERR_OK);
  EXPECT_EQ(date.month, 7);
}

// The data index: set directly where the monitor accepts it, else through the flags.
TEST_F(CorrectionDatabaseTest, DataIndexSelectsTheDataSetThatCallsSee) {
  MDCSSG2CriterionSensorDescription description{};
  int32_t deviceID = -1;
  ASSERT_EQ(CSSG2H_SetColorSensorDataIndex(kOfficeHid, 0, 0), -1) << "selects by flags only";
  ASSERT_EQ(CSSG2H_SetColorSensorDataIndex2(kOfficeHid, 1, 0), EMERR_OK);
  EXPECT_EQ(world()["monitors"][2ul]["dataIndex"].toInt(-1), 3);
  description.deviceID = 82;
  ASSERT_EQ(CSSG2H_SetCriterionSensorDescription(kOfficeHid, &description), EMERR_OK);
  ASSERT_EQ(CSSG2H_SetColorSensorDataIndex2(kOfficeHid, 0, 1), EMERR_OK);
  EXPECT_EQ(world()["monitors"][2ul]["dataIndex"].toInt(-1), 1);
  ASSERT_EQ(CSSG2H_GetCriterionSensorDescription(kOfficeHid, &description, &deviceID), EMERR_OK);
  EXPECT_EQ(deviceID, 0) << "the factory set has no description";
  EXPECT_EQ(CSSG2H_SetColorSensorDataIndex2(kOfficeHid, 2, 0), EMERR_INVALID_ARGUMENT);

  EXPECT_EQ(CSSG2H_SetColorSensorDataIndex(kStudioHid, 2, 0), -1) << "no data set 2";
  EXPECT_EQ(CSSG2H_SetColorSensorDataIndex(kStudioHid, 1, 0), 0);
  EmCtrlDUEPriority priority = 0;
  EXPECT_EQ(EmCtrlGetDUEPriority(kStudioSerial, kStudioProduct, &priority), EMERR_OK);
  EXPECT_EQ(priority, 2u);
  EXPECT_EQ(EmCtrlSupportedDUEPriority(kOfficeSerial, kOfficeProduct), 0);
  EXPECT_EQ(EmCtrlGetDUEPriority(kOfficeSerial, kOfficeProduct, &priority), EMERR_UNSUPPORTED);
}

}  // namespace
