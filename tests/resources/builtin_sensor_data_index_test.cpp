// The selection of a built-in sensor's data index before its correlation data is touched, and the
// monitor's critical section around it: a plain Get of the matrix data selects the user set (flag
// false), and "checksFactoryData" then selects the factory set (flag true).
#include "resources/correlation_fixture.h"

#include <string>

namespace {

using namespace correlation_test;

// The data-index steps of the journal, joined by ", ": "Priority" for a DUE priority read,
// "Index <index> -> <result>" and "Index2 <inverted> <priorityIs2> -> <status>"; with `sections`
// also "LockMonitor", "UnlockMonitor" and the colour-sensor reads ("GetXYZCorrectionMatrix").
std::string dataIndexSteps(const cairnjson::Value& journal, bool sections = false) {
  std::string steps;
  const auto add = [&](const std::string& step) { steps += (steps.empty() ? "" : ", ") + step; };
  for (const cairnjson::Value& entry : journal.elements()) {
    const std::string& function = entry["function"].stringRef();
    const cairnjson::Value& arguments = entry["arguments"];
    const std::string result = " -> " + entry["status"].toString("?");
    if (function == "EmCtrlGetDUEPriority") {
      add("Priority");
    } else if (sections && function.starts_with("EmCtrl") && function.ends_with("Monitor")) {
      add(function.substr(6));
    } else if (sections && function.starts_with("CSSG2H_Get")) {
      add(function.substr(7));
    } else if (function == "CSSG2H_SetColorSensorDataIndex") {
      add("Index " + arguments[1ul].toString("?") + result);
    } else if (function == "CSSG2H_SetColorSensorDataIndex2") {
      add("Index2 " + arguments[1ul].toString("?") + " " + arguments[2ul].toString("?") + result);
    }
  }
  return steps;
}

struct IndexCase {
  const char* name;
  const char* monitor;      // "studio" or "office"
  const char* duePriority;  // the world's value as JSON; "null" for no setting
  bool byFlags;             // older firmware that refuses an index by number
  const char* steps;
  long long indexAfter;     // the factory set stays selected
};

const IndexCase kIndexCases[] = {
    {"Priority2", "studio", "2", false, "Priority, Index 3 -> 0, Priority, Index 1 -> 0", 1},
    {"Priority1", "studio", "1", false, "Priority, Index 3 -> 0, Priority, Index 0 -> 0", 0},
    {"ByFlagsPriority2", "studio", "2", true,
     "Priority, Index 3 -> -1, Index2 1 1 -> 0, Priority, Index 1 -> -1, Index2 0 1 -> 0", 1},
    {"ByFlagsPriority3", "studio", "3", true,
     "Priority, Index 3 -> -1, Index2 1 0 -> 0, Priority, Index 0 -> -1, Index2 0 0 -> 0", 0},
    {"ByFlagsNoPrioritySetting", "office", "null", true,
     "Index 3 -> -1, Index2 1 0 -> 0, Index 0 -> -1, Index2 0 0 -> 0", 0},
};

class CorrelationDataIndexTest : public CorrelationTest,
                                 public testing::WithParamInterface<IndexCase> {};

TEST_P(CorrelationDataIndexTest, SelectsTheSetByFlagAndPriority) {
  const IndexCase& row = GetParam();
  const std::string serial = row.monitor == std::string("studio") ? "QM7A0451" : "QM4C0088";
  loadDefaultWorldWith(serial, [&](cairnjson::Value& monitor) {
    monitor["duePriority"] = correlation_test::parsed(row.duePriority);
    monitor["dataIndexByFlags"].setBool(row.byFlags);
  });
  const std::string parameters = sensor(row.monitor);
  clearJournal();
  const std::string query = R"({"checksFactoryData":null})";
  ASSERT_EQ(call("SensorCorrelationMatrixData", "GET", parameters, query).status, 200);
  EXPECT_EQ(dataIndexSteps(journal()), row.steps);
  cairnjson::Value world = correlation_test::simWorld();
  EXPECT_EQ(monitorIn(world, serial)["dataIndex"].toLLong(-1), row.indexAfter);
  expectSectionsKept();
}

INSTANTIATE_TEST_SUITE_P(Rows, CorrelationDataIndexTest, testing::ValuesIn(kIndexCases),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(CorrelationTest, DescriptionIsRefusedWhileHeldElsewhereThenReadInASectionOfItsOwn) {
  const std::string armSensor = sensor("studio");
  // While another program holds the section, the index is refused by number and by flags; only
  // the second refusal is reported.
  ASSERT_EQ(QuilbySimHoldMonitor("QM7A0451", "QM-27-Studio-Lab", 1), 0);
  EXPECT_EQ(answer("SensorCorrelationDescription", "GET", armSensor),
            emError(0x8000001F, "Rejected by critical section.", "Set color sensor data index."));
  EXPECT_EQ(dataIndexSteps(journal()), "Priority, Index 3 -> -1, Index2 1 1 -> 2147483679");
  EXPECT_TRUE(calls("CSSG2H_GetCriterionSensorDescription").empty());

  ASSERT_EQ(QuilbySimHoldMonitor("QM7A0451", "QM-27-Studio-Lab", 0), 0);
  clearJournal();
  EXPECT_EQ(answer("SensorCorrelationDescription", "GET", armSensor),
            "200 " R"({"error":null,"value":{"date":{"dateString":"2023-11-02 14:20:00","day":2,)"
            R"("hour":14,"minute":20,"month":11,"year":2023},)"
            R"("referenceSensor":{"deviceID":48,"serial":"QS20-240117"}}})");
  // The priority is read before any section; one section selects the user set, another
  // surrounds the reading.
  EXPECT_EQ(dataIndexSteps(journal(), true),
            "Priority, LockMonitor, Index 3 -> 0, UnlockMonitor, LockMonitor, "
            "GetCriterionSensorDescription, UnlockMonitor");
}

}  // namespace
