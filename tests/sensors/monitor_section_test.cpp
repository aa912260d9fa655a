// The resources that reach a built-in sensor through its monitor (RGB, IR and uncorrelated XYZ
// readings, presence sensing) enter the monitor's critical section around the colour-sensor call
// and always leave it: on success, on library failures, and when the function is missing.
#include "sensors/sensor_test_support.h"

#include "quilby_sim/control.h"

#include <ostream>
#include <string>
#include <vector>

namespace {

using quilby_test::compact;
using quilby_test::kOfficeProduct;
using quilby_test::kOfficeSerial;
using quilby_test::kStudioProduct;
using quilby_test::kStudioSerial;
using quilby_test::Reply;
using quilby_test::SensorTest;

struct BuiltInCall {
  const char* resource;
  const char* method;
  const char* body;
  const char* function;
  const char* reason;
  // The office monitor's front sensor, or the studio monitor's swing sensor (arm taken out).
  bool office;
};

const BuiltInCall kCalls[] = {
    {"SensorRGB", "GET", "", "CSSG2H_MeasureRGB", "Measure RGB.", true},
    {"SensorIR", "GET", "", "CSSG2H_GetIRValue", "Get IR value.", true},
    {"SensorXYZWithoutCorrelation", "GET", "", "CSSG2H_MeasureNotCorrelatedXYZCount",
     "Measure not correlated XYZ count.", false},
    {"SensorAmbraSense", "GET", "", "CSSG2H_GetHumanDetectOnOff", "Get human detect on off.", false},
    {"SensorAmbraSense", "PUT", "true", "CSSG2H_SetHumanDetectOnOff", "Set human detect on off.",
     false},
    {"SensorAmbraSenseLevel", "GET", "", "CSSG2H_GetHumanDetectMode", "Get human detect mode.",
     false},
    {"SensorAmbraSenseLevel", "PUT", "2", "CSSG2H_SetHumanDetectMode", "Set human detect mode.",
     false},
};

void PrintTo(const BuiltInCall& row, std::ostream* out) {
  *out << row.resource << " " << row.method;
}

class MonitorSectionTest : public SensorTest, public testing::WithParamInterface<BuiltInCall> {
 protected:
  const char* serial() const { return GetParam().office ? kOfficeSerial : kStudioSerial; }
  const char* product() const { return GetParam().office ? kOfficeProduct : kStudioProduct; }
  std::string sensor() {
    if (GetParam().office) return frontSensor();
    const std::string swing = swingSensor();
    EXPECT_EQ(call("SensorArm", "PUT", swing, "", "true").status, 200);
    return swing;
  }
  Reply request(const std::string& sensor) {
    clearJournal();
    return call(GetParam().resource, GetParam().method, sensor, "", GetParam().body);
  }
  // Where the functions were called in the journal, -1 when not; fails on a second call.
  int position(const std::string& function) const {
    const std::vector<std::string> names = deviceCalls();
    int found = -1;
    for (std::size_t i = 0; i < names.size(); ++i) {
      if (names[i] != function) continue;
      EXPECT_EQ(found, -1) << function << " called twice";
      found = static_cast<int>(i);
    }
    return found;
  }
  bool sectionHeldDuringTheCall() const {
    const auto entries = calls(GetParam().function);
    EXPECT_EQ(entries.size(), 1u);
    if (entries.empty()) return false;
    EXPECT_EQ(entries[0]["monitor"]["serial"].stringRef(), serial());
    return entries[0]["sectionHeld"].isBool() && entries[0]["sectionHeld"].toLLong(0) != 0;
  }
  static std::vector<std::string> freeSections() { return {"", "", ""}; }
};

TEST_P(MonitorSectionTest, SectionIsEnteredAroundTheCallAndLeftAfterwards) {
  const Reply reply = request(sensor());
  EXPECT_EQ(reply.status, 200) << reply.envelope;
  EXPECT_TRUE(sectionHeldDuringTheCall());
  const int entered = position("EmCtrlLockMonitor");
  const int called = position(GetParam().function);
  const int left = position("EmCtrlUnlockMonitor");
  EXPECT_LT(-1, entered);
  EXPECT_LT(entered, called);
  EXPECT_LT(called, left);
  const auto lock = calls("EmCtrlLockMonitor");
  ASSERT_EQ(lock.size(), 1u);
  EXPECT_EQ(compact(lock[0]["arguments"]),
            std::string(R"([")") + serial() + R"(",")" + product() + R"("])");
  EXPECT_EQ(sectionOwners(), freeSections());
}

TEST_P(MonitorSectionTest, LibraryFailureIsReportedAndTheSectionLeft) {
  const std::string named = sensor();
  QuilbySimFailNext(GetParam().function, 1, EMERR_MEASURE_ERROR);
  EXPECT_EQ(request(named).envelope, emError(0x80010003, "Measure error.", GetParam().reason));
  EXPECT_TRUE(sectionHeldDuringTheCall());
  EXPECT_LT(position(GetParam().function), position("EmCtrlUnlockMonitor"));
  EXPECT_EQ(sectionOwners(), freeSections());
}

TEST_P(MonitorSectionTest, SectionHeldByAnotherProgramReachesThePageAsTheLibrarysStatus) {
  const std::string named = sensor();
  ASSERT_EQ(QuilbySimHoldMonitor(serial(), product(), 1), 0);
  EXPECT_EQ(request(named).envelope,
            emError(0x8000001F, "Rejected by critical section.", GetParam().reason));
  EXPECT_EQ(calls("EmCtrlLockMonitor").at(0)["status"].toLLong(0), 0x8001000ALL);
  EXPECT_TRUE(calls("EmCtrlUnlockMonitor").empty());
  const auto owners = sectionOwners();
  EXPECT_EQ(owners[GetParam().office ? 2 : 0], "other");
  ASSERT_EQ(QuilbySimHoldMonitor(serial(), product(), 0), 0);
  EXPECT_EQ(request(named).status, 200);
}

TEST_P(MonitorSectionTest, RefusedSectionLeavesTheWorkUnguarded) {
  const std::string named = sensor();
  QuilbySimFailNext("EmCtrlLockMonitor", 1, EMERR_CANNOT_ENTER_MONITOR_CRITICAL_SECTION);
  EXPECT_EQ(request(named).status, 200);
  EXPECT_FALSE(sectionHeldDuringTheCall());
  EXPECT_TRUE(calls("EmCtrlUnlockMonitor").empty());
  // A refusal to leave is not reported either.
  QuilbySimFailNext("EmCtrlUnlockMonitor", 1, EMERR_FAILED);
  EXPECT_EQ(request(named).status, 200);
  EXPECT_EQ(calls("EmCtrlUnlockMonitor").size(), 1u);
}

TEST_P(MonitorSectionTest, SensorWithoutHidHandleFailsBeforeTheMonitorIsAsked) {
  const std::string expected = emError(0x80000000, "Failed.", "Get HID handle.");
  EXPECT_EQ(request(colorimeter()).envelope, expected);
  EXPECT_EQ(deviceCalls(), std::vector<std::string>{"MDGetHIDHandle"});
  const std::string named = sensor();
  QuilbySimFailNext("MDGetHIDHandle", 1, 0);
  EXPECT_EQ(request(named).envelope, expected);
  EXPECT_EQ(deviceCalls(), std::vector<std::string>{"MDGetHIDHandle"});
}

TEST_P(MonitorSectionTest, MissingColourSensorFunctionLeavesTheSection) {
  useVariantLibraries({"libmSensor_x64.so"});
  const Reply reply = request(sensor());
  if (std::string(GetParam().function) == "CSSG2H_GetIRValue") {
    EXPECT_EQ(reply.envelope,
              R"({"error":{"message":"libmSensor does not have a requested function.",)"
              R"("name":"FunctionNotFoundError"},"value":null})");
    EXPECT_EQ(reply.status, 404);
    // The section was entered, and left on the way out.
    EXPECT_EQ(calls("EmCtrlLockMonitor").size(), 1u);
    EXPECT_EQ(calls("EmCtrlUnlockMonitor").size(), 1u);
  } else {
    EXPECT_EQ(reply.status, 200) << reply.envelope;
  }
  EXPECT_EQ(sectionOwners(), freeSections());
}

TEST_P(MonitorSectionTest, WithoutSectionFunctionsTheWorkGoesOnUnguarded) {
  useVariantLibraries({"libemc_x64.so"});
  EXPECT_EQ(request(sensor()).status, 200);
  EXPECT_FALSE(sectionHeldDuringTheCall());
  EXPECT_EQ(sectionOwners(), freeSections());
}

INSTANTIATE_TEST_SUITE_P(BuiltInCalls, MonitorSectionTest, testing::ValuesIn(kCalls),
                         [](const testing::TestParamInfo<BuiltInCall>& info) {
                           return std::string(info.param.resource) + info.param.method;
                         });

}  // namespace
