// Measurements through the measurement library (XYZ, raw) and the colour-sensor library of
// built-in sensors (RGB, IR, uncorrelated XYZ): values, number kinds and failures.
#include "sensors/sensor_test_support.h"

#include "quilby_sim/control.h"

#include <cmath>
#include <string>

namespace {

using quilby_test::compact;
using quilby_test::kOfficeProduct;
using quilby_test::kOfficeSerial;
using quilby_test::kStudioProduct;
using quilby_test::kStudioSerial;
using quilby_test::Reply;
using quilby_test::SensorTest;

class MeasurementsTest : public SensorTest {
 protected:
  cairnjson::Value measure(const std::string& resource, const std::string& sensor) {
    const Reply reply = call(resource, "GET", sensor);
    EXPECT_EQ(reply.status, 200) << resource << ": " << reply.envelope;
    return reply.value;
  }
};

TEST_F(MeasurementsTest, XYZFollowsTheShownColour) {
  const std::string sensor = colorimeter();
  ASSERT_EQ(QuilbySimSetShownColor(kStudioSerial, kStudioProduct, 1.0, 1.0, 1.0), 0);
  const cairnjson::Value white = measure("SensorXYZ", sensor);
  EXPECT_NEAR(white["XYZ"]["Y"].toDouble(0.0), 160.0, 1.6);
  // Nothing is applied to the colorimeter: raw and corrected are one reading.
  EXPECT_EQ(white["rawXYZ"], white["XYZ"]);
  EXPECT_EQ(white["XYZ"].members().size(), 3u);

  ASSERT_EQ(QuilbySimSetShownColor(kStudioSerial, kStudioProduct, 1.0, 0.0, 0.0), 0);
  const cairnjson::Value red = measure("SensorXYZ", sensor)["XYZ"];
  const double sum = red["X"].toDouble(0.0) + red["Y"].toDouble(0.0) + red["Z"].toDouble(0.0);
  EXPECT_NEAR(red["X"].toDouble(0.0) / sum, 0.68, 0.01);

  // Black reads exact zeros, which only floating numbers write as "0.0".
  ASSERT_EQ(QuilbySimSetShownColor(kStudioSerial, kStudioProduct, 0.0, 0.0, 0.0), 0);
  EXPECT_EQ(call("SensorXYZ", "GET", sensor).envelope,
            ok(R"({"XYZ":{"X":0.0,"Y":0.0,"Z":0.0},"rawXYZ":{"X":0.0,"Y":0.0,"Z":0.0}})"));
  EXPECT_EQ(call("SensorRawData", "GET", sensor).envelope, ok(R"({"rawData":[0.0,0.0,0.0]})"));
}

TEST_F(MeasurementsTest, XYZReportsRawAndCorrectedRecordsApart) {
  // The swing sensor's nine-point correction makes the corrected record differ from the raw one.
  const std::string sensor = swingSensor();
  ASSERT_EQ(call("SensorArm", "PUT", sensor, "", "true").status, 200);
  clearJournal();
  const cairnjson::Value reading = measure("SensorXYZ", sensor);
  const double raw = reading["rawXYZ"]["Y"].toDouble(0.0);
  EXPECT_NEAR(reading["XYZ"]["Y"].toDouble(0.0), raw * 0.997, 1e-9 * raw);
  // Neither this nor the raw reading is taken inside the monitor's critical section.
  EXPECT_EQ(deviceCalls(), std::vector<std::string>{"MDMeasureXYZ2"});
}

TEST_F(MeasurementsTest, RawDataHasThreeFloatingChannels) {
  const cairnjson::Value reading = measure("SensorRawData", colorimeter());
  ASSERT_EQ(reading.members().size(), 1u);
  const cairnjson::Value& channels = reading["rawData"];
  ASSERT_EQ(channels.size(), 3u);
  for (const cairnjson::Value& channel : channels.elements()) {
    EXPECT_TRUE(channel.isDouble()) << compact(reading);
    EXPECT_GT(channel.toDouble(0.0), 0.0);
  }
}

TEST_F(MeasurementsTest, MeasurementLibraryFailuresCarryTheirStepText) {
  const std::string sensor = colorimeter();
  QuilbySimFailNext("MDMeasureXYZ2", 1, EMERR_MEASURE_ERROR);
  EXPECT_EQ(call("SensorXYZ", "GET", sensor).envelope,
            emError(0x80010003, "Measure error.", "Measure XYZ."));
  QuilbySimFailNext("MDMeasureRaw", 1, EMERR_TIMED_OUT);
  EXPECT_EQ(call("SensorRawData", "GET", sensor).envelope,
            emError(0x80000013, "Timed out.", "Measure raw data."));
  // Refusals of the simulated library itself: no calibration yet, the arm still in.
  EXPECT_EQ(call("SensorXYZ", "GET", spectrophotometer()).envelope,
            emError(0x80000015, "Invalid precondition.", "Measure XYZ."));
  EXPECT_EQ(call("SensorRawData", "GET", swingSensor()).envelope,
            emError(0x80010004, "Sensor position error.", "Measure raw data."));
  // A warning is a success.
  QuilbySimFailNext("MDMeasureXYZ2", 1, EMERR_OK_NOT_CORRECTED);
  EXPECT_EQ(call("SensorXYZ", "GET", sensor).envelope,
            ok(R"({"XYZ":{"X":0.0,"Y":0.0,"Z":0.0},"rawXYZ":{"X":0.0,"Y":0.0,"Z":0.0}})"));
}

TEST_F(MeasurementsTest, WithoutMeasureRawOnlyRawDataFails) {
  useVariantLibraries();
  const std::string sensor = colorimeter();
  EXPECT_EQ(call("SensorRawData", "GET", sensor).envelope,
            R"({"error":{"message":"libmeasurementdevice does not have a requested function.",)"
            R"("name":"FunctionNotFoundError"},"value":null})");
  EXPECT_EQ(call("SensorRawData", "GET", sensor).status, 404);
  EXPECT_EQ(call("SensorXYZ", "GET", sensor).status, 200);
}

TEST_F(MeasurementsTest, BuiltInSensorReadingsFollowTheShownColour) {
  const std::string sensor = frontSensor();
  const cairnjson::Value white = measure("SensorRGB", sensor)["RGB"];
  // The sensor's own reading, before its factory matrix: near the panel's 120 cd/m2 white.
  const double sum = white["R"].toDouble(0.0) + white["G"].toDouble(0.0) + white["B"].toDouble(0.0);
  EXPECT_NEAR(sum, 120.0, 4.0);
  const cairnjson::Value counts = measure("SensorXYZWithoutCorrelation", sensor)["XYZ"];
  EXPECT_NEAR(counts["Y"].toDouble(0.0), 180.0 * 120.0, 180.0 * 120.0 * 0.05);
  const double whiteIR = measure("SensorIR", sensor)["IR"].toDouble(0.0);

  ASSERT_EQ(QuilbySimSetShownColor(kOfficeSerial, kOfficeProduct, 0.0, 1.0, 0.0), 0);
  const cairnjson::Value green = measure("SensorRGB", sensor)["RGB"];
  EXPECT_GT(green["G"].toDouble(0.0), 10.0 * std::abs(green["R"].toDouble(0.0)));
  EXPECT_GT(green["G"].toDouble(0.0), 10.0 * std::abs(green["B"].toDouble(0.0)));

  ASSERT_EQ(QuilbySimSetShownColor(kOfficeSerial, kOfficeProduct, 0.0, 0.0, 0.0), 0);
  EXPECT_EQ(call("SensorRGB", "GET", sensor).envelope,
            ok(R"({"RGB":{"B":0.0,"G":0.0,"R":0.0}})"));
  EXPECT_EQ(call("SensorXYZWithoutCorrelation", "GET", sensor).envelope,
            ok(R"({"XYZ":{"X":0.0,"Y":0.0,"Z":0.0}})"));
  // Only the room's part of the infrared reading is left; the second output is not reported.
  const cairnjson::Value dark = measure("SensorIR", sensor);
  ASSERT_EQ(dark.members().size(), 1u);
  EXPECT_TRUE(dark["IR"].isDouble());
  EXPECT_NEAR(dark["IR"].toDouble(0.0), 0.002 * 320.0, 1e-9);
  EXPECT_GT(whiteIR, dark["IR"].toDouble(0.0) + 4.0);
}

TEST_F(MeasurementsTest, SwingSensorMeasuresThroughTheMonitorOnlyWithItsArmOut) {
  const std::string sensor = swingSensor();
  EXPECT_EQ(call("SensorRGB", "GET", sensor).envelope,
            emError(0x80010004, "Sensor position error.", "Measure RGB."));
  ASSERT_EQ(call("SensorArm", "PUT", sensor, "", "true").status, 200);
  EXPECT_NEAR(measure("SensorXYZWithoutCorrelation", sensor)["XYZ"]["Y"].toDouble(0.0),
              250.0 * 160.0, 250.0 * 160.0 * 0.05);
}

}  // namespace
