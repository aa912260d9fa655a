// What every per-sensor request shares: the sensor lookup comes before any other check and the
// logged URI carries the resource word; a failure of the library function doing the work reaches
// the page with its operation text. Requests to a built-in sensor through its monitor enter the
// monitor's critical section around the colour-sensor call and always leave it: on success, on
// library failures, and when the function is missing.
#include "support/registry_fixture.h"

#include <gmock/gmock.h>

#include <ostream>
#include <string>
#include <vector>

namespace {

using namespace quilby_test;
using testing::StartsWith;

struct Request {
  const char *resource, *method, *word, *body;
  // The library function doing the work and its operation text (none for the state queries);
  // for a built-in sensor the colour-sensor function, and the serial of the sensor's monitor.
  const char *function = nullptr, *reason = nullptr, *monitor = nullptr;
};

const Request kRequests[] = {
    {"Sensor", "GET", "", ""},
    {"Sensor", "DELETE", "", ""},
    {"SensorMode", "GET", "/Mode", ""},
    {"SensorCalibration", "GET", "/Calibration", ""},
    {"SensorArm", "GET", "/Arm", ""},
    {"SensorMode", "PUT", "/Mode", R"({"mode":0,"observerKey":0})", "MDSetMode",
     "Set sensor mode."},
    {"SensorCalibration", "PUT", "/Calibration", "", "MDCalibrate", "Calibrate sensor."},
    {"SensorArm", "PUT", "/Arm", "true", "MDTakeOutArm", "Open sensor arm."},
    {"SensorArm", "PUT", "/Arm", "false", "MDTakeInArm", "Close sensor arm."},
    {"SensorPosition", "GET", "/Position", "", "MDGetSensorPosition", "Get sensor position."},
    {"SensorXYZ", "GET", "/XYZ", "", "MDMeasureXYZ2", "Measure XYZ."},
    {"SensorRawData", "GET", "/RawData", "", "MDMeasureRaw", "Measure raw data."},
    {"SensorRGB", "GET", "/RGB", "", "CSSG2H_MeasureRGB", "Measure RGB.", kOfficeSerial},
    {"SensorIR", "GET", "/IR", "", "CSSG2H_GetIRValue", "Get IR value.", kOfficeSerial},
    {"SensorXYZWithoutCorrelation", "GET", "/XYZWithoutCorrelation", "",
     "CSSG2H_MeasureNotCorrelatedXYZCount", "Measure not correlated XYZ count.", kStudioSerial},
    {"SensorAmbraSense", "GET", "/AmbraSense", "", "CSSG2H_GetHumanDetectOnOff",
     "Get human detect on off.", kStudioSerial},
    {"SensorAmbraSense", "PUT", "/AmbraSense", "true", "CSSG2H_SetHumanDetectOnOff",
     "Set human detect on off.", kStudioSerial},
    {"SensorAmbraSenseLevel", "GET", "/AmbraSense/Level", "", "CSSG2H_GetHumanDetectMode",
     "Get human detect mode.", kStudioSerial},
    {"SensorAmbraSenseLevel", "PUT", "/AmbraSense/Level", "2", "CSSG2H_SetHumanDetectMode",
     "Set human detect mode.", kStudioSerial},
    // The further settings, for the lookup alone.
    {"SensorExteriorLight", "PUT", "/ExteriorLight", ""},
    {"SensorParameterDescription", "PUT", "/ParameterDescription", ""},
    {"SensorCorrection", "PUT", "/Correction", ""},
    {"SensorExCorrection", "PUT", "/ExCorrection", ""},
    {"SensorTargetMarker", "PUT", "/TargetMarker", ""},
    {"SensorIFSTempCorrectParam", "POST", "/IFSTempCorrectParam", ""},
    {"SensorIFSBrightCorrectParamUpdate", "PUT", "/IFSBrightCorrectParamUpdate", ""},
    {"SensorDeviceOption", "PUT", "/DeviceOption", ""},
};

// The requests whose `field` is set.
std::vector<Request> requestsWith(const char* Request::*field) {
  std::vector<Request> kept;
  for (const Request& request : kRequests) {
    if (request.*field) kept.push_back(request);
  }
  return kept;
}

void PrintTo(const Request& request, std::ostream* out) {
  *out << request.resource << " " << request.method << " " << request.body;
}

std::string nameOf(const testing::TestParamInfo<Request>& info) {
  if (info.param.function) return info.param.function;
  return std::string(info.param.resource) + info.param.method;
}

class PerSensorRequestTest : public RegistryTest, public testing::WithParamInterface<Request> {
 protected:
  // The office monitor's panel sensor for its requests, else the arm sensor with its arm out.
  std::string sensor() {
    if (serial == kOfficeSerial) return panelSensor();
    const std::string arm = armSensor();
    EXPECT_EQ(answer("SensorArm", "PUT", arm, "", "true"), ok("null"));
    return arm;
  }
  std::string request(const std::string& sensor) {
    clearJournal();
    return answer(GetParam().resource, GetParam().method, sensor, "", GetParam().body);
  }
  // The calls entering and leaving the section, and the colour-sensor function's as the serial
  // of the monitor it reached, "held" or "unguarded".
  std::vector<std::string> sectionCalls() const {
    std::vector<std::string> names;
    const cairnjson::Value entries = journal();
    for (const cairnjson::Value& entry : entries.elements()) {
      const std::string& name = entry["function"].stringRef();
      if (name == "EmCtrlLockMonitor" || name == "EmCtrlUnlockMonitor") names.push_back(name);
      if (name != GetParam().function) continue;
      const bool held = entry["sectionHeld"].isBool() && entry["sectionHeld"].toLLong(0) != 0;
      names.push_back(entry["monitor"]["serial"].stringRef() + (held ? " held" : " unguarded"));
    }
    return names;
  }
  const std::string serial = GetParam().monitor ? GetParam().monitor : "";
  const std::vector<std::string> guarded = {"EmCtrlLockMonitor", serial + " held",
                                            "EmCtrlUnlockMonitor"};
  const std::vector<std::string> freeSections = {"", "", ""};
};

// The malformed query and body are never looked at; the logged URI names the sensor.
TEST_P(PerSensorRequestTest, MissingIdIsAnInvalidUriAndAnUnknownOneIsNotFound) {
  const std::string closed = colorimeter();
  ASSERT_EQ(answer("Sensor", "DELETE", closed), ok("null"));
  const std::pair<std::string, std::string> rows[] = {
      {"", kInvalidURI},
      {"{}", kInvalidURI},
      {R"({"id":""})", kInvalidURI},
      {R"({"ID":"7"})", kInvalidURI},
      {R"(["id"])", kInvalidURI},
      {named("00000000-0000-0000-0000-000000000000"), kNotFound},
      {closed, kNotFound},
      {R"({"id":7})", kNotFound}};
  for (const auto& [parameters, expected] : rows) {
    clearJournal();
    EXPECT_EQ(
        answer(GetParam().resource, GetParam().method, parameters, "\"no query\"", "[\"bad\"]"),
        expected)
        << parameters;
    EXPECT_TRUE(deviceCalls().empty()) << parameters;
    const std::string id = expected == kInvalidURI ? "" : parsed(parameters)["id"].toString("");
    EXPECT_EQ(loggedURI(), "/quilby/Sensors/" + id + GetParam().word) << parameters;
  }
}

INSTANTIATE_TEST_SUITE_P(Requests, PerSensorRequestTest, testing::ValuesIn(kRequests), nameOf);

class SensorLibraryFailureTest : public PerSensorRequestTest {};

TEST_P(SensorLibraryFailureTest, FailureReachesThePageWithItsOperationTextAndTheSensorStaysOpen) {
  const std::string named = sensor();
  QuilbySimFailNext(GetParam().function, 1, EMERR_SENSOR_CONNECTION_ERROR);
  EXPECT_EQ(request(named), emError(0x80010002, "Sensor connection error.", GetParam().reason));
  if (GetParam().monitor) {
    EXPECT_EQ(sectionCalls(), guarded);
    EXPECT_EQ(sectionOwners(), freeSections);
  }
  // The "Unknown." failure is let through.
  QuilbySimFailNext(GetParam().function, 1, EMERR_UNKNOWN);
  EXPECT_THAT(request(named), StartsWith("200 "));
  EXPECT_EQ(answer("Sensor", "GET", named, R"({"connection":0})"), ok("true"));
}

INSTANTIATE_TEST_SUITE_P(Requests, SensorLibraryFailureTest,
                         testing::ValuesIn(requestsWith(&Request::function)), nameOf);

class MonitorSectionTest : public PerSensorRequestTest {};

TEST_P(MonitorSectionTest, SectionIsEnteredAroundTheCallAndLeftAfterwards) {
  const std::string named = sensor();
  const std::string product = serial == kOfficeSerial ? kOfficeProduct : kStudioProduct;
  EXPECT_THAT(request(named), StartsWith("200 "));
  EXPECT_EQ(sectionCalls(), guarded);
  EXPECT_EQ(compact(calls("EmCtrlLockMonitor").at(0)["arguments"]), jsonStrings({serial, product}));
  EXPECT_EQ(sectionOwners(), freeSections);
  // A refusal to leave is not reported.
  QuilbySimFailNext("EmCtrlUnlockMonitor", 1, EMERR_FAILED);
  EXPECT_THAT(request(named), StartsWith("200 "));
  EXPECT_EQ(sectionCalls(), guarded);
}

TEST_P(MonitorSectionTest, RefusedSectionLeavesTheWorkUnguarded) {
  const std::string named = sensor();
  QuilbySimFailNext("EmCtrlLockMonitor", 1, EMERR_CANNOT_ENTER_MONITOR_CRITICAL_SECTION);
  EXPECT_THAT(request(named), StartsWith("200 "));
  EXPECT_EQ(sectionCalls(), (std::vector<std::string>{"EmCtrlLockMonitor", serial + " unguarded"}));
  // Without the section functions the work goes on unguarded too.
  reloadWith("libemc_x64.so");
  EXPECT_THAT(request(sensor()), StartsWith("200 "));
  EXPECT_EQ(sectionCalls(), std::vector<std::string>{serial + " unguarded"});
  EXPECT_EQ(sectionOwners(), freeSections);
}

TEST_P(MonitorSectionTest, SensorWithoutHidHandleFailsBeforeTheMonitorIsAsked) {
  const std::string failed = emError(0x80000000, "Failed.", "Get HID handle.");
  EXPECT_EQ(request(colorimeter()), failed);
  EXPECT_EQ(deviceCalls(), std::vector<std::string>{"MDGetHIDHandle"});
  const std::string named = sensor();
  QuilbySimFailNext("MDGetHIDHandle", 1, 0);
  EXPECT_EQ(request(named), failed);
  EXPECT_EQ(deviceCalls(), std::vector<std::string>{"MDGetHIDHandle"});
}

INSTANTIATE_TEST_SUITE_P(BuiltInSensorRequests, MonitorSectionTest,
                         testing::ValuesIn(requestsWith(&Request::monitor)), nameOf);

class MonitorSectionWithoutFunctionTest : public RegistryTest {};

// Only the IR reading's function is missing from the variant colour-sensor library.
TEST_F(MonitorSectionWithoutFunctionTest, MissingColourSensorFunctionLeavesTheSection) {
  reloadWith("libmSensor_x64.so");
  const std::string sensor = panelSensor();
  clearJournal();
  EXPECT_EQ(answer("SensorIR", "GET", sensor), functionNotFound("libmSensor"));
  EXPECT_EQ(calls("EmCtrlLockMonitor").size(), 1u);
  EXPECT_EQ(calls("EmCtrlUnlockMonitor").size(), 1u);
  EXPECT_EQ(sectionOwners(), (std::vector<std::string>{"", "", ""}));
  EXPECT_EQ(call("SensorRGB", "GET", sensor).status, 200);
}

}  // namespace
