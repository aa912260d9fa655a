#include "sim_test_support.h"

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <ostream>
#include <string>

#include <unistd.h>

namespace {

using cairnjson::Value;
using sim_test::SimTest;

Value number(double value) {
  Value json;
  json.setDouble(value);
  return json;
}

Value integer(long long value) {
  Value json;
  json.setInteger(value);
  return json;
}

struct BadWorld {
  const char* name;
  const char* text;            // used when `edit` is null
  void (*edit)(Value& world);  // applied to the default world
  const char* message;         // exact; a trailing '*' matches any rest
};

void PrintTo(const BadWorld& row, std::ostream* out) { *out << row.name; }

const BadWorld kBadWorlds[] = {
    {"MalformedJson", R"({"monitors": [1,,]})", nullptr, "JSON: *"},
    {"NotAnObject", "[1, 2]", nullptr, "world: expected an object"},
    {"UnknownTopLevelKey", nullptr, [](Value& w) { w["monitor"] = Value(cairnjson::Type::Array); },
     "monitor: unknown key"},
    {"SerialLongerThanEight", nullptr, [](Value& w) { w["monitors"][1ul]["serial"] = "123456789"; },
     "monitors[1].serial: longer than 8 characters"},
    {"ProductLongerThanSixteen", nullptr,
     [](Value& w) { w["monitors"][0ul]["product"] = "CX271-Studio-Pro+"; },
     "monitors[0].product: longer than 16 characters"},
    {"SerialOfWrongKind", nullptr, [](Value& w) { w["monitors"][0ul]["serial"] = integer(5); },
     "monitors[0].serial: expected a string"},
    {"DuplicateHidHandle", nullptr,
     [](Value& w) { w["monitors"][2ul]["hidHandle"] = integer(4097); },
     "monitors[2].hidHandle: same as monitors[0].hidHandle"},
    {"DuplicateMonitorSerial", nullptr,
     [](Value& w) { w["monitors"][2ul]["serial"] = sim_test::kStudioSerial; },
     "monitors[2].serial: same as monitors[0].serial"},
    {"DuplicateDeviceID", nullptr, [](Value& w) { w["sensors"][3ul]["deviceID"] = integer(33); },
     "sensors[3].deviceID: same as sensors[2].deviceID"},
    {"SensorLooksAtUnknownMonitor", nullptr,
     [](Value& w) { w["sensors"][2ul]["monitor"] = "NOPE"; },
     "sensors[2].monitor: no monitor with serial \"NOPE\""},
    {"BuiltIntoMonitorWithoutHid", nullptr,
     [](Value& w) { w["sensors"][0ul]["monitor"] = sim_test::kUnlinkedSerial; },
     "sensors[0].monitor: monitor \"27U00912\" has no HID handle"},
    {"TwoSensorsBuiltIntoOneMonitor", nullptr,
     [](Value& w) { w["sensors"][1ul]["monitor"] = sim_test::kStudioSerial; },
     "sensors[1].monitor: sensors[0] is already built into it"},
    {"SerialSensorWithoutItsUsbDevice", nullptr,
     [](Value& w) { w["usbDevices"] = Value(cairnjson::Type::Array); },
     "sensors[4].usbDevice: not among usbDevices"},
    {"RequiredKeyMissing", nullptr, [](Value& w) { w["sensors"][1ul]["name"] = Value(); },
     "sensors[1].name: missing"},
    {"ShownColourAboveOne", nullptr,
     [](Value& w) { w["monitors"][0ul]["shownColor"][1ul] = number(1.5); },
     "monitors[0].shownColor[1]: out of range (0 to 1)"},
    {"EightRowsWithout8x3", nullptr,
     [](Value& w) {
       Value& matrix = w["monitors"][2ul]["dataSets"][0ul]["matrix"];
       const Value first = matrix[0ul];
       for (int row = 3; row < 8; ++row) matrix.push_back(first);
     },
     "monitors[2].dataSets[0].matrix: expected 3 rows"},
    {"DataIndexWithoutDataSet", nullptr,
     [](Value& w) { w["monitors"][2ul]["dataIndex"] = integer(2); },
     "monitors[2].dataIndex: no data set has this index"},
    {"CollinearPrimaries", nullptr,
     [](Value& w) {
       Value& display = w["monitors"][1ul]["display"];
       display["green"] = display["red"];
     },
     "monitors[1].display: the primaries and white do not span a colour space"},
    {"RecordWithUnknownMember", nullptr,
     [](Value& w) {
       w["correlations"][0ul]["data"]["calibrationData"]["calibration"]["c"] = integer(1);
     },
     "correlations[0].data.calibrationData.calibration.c: unknown key"},
    {"RecordArrayTooShort", nullptr,
     [](Value& w) {
       Value& a = w["correlations"][0ul]["data"]["calibrationData"]["calibration"]["a"];
       a = Value(cairnjson::Type::Array);
       a.push_back(Value(cairnjson::Type::Array));
     },
     "correlations[0].data.calibrationData.calibration.a: expected 3 elements"},
    {"CriterionSerialLongerThan32", nullptr,
     [](Value& w) {
       w["monitors"][0ul]["dataSets"][2ul]["criterionSensor"]["serial"] =
           std::string(33, 'S').c_str();
     },
     "monitors[0].dataSets[2].criterionSensor.serial: longer than 32 characters"},
    {"DateMonthThirteen", nullptr,
     [](Value& w) { w["correlations"][1ul]["date"]["month"] = integer(13); },
     "correlations[1].date.month: out of range (1 to 12)"},
    {"AppliedCorrelationUnknown", nullptr,
     [](Value& w) { w["sensors"][0ul]["state"]["appliedCorrelation"] = integer(99); },
     "sensors[0].state.appliedCorrelation: no correlation has this id"},
    {"ModeTheSensorLacks", nullptr,
     [](Value& w) { w["sensors"][2ul]["state"]["mode"] = integer(2); },
     "sensors[2].state.mode: the sensor does not support this mode"},
    {"FailureOfUnknownFunction", nullptr,
     [](Value& w) { w["failures"][0ul]["function"] = "MDFly"; },
     "failures[0].function: not a device-library function"},
    {"FailureStatusUnknownName", nullptr,
     [](Value& w) {
       w["failures"][0ul]["function"] = "MDOpen";
       w["failures"][0ul]["status"] = "EMERR_NOPE";
     },
     "failures[0].status: expected a status: *"},
};

class BadWorldTest : public SimTest, public testing::WithParamInterface<BadWorld> {};

bool matches(const std::string& message, const std::string& expected) {
  if (!expected.empty() && expected.back() == '*') {
    return message.compare(0, expected.size() - 1, expected, 0, expected.size() - 1) == 0;
  }
  return message == expected;
}

TEST_P(BadWorldTest, IsRefusedWithItsPlaceAndKeepsTheWorld) {
  const BadWorld& row = GetParam();
  const std::string text = row.edit ? sim_test::defaultWorldWith(row.edit) : row.text;
  MDHandle handle = open(sim_test::kColorimeter);
  ASSERT_EQ(
      QuilbySimSetShownColor(sim_test::kStudioSerial, sim_test::kStudioProduct, 0.2, 0.4, 0.6), 0);
  const std::string before = sim_test::controlText(QuilbySimWorld);

  const std::string message = sim_test::loadWorld(text);
  EXPECT_TRUE(matches(message, row.message)) << message;
  EXPECT_EQ(sim_test::controlText(QuilbySimLastError), message);
  EXPECT_EQ(sim_test::controlText(QuilbySimWorld), before);
  EXPECT_EQ(MDIsValidConnection(handle), 1) << "handles survive a refused world";
}

INSTANTIATE_TEST_SUITE_P(Rows, BadWorldTest, testing::ValuesIn(kBadWorlds),
                         [](const testing::TestParamInfo<BadWorld>& info) {
                           return info.param.name;
                         });

class WorldLoadingTest : public SimTest {};

TEST_F(WorldLoadingTest, DefaultWorldRoundTripsThroughItsDump) {
  const std::string dump = sim_test::controlText(QuilbySimWorld);
  ASSERT_EQ(sim_test::loadWorld(dump), "");
  EXPECT_EQ(sim_test::controlText(QuilbySimWorld), dump);
}

TEST_F(WorldLoadingTest, DumpCarriesStateThatCallsChanged) {
  MDHandle handle = open(sim_test::kColorimeter);
  ASSERT_EQ(MDSetMode(handle, 1, 1), EMERR_OK);
  ASSERT_EQ(MDApplyCorrelationMatrix(handle, 1), EMERR_OK);
  const Value sensor = sim_test::world()["sensors"][2ul];
  EXPECT_EQ(sensor["state"]["mode"].toInt(-1), 1);
  EXPECT_EQ(sensor["state"]["observer"].toInt(-1), 1);
  EXPECT_EQ(sensor["state"]["position"].toInt(-1), 1);
  EXPECT_EQ(sensor["state"]["appliedMatrix"].toInt(-1), 1);
}

TEST_F(WorldLoadingTest, LoadInvalidatesHandlesAndClearsJournal) {
  MDHandle handle = open(sim_test::kColorimeter);
  ASSERT_EQ(sim_test::loadWorld(sim_test::controlText(QuilbySimWorld)), "");
  EXPECT_EQ(sim_test::controlText(QuilbySimJournal), "[]");
  EXPECT_EQ(MDIsValidConnection(handle), 0);
  EXPECT_EQ(MDClose(&handle), EMERR_INVALID_ARGUMENT);
}

TEST_F(WorldLoadingTest, MinimalWorldTakesDefaults) {
  ASSERT_EQ(sim_test::loadWorld(R"({"monitors": [{"serial": "M1", "product": "P", "hidHandle": 7}],
      "sensors": [{"deviceID": 9, "individualID": 5, "name": "S", "serial": "s1",
                   "connection": "builtIn", "monitor": "M1"}]})"),
            "");
  const Value monitor = sim_test::world()["monitors"][0ul];
  EXPECT_EQ(monitor["dataIndex"].toInt(-1), 3);
  EXPECT_EQ(monitor["dataSets"].size(), 3u);
  EXPECT_EQ(monitor["display"]["luminance"].toDouble(0), 120.0);
  EXPECT_EQ(sim_test::world()["sensors"][0ul]["individualID"].toString(""), "0000000000000005");
  MDHandle handle = nullptr;
  EXPECT_EQ(MDOpenWithHIDHandle(reinterpret_cast<void*>(uintptr_t{7}), &handle), EMERR_OK);
}

TEST_F(WorldLoadingTest, ErrorTextIsCutToTheBufferAndLengthReported) {
  char error[10];
  std::memset(error, 'x', sizeof error);
  ASSERT_EQ(QuilbySimLoadWorld("[]", error, sizeof error), -1);
  EXPECT_STREQ(error, "world: ex");
  EXPECT_EQ(QuilbySimLastError(nullptr, 0), std::string("world: expected an object").size());
}

// docs/simulator.md shows the built-in world in full; the two must not drift apart.
TEST_F(WorldLoadingTest, DocumentedBuiltInWorldIsTheBuiltInWorld) {
  std::ifstream file(QUILBY_TEST_SOURCE_DIR "/docs/simulator.md");
  const std::string document((std::istreambuf_iterator<char>(file)),
                             std::istreambuf_iterator<char>());
  const std::size_t section = document.find("\n## The built-in world");
  const std::size_t begin = document.find("```json\n", section);
  const std::size_t end = document.find("\n```", begin + 1);
  ASSERT_NE(section, std::string::npos);
  ASSERT_NE(end, std::string::npos);
  const std::string builtIn = sim_test::controlText(QuilbySimWorld);
  ASSERT_EQ(sim_test::loadWorld(document.substr(begin + 8, end - begin - 8)), "");
  EXPECT_EQ(sim_test::controlText(QuilbySimWorld), builtIn);
}

class EnvironmentWorldTest : public SimTest {
 protected:
  void TearDown() override {
    unsetenv("QUILBY_SIM_WORLD");
    std::remove(path_.c_str());
  }
  void writeWorld(const std::string& text) {
    std::ofstream(path_) << text;
    setenv("QUILBY_SIM_WORLD", path_.c_str(), 1);
  }
  // One file per test and process: ctest runs the tests in parallel.
  std::string path_ = testing::TempDir() +
                      testing::UnitTest::GetInstance()->current_test_info()->name() + "." +
                      std::to_string(getpid()) + ".json";
};

TEST_F(EnvironmentWorldTest, ResetLoadsTheNamedFile) {
  writeWorld(R"({"monitors": [{"serial": "ENV1", "product": "Env"}]})");
  ASSERT_EQ(QuilbySimReset(), 0);
  const Value monitors = sim_test::world()["monitors"];
  ASSERT_EQ(monitors.size(), 1u);
  EXPECT_EQ(monitors[0ul]["serial"].toString(""), "ENV1");
}

TEST_F(EnvironmentWorldTest, BadFileFallsBackToTheBuiltInWorld) {
  writeWorld(R"({"monitors": [{"serial": "TOO-LONG-SERIAL", "product": "Env"}]})");
  EXPECT_EQ(QuilbySimReset(), -1);
  EXPECT_EQ(sim_test::controlText(QuilbySimLastError),
            path_ + ": monitors[0].serial: longer than 8 characters");
  EXPECT_EQ(sim_test::world()["monitors"][0ul]["serial"].toString(""), sim_test::kStudioSerial);

  setenv("QUILBY_SIM_WORLD", (path_ + ".missing").c_str(), 1);
  EXPECT_EQ(QuilbySimReset(), -1);
  EXPECT_EQ(sim_test::controlText(QuilbySimLastError), path_ + ".missing: cannot be read");
}

}  // namespace
