// A user's session with the studio monitor's swing sensor: correlate it to a reference instrument
// by applying a stored matrix, see the measurements follow, and undo it.
#include "correlation_test_support.h"

#include <array>
#include <cmath>
#include <string>

namespace {

using correlation_test::CorrelationTest;
using correlation_test::kOK;
using correlation_test::Reply;

using XYZ = std::array<double, 3>;

class CorrelationScenarioTest : public CorrelationTest {
 protected:
  // One measurement's corrected XYZ.
  XYZ measure(const std::string& sensor) {
    const Reply reply = call("SensorXYZ", "GET", sensor);
    EXPECT_EQ(reply.status, 200) << reply.envelope;
    const cairnjson::Value& xyz = reply.value["XYZ"];
    return {xyz["X"].toDouble(NAN), xyz["Y"].toDouble(NAN), xyz["Z"].toDouble(NAN)};
  }

  // Whether `a` and `b` agree within the simulated sensor's noise.
  static bool sameReading(const XYZ& a, const XYZ& b) {
    for (int i = 0; i < 3; ++i) {
      if (!(std::fabs(a[i] - b[i]) <= 0.003 * std::fabs(b[i]))) return false;
    }
    return true;
  }
};

TEST_F(CorrelationScenarioTest, AppliedMatrixCorrectsMeasurementsUntilReleased) {
  const std::string sensor = studio();
  ASSERT_EQ(call("SensorArm", "PUT", sensor, "", "true").envelope, kOK);
  const XYZ before = measure(sensor);
  ASSERT_GT(before[1], 100.0) << "the panel shows white";

  const Reply listed = call("SensorCorrelationMatrix", "GET", sensor, R"({"available":true})");
  ASSERT_EQ(listed.status, 200);
  ASSERT_EQ(listed.value.size(), 2u);
  const cairnjson::Value& chosen = listed.value[0ul];
  ASSERT_EQ(chosen["referenceSensor"]["serial"].toString(""), "S5-240117");
  const std::string id = chosen["id"].toString("");
  ASSERT_EQ(call("SensorCorrelationMatrix", "PUT", sensor, "", id).envelope, kOK);

  // The stored matrix's terms (X, Y, Z rows) now act on every corrected reading.
  const XYZ expected = {1.015 * before[0] + 0.003 * before[1],
                        0.002 * before[0] + 1.018 * before[1] + 0.004 * before[2],
                        -0.002 * before[0] + 0.001 * before[1] + 0.991 * before[2]};
  const XYZ correlated = measure(sensor);
  EXPECT_TRUE(sameReading(correlated, expected))
      << correlated[0] << " " << correlated[1] << " " << correlated[2];
  EXPECT_FALSE(sameReading(correlated, before));

  ASSERT_EQ(call("SensorCorrelationMatrix", "DELETE", sensor).envelope, kOK);
  const XYZ after = measure(sensor);
  EXPECT_TRUE(sameReading(after, before)) << after[0] << " " << after[1] << " " << after[2];
  EXPECT_TRUE(sectionsFree());
}

TEST_F(CorrelationScenarioTest, AppliedCorrectionCorrectsMeasurementsUntilReleased) {
  const std::string sensor = studio();
  ASSERT_EQ(call("SensorArm", "PUT", sensor, "", "true").envelope, kOK);
  const XYZ before = measure(sensor);
  const Reply listed = call("SensorCorrelation", "GET", sensor, R"({"available":true})");
  ASSERT_EQ(listed.value.size(), 2u);
  ASSERT_EQ(listed.value[0ul]["id"].toLLong(0), 1);
  ASSERT_EQ(call("SensorCorrelation", "PUT", sensor, "", R"({"id":1})").envelope, kOK);

  // The stored correction's calibration matrix now acts on every corrected reading.
  const XYZ expected = {1.012 * before[0] + 0.004 * before[1] - 0.003 * before[2],
                        0.002 * before[0] + 1.021 * before[1] + 0.001 * before[2],
                        -0.001 * before[0] + 0.006 * before[1] + 0.987 * before[2]};
  const XYZ correlated = measure(sensor);
  EXPECT_TRUE(sameReading(correlated, expected))
      << correlated[0] << " " << correlated[1] << " " << correlated[2];
  EXPECT_FALSE(sameReading(correlated, before));

  ASSERT_EQ(call("SensorCorrelation", "DELETE", sensor).envelope, kOK);
  EXPECT_TRUE(sameReading(measure(sensor), before));
}

}  // namespace
