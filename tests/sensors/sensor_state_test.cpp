// Sensor state and mode: identity and capabilities, closing, mode, calibration, arm and position,
// through the built plug-in and the simulated measurement library.
#include "sensors/sensor_test_support.h"

#include "quilby_sim/control.h"

#include <string>
#include <vector>

namespace {

using quilby_test::Reply;
using quilby_test::SensorTest;

class SensorStateTest : public SensorTest {};

TEST_F(SensorStateTest, SensorGetDescribesIdentityAndCapabilitiesInCallOrder) {
  struct Row {
    std::string sensor;
    const char* value;
  };
  const Row rows[] = {
      {colorimeter(),
       R"({"deviceID":33,"hasArm":false,"hasMultipleSensorPosition":true,"hasTargetMarker":false,)"
       R"("name":"Lumetra C3 Colorimeter","needsCalibration":false,"serial":"C3-0042117",)"
       R"("supportsAmbient":true,"supportsReflectance":false})"},
      {spectrophotometer(),
       R"({"deviceID":48,"hasArm":false,"hasMultipleSensorPosition":true,"hasTargetMarker":true,)"
       R"("name":"Lumetra S5 Spectrophotometer","needsCalibration":true,"serial":"S5-240117",)"
       R"("spectrum":{"bandWidth":10,"count":36,"max":730,"min":380},"supportsAmbient":true,)"
       R"("supportsReflectance":true})"},
      {swingSensor(),
       R"({"deviceID":4144,"hasArm":true,"hasMultipleSensorPosition":false,"hasTargetMarker":false,)"
       R"("name":"CX Swing Sensor","needsCalibration":false,"serial":"SW-27Q00451",)"
       R"("supportsAmbient":false,"supportsReflectance":false})"},
  };
  for (const Row& row : rows) {
    clearJournal();
    EXPECT_EQ(call("Sensor", "GET", row.sensor).envelope, ok(row.value));
    const std::vector<std::string> expected = {
        "MDGetDeviceID", "MDGetName", "MDGetSerialNumber", "MDIsCalibrationNecessary",
        "MDSupportsAmbient", "MDSupportsReflectance", "MDHasArm", "MDHasMultipleSensorPosition",
        "MDHasTargetMarker", "MDSpectralRadianceFixedData"};
    EXPECT_EQ(deviceCalls(), expected) << row.value;
  }
}

TEST_F(SensorStateTest, SensorGetWithConnectionQueryAsksOnlyTheConnection) {
  const std::string sensor = colorimeter();
  // The key's value is never read.
  for (const char* query : {R"({"connection":false})", R"({"connection":null})"}) {
    clearJournal();
    EXPECT_EQ(call("Sensor", "GET", sensor, query).envelope, ok("true")) << query;
    EXPECT_EQ(deviceCalls(), std::vector<std::string>{"MDIsValidConnection"});
  }
  QuilbySimFailNext("MDIsValidConnection", 1, 0);
  EXPECT_EQ(call("Sensor", "GET", sensor, R"({"connection":1})").envelope, ok("false"));
  // A query that is not an object holds no key: the full description.
  EXPECT_TRUE(call("Sensor", "GET", sensor, R"(["connection"])").value.isObject());
}

TEST_F(SensorStateTest, SpectrumIsLeftOutWhenTheLibraryReportsNoBands) {
  const std::string sensor = spectrophotometer();
  // The failure status itself is ignored: only the count decides.
  QuilbySimFailNext("MDSpectralRadianceFixedData", 1, EMERR_UNSUPPORTED);
  const Reply reply = call("Sensor", "GET", sensor);
  EXPECT_EQ(reply.status, 200);
  EXPECT_FALSE(reply.value.contains("spectrum"));
  EXPECT_TRUE(reply.value["hasTargetMarker"].isBool());
  // A success status still reports no spectrum for a count of 0, and one for any other count.
  EXPECT_TRUE(call("Sensor", "GET", sensor).value["spectrum"].isObject());
}

TEST_F(SensorStateTest, WithoutTargetMarkerFunctionTheKeyIsLeftOut) {
  const cairnjson::Value normal = call("Sensor", "GET", spectrophotometer()).value;
  useVariantLibraries();
  const Reply reply = call("Sensor", "GET", spectrophotometer());
  ASSERT_EQ(reply.status, 200) << reply.envelope;
  EXPECT_FALSE(reply.value.contains("hasTargetMarker"));
  cairnjson::Value expected = normal;
  cairnjson::Value::Members members = expected.members();
  members.erase("hasTargetMarker");
  EXPECT_EQ(reply.value, cairnjson::Value::makeObject(members));
}

TEST_F(SensorStateTest, SensorDeleteForgetsTheIdAndClosesTheSensor) {
  const std::string sensor = colorimeter();
  const std::string other = colorimeter();
  clearJournal();
  EXPECT_EQ(call("Sensor", "DELETE", sensor).envelope, ok("null"));
  const auto closes = calls("MDClose");
  ASSERT_EQ(closes.size(), 1u);
  EXPECT_EQ(closes[0]["status"].toLLong(-1), 0);
  for (const char* method : {"DELETE", "GET"}) {
    const Reply gone = call("Sensor", method, sensor);
    EXPECT_EQ(gone.status, 404) << method;
    EXPECT_EQ(gone.envelope, R"({"error":{"message":"Not found.","name":"Error"},"value":null})");
  }
  EXPECT_EQ(calls("MDClose").size(), 1u);
  // Another id of the same sensor stays open, and a failing close is not reported.
  EXPECT_EQ(call("Sensor", "GET", other, R"({"connection":true})").envelope, ok("true"));
  QuilbySimFailNext("MDClose", 1, EMERR_FAILED);
  EXPECT_EQ(call("Sensor", "DELETE", other).envelope, ok("null"));
  EXPECT_EQ(call("Sensor", "GET", other).status, 404);
}

TEST_F(SensorStateTest, QueryDemandingGetsRequireTheirKeyAndIgnoreItsValue) {
  struct Row {
    const char* resource;
    const char* key;
    std::string sensor;
    const char* answer;
  };
  const Row rows[] = {
      {"SensorMode", "supports", spectrophotometer(), R"({"ambient":true,"reflectance":true})"},
      {"SensorMode", "supports", swingSensor(), R"({"ambient":false,"reflectance":false})"},
      {"SensorCalibration", "needs", spectrophotometer(), "true"},
      {"SensorCalibration", "needs", colorimeter(), "false"},
      {"SensorArm", "supports", swingSensor(), "true"},
      {"SensorArm", "supports", colorimeter(), "false"},
  };
  for (const Row& row : rows) {
    const std::string key = row.key;
    for (const std::string value : {"true", "false", "null", "0"}) {
      EXPECT_EQ(call(row.resource, "GET", row.sensor, "{\"" + key + "\":" + value + "}").envelope,
                ok(row.answer))
          << row.resource << " " << value;
    }
    for (const std::string& query : {std::string("{}"), std::string("[\"") + key + "\"]",
                                    std::string("\"") + key + "\"", std::string("")}) {
      clearJournal();
      EXPECT_EQ(call(row.resource, "GET", row.sensor, query).envelope,
                badRequest("requires '" + key + "' query."))
          << row.resource << " " << query;
      EXPECT_TRUE(deviceCalls().empty());
    }
  }
}

TEST_F(SensorStateTest, ModePutPassesRoundedNumbersThrough) {
  const std::string sensor = spectrophotometer();
  struct Row {
    const char* body;
    long long mode;
    long long observer;
  };
  const Row rows[] = {{R"({"mode":1,"observerKey":0})", 1, 0},
                      {R"({"mode":1.5,"observerKey":0.4})", 2, 0},
                      {R"({"mode":0.5,"observerKey":1,"extra":"x"})", 1, 1},
                      {R"({"mode":2,"observerKey":-0.4})", 2, 0}};
  for (const Row& row : rows) {
    clearJournal();
    EXPECT_EQ(call("SensorMode", "PUT", sensor, "", row.body).envelope, ok("null")) << row.body;
    const auto sets = calls("MDSetMode");
    ASSERT_EQ(sets.size(), 1u);
    EXPECT_EQ(sets[0]["arguments"][1].toLLong(-1), row.mode) << row.body;
    EXPECT_EQ(sets[0]["arguments"][2].toLLong(-1), row.observer) << row.body;
  }
  // Codes are not checked here: the library refuses them, and the refusal reaches the page.
  clearJournal();
  EXPECT_EQ(call("SensorMode", "PUT", sensor, "", R"({"mode":-1,"observerKey":0})").envelope,
            emError(0x8000000A, "Out of range.", "Set sensor mode."));
  EXPECT_EQ(calls("MDSetMode").at(0)["arguments"][1].toLLong(-1), 4294967295LL);
  EXPECT_EQ(call("SensorMode", "PUT", colorimeter(), "", R"({"mode":2,"observerKey":0})").envelope,
            emError(0x80000007, "Unsupported.", "Set sensor mode."));
}

TEST_F(SensorStateTest, ModePutRefusesBodiesWithoutNumbers) {
  const std::string sensor = spectrophotometer();
  const std::pair<const char*, const char*> rows[] = {
      {R"({"mode":"1","observerKey":2})", "data requires 'mode'."},
      {R"({"mode":true,"observerKey":2})", "data requires 'mode'."},
      {R"({"mode":null,"observerKey":2})", "data requires 'mode'."},
      {R"({"observerKey":2})", "data requires 'mode'."},
      {R"([1,2])", "data requires 'mode'."},
      {"1", "data requires 'mode'."},
      {"", "data requires 'mode'."},
      {R"({"mode":1})", "data requires 'observerKey'."},
      {R"({"mode":1,"observerKey":"0x1"})", "data requires 'observerKey'."},
      {R"({"mode":1,"observerKey":[0]})", "data requires 'observerKey'."},
  };
  clearJournal();
  for (const auto& [body, message] : rows) {
    EXPECT_EQ(call("SensorMode", "PUT", sensor, "", body).envelope, badRequest(message)) << body;
  }
  EXPECT_TRUE(deviceCalls().empty());
}

TEST_F(SensorStateTest, CalibrationPutCalibratesWhateverTheBody) {
  const std::string sensor = spectrophotometer();
  EXPECT_EQ(call("SensorCalibration", "PUT", sensor, "", "\"ignored\"").envelope, ok("null"));
  EXPECT_EQ(call("SensorCalibration", "GET", sensor, R"({"needs":1})").envelope, ok("false"));
  EXPECT_EQ(calls("MDCalibrate").size(), 1u);
}

TEST_F(SensorStateTest, ArmPutTakesOnlyBooleans) {
  const std::string sensor = swingSensor();
  clearJournal();
  EXPECT_EQ(call("SensorArm", "PUT", sensor, "", "true").envelope, ok("null"));
  EXPECT_EQ(call("SensorArm", "PUT", sensor, "", "false").envelope, ok("null"));
  EXPECT_EQ(deviceCalls(), (std::vector<std::string>{"MDTakeOutArm", "MDTakeInArm"}));
  clearJournal();
  for (const char* body : {"1", "0", "\"true\"", "null", "{}", ""}) {
    EXPECT_EQ(call("SensorArm", "PUT", sensor, "", body).envelope,
              badRequest("data must be boolean."))
        << body;
  }
  EXPECT_TRUE(deviceCalls().empty());
}

TEST_F(SensorStateTest, PositionIsReadUnlessSupportsIsAsked) {
  const std::string sensor = colorimeter();
  EXPECT_EQ(call("SensorPosition", "GET", sensor, R"({"supports":false})").envelope, ok("true"));
  EXPECT_EQ(call("SensorPosition", "GET", swingSensor(), R"({"supports":0})").envelope,
            ok("false"));
  EXPECT_EQ(call("SensorPosition", "GET", sensor).envelope, ok("0"));
  // The head turns to the ambient position with the mode.
  ASSERT_EQ(call("SensorMode", "PUT", sensor, "", R"({"mode":1,"observerKey":0})").status, 200);
  EXPECT_EQ(call("SensorPosition", "GET", sensor, "[]").envelope, ok("1"));
}

// Every library failure of this family, injected, reaches the page with its step text and
// leaves the sensor open.
TEST_F(SensorStateTest, LibraryFailuresCarryTheirStepText) {
  struct Row {
    const char* resource;
    const char* method;
    const char* body;
    const char* function;
    const char* reason;
  };
  const Row rows[] = {
      {"SensorMode", "PUT", R"({"mode":0,"observerKey":0})", "MDSetMode", "Set sensor mode."},
      {"SensorCalibration", "PUT", "", "MDCalibrate", "Calibrate sensor."},
      {"SensorArm", "PUT", "true", "MDTakeOutArm", "Open sensor arm."},
      {"SensorArm", "PUT", "false", "MDTakeInArm", "Close sensor arm."},
      {"SensorPosition", "GET", "", "MDGetSensorPosition", "Get sensor position."},
  };
  const std::string sensor = swingSensor();
  for (const Row& row : rows) {
    QuilbySimFailNext(row.function, 1, EMERR_SENSOR_CONNECTION_ERROR);
    EXPECT_EQ(call(row.resource, row.method, sensor, "", row.body).envelope,
              emError(0x80010002, "Sensor connection error.", row.reason))
        << row.function;
    // Success and warning codes, and the "Unknown." failure, are let through.
    QuilbySimFailNext(row.function, 1, EMERR_UNKNOWN);
    EXPECT_EQ(call(row.resource, row.method, sensor, "", row.body).status, 200) << row.function;
  }
  EXPECT_EQ(call("Sensor", "GET", sensor, R"({"connection":0})").envelope, ok("true"));
  // A real refusal of the simulated library, not an injected one.
  ASSERT_EQ(call("SensorArm", "PUT", sensor, "", "true").status, 200);
  EXPECT_EQ(call("SensorCalibration", "PUT", sensor).envelope,
            emError(0x80010008, "Zero calibration error.", "Calibrate sensor."));
  EXPECT_EQ(call("SensorArm", "PUT", colorimeter(), "", "false").envelope,
            emError(0x80000007, "Unsupported.", "Close sensor arm."));
}

}  // namespace
