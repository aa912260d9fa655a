// The further per-sensor settings: switches, parameter description, corrections, device options,
// and the built-in sensor's temperature and brightness correction.
#include "support/registry_fixture.h"

#include <filesystem>
#include <string>

namespace {

using namespace quilby_test;

class SensorOptionsTest : public RegistryTest {};

struct SwitchCase {
  const char* resource;
  const char* setter;
  const char* getText;
  bool offersSupports;
  bool builtIn;
};

TEST_F(SensorOptionsTest, SwitchesAreReadAndWritten) {
  const SwitchCase cases[] = {
      {"SensorExteriorLight", "MDSetExteriorLightingState", "Get exterior lighting state.", true, false},
      {"SensorTargetMarker", "MDSetTargetMarker", "Get target marker.", true, false},
      {"SensorIFSBrightCorrectParamUpdate", "MDSetIFSBrightCorrectParamUpdateEnabled",
       "Get IFS bright correct param update enabled.", false, true}};
  for (const SwitchCase& row : cases) {
    const std::string sensor = row.builtIn ? armSensor() : spectrophotometer();
    if (row.offersSupports) {
      EXPECT_EQ(answer(row.resource, "GET", sensor, R"({"supports":false})"),
                ok(R"(true)"))
          << row.resource;
    }
    EXPECT_EQ(answer(row.resource, "GET", sensor), ok(R"(false)"));
    EXPECT_EQ(answer(row.resource, "PUT", sensor, "", "true"), ok(R"(null)"));
    EXPECT_EQ(answer(row.resource, "GET", sensor), ok(R"(true)"));
    // Only booleans switch, and a refused body never reaches the library.
    clearJournal();
    for (const char* body : {"1", "\"true\"", "null", ""}) {
      const Reply refused = call(row.resource, "PUT", sensor, "", body);
      EXPECT_EQ(refused.status, 400) << row.resource << " " << body;
      EXPECT_EQ(refused.error["message"].stringRef(), "data must be boolean.");
    }
    EXPECT_TRUE(calls(row.setter).empty());
    // A sensor without the feature: the library's status with the step's text.
    const std::string other = colorimeter();
    EXPECT_EQ(answer(row.resource, "GET", other), emError(0x80000007, "Unsupported.", row.getText))
        << row.resource;
  }
}

TEST_F(SensorOptionsTest, SupportsQueryOfAMissingFunctionIsFunctionNotFound) {
  reloadWith("*");
  const std::string sensor = spectrophotometer();
  const Reply missing = call("SensorTargetMarker", "GET", sensor, R"({"supports":null})");
  EXPECT_EQ(missing.status, 404);
  EXPECT_EQ(missing.error["message"].stringRef(),
            "libmeasurementdevice does not have a requested function.");
  // The marker's state itself is read by a function the variant has.
  EXPECT_EQ(call("SensorTargetMarker", "GET", sensor).status, 200);
}

TEST_F(SensorOptionsTest, ParameterDescriptionIsTextUpTo255Bytes) {
  const std::string sensor = spectrophotometer();
  EXPECT_EQ(answer("SensorParameterDescription", "GET", sensor),
            ok(R"("QS-20, factory parameters")"));
  const std::string longest(255, 'd');
  EXPECT_EQ(call("SensorParameterDescription", "PUT", sensor, "", "\"" + longest + "\"").status, 200);
  EXPECT_EQ(call("SensorParameterDescription", "GET", sensor).value.stringRef(), longest);
  EXPECT_EQ(call("SensorParameterDescription", "PUT", sensor, "", "\"" + longest + "d\"")
                .error["message"].stringRef(),
            "data must be 255 bytes or less.");
  EXPECT_EQ(call("SensorParameterDescription", "PUT", sensor, "", "42").error["message"].stringRef(),
            "data must be string.");
  // A body that is not JSON arrives as text and is taken as it is.
  EXPECT_EQ(call("SensorParameterDescription", "PUT", sensor, "", "plain words").status, 200);
  EXPECT_EQ(call("SensorParameterDescription", "GET", sensor).value.stringRef(), "plain words");
}

TEST_F(SensorOptionsTest, CorrectionsTakeAndGiveThreeByThreeMatrices) {
  const std::string sensor = colorimeter();
  EXPECT_EQ(compact(call("SensorExCorrection", "GET", sensor).value), "[[1,0.0,0.0],[0.0,1,0.0],[0.0,0.0,1]]");
  const std::string matrix = "[[1.5,0,0],[0,1,0.25],[0,0,1]]";
  EXPECT_EQ(call("SensorExCorrection", "PUT", sensor, "", matrix).status, 200);
  EXPECT_EQ(compact(call("SensorExCorrection", "GET", sensor).value),
            "[[1.5,0.0,0.0],[0.0,1,0.25],[0.0,0.0,1]]");

  clearJournal();
  EXPECT_EQ(call("SensorCorrection", "PUT", sensor, "", matrix).status, 200);
  const auto set = calls("MDSetCorrection");
  ASSERT_EQ(set.size(), 1u);
  EXPECT_EQ(compact(set[0]["arguments"][1]), "[1.5,0.0,0.0,0.0,1,0.25,0.0,0.0,1]");
  EXPECT_EQ(call("SensorCorrection", "DELETE", sensor).status, 200);
  EXPECT_EQ(calls("MDClearCorrection").size(), 1u);

  for (const char* body : {"[[1,0,0],[0,1,0]]", "[[1,0,0],[0,1,0],[0,0,1,0]]",
                           "[[1,0,0],[0,1,0],[0,\"0\",1]]", "{\"0\":[1,0,0]}", "9"}) {
    for (const char* resource : {"SensorCorrection", "SensorExCorrection"}) {
      EXPECT_EQ(call(resource, "PUT", sensor, "", body).error["message"].stringRef(),
                "data must be 3x3 matrix.")
          << resource << " " << body;
    }
  }
}

TEST_F(SensorOptionsTest, DeviceOptionsAreNumberedValues) {
  const std::string sensor = colorimeter();
  EXPECT_EQ(answer("SensorDeviceOption", "GET", sensor, R"({"option":2})"),
            ok(R"(4)"));
  EXPECT_EQ(call("SensorDeviceOption", "GET", sensor, R"({"option":"2"})").value.toInt(-1), 4);
  EXPECT_EQ(call("SensorDeviceOption", "PUT", sensor, "", R"({"option":2,"value":-7})").status, 200);
  EXPECT_EQ(call("SensorDeviceOption", "GET", sensor, R"({"option":2})").value.toInt(0), -7);
  EXPECT_EQ(answer("SensorDeviceOption", "GET", sensor, R"({"option":9})"),
            emError(0x8000001C, "Invalid key.", "Get device option value."));

  const std::pair<const char*, const char*> refusedQueries[] = {
      {"{}", "requires 'option' query."}, {"null", "requires 'option' query."},
      {R"({"option":-1})", "option must be number."}, {R"({"option":"two"})", "option must be number."},
      {R"({"option":null})", "option must be number."}};
  for (const auto& [query, message] : refusedQueries) {
    EXPECT_EQ(call("SensorDeviceOption", "GET", sensor, query).error["message"].stringRef(), message)
        << query;
  }
  const std::pair<const char*, const char*> refusedBodies[] = {
      {R"({"value":1})", "data requires 'option'."}, {R"({"option":"2","value":1})", "data requires 'option'."},
      {R"({"option":2})", "data requires 'value'."}, {R"({"option":2,"value":4294967296})", "data requires 'value'."},
      {"7", "data requires 'option'."}};
  for (const auto& [body, message] : refusedBodies) {
    EXPECT_EQ(call("SensorDeviceOption", "PUT", sensor, "", body).error["message"].stringRef(), message)
        << body;
  }
}

TEST_F(SensorOptionsTest, TemperatureCorrectionIsRecalculatedOnBuiltInSensorsOnly) {
  EXPECT_EQ(answer("SensorIFSTempCorrectParam", "POST", armSensor()), ok(R"(null)"));
  EXPECT_EQ(answer("SensorIFSTempCorrectParam", "POST", colorimeter()),
            emError(0x80000007, "Unsupported.", "Calculate IFS temperature correction parameter."));
}

}  // namespace
