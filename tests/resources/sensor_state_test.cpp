// The per-sensor resources' answers through the built plug-in and the simulated libraries: sensor
// state (identity and capabilities, closing, mode, calibration, arm and position), presence
// sensing, measurements through the measurement library (XYZ, raw) and the colour-sensor library
// of built-in sensors (RGB, IR, uncorrelated XYZ), also without the measurement library's optional
// functions, and the further settings (switches, parameter description, corrections, device
// options, the built-in sensor's temperature correction). Library failures are covered in
// per_sensor_request_test.cpp.
#include "support/registry_fixture.h"

#include <cmath>
#include <string>
#include <vector>

namespace {

using namespace quilby_test;

class SensorStateTest : public RegistryTest {};

TEST_F(SensorStateTest, SensorGetDescribesIdentityAndCapabilities) {
  const std::pair<std::string, const char*> rows[] = {
      {colorimeter(),
       R"({"deviceID":33,"hasArm":false,"hasMultipleSensorPosition":true,"hasTargetMarker":false,)"
       R"("name":"QS-10 colorimeter","needsCalibration":false,"serial":"QS10-0042117",)"
       R"("supportsAmbient":true,"supportsReflectance":false})"},
      {spectrophotometer(),
       R"({"deviceID":48,"hasArm":false,"hasMultipleSensorPosition":true,"hasTargetMarker":true,)"
       R"("name":"QS-20 spectrophotometer","needsCalibration":true,"serial":"QS20-240117",)"
       R"("spectrum":{"bandWidth":10,"count":36,"max":730,"min":380},"supportsAmbient":true,)"
       R"("supportsReflectance":true})"},
      {armSensor(),
       R"({"deviceID":4144,"hasArm":true,"hasMultipleSensorPosition":false,)"
       R"("hasTargetMarker":false,"name":"QM arm sensor","needsCalibration":false,)"
       R"("serial":"ARM-QM7A0451","supportsAmbient":false,"supportsReflectance":false})"},
  };
  for (const auto& [sensor, description] : rows) {
    EXPECT_EQ(answer("Sensor", "GET", sensor), ok(description));
  }
  // The spectrum is left out for a count of 0, whatever the status.
  QuilbySimFailNext("MDSpectralRadianceFixedData", 1, EMERR_UNSUPPORTED);
  const Reply reply = call("Sensor", "GET", rows[1].first);
  EXPECT_FALSE(reply.value.contains("spectrum")) << reply.envelope;
  EXPECT_TRUE(reply.value["hasTargetMarker"].isBool());
}

TEST_F(SensorStateTest, SensorDeleteForgetsTheIdAndClosesTheSensor) {
  const std::string sensor = colorimeter();
  const std::string other = colorimeter();
  clearJournal();
  EXPECT_EQ(answer("Sensor", "DELETE", sensor), ok("null"));
  const auto closes = calls("MDClose");
  ASSERT_EQ(closes.size(), 1u);
  EXPECT_EQ(closes[0]["status"].toLLong(-1), 0);
  EXPECT_EQ(answer("Sensor", "DELETE", sensor), kNotFound);
  EXPECT_EQ(answer("Sensor", "GET", sensor), kNotFound);
  EXPECT_EQ(calls("MDClose").size(), 1u);
  // Another id of the same sensor stays open, and a failing close is not reported.
  EXPECT_EQ(answer("Sensor", "GET", other, R"({"connection":true})"), ok("true"));
  QuilbySimFailNext("MDClose", 1, EMERR_FAILED);
  EXPECT_EQ(answer("Sensor", "DELETE", other), ok("null"));
  EXPECT_EQ(answer("Sensor", "GET", other), kNotFound);
}

// A query's key asks a question instead of reading the state; its value is never read. Mode,
// calibration and arm demand their key.
TEST_F(SensorStateTest, QueryKeysAskTheLibraryAndIgnoreTheirValue) {
  struct Row {
    const char *resource, *key;
    std::string sensor;
    const char* answer;
  };
  const Row rows[] = {
      {"Sensor", "connection", colorimeter(), "true"},
      {"SensorMode", "supports", colorimeter(), R"({"ambient":true,"reflectance":false})"},
      {"SensorMode", "supports", armSensor(), R"({"ambient":false,"reflectance":false})"},
      {"SensorCalibration", "needs", spectrophotometer(), "true"},
      {"SensorCalibration", "needs", colorimeter(), "false"},
      {"SensorArm", "supports", armSensor(), "true"},
      {"SensorArm", "supports", colorimeter(), "false"},
      {"SensorPosition", "supports", colorimeter(), "true"},
      {"SensorPosition", "supports", armSensor(), "false"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.resource) + " " + row.answer);
    const std::string key = row.key;
    for (const std::string value : {"true", "false", "null", "0"}) {
      EXPECT_EQ(answer(row.resource, "GET", row.sensor, "{\"" + key + "\":" + value + "}"),
                ok(row.answer));
    }
    if (key == "connection" || row.resource == std::string("SensorPosition")) continue;
    for (const std::string& query :
         {std::string("{}"), "[\"" + key + "\"]", "\"" + key + "\"", std::string()}) {
      clearJournal();
      EXPECT_EQ(answer(row.resource, "GET", row.sensor, query),
                badRequest("requires '" + key + "' query."));
      EXPECT_TRUE(deviceCalls().empty());
    }
  }
  // The connection is all that is asked; a sensor that lost it answers false.
  const std::string sensor = colorimeter();
  clearJournal();
  EXPECT_EQ(answer("Sensor", "GET", sensor, R"({"connection":false})"), ok("true"));
  EXPECT_EQ(deviceCalls(), std::vector<std::string>{"MDIsValidConnection"});
  QuilbySimFailNext("MDIsValidConnection", 1, 0);
  EXPECT_EQ(answer("Sensor", "GET", sensor, R"({"connection":1})"), ok("false"));
  // Without the key the position is read; the head turns to the ambient position with the mode.
  EXPECT_EQ(answer("SensorPosition", "GET", sensor), ok("0"));
  ASSERT_EQ(answer("SensorMode", "PUT", sensor, "", R"({"mode":1,"observerKey":0})"), ok("null"));
  EXPECT_EQ(answer("SensorPosition", "GET", sensor, "[]"), ok("1"));
}

TEST_F(SensorStateTest, ModePutPassesRoundedNumbersThrough) {
  const std::string sensor = spectrophotometer();
  // The body, and the mode and observer the library is given.
  const std::pair<const char*, const char*> rows[] = {
      {R"({"mode":1,"observerKey":0})", "[1,0]"},
      {R"({"mode":1.5,"observerKey":0.4})", "[2,0]"},
      {R"({"mode":0.5,"observerKey":1,"extra":"x"})", "[1,1]"},
      {R"({"mode":2,"observerKey":-0.4})", "[2,0]"}};
  const auto setMode = [this] {
    const cairnjson::Value arguments = calls("MDSetMode").at(0)["arguments"];
    return "[" + compact(arguments[1]) + "," + compact(arguments[2]) + "]";
  };
  for (const auto& [body, set] : rows) {
    clearJournal();
    EXPECT_EQ(answer("SensorMode", "PUT", sensor, "", body), ok("null")) << body;
    EXPECT_EQ(setMode(), set) << body;
  }
  // Codes are not checked here: the library refuses them, and the refusal reaches the page.
  clearJournal();
  EXPECT_EQ(answer("SensorMode", "PUT", sensor, "", R"({"mode":-1,"observerKey":0})"),
            emError(0x8000000A, "Out of range.", "Set sensor mode."));
  EXPECT_EQ(setMode(), "[4294967295,0]");
}

TEST_F(SensorStateTest, PutsRefuseBodiesOfTheWrongKind) {
  const std::string sensor = armSensor();
  // Refused before the library is asked; only a built-in sensor's HID handle is looked up first
  // (a colorimeter's lookup would fail before the body is judged).
  const auto refused = [&](const char* resource, const char* body, const char* message) {
    clearJournal();
    EXPECT_EQ(answer(resource, "PUT", sensor, "", body), badRequest(message)) << body;
    const bool builtIn = std::string(resource).find("AmbraSense") != std::string::npos;
    EXPECT_EQ(deviceCalls(), std::vector<std::string>(builtIn, "MDGetHIDHandle")) << body;
  };
  // One check of a number serves both keys.
  for (const char* body : {R"({"mode":"1","observerKey":2})", R"({"observerKey":2})", "[1,2]"}) {
    refused("SensorMode", body, "data requires 'mode'.");
  }
  for (const char* body : {R"({"mode":1})", R"({"mode":1,"observerKey":"0x1"})"}) {
    refused("SensorMode", body, "data requires 'observerKey'.");
  }
  for (const char* body : {"1", "0", "\"true\"", "null", "{}", ""}) {
    refused("SensorArm", body, "data must be boolean.");
  }
  for (const char* body : {"\"true\"", "null", "", "[1]", "{\"on\":true}"}) {
    refused("SensorAmbraSense", body, "data must be number or boolean.");
  }
  for (const char* body : {"true", "\"2\"", "null"}) {
    refused("SensorAmbraSenseLevel", body, "data must be number.");
  }
}

TEST_F(SensorStateTest, PresenceIsReadAsIntegersAndSetFromNumbers) {
  const std::string sensor = armSensor();
  // Sets `body` through `resource`, which then reads `value`, the one given to `function`.
  const auto set = [&](const char* resource, const char* function, const char* body,
                       long long value) {
    clearJournal();
    EXPECT_EQ(answer(resource, "PUT", sensor, "", body), ok("null")) << body;
    EXPECT_EQ(calls(function).at(0)["arguments"][1].toLLong(-1), value) << body;
    EXPECT_EQ(answer(resource, "GET", sensor), ok(std::to_string(value))) << body;
  };
  EXPECT_EQ(answer("SensorAmbraSense", "GET", sensor), ok("0"));
  EXPECT_EQ(answer("SensorAmbraSenseLevel", "GET", sensor), ok("1"));
  // On-off takes booleans too, and any other number than 0 switches it on; the level is rounded.
  const std::pair<const char*, long long> onOff[] = {{"true", 1}, {"false", 0}, {"1", 1},  {"0", 0},
                                                     {"0.4", 1},  {"-3", 1},    {"0.0", 0}};
  for (const auto& [body, value] : onOff) {
    set("SensorAmbraSense", "CSSG2H_SetHumanDetectOnOff", body, value);
  }
  const std::pair<const char*, long long> levels[] = {{"2", 2}, {"0", 0}, {"1.5", 2}, {"0.49", 0}};
  for (const auto& [body, value] : levels) {
    set("SensorAmbraSenseLevel", "CSSG2H_SetHumanDetectMode", body, value);
  }
  // Passed through unchecked: the monitor knows three levels, so 2.6 (level 3) is its to refuse.
  clearJournal();
  EXPECT_EQ(answer("SensorAmbraSenseLevel", "PUT", sensor, "", "2.6"),
            emError(0x8000000A, "Out of range.", "Set human detect mode."));
  EXPECT_EQ(calls("CSSG2H_SetHumanDetectMode").at(0)["arguments"][1].toLLong(-1), 3);
}

class MeasurementsTest : public RegistryTest {};

TEST_F(MeasurementsTest, XYZAndRawDataFollowTheShownColour) {
  const std::string sensor = colorimeter(), arm = armSensor();
  const cairnjson::Value raw = call("SensorRawData", "GET", sensor).value["rawData"];
  ASSERT_EQ(raw.size(), 3u);
  for (const cairnjson::Value& channel : raw.elements()) EXPECT_GT(channel.toDouble(0.0), 0.0);
  // The arm sensor's nine-point correction makes the corrected record differ from the raw one;
  // neither is read inside the monitor's critical section.
  ASSERT_EQ(answer("SensorArm", "PUT", arm, "", "true"), ok("null"));
  clearJournal();
  const cairnjson::Value reading = call("SensorXYZ", "GET", arm).value;
  const double rawY = reading["rawXYZ"]["Y"].toDouble(0.0);
  EXPECT_GT(rawY, 1.0);
  EXPECT_NEAR(reading["XYZ"]["Y"].toDouble(0.0), rawY * 0.997, 1e-9 * rawY) << compact(reading);
  EXPECT_EQ(deviceCalls(), std::vector<std::string>{"MDMeasureXYZ2"});
  // Black reads exact zeros, which only floating numbers write as "0.0".
  ASSERT_EQ(QuilbySimSetShownColor(kStudioSerial, kStudioProduct, 0.0, 0.0, 0.0), 0);
  EXPECT_EQ(answer("SensorXYZ", "GET", sensor),
            ok(R"({"XYZ":{"X":0.0,"Y":0.0,"Z":0.0},"rawXYZ":{"X":0.0,"Y":0.0,"Z":0.0}})"));
  EXPECT_EQ(answer("SensorRawData", "GET", sensor), ok(R"({"rawData":[0.0,0.0,0.0]})"));
}

TEST_F(MeasurementsTest, BuiltInSensorReadingsFollowTheShownColour) {
  const std::string sensor = panelSensor();
  // Green shows in the green channel, and in Y most.
  ASSERT_EQ(QuilbySimSetShownColor(kOfficeSerial, kOfficeProduct, 0.0, 1.0, 0.0), 0);
  const cairnjson::Value rgb = call("SensorRGB", "GET", sensor).value["RGB"];
  EXPECT_GT(rgb["G"].toDouble(0.0), 10.0 * std::abs(rgb["R"].toDouble(0.0))) << compact(rgb);
  EXPECT_GT(rgb["G"].toDouble(0.0), 10.0 * std::abs(rgb["B"].toDouble(0.0))) << compact(rgb);
  const cairnjson::Value counts = call("SensorXYZWithoutCorrelation", "GET", sensor).value["XYZ"];
  EXPECT_GT(counts["Y"].toDouble(0.0), 1.5 * counts["X"].toDouble(0.0)) << compact(counts);
  EXPECT_GT(counts["Y"].toDouble(0.0), 3.0 * counts["Z"].toDouble(0.0)) << compact(counts);
  EXPECT_GT(call("SensorIR", "GET", sensor).value["IR"].toDouble(0.0), 4.0);
  // Black reads exact zeros, which only floating numbers write as "0.0".
  ASSERT_EQ(QuilbySimSetShownColor(kOfficeSerial, kOfficeProduct, 0.0, 0.0, 0.0), 0);
  EXPECT_EQ(answer("SensorRGB", "GET", sensor), ok(R"({"RGB":{"B":0.0,"G":0.0,"R":0.0}})"));
  EXPECT_EQ(answer("SensorXYZWithoutCorrelation", "GET", sensor),
            ok(R"({"XYZ":{"X":0.0,"Y":0.0,"Z":0.0}})"));
  // Only the room's part of the infrared reading is left; the second output is not reported.
  EXPECT_EQ(answer("SensorIR", "GET", sensor), ok(R"({"IR":0.64000000000000001})"));
}

// Without MDMeasureRaw only the raw data fails; without MDHasTargetMarker the key is left out
// and the marker's "supports" query fails, while its state is still read.
TEST_F(MeasurementsTest, WithoutOptionalFunctionsOnlyWhatNeedsThemIsMissing) {
  cairnjson::Value::Members expected = call("Sensor", "GET", spectrophotometer()).value.members();
  expected.erase("hasTargetMarker");
  reloadWith("*");
  const std::string marked = spectrophotometer();
  EXPECT_EQ(answer("Sensor", "GET", marked), ok(compact(cairnjson::Value::makeObject(expected))));
  EXPECT_EQ(answer("SensorTargetMarker", "GET", marked, R"({"supports":null})"),
            functionNotFound("libmeasurementdevice"));
  EXPECT_EQ(call("SensorTargetMarker", "GET", marked).status, 200);
  const std::string sensor = colorimeter();
  EXPECT_EQ(answer("SensorRawData", "GET", sensor), functionNotFound("libmeasurementdevice"));
  EXPECT_EQ(call("SensorXYZ", "GET", sensor).status, 200);
}

class SensorOptionsTest : public RegistryTest {};

TEST_F(SensorOptionsTest, SwitchesAreReadAndWritten) {
  const struct {
    const char *resource, *setter, *getText;
    bool offersSupports, builtIn;
  } rows[] = {{"SensorExteriorLight", "MDSetExteriorLightingState", "Get exterior lighting state.",
               true, false},
              {"SensorTargetMarker", "MDSetTargetMarker", "Get target marker.", true, false},
              {"SensorIFSBrightCorrectParamUpdate", "MDSetIFSBrightCorrectParamUpdateEnabled",
               "Get IFS bright correct param update enabled.", false, true}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.resource);
    const std::string sensor = row.builtIn ? armSensor() : spectrophotometer();
    if (row.offersSupports) {
      EXPECT_EQ(answer(row.resource, "GET", sensor, R"({"supports":false})"), ok("true"));
    }
    EXPECT_EQ(answer(row.resource, "GET", sensor), ok("false"));
    EXPECT_EQ(answer(row.resource, "PUT", sensor, "", "true"), ok("null"));
    EXPECT_EQ(answer(row.resource, "GET", sensor), ok("true"));
    // Only booleans switch, and a refused body never reaches the library.
    clearJournal();
    for (const char* body : {"1", "\"true\"", "null", ""}) {
      EXPECT_EQ(answer(row.resource, "PUT", sensor, "", body), badRequest("data must be boolean."))
          << body;
    }
    EXPECT_TRUE(calls(row.setter).empty());
    // A sensor without the feature: the library's status with the step's text.
    EXPECT_EQ(answer(row.resource, "GET", colorimeter()),
              emError(0x80000007, "Unsupported.", row.getText));
  }
}

TEST_F(SensorOptionsTest, ParameterDescriptionIsTextUpTo255Bytes) {
  const std::string sensor = spectrophotometer();
  const auto put = [&](const std::string& body) {
    return answer("SensorParameterDescription", "PUT", sensor, "", body);
  };
  EXPECT_EQ(answer("SensorParameterDescription", "GET", sensor),
            ok(R"("QS-20, factory parameters")"));
  const std::string longest = "\"" + std::string(255, 'd') + "\"";
  EXPECT_EQ(put(longest), ok("null"));
  EXPECT_EQ(answer("SensorParameterDescription", "GET", sensor), ok(longest));
  EXPECT_EQ(put("\"" + std::string(256, 'd') + "\""),
            badRequest("data must be 255 bytes or less."));
  EXPECT_EQ(put("42"), badRequest("data must be string."));
  // A body that is not JSON arrives as text and is taken as it is.
  EXPECT_EQ(put("plain words"), ok("null"));
  EXPECT_EQ(answer("SensorParameterDescription", "GET", sensor), ok(R"("plain words")"));
}

TEST_F(SensorOptionsTest, CorrectionsTakeAndGiveThreeByThreeMatrices) {
  const std::string sensor = colorimeter();
  EXPECT_EQ(answer("SensorExCorrection", "GET", sensor),
            ok("[[1,0.0,0.0],[0.0,1,0.0],[0.0,0.0,1]]"));
  const std::string matrix = "[[1.5,0,0],[0,1,0.25],[0,0,1]]";
  EXPECT_EQ(answer("SensorExCorrection", "PUT", sensor, "", matrix), ok("null"));
  EXPECT_EQ(answer("SensorExCorrection", "GET", sensor),
            ok("[[1.5,0.0,0.0],[0.0,1,0.25],[0.0,0.0,1]]"));
  clearJournal();
  EXPECT_EQ(answer("SensorCorrection", "PUT", sensor, "", matrix), ok("null"));
  EXPECT_EQ(compact(calls("MDSetCorrection").at(0)["arguments"][1]),
            "[1.5,0.0,0.0,0.0,1,0.25,0.0,0.0,1]");
  EXPECT_EQ(answer("SensorCorrection", "DELETE", sensor), ok("null"));
  EXPECT_EQ(calls("MDClearCorrection").size(), 1u);
  for (const char* body : {"[[1,0,0],[0,1,0]]", "[[1,0,0],[0,1,0],[0,0,1,0]]",
                           "[[1,0,0],[0,1,0],[0,\"0\",1]]", "{\"0\":[1,0,0]}", "9"}) {
    for (const char* resource : {"SensorCorrection", "SensorExCorrection"}) {
      EXPECT_EQ(answer(resource, "PUT", sensor, "", body), badRequest("data must be 3x3 matrix."))
          << resource << " " << body;
    }
  }
  EXPECT_EQ(calls("MDSetCorrection").size(), 1u);
}

TEST_F(SensorOptionsTest, DeviceOptionsAreNumberedValues) {
  const std::string sensor = colorimeter();
  EXPECT_EQ(answer("SensorDeviceOption", "GET", sensor, R"({"option":2})"), ok("4"));
  EXPECT_EQ(answer("SensorDeviceOption", "GET", sensor, R"({"option":"2"})"), ok("4"));
  EXPECT_EQ(answer("SensorDeviceOption", "PUT", sensor, "", R"({"option":2,"value":-7})"),
            ok("null"));
  EXPECT_EQ(answer("SensorDeviceOption", "GET", sensor, R"({"option":2})"), ok("-7"));
  EXPECT_EQ(answer("SensorDeviceOption", "GET", sensor, R"({"option":9})"),
            emError(0x8000001C, "Invalid key.", "Get device option value."));
  const struct {
    const char *method, *query, *body, *message;
  } refused[] = {{"GET", "{}", "", "requires 'option' query."},
                 {"GET", R"({"option":-1})", "", "option must be number."},
                 {"GET", R"({"option":"two"})", "", "option must be number."},
                 {"GET", R"({"option":null})", "", "option must be number."},
                 {"GET", R"({"option":4294967296})", "", "option must be number."},
                 {"PUT", "", R"({"value":1})", "data requires 'option'."},
                 {"PUT", "", R"({"option":"2","value":1})", "data requires 'option'."},
                 {"PUT", "", R"({"option":2})", "data requires 'value'."},
                 {"PUT", "", R"({"option":2,"value":4294967296})", "data requires 'value'."}};
  for (const auto& row : refused) {
    EXPECT_EQ(answer("SensorDeviceOption", row.method, sensor, row.query, row.body),
              badRequest(row.message))
        << row.query << row.body;
  }
}

TEST_F(SensorOptionsTest, TemperatureCorrectionIsRecalculatedOnBuiltInSensorsOnly) {
  EXPECT_EQ(answer("SensorIFSTempCorrectParam", "POST", armSensor()), ok("null"));
  EXPECT_EQ(answer("SensorIFSTempCorrectParam", "POST", colorimeter()),
            emError(0x80000007, "Unsupported.", "Calculate IFS temperature correction parameter."));
}

}  // namespace
