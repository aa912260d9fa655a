// The stored correlation matrices (CorrelationMatrix) and the built-in sensor's own correction
// matrix (CorrelationMatrix/Data), end to end against the simulated libraries, and a user's
// session with them. Their refusals and failures are rows of the request table in
// correlation_test.cpp.
#include "resources/correlation_fixture.h"

#include <array>
#include <cmath>
#include <string>

namespace {

using namespace correlation_test;

// ---- Stored matrices ----------------------------------------------------------------------------

TEST_F(CorrelationTest, ListsTheMatricesOfTheMonitorsProductAndPanelRevision) {
  EXPECT_EQ(answer("SensorCorrelationMatrix", "GET", sensor("studio"), R"({"available":0})"),
            "200 " R"({"error":null,"value":[)"
            R"({"id":1,"referenceSensor":{"deviceID":48,"serial":"QS20-240117"}},)"
            R"({"id":2,"referenceSensor":{"deviceID":82,"serial":"QS30-980007"}}]})");
  EXPECT_TRUE(calls("EmCtrlLockMonitor").empty()) << "listing takes no lock";

  EXPECT_EQ(answer("SensorCorrelationMatrix", "GET", sensor("office"), R"({"available":0})"),
            "200 " R"({"error":null,"value":[)"
            R"({"id":3,"referenceSensor":{"deviceID":48,"serial":"QS20-240117"}}]})");

  // The matrices are those of the monitor's product and panel revision; none fits revision 4.
  loadDefaultWorldWith("QM7A0451", [](cairnjson::Value& m) { m["panelRevision"].setInteger(4); });
  EXPECT_EQ(answer("SensorCorrelationMatrix", "GET", sensor("studio"), R"({"available":0})"),
            ok(R"([])"));
}

// ---- The built-in sensor's correction matrix ----------------------------------------------------

TEST_F(CorrelationTest, MatrixDataReadsTheSupportedFormAndComparesItWithTheFactorySet) {
  EXPECT_EQ(compact(call("SensorCorrelationMatrixData", "GET", sensor("office")).value),
            R"({"matrix":)" + compact(dataSet("QM4C0088", 3)["matrix"]) + "}");
  const std::string armSensor = sensor("studio");
  const std::string query = R"({"checksFactoryData":false})";
  EXPECT_EQ(compact(call("SensorCorrelationMatrixData", "GET", armSensor, query).value),
            R"({"isFactory":true,"matrix":)" + compact(dataSet("QM7A0451", 3)["matrix"]) + "}");
  // The factory set stays selected, so a write has to select the user set again itself.
  const std::string changed =
      R"({"matrix":[[1,0,0],[0,1,0],[0,0,1],[0,0,0],[0,0,0],[0,0,0],[0,0,0],[0.5,0,0]]})";
  ASSERT_EQ(answer("SensorCorrelationMatrixData", "PUT", armSensor, "", changed), ok("null"));
  EXPECT_EQ(compact(call("SensorCorrelationMatrixData", "GET", armSensor, query).value),
            R"({"isFactory":false,"matrix":[[1,0.0,0.0],[0.0,1,0.0],[0.0,0.0,1],)"
            R"([0.0,0.0,0.0],[0.0,0.0,0.0],[0.0,0.0,0.0],[0.0,0.0,0.0],[0.5,0.0,0.0]]})");
}

// ---- A user's session -------------------------------------------------------------------------

// The studio monitor's arm sensor is correlated to a reference instrument by applying a stored
// matrix (or a stored correction); the measurements follow until it is released.
using XYZ = std::array<double, 3>;

// Whether `a` and `b` agree within the simulated sensor's noise.
testing::AssertionResult sameReading(const XYZ& a, const XYZ& b) {
  for (int i = 0; i < 3; ++i) {
    if (!(std::fabs(a[i] - b[i]) <= 0.003 * std::fabs(b[i]))) {
      return testing::AssertionFailure() << a[0] << " " << a[1] << " " << a[2] << " against "
                                         << b[0] << " " << b[1] << " " << b[2];
    }
  }
  return testing::AssertionSuccess();
}

struct Way {
  const char* resource;
  const char* bodyBefore;  // the listed id goes between these two
  const char* bodyAfter;
  double terms[3][3];  // the stored record's X, Y and Z rows, acting on the XYZ before
};

const Way kWays[] = {
    {"SensorCorrelationMatrix", "", "",
     {{1.015, 0.003, 0.0}, {0.002, 1.018, 0.004}, {-0.002, 0.001, 0.991}}},
    {"SensorCorrelation", R"({"id":)", "}",
     {{1.012, 0.004, -0.003}, {0.002, 1.021, 0.001}, {-0.001, 0.006, 0.987}}},
};

TEST_F(CorrelationTest, AppliedMatrixOrCorrectionCorrectsMeasurementsUntilReleased) {
  for (const Way& way : kWays) {
    SCOPED_TRACE(way.resource);
    ASSERT_EQ(QuilbySimReset(), 0);
    const std::string armSensor = sensor("studio");
    const auto measure = [&] {
      const cairnjson::Value xyz = call("SensorXYZ", "GET", armSensor).value["XYZ"];
      return XYZ{xyz["X"].toDouble(NAN), xyz["Y"].toDouble(NAN), xyz["Z"].toDouble(NAN)};
    };
    ASSERT_EQ(answer("SensorArm", "PUT", armSensor, "", "true"), ok("null"));
    const XYZ before = measure();
    ASSERT_GT(before[1], 100.0) << "the panel shows white";

    const cairnjson::Value listed = call(way.resource, "GET", armSensor, R"({"available":1})").value;
    ASSERT_EQ(listed.size(), 2u);
    ASSERT_EQ(listed[0ul]["referenceSensor"]["serial"].toString(""), "QS20-240117");
    const std::string body = way.bodyBefore + listed[0ul]["id"].toString("") + way.bodyAfter;
    ASSERT_EQ(answer(way.resource, "PUT", armSensor, "", body), ok("null"));

    XYZ expected{};
    for (int r = 0; r < 3; ++r) {
      for (int c = 0; c < 3; ++c) expected[r] += way.terms[r][c] * before[c];
    }
    const XYZ correlated = measure();
    EXPECT_TRUE(sameReading(correlated, expected));
    EXPECT_FALSE(sameReading(correlated, before));

    ASSERT_EQ(answer(way.resource, "DELETE", armSensor), ok("null"));
    EXPECT_TRUE(sameReading(measure(), before));
    EXPECT_TRUE(sectionsFree());
  }
}

}  // namespace
