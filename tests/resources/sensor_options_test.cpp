// The further per-sensor settings: switches, parameter description, corrections, device options,
// and the built-in sensor's temperature and brightness correction.
#include "support/registry_fixture.h"

#include <string>

namespace {

using namespace quilby_test;

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
                 {"GET", "null", "", "requires 'option' query."},
                 {"GET", R"({"option":-1})", "", "option must be number."},
                 {"GET", R"({"option":"two"})", "", "option must be number."},
                 {"GET", R"({"option":null})", "", "option must be number."},
                 {"GET", R"({"option":4294967296})", "", "option must be number."},
                 {"PUT", "", R"({"value":1})", "data requires 'option'."},
                 {"PUT", "", R"({"option":"2","value":1})", "data requires 'option'."},
                 {"PUT", "", "7", "data requires 'option'."},
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
