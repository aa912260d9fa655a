#include "sim_test_support.h"

#include <ostream>
#include <string>
#include <vector>

namespace {

using cairnjson::Value;
using sim_test::SimTest;

// One step on the studio monitor's critical section: this process enters or leaves it through the
// monitor-control library, or another program takes or drops it through the control interface.
enum class Step { Lock, Unlock, OtherTakes, OtherDrops };

struct Move {
  Step step;
  long long result;  // EmError for Lock and Unlock, 0 or -1 for the other program
};

struct SectionCase {
  const char* name;
  std::vector<Move> moves;
  const char* ownerAfter;  // QuilbySimCriticalSections' owner of the studio monitor
};

void PrintTo(const SectionCase& row, std::ostream* out) { *out << row.name; }

long long perform(Step step) {
  switch (step) {
    case Step::Lock:
      return EmCtrlLockMonitor(sim_test::kStudioSerial, sim_test::kStudioProduct);
    case Step::Unlock:
      return EmCtrlUnlockMonitor(sim_test::kStudioSerial, sim_test::kStudioProduct);
    case Step::OtherTakes:
      return QuilbySimHoldMonitor(sim_test::kStudioSerial, sim_test::kStudioProduct, 1);
    case Step::OtherDrops:
      return QuilbySimHoldMonitor(sim_test::kStudioSerial, sim_test::kStudioProduct, 0);
  }
  return -2;
}

const SectionCase kSectionCases[] = {
    {"LockThenUnlock", {{Step::Lock, EMERR_OK}, {Step::Unlock, EMERR_OK}}, "null"},
    {"LockTwiceIsRefused",
     {{Step::Lock, EMERR_OK}, {Step::Lock, EMERR_MONITOR_CRITICAL_SECTION_IS_OWNED}},
     "\"process\""},
    {"UnlockWithoutLock", {{Step::Unlock, EMERR_INVALID_PRECONDITION}}, "null"},
    {"OtherProgramKeepsUsOut",
     {{Step::OtherTakes, 0},
      {Step::Lock, EMERR_MONITOR_CRITICAL_SECTION_IS_OWNED},
      {Step::Unlock, EMERR_MONITOR_CRITICAL_SECTION_IS_OWNED}},
     "\"other\""},
    {"OtherProgramLeavesThenWeEnter",
     {{Step::OtherTakes, 0}, {Step::OtherDrops, 0}, {Step::Lock, EMERR_OK}},
     "\"process\""},
    {"OtherProgramCannotTakeOurs",
     {{Step::Lock, EMERR_OK}, {Step::OtherTakes, -1}, {Step::OtherDrops, -1}},
     "\"process\""},
};

class CriticalSectionTest : public SimTest, public testing::WithParamInterface<SectionCase> {};

TEST_P(CriticalSectionTest, FollowsItsOwner) {
  const SectionCase& row = GetParam();
  for (std::size_t i = 0; i < row.moves.size(); ++i) {
    EXPECT_EQ(perform(row.moves[i].step), row.moves[i].result) << "step " << i;
  }
  const Value sections = sim_test::parsed(sim_test::controlText(QuilbySimCriticalSections));
  ASSERT_EQ(sections.size(), 3u);
  EXPECT_EQ(sections[0ul]["serial"].toString(""), sim_test::kStudioSerial);
  EXPECT_EQ(sim_test::compact(sections[0ul]["owner"]), row.ownerAfter);
  EXPECT_TRUE(sections[1ul]["owner"].isNull()) << "other monitors are untouched";
}

INSTANTIATE_TEST_SUITE_P(Rows, CriticalSectionTest, testing::ValuesIn(kSectionCases),
                         [](const testing::TestParamInfo<SectionCase>& info) {
                           return info.param.name;
                         });

class MonitorSectionTest : public SimTest {};

TEST_F(MonitorSectionTest, ColourSensorWorksUnlessAnotherProgramHoldsTheMonitor) {
  uint8_t on = 7;
  EXPECT_EQ(CSSG2H_GetHumanDetectOnOff(sim_test::kStudioHid, &on), EMERR_OK);
  ASSERT_EQ(EmCtrlLockMonitor(sim_test::kStudioSerial, sim_test::kStudioProduct), EMERR_OK);
  EXPECT_EQ(CSSG2H_SetHumanDetectOnOff(sim_test::kStudioHid, 1), EMERR_OK);
  ASSERT_EQ(EmCtrlUnlockMonitor(sim_test::kStudioSerial, sim_test::kStudioProduct), EMERR_OK);

  ASSERT_EQ(QuilbySimHoldMonitor(sim_test::kStudioSerial, sim_test::kStudioProduct, 1), 0);
  EXPECT_EQ(CSSG2H_SetHumanDetectOnOff(sim_test::kStudioHid, 0),
            EMERR_REJECTED_BY_CRITICAL_SECTION);
  EXPECT_EQ(CSSG2H_SetColorSensorDataIndex(sim_test::kStudioHid, 0, 0), -1);
  EXPECT_EQ(CSSG2H_GetHumanDetectOnOff(sim_test::kOfficeHid, &on), EMERR_UNSUPPORTED)
      << "other monitors answer";
  EXPECT_EQ(sim_test::world()["monitors"][0ul]["presenceDetection"]["on"].toInt(-1), 1);
}

TEST_F(MonitorSectionTest, JournalTellsWhetherThisProcessHeldTheSection) {
  double X, Y, Z;
  uint32_t mode;
  CSSG2H_GetHumanDetectMode(sim_test::kStudioHid, &mode);
  EmCtrlLockMonitor(sim_test::kStudioSerial, sim_test::kStudioProduct);
  CSSG2H_MeasureNotCorrelatedXYZCount(sim_test::kStudioHid, &X, &Y, &Z);
  EmCtrlUnlockMonitor(sim_test::kStudioSerial, sim_test::kStudioProduct);
  MDHandle swing = openBuiltIn(sim_test::kStudioHid);
  QuilbySimHoldMonitor(sim_test::kStudioSerial, sim_test::kStudioProduct, 1);
  MDGetHIDHandle(swing);
  MDOpen(sim_test::kColorimeter, &swing);

  const Value entries = sim_test::journal();
  ASSERT_EQ(entries.size(), 7u);
  // Held by another program counts as not held by this process.
  const char* const expected[] = {"false", "false", "true", "true", "false", "false", "null"};
  for (unsigned long i = 0; i < 7; ++i) {
    EXPECT_EQ(sim_test::compact(entries[i]["sectionHeld"]), expected[i])
        << entries[i]["function"].toString("");
  }
  EXPECT_EQ(sim_test::compact(entries[0ul]["monitor"]),
            R"({"product":"CX271-Studio","serial":"27Q00451"})");
}

TEST_F(MonitorSectionTest, UnknownMonitorsAreRefused) {
  EXPECT_EQ(EmCtrlLockMonitor("NOPE", sim_test::kStudioProduct), EMERR_MONITOR_CONNECTION_ERROR);
  EXPECT_EQ(EmCtrlLockMonitor(sim_test::kStudioSerial, "Other"), EMERR_MONITOR_CONNECTION_ERROR);
  EXPECT_EQ(EmCtrlLockMonitor(nullptr, sim_test::kStudioProduct), EMERR_INVALID_ARGUMENT);
  EXPECT_EQ(QuilbySimHoldMonitor("NOPE", sim_test::kStudioProduct, 1), -1);
  EXPECT_EQ(CSSG2H_SetHumanDetectOnOff(reinterpret_cast<void*>(uintptr_t{5}), 1),
            EMERR_MONITOR_CONNECTION_ERROR);
}

TEST_F(MonitorSectionTest, ResetFreesEverySection) {
  ASSERT_EQ(EmCtrlLockMonitor(sim_test::kStudioSerial, sim_test::kStudioProduct), EMERR_OK);
  ASSERT_EQ(QuilbySimHoldMonitor(sim_test::kOfficeSerial, sim_test::kOfficeProduct, 1), 0);
  ASSERT_EQ(QuilbySimReset(), 0);
  EXPECT_EQ(sim_test::controlText(QuilbySimCriticalSections),
            R"([{"owner":null,"product":"CX271-Studio","serial":"27Q00451"},)"
            R"({"owner":null,"product":"CX271-Studio","serial":"27U00912"},)"
            R"({"owner":null,"product":"CS240-Office","serial":"24S10088"}])");
}

}  // namespace
