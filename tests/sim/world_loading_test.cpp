#include "sim_test_support.h"

#include <cstring>
#include <fstream>
#include <ostream>
#include <string>

namespace {

using namespace sim_test;

// A world refused for one kind of problem: the default world with the value at `place` replaced
// by `json`, or, without a place, the text `json` itself.
struct BadWorld {
  const char* name;
  const char* place;
  const char* json;
  const char* problem;       // the message after "<at>: "; a trailing '*' matches any rest
  const char* at = nullptr;  // the problem's place, when not `place`
};

void PrintTo(const BadWorld& row, std::ostream* out) { *out << row.name; }

const BadWorld kBadWorlds[] = {
    {"MalformedJson", nullptr, R"({"monitors": [1,,]})", "*", "JSON"},
    {"NotAnObject", nullptr, "[1, 2]", "expected an object", "world"},
    {"UnknownTopLevelKey", "monitor", "[]", "unknown key"},
    {"ProductLongerThanSixteen", "monitors[0].product", R"("QM-27-Studio-Lab-Pro+")",
     "longer than 16 characters"},
    {"SerialOfWrongKind", "monitors[0].serial", "5", "expected a string"},
    {"DuplicateHidHandle", "monitors[2].hidHandle", "4097", "same as monitors[0].hidHandle"},
    {"DuplicateMonitorSerial", "monitors[2].serial", R"("QM7A0451")", "same as monitors[0].serial"},
    {"DuplicateDeviceID", "sensors[3].deviceID", "33", "same as sensors[2].deviceID"},
    {"SensorLooksAtUnknownMonitor", "sensors[2].monitor", R"("NOPE")",
     "no monitor with serial \"NOPE\""},
    {"BuiltIntoMonitorWithoutHid", "sensors[0].monitor", R"("QM7B0912")",
     "monitor \"QM7B0912\" has no HID handle"},
    {"TwoSensorsBuiltIntoOneMonitor", "sensors[1].monitor", R"("QM7A0451")",
     "sensors[0] is already built into it"},
    {"SerialSensorWithoutItsUsbDevice", "usbDevices", "[]", "not among usbDevices",
     "sensors[4].usbDevice"},
    {"RequiredKeyMissing", "sensors[1].name", "null", "missing"},
    {"ShownColourAboveOne", "monitors[0].shownColor[1]", "1.5", "out of range (0 to 1)"},
    {"EightRowsWithout8x3", "monitors[2].dataSets[0].matrix",
     "[[1, 0, 0], [0, 1, 0], [0, 0, 1], [0, 0, 0], [0, 0, 0], [0, 0, 0], [0, 0, 0], [0, 0, 0]]",
     "expected 3 rows"},
    {"DataIndexWithoutDataSet", "monitors[2].dataIndex", "2", "no data set has this index"},
    {"CollinearPrimaries", "monitors[1].display.green", R"({"x": 0.679, "y": 0.321})",
     "the primaries and white do not span a colour space", "monitors[1].display"},
    {"RecordWithUnknownMember", "correlations[0].data.calibrationData.calibration.c", "1",
     "unknown key"},
    {"RecordArrayTooShort", "correlations[0].data.calibrationData.calibration.a", "[[]]",
     "expected 3 elements"},
    {"CriterionSerialLongerThan32", "monitors[0].dataSets[2].criterionSensor.serial",
     R"("SSSSSSSSSSSSSSSSSSSSSSSSSSSSSSSSS")", "longer than 32 characters"},
    {"DateMonthThirteen", "correlations[1].date.month", "13", "out of range (1 to 12)"},
    {"AppliedCorrelationUnknown", "sensors[0].state.appliedCorrelation", "99",
     "no correlation has this id"},
    {"ModeTheSensorLacks", "sensors[2].state.mode", "2", "the sensor does not support this mode"},
    {"FailureOfUnknownFunction", "failures", R"([{"function": "MDFly"}])",
     "not a device-library function", "failures[0].function"},
    {"FailureStatusUnknownName", "failures", R"([{"function": "MDOpen", "status": "EMERR_NOPE"}])",
     "expected a status: *", "failures[0].status"},
};

class BadWorldTest : public SimTest, public testing::WithParamInterface<BadWorld> {};

TEST_P(BadWorldTest, IsRefusedWithItsPlaceAndKeepsTheWorld) {
  const BadWorld& row = GetParam();
  const std::string text = row.place ? worldWith({{row.place, row.json}}) : row.json;
  MDHandle handle = open(kColorimeter);
  ASSERT_EQ(QuilbySimSetShownColor(kStudioSerial, kStudioProduct, 0.2, 0.4, 0.6), 0);
  const std::string before = controlText(QuilbySimWorld);

  const std::string message = loadWorld(text);
  const std::string expected = std::string(row.at ? row.at : row.place) + ": " + row.problem;
  EXPECT_EQ(expected.back() == '*' ? message.substr(0, expected.size() - 1) + '*' : message,
            expected);
  EXPECT_EQ(controlText(QuilbySimLastError), message);
  EXPECT_EQ(controlText(QuilbySimWorld), before);
  EXPECT_EQ(MDIsValidConnection(handle), 1) << "handles survive a refused world";
}

INSTANTIATE_TEST_SUITE_P(Rows, BadWorldTest, testing::ValuesIn(kBadWorlds),
                         [](const auto& info) { return std::string(info.param.name); });

class WorldLoadingTest : public SimTest {};

TEST_F(WorldLoadingTest, DumpCarriesChangedStateAndLoadsAsItIsWithoutHandlesOrJournal) {
  MDHandle handle = open(kColorimeter);
  ASSERT_EQ(MDSetMode(handle, 1, 1), EMERR_OK);
  ASSERT_EQ(MDApplyCorrelationMatrix(handle, 1), EMERR_OK);
  const std::string dump = controlText(QuilbySimWorld);
  for (const char* key : {"mode", "observer", "position", "appliedMatrix"}) {
    EXPECT_EQ(parsed(dump)["sensors"][2ul]["state"][key].toInt(-1), 1) << key;
  }
  ASSERT_EQ(loadWorld(dump), "");
  EXPECT_EQ(controlText(QuilbySimWorld), dump);
  EXPECT_EQ(controlText(QuilbySimJournal), "[]");
  EXPECT_EQ(MDIsValidConnection(handle), 0);
}

// docs/simulator.md shows the built-in world in full; the two must not drift apart.
TEST_F(WorldLoadingTest, DocumentedBuiltInWorldIsTheBuiltInWorld) {
  const std::string document = fileText(QUILBY_TEST_SOURCE_DIR "/docs/simulator.md");
  const std::size_t begin = document.find("```json\n", document.find("\n## The built-in world"));
  ASSERT_NE(begin, std::string::npos);
  const std::size_t end = document.find("\n```", begin + 1);
  ASSERT_NE(end, std::string::npos);
  const std::string builtIn = controlText(QuilbySimWorld);
  ASSERT_EQ(loadWorld(document.substr(begin + 8, end - begin - 8)), "");
  EXPECT_EQ(controlText(QuilbySimWorld), builtIn);
}

// QUILBY_SIM_WORLD names the file a reset loads; a minimal world takes defaults for the rest.
TEST_F(WorldLoadingTest, ResetLoadsTheNamedFileWithDefaultsElseTheBuiltInWorld) {
  setenv("QUILBY_SIM_WORLD", path_.c_str(), 1);
  std::ofstream(path_) << R"({"monitors": [{"serial": "M1", "product": "P", "hidHandle": 7}],
      "sensors": [{"deviceID": 9, "individualID": 5, "name": "S", "serial": "s1",
                   "connection": "builtIn", "monitor": "M1"}]})";
  ASSERT_EQ(QuilbySimReset(), 0);
  const Value loaded = world();
  ASSERT_EQ(loaded["monitors"].size(), 1u);
  EXPECT_EQ(loaded["monitors"][0ul]["dataIndex"].toInt(-1), 3);
  EXPECT_EQ(loaded["monitors"][0ul]["dataSets"].size(), 3u);
  EXPECT_EQ(loaded["monitors"][0ul]["display"]["luminance"].toDouble(0), 120.0);
  EXPECT_EQ(loaded["sensors"][0ul]["individualID"].toString(""), "0000000000000005");
  EXPECT_EQ(MDGetDeviceID(openBuiltIn(reinterpret_cast<void*>(uintptr_t{7}))), 9u);

  std::ofstream(path_) << R"({"monitors": [{"serial": "TOO-LONG-SERIAL", "product": "Env"}]})";
  EXPECT_EQ(QuilbySimReset(), -1);
  EXPECT_EQ(controlText(QuilbySimLastError),
            path_ + ": monitors[0].serial: longer than 8 characters");
  EXPECT_EQ(world()["monitors"][0ul]["serial"].toString(""), kStudioSerial);

  setenv("QUILBY_SIM_WORLD", (path_ + ".missing").c_str(), 1);
  EXPECT_EQ(QuilbySimReset(), -1);
  EXPECT_EQ(controlText(QuilbySimLastError), path_ + ".missing: cannot be read");
}

// Each text of the control interface is cut to the caller's buffer, which ends in a NUL, and the
// whole text's length returned.
TEST_F(WorldLoadingTest, ControlTextsAreCutToTheBufferAndTellTheirLength) {
  char error[10];
  std::memset(error, 'x', sizeof error);
  ASSERT_EQ(QuilbySimLoadWorld("[]", error, sizeof error), -1);
  EXPECT_STREQ(error, "world: ex");
  MDGetNameFromDeviceID(kColorimeter);  // a journal entry
  for (auto* text :
       {QuilbySimLastError, QuilbySimWorld, QuilbySimJournal, QuilbySimCriticalSections}) {
    const std::string whole = controlText(text);
    SCOPED_TRACE(whole.substr(0, 16));
    char buffer[8];
    std::memset(buffer, 'x', sizeof buffer);
    EXPECT_EQ(text(buffer, sizeof buffer), whole.size());
    EXPECT_EQ(std::string(buffer, sizeof buffer), whole.substr(0, 7) + '\0');
    EXPECT_EQ(text(nullptr, 0), whole.size());
  }
}

}  // namespace
