#include "sim_test_support.h"

#include <ostream>
#include <string>
#include <vector>

namespace {

using namespace sim_test;

// One step on the studio monitor's critical section: this process enters or leaves it through the
// monitor-control library, or another program takes or drops it through the control interface.
enum class Step { Lock, Unlock, OtherTakes, OtherDrops };
using enum Step;

struct SectionCase {
  const char* name;
  std::vector<std::pair<Step, long long>> moves;  // EmError, or 0 or -1 for the other program
  const char* ownerAfter;  // QuilbySimCriticalSections' owner of the studio monitor
};

void PrintTo(const SectionCase& row, std::ostream* out) { *out << row.name; }

long long perform(Step step) {
  if (step == Lock) return EmCtrlLockMonitor(kStudioSerial, kStudioProduct);
  if (step == Unlock) return EmCtrlUnlockMonitor(kStudioSerial, kStudioProduct);
  return QuilbySimHoldMonitor(kStudioSerial, kStudioProduct, step == OtherTakes);
}

const SectionCase kSectionCases[] = {
    {"LockTwiceIsRefused",
     {{Lock, EMERR_OK}, {Lock, EMERR_MONITOR_CRITICAL_SECTION_IS_OWNED}},
     "\"process\""},
    {"UnlockWithoutLock", {{Unlock, EMERR_INVALID_PRECONDITION}}, "null"},
    {"OtherProgramKeepsUsOut",
     {{OtherTakes, 0},
      {Lock, EMERR_MONITOR_CRITICAL_SECTION_IS_OWNED},
      {Unlock, EMERR_MONITOR_CRITICAL_SECTION_IS_OWNED}},
     "\"other\""},
    {"OtherProgramCannotTakeOurs",
     {{Lock, EMERR_OK}, {OtherTakes, -1}, {OtherDrops, -1}},
     "\"process\""},
};

class CriticalSectionTest : public SimTest, public testing::WithParamInterface<SectionCase> {};

TEST_P(CriticalSectionTest, FollowsItsOwner) {
  const SectionCase& row = GetParam();
  for (std::size_t i = 0; i < row.moves.size(); ++i) {
    EXPECT_EQ(perform(row.moves[i].first), row.moves[i].second) << "step " << i;
  }
  const Value sections = parsed(controlText(QuilbySimCriticalSections));
  EXPECT_EQ(compact(sections[0ul]["owner"]), row.ownerAfter);
  EXPECT_TRUE(sections[1ul]["owner"].isNull()) << "other monitors are untouched";
}

INSTANTIATE_TEST_SUITE_P(Rows, CriticalSectionTest, testing::ValuesIn(kSectionCases),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
