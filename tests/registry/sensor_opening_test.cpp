// Opening sensors (DeviceID, Monitors, IndividualID POST) and the lookup every per-sensor
// resource starts with, through the built plug-in and the simulated libraries.
#include "registry/registry_test_support.h"

#include <ostream>
#include <string>

namespace {

using namespace quilby_test;

class SensorOpeningTest : public RegistryTest {};

// Groups of 8, 4, 4, 4 and 12 lower-case hexadecimal digits joined by hyphens.
bool isLowerCaseUUID(const std::string& id) {
  if (id.size() != 36) return false;
  for (std::size_t i = 0; i < id.size(); ++i) {
    const bool hyphen = i == 8 || i == 13 || i == 18 || i == 23;
    const char c = id[i];
    if (hyphen ? c != '-' : !((c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'))) return false;
  }
  return true;
}

struct OpenRow {
  const char* resource;
  const char* parameters;
  const char* loggedURI;
  const char* openFunction;
  const char* openArguments;
};

void PrintTo(const OpenRow& row, std::ostream* out) { *out << row.resource << " " << row.parameters; }

class SuccessfulOpeningTest : public SensorOpeningTest, public testing::WithParamInterface<OpenRow> {};

TEST_P(SuccessfulOpeningTest, RegistersTheNewHandleUnderAFreshIdentifier) {
  const OpenRow& row = GetParam();
  const Reply reply = call(row.resource, "POST", row.parameters);
  ASSERT_EQ(reply.status, 200) << reply.envelope;
  const std::string id = reply.value.stringRef();
  EXPECT_TRUE(isLowerCaseUUID(id)) << id;
  const auto opens = calls(row.openFunction);
  ASSERT_EQ(opens.size(), 1u);
  EXPECT_EQ(compact(opens[0]["arguments"]), row.openArguments);
  EXPECT_EQ(journalForm(handleOf(id)), opens[0]["handle"].toString(""));
  EXPECT_EQ(compact(openedIdentifiers()), "[\"" + id + "\"]");
  EXPECT_EQ(logLines().front().second,
            std::string("statusCode:200\tmethod:POST\turi:/quilby/") + row.loggedURI + "\tmsg:Success");
}

const OpenRow kOpenRows[] = {
    {"DeviceID", R"({"deviceID":33})", "Sensors/33", "MDOpen", "[33]"},
    {"DeviceID", R"({"deviceID":"48"})", "Sensors/48", "MDOpen", "[48]"},
    // Stream extraction: leading blanks skipped, reading stops at the first non-digit; the low
    // 32 bits of the number are the device id.
    {"DeviceID", R"({"deviceID":" 82abc"})", "Sensors/ 82abc", "MDOpen", "[82]"},
    {"DeviceID", R"({"deviceID":4294967329})", "Sensors/4294967329", "MDOpen", "[33]"},
    {"Monitors", R"({"serial":"27Q00451","product":"CX271-Studio"})",
     "Monitors/27Q00451/CX271-Studio/Sensor", "MDOpenWithHIDHandle", R"(["hid:0x1001"])"},
    {"IndividualID", R"({"individualID":"54887620458597674"})", "Sensors/Individual/54887620458597674",
     "MDOpenWithIndividualID", R"(["00c3000000004d2a"])"},
    {"IndividualID", R"({"individualID":271582289})", "Sensors/Individual/271582289",
     "MDOpenWithIndividualID", R"(["0000000010300451"])"},
};

INSTANTIATE_TEST_SUITE_P(Rows, SuccessfulOpeningTest, testing::ValuesIn(kOpenRows),
                         [](const testing::TestParamInfo<OpenRow>& info) {
                           return std::string(info.param.resource) + std::to_string(info.index);
                         });

struct FailureRow {
  const char* resource;
  const char* parameters;
  const char* loggedURI;
  // The failure injected before the request ("" for none): function and status.
  const char* failFunction;
  EmError failStatus;
  int status;
  const char* envelope;
};

void PrintTo(const FailureRow& row, std::ostream* out) {
  *out << row.resource << " " << row.parameters << " " << row.failFunction;
}

class FailedOpeningTest : public SensorOpeningTest, public testing::WithParamInterface<FailureRow> {};

TEST_P(FailedOpeningTest, AnswersTheErrorAndRegistersNothing) {
  const FailureRow& row = GetParam();
  if (*row.failFunction) QuilbySimFailNext(row.failFunction, 1, row.failStatus);
  const Reply reply = call(row.resource, "POST", row.parameters);
  EXPECT_EQ(reply.status, row.status);
  EXPECT_EQ(reply.envelope, row.envelope);
  const std::string line = logLines().front().second;
  EXPECT_EQ(line.substr(0, line.find("\terr:")),
            "statusCode:" + std::to_string(row.status) + "\tmethod:POST\turi:/quilby/" + row.loggedURI);
  // The URI is checked before the library is asked.
  if (row.status == 400) {
    EXPECT_TRUE(deviceCalls().empty());
  }
  EXPECT_EQ(compact(openedIdentifiers()), "[]");
}

constexpr const char* kInvalidURI =
    R"({"error":{"message":"URI is invalid.","name":"BadRequestError"},"value":null})";

const FailureRow kFailureRows[] = {
    {"DeviceID", "", "Sensors/", "", 0, 400, kInvalidURI},
    {"DeviceID", R"({"deviceID":""})", "Sensors/", "", 0, 400, kInvalidURI},
    {"DeviceID", R"({"deviceID":[33]})", "Sensors/", "", 0, 400, kInvalidURI},
    {"DeviceID", R"([33])", "Sensors/", "", 0, 400, kInvalidURI},
    {"IndividualID", R"({"id":"1"})", "Sensors/Individual/", "", 0, 400, kInvalidURI},
    {"Monitors", R"({"serial":"27Q00451"})", "Monitors/27Q00451//Sensor", "", 0, 400, kInvalidURI},
    {"Monitors", R"({"serial":"","product":"CX271-Studio"})", "Monitors//CX271-Studio/Sensor", "", 0, 400,
     kInvalidURI},
    // The built-in sensor is not opened by device id.
    {"DeviceID", R"({"deviceID":4144})", "Sensors/4144", "", 0, 500,
     R"({"error":{"code":2147549186,"message":"Sensor connection error.","name":"EmError",)"
     R"("reason":"Open sensor."},"value":null})"},
    {"DeviceID", R"({"deviceID":"33"})", "Sensors/33", "MDOpen", EMERR_TIMED_OUT, 500,
     R"({"error":{"code":2147483667,"message":"Timed out.","name":"EmError",)"
     R"("reason":"Open sensor."},"value":null})"},
    {"Monitors", R"({"serial":"NOPE","product":"CX271-Studio"})", "Monitors/NOPE/CX271-Studio/Sensor", "", 0,
     500,
     R"({"error":{"code":2147549185,"message":"Monitor connection error.","name":"EmError",)"
     R"("reason":"Get HID handle."},"value":null})"},
    // "Unknown." (a monitor without HID handle) passes the check; opening without a HID handle
    // then fails.
    {"Monitors", R"({"serial":"27U00912","product":"CX271-Studio"})", "Monitors/27U00912/CX271-Studio/Sensor",
     "", 0, 500,
     R"({"error":{"code":2147483649,"message":"Invalid argument.","name":"EmError",)"
     R"("reason":"Open sensor with HID handle."},"value":null})"},
    {"Monitors", R"({"serial":"24S10088","product":"CS240-Office"})", "Monitors/24S10088/CS240-Office/Sensor",
     "MDOpenWithHIDHandle", EMERR_SENSOR_CONNECTION_ERROR, 500,
     R"({"error":{"code":2147549186,"message":"Sensor connection error.","name":"EmError",)"
     R"("reason":"Open sensor with HID handle."},"value":null})"},
    {"IndividualID", R"({"individualID":"12"})", "Sensors/Individual/12", "", 0, 500,
     R"({"error":{"code":2147549186,"message":"Sensor connection error.","name":"EmError",)"
     R"("reason":"Open sensor with individual id."},"value":null})"},
};

INSTANTIATE_TEST_SUITE_P(Rows, FailedOpeningTest, testing::ValuesIn(kFailureRows),
                         [](const testing::TestParamInfo<FailureRow>& info) {
                           return std::string(info.param.resource) + std::to_string(info.index);
                         });

TEST_F(SensorOpeningTest, OpeningTwiceGivesTwoIdentifiersAndTwoHandles) {
  const std::string first = openMonitor(kStudioSerial, kStudioProduct);
  const std::string second = openMonitor(kStudioSerial, kStudioProduct);
  const std::string third = openByDeviceID(kColorimeter);
  const std::string fourth = openByDeviceID(kColorimeter);
  EXPECT_NE(first, second);
  EXPECT_NE(third, fourth);
  EXPECT_NE(handleOf(first), handleOf(second));
  EXPECT_NE(handleOf(third), handleOf(fourth));
  EXPECT_EQ(openedIdentifiers().size(), 4u);
  // Both monitor entries carry the monitor's serial and product: both are closed in place.
  ASSERT_EQ(functions.preUpdate(kStudioSerial, kStudioProduct), EMERR_OK);
  EXPECT_EQ(handleOf(first), nullptr);
  EXPECT_EQ(handleOf(second), nullptr);
  EXPECT_NE(handleOf(third), nullptr);
}

TEST_F(SensorOpeningTest, PerSensorRequestsFindOnlyOpenSensors) {
  const std::string id = openByDeviceID(kColorimeter);
  const Reply measured = call("SensorXYZ", "GET", R"({"id":")" + id + "\"}");
  EXPECT_EQ(measured.status, 200) << measured.envelope;
  EXPECT_EQ(handleArguments("MDMeasureXYZ2"), std::vector<std::string>{journalForm(handleOf(id))});

  struct Row {
    std::string parameters;
    std::string loggedURI;
    int status;
    std::string envelope;
  };
  const std::string notFound = R"({"error":{"message":"Not found.","name":"Error"},"value":null})";
  const Row rows[] = {
      {"", "Sensors//XYZ", 400, kInvalidURI},
      {R"({"id":""})", "Sensors//XYZ", 400, kInvalidURI},
      {R"({"ID":")" + id + "\"}", "Sensors//XYZ", 400, kInvalidURI},
      {R"({"id":")" + id + "x\"}", "Sensors/" + id + "x/XYZ", 404, notFound},
      {R"({"id":12})", "Sensors/12/XYZ", 404, notFound},
  };
  for (const Row& row : rows) {
    clearJournal();
    const Reply reply = call("SensorXYZ", "GET", row.parameters);
    EXPECT_EQ(reply.status, row.status) << row.parameters;
    EXPECT_EQ(reply.envelope, row.envelope) << row.parameters;
    EXPECT_TRUE(deviceCalls().empty()) << row.parameters;
    const std::string line = logLines().front().second;
    EXPECT_EQ(line.substr(0, line.find("\terr:")),
              "statusCode:" + std::to_string(row.status) + "\tmethod:GET\turi:/quilby/" + row.loggedURI);
  }

  // A sensor closed in place is registered but not found; after the collection's DELETE its
  // identifier is unknown.
  const std::string studio = openMonitor(kStudioSerial, kStudioProduct);
  ASSERT_EQ(functions.preUpdate(kStudioSerial, kStudioProduct), EMERR_OK);
  EXPECT_EQ(call("SensorXYZ", "GET", R"({"id":")" + studio + "\"}").envelope, notFound);
  EXPECT_EQ(call("Sensors", "DELETE").status, 200);
  EXPECT_EQ(call("SensorXYZ", "GET", R"({"id":")" + id + "\"}").envelope, notFound);
}

}  // namespace
