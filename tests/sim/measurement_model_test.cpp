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

// The stored correlations and matrices, and the data sets of the built-in sensors.
class CorrectionDatabaseTest : public MeasurementModelTest {};

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

}  // namespace
