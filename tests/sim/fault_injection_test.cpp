#include "sim_test_support.h"

#include <string>

namespace {

using cairnjson::Value;
using sim_test::SimTest;

class FaultInjectionTest : public SimTest {};

TEST_F(FaultInjectionTest, FailsTheNextCallsThenWorksAgain) {
  QuilbySimFailNext("MDOpen", 2, EMERR_SENSOR_CONNECTION_ERROR);
  MDHandle handle = nullptr;
  EXPECT_EQ(MDOpen(sim_test::kColorimeter, &handle), EMERR_SENSOR_CONNECTION_ERROR);
  EXPECT_EQ(MDOpen(sim_test::kColorimeter, &handle), EMERR_SENSOR_CONNECTION_ERROR);
  EXPECT_EQ(handle, nullptr) << "an injected failure does nothing else";
  EXPECT_EQ(MDOpen(sim_test::kColorimeter, &handle), EMERR_OK);
  EXPECT_NE(handle, nullptr);

  const Value entries = sim_test::journal();
  ASSERT_EQ(entries.size(), 3u);
  EXPECT_TRUE(entries[0ul]["injected"].toInt(0));
  EXPECT_TRUE(entries[1ul]["injected"].toInt(0));
  EXPECT_FALSE(entries[2ul].contains("injected"));
  EXPECT_FALSE(entries[1ul].contains("handle"));
  EXPECT_EQ(sim_test::world()["failures"].size(), 0u) << "a used-up failure is gone";
}

TEST_F(FaultInjectionTest, InjectedFailureLeavesStateAlone) {
  QuilbySimFailNext("EmCtrlLockMonitor", 1, EMERR_CANNOT_ENTER_MONITOR_CRITICAL_SECTION);
  EXPECT_EQ(EmCtrlLockMonitor(sim_test::kStudioSerial, sim_test::kStudioProduct),
            EMERR_CANNOT_ENTER_MONITOR_CRITICAL_SECTION);
  EXPECT_TRUE(
      sim_test::parsed(sim_test::controlText(QuilbySimCriticalSections))[0ul]["owner"].isNull());
  EXPECT_EQ(EmCtrlLockMonitor(sim_test::kStudioSerial, sim_test::kStudioProduct), EMERR_OK);
}

// Functions without a status fail with their own "nothing".
TEST_F(FaultInjectionTest, FunctionsWithoutStatusAnswerNothing) {
  MDHandle swing = openBuiltIn(sim_test::kStudioHid);
  for (const char* function :
       {"MDGetHIDHandle", "MDGetDeviceID", "MDGetName", "MDIsValidConnection",
        "CSSG2H_SetColorSensorDataIndex", "EmCtrlGetPanelRevision", "HvxCreateUSBDeviceSnapshot",
        "mirelto_get_logger", "MDSupportsSubprocess"}) {
    QuilbySimFailNext(function, 1, EMERR_FAILED);
  }
  const MDDeviceID subprocessDevice = sim_test::kSpectrometer;
  EXPECT_EQ(MDGetHIDHandle(swing), nullptr);
  EXPECT_EQ(MDGetDeviceID(swing), 0u);
  EXPECT_EQ(MDGetName(swing), nullptr);
  EXPECT_EQ(MDIsValidConnection(swing), 0);
  EXPECT_LT(CSSG2H_SetColorSensorDataIndex(sim_test::kStudioHid, 3, 0), 0);
  EXPECT_EQ(EmCtrlGetPanelRevision(sim_test::kStudioSerial, sim_test::kStudioProduct), 0);
  EXPECT_EQ(HvxCreateUSBDeviceSnapshot(), nullptr);
  EXPECT_EQ(mirelto_get_logger(), nullptr);
  EXPECT_EQ(MDSupportsSubprocess(&subprocessDevice, 1), 0);
  // Each once only.
  EXPECT_EQ(MDGetHIDHandle(swing), sim_test::kStudioHid);
  EXPECT_EQ(EmCtrlGetPanelRevision(sim_test::kStudioSerial, sim_test::kStudioProduct), 3);
  EXPECT_EQ(MDSupportsSubprocess(&subprocessDevice, 1), 1);
}

TEST_F(FaultInjectionTest, CountZeroAndClearRemoveFailures) {
  QuilbySimFailNext("MDCalibrate", 5, EMERR_FAILED);
  QuilbySimFailNext("MDCalibrate", 0, EMERR_FAILED);
  MDHandle colorimeter = open(sim_test::kColorimeter);
  EXPECT_EQ(MDCalibrate(colorimeter), EMERR_OK);

  QuilbySimFailNext("MDCalibrate", 5, EMERR_FAILED);
  QuilbySimFailNext("NoSuchFunction", 5, EMERR_FAILED);
  EXPECT_EQ(sim_test::compact(sim_test::world()["failures"]),
            R"([{"count":5,"function":"MDCalibrate","skip":0,"status":"EMERR_FAILED"}])");
  QuilbySimClearFailures();
  EXPECT_EQ(MDCalibrate(colorimeter), EMERR_OK);
}

// The world file arms failures too, with calls to let pass first; the dump shows what is left.
TEST_F(FaultInjectionTest, WorldFileFailuresSkipThenFail) {
  ASSERT_EQ(sim_test::loadWorld(sim_test::defaultWorldWith([](Value& w) {
              Value failure;
              failure["function"] = "MDMeasureXYZ2";
              failure["skip"].setInteger(1);
              failure["count"].setInteger(2);
              failure["status"] = "0x80010003";
              w["failures"].push_back(failure);
            })),
            "");
  MDHandle colorimeter = open(sim_test::kColorimeter);
  MDColor raw, corrected;
  EXPECT_EQ(MDMeasureXYZ2(colorimeter, &raw, &corrected), EMERR_OK);
  EXPECT_EQ(MDMeasureXYZ2(colorimeter, &raw, &corrected), EMERR_MEASURE_ERROR);
  EXPECT_EQ(sim_test::compact(sim_test::world()["failures"]),
            R"([{"count":1,"function":"MDMeasureXYZ2","skip":0,"status":"EMERR_MEASURE_ERROR"}])");
  EXPECT_EQ(MDMeasureXYZ2(colorimeter, &raw, &corrected), EMERR_MEASURE_ERROR);
  EXPECT_EQ(MDMeasureXYZ2(colorimeter, &raw, &corrected), EMERR_OK);

  ASSERT_EQ(QuilbySimReset(), 0);
  EXPECT_EQ(sim_test::world()["failures"].size(), 0u) << "the built-in world has none";
}

TEST_F(FaultInjectionTest, SuccessCodesCanBeInjected) {
  QuilbySimFailNext("MDSetMode", 1, EMERR_UNCONFIRMED);
  MDHandle colorimeter = open(sim_test::kColorimeter);
  EXPECT_EQ(MDSetMode(colorimeter, 1, 0), EMERR_UNCONFIRMED);
  EXPECT_EQ(sim_test::world()["sensors"][2ul]["state"]["mode"].toInt(-1), 0)
      << "but the call did nothing";
}

}  // namespace
