#include "sim_test_support.h"

#include <cmath>
#include <cstring>
#include <string>

namespace {

using cairnjson::Value;
using sim_test::SimTest;

class JournalTest : public SimTest {
 protected:
  void SetUp() override {
    SimTest::SetUp();
    QuilbySimClearJournal();
  }
};

TEST_F(JournalTest, RecordsEveryCallInOrderWithArgumentsAndResults) {
  void* hid = nullptr;
  ASSERT_EQ(EmCtrlGetHIDHandle(sim_test::kStudioSerial, sim_test::kStudioProduct, &hid), EMERR_OK);
  MDHandle handle = nullptr;
  ASSERT_EQ(MDOpenWithHIDHandle(hid, &handle), EMERR_OK);
  EXPECT_EQ(MDSetMode(handle, 1, 0), EMERR_UNSUPPORTED);
  MDGetName(handle);
  MDGetHIDHandle(handle);
  const MDDeviceID ids[] = {33, 48};
  MDSupportsSubprocess(ids, 2);
  MDSupportsSubprocess(nullptr, 0);
  MDGetNameFromDeviceID(12345);
  ASSERT_EQ(MDClose(&handle), EMERR_OK);

  const std::string handleText = sim_test::journal()[1ul]["handle"].toString("");
  ASSERT_EQ(handleText.rfind("md:", 0), 0u) << handleText;
  const std::string monitor =
      R"("monitor":{"product":"CX271-Studio","serial":"27Q00451"},"sectionHeld":false)";
  EXPECT_EQ(sim_test::controlText(QuilbySimJournal),
            "["
            R"({"arguments":["27Q00451","CX271-Studio"],"function":"EmCtrlGetHIDHandle",)" +
                monitor +
                R"(,"status":0},)"
                R"({"arguments":["hid:0x1001"],"function":"MDOpenWithHIDHandle","handle":")" +
                handleText + R"(",)" + monitor +
                R"(,"status":0},)"
                R"({"arguments":[")" +
                handleText + R"(",1,0],"function":"MDSetMode",)" + monitor +
                R"(,"status":2147483655},)"
                R"({"arguments":[")" +
                handleText + R"("],"function":"MDGetName",)" + monitor +
                R"(,"status":"CX Swing Sensor"},)"
                R"({"arguments":[")" +
                handleText + R"("],"function":"MDGetHIDHandle",)" + monitor +
                R"(,"status":"hid:0x1001"},)"
                R"({"arguments":[[33,48],2],"function":"MDSupportsSubprocess","status":1},)"
                R"({"arguments":[null,0],"function":"MDSupportsSubprocess","status":0},)"
                R"({"arguments":[12345],"function":"MDGetNameFromDeviceID","status":null},)"
                R"({"arguments":[")" +
                handleText + R"("],"function":"MDClose",)" + monitor +
                R"(,"status":0})"
                "]");
}

TEST_F(JournalTest, RecordsInputRecordsAndOmitsOutputs) {
  MDCSSG2CriterionSensorDescription description{};
  description.date = MDDate{2024, 3, 14, 9, 26};
  description.deviceID = 48;
  std::strcpy(description.serial, "S5-240117");
  ASSERT_EQ(CSSG2H_SetCriterionSensorDescription(sim_test::kStudioHid, &description), EMERR_OK);
  MDCSSG2CriterionSensorDescription read{};
  ASSERT_EQ(CSSG2H_GetCriterionSensorDescription(sim_test::kStudioHid, &read, &read.deviceID),
            EMERR_OK);
  EXPECT_EQ(std::memcmp(&read, &description, sizeof read), 0);
  const double matrix[9] = {1, 0, 0, 0, 1, 0, 0, 0, 0.5};
  ASSERT_EQ(CSSG2H_SetXYZCorrectionMatrix(sim_test::kStudioHid, matrix), EMERR_OK);

  const Value entries = sim_test::journal();
  ASSERT_EQ(entries.size(), 3u);
  EXPECT_EQ(sim_test::compact(entries[0ul]["arguments"]),
            R"(["hid:0x1001",{"date":{"day":14,"hour":9,"minute":26,"month":3,"year":2024},)"
            R"("deviceID":48,"serial":"S5-240117"}])");
  EXPECT_EQ(sim_test::compact(entries[1ul]["arguments"]), R"(["hid:0x1001"])");
  EXPECT_EQ(sim_test::compact(entries[2ul]["arguments"]),
            R"(["hid:0x1001",[1,0.0,0.0,0.0,1,0.0,0.0,0.0,0.5]])");
}

TEST_F(JournalTest, NonFiniteInputsAreNamedAndStoredNowhere) {
  const double nan = std::nan("");
  const double inf = HUGE_VAL;
  const double matrix[9] = {nan, 0, 0, 0, inf, 0, 0, 0, -inf};
  EXPECT_EQ(CSSG2H_SetXYZCorrectionMatrix(sim_test::kStudioHid, matrix), EMERR_INVALID_DATA);
  MDCSSG2CalibrationData calibration{};
  calibration.calibration.a[1][2] = inf;
  EXPECT_EQ(CSSG2H_SetColorSensorCalibData(sim_test::kStudioHid, &calibration), EMERR_INVALID_DATA);
  MDCSSG2CorrelationDataEx correlation{};
  correlation.luminanceLevelCorrection.brightness = nan;
  int64_t id = 0;
  EXPECT_EQ(MDAddCSSG2CorrelationDataEx(sim_test::kStudioSerial, sim_test::kStudioProduct, 48,
                                        "S5-240117", &correlation, &id),
            EMERR_INVALID_DATA);

  // JSON has no numbers for these; the journal names them and stays one readable document.
  const Value entries = sim_test::journal();
  ASSERT_EQ(entries.size(), 3u);
  EXPECT_EQ(sim_test::compact(entries[0ul]["arguments"][1ul]),
            R"(["nan",0.0,0.0,0.0,"inf",0.0,0.0,0.0,"-inf"])");
  EXPECT_EQ(sim_test::compact(entries[1ul]["arguments"][1ul]),
            R"({"calibration":{"a":[[0.0,0.0,0.0],[0.0,0.0,"inf"],[0.0,0.0,0.0]]}})");
  EXPECT_EQ(sim_test::compact(entries[2ul]["arguments"][4ul]),
            R"({"luminanceLevelCorrection":{"brightness":"nan"}})");
  // Nothing was stored, so the world still dumps and loads as it is.
  EXPECT_EQ(sim_test::loadWorld(sim_test::controlText(QuilbySimWorld)), "");
}

TEST_F(JournalTest, ClearAndResetEmptyIt) {
  MDGetNameFromDeviceID(33);
  EXPECT_EQ(sim_test::journal().size(), 1u);
  QuilbySimClearJournal();
  EXPECT_EQ(sim_test::controlText(QuilbySimJournal), "[]");
  MDGetNameFromDeviceID(33);
  QuilbySimSetShownColor(sim_test::kStudioSerial, sim_test::kStudioProduct, 0, 0, 0);
  EXPECT_EQ(sim_test::journal().size(), 1u) << "control calls are not journaled";
  ASSERT_EQ(QuilbySimReset(), 0);
  EXPECT_EQ(sim_test::controlText(QuilbySimJournal), "[]");
}

TEST_F(JournalTest, TextIsCutToTheBufferButItsLengthReported) {
  MDGetNameFromDeviceID(33);
  const std::string whole = sim_test::controlText(QuilbySimJournal);
  char buffer[8];
  EXPECT_EQ(QuilbySimJournal(buffer, sizeof buffer), whole.size());
  EXPECT_EQ(std::string(buffer), whole.substr(0, 7));
  EXPECT_EQ(QuilbySimJournal(nullptr, 0), whole.size());
}

// The subprocess calls are journaled and leave their state in the world.
TEST_F(JournalTest, SubprocessStateFollowsLaunchAndQuit) {
  EXPECT_EQ(MDQuitSubprocess(), EMERR_INVALID_PRECONDITION);
  EXPECT_EQ(MDLaunchSubprocess("/opt/host/mdsubprocess", "Color_Tool"), EMERR_OK);
  EXPECT_EQ(MDLaunchSubprocess("/opt/host/mdsubprocess", "Color_Tool"), EMERR_ALREADY_CREATED);
  EXPECT_EQ(sim_test::compact(sim_test::world()["subprocess"]),
            R"({"applicationName":"Color_Tool","deviceIDs":[48],)"
            R"("executablePath":"/opt/host/mdsubprocess","running":true})");
  EXPECT_EQ(MDQuitSubprocess(), EMERR_OK);
  EXPECT_FALSE(sim_test::world()["subprocess"]["running"].toInt(1));
  EXPECT_EQ(MDInitDeviceLibrariesDirectoryPath("/no/such/directory"), EMERR_DLL_NOT_FOUND);
  EXPECT_EQ(MDInitDeviceLibrariesDirectoryPath(QUILBY_TEST_EXPORTS_DIR), EMERR_OK);
  EXPECT_EQ(sim_test::world()["libraryDirectory"].toString(""), QUILBY_TEST_EXPORTS_DIR);
  EXPECT_EQ(sim_test::compact(sim_test::journal()[1ul]["arguments"]),
            R"(["/opt/host/mdsubprocess","Color_Tool"])");
}

}  // namespace
