// The selection of a built-in sensor's data index before its correlation data is touched, seen
// through the matrix data resource: a plain Get selects the user set (flag false), and
// "checksFactoryData" then selects the factory set (flag true).
#include "correlation_test_support.h"

#include <ostream>
#include <string>
#include <vector>

namespace {

using correlation_test::CorrelationTest;
using correlation_test::emError;
using correlation_test::Reply;

// The data-index steps of the journal, in order: "Priority" for a DUE priority read,
// "Index <index> -> <result>" and "Index2 <inverted> <priorityIs2> -> <status>".
std::vector<std::string> dataIndexSteps(const cairnjson::Value& journal) {
  std::vector<std::string> steps;
  for (const cairnjson::Value& entry : journal.elements()) {
    const std::string& function = entry["function"].stringRef();
    const cairnjson::Value& arguments = entry["arguments"];
    const std::string result = " -> " + entry["status"].toString("?");
    if (function == "EmCtrlGetDUEPriority") {
      steps.push_back("Priority");
    } else if (function == "CSSG2H_SetColorSensorDataIndex") {
      steps.push_back("Index " + arguments[1ul].toString("?") + result);
    } else if (function == "CSSG2H_SetColorSensorDataIndex2") {
      steps.push_back("Index2 " + arguments[1ul].toString("?") + " " +
                      arguments[2ul].toString("?") + result);
    }
  }
  return steps;
}

struct IndexCase {
  const char* name;
  const char* monitor;          // serial
  const char* duePriority;      // the world's value as JSON; "null" for no setting
  bool byFlags;                 // older firmware that refuses an index by number
  std::vector<std::string> steps;
  long long indexAfter;         // the factory set stays selected
};

void PrintTo(const IndexCase& row, std::ostream* out) { *out << row.name; }

const IndexCase kIndexCases[] = {
    {"Priority2", "27Q00451", "2", false,
     {"Priority", "Index 3 -> 0", "Priority", "Index 1 -> 0"}, 1},
    {"Priority1", "27Q00451", "1", false,
     {"Priority", "Index 3 -> 0", "Priority", "Index 0 -> 0"}, 0},
    {"Priority0", "27Q00451", "0", false,
     {"Priority", "Index 3 -> 0", "Priority", "Index 0 -> 0"}, 0},
    {"NoPrioritySetting", "27Q00451", "null", false, {"Index 3 -> 0", "Index 0 -> 0"}, 0},
    {"ByFlagsPriority2", "27Q00451", "2", true,
     {"Priority", "Index 3 -> -1", "Index2 1 1 -> 0", "Priority", "Index 1 -> -1",
      "Index2 0 1 -> 0"},
     1},
    {"ByFlagsPriority3", "27Q00451", "3", true,
     {"Priority", "Index 3 -> -1", "Index2 1 0 -> 0", "Priority", "Index 0 -> -1",
      "Index2 0 0 -> 0"},
     0},
    {"ByFlagsNoPrioritySetting", "24S10088", "null", true,
     {"Index 3 -> -1", "Index2 1 0 -> 0", "Index 0 -> -1", "Index2 0 0 -> 0"}, 0},
};

class CorrelationDataIndexTest : public CorrelationTest {};

class CorrelationDataIndexTableTest : public CorrelationTest,
                                      public testing::WithParamInterface<IndexCase> {};

TEST_P(CorrelationDataIndexTableTest, SelectsTheSetByFlagAndPriority) {
  const IndexCase& row = GetParam();
  loadDefaultWorldWith([&](cairnjson::Value& world) {
    cairnjson::Value& monitor = monitorIn(world, row.monitor);
    monitor["duePriority"] = correlation_test::parsed(row.duePriority);
    monitor["dataIndexByFlags"].setBool(row.byFlags);
  });
  const bool onStudio = row.monitor == std::string("27Q00451");
  const std::string sensor = onStudio ? studio() : office();
  clearJournal();
  const Reply reply =
      call("SensorCorrelationMatrixData", "GET", sensor, R"({"checksFactoryData":null})");
  ASSERT_EQ(reply.status, 200) << reply.envelope;
  const cairnjson::Value journal = this->journal();
  EXPECT_EQ(dataIndexSteps(journal), row.steps);

  cairnjson::Value world = correlation_test::simWorld();
  EXPECT_EQ(monitorIn(world, row.monitor)["dataIndex"].toLLong(-1), row.indexAfter);
  // The colour-sensor calls run inside the monitor's section, the priority reads outside it.
  for (const cairnjson::Value& entry : journal.elements()) {
    const std::string& function = entry["function"].stringRef();
    if (function.rfind("CSSG2H_", 0) == 0) {
      EXPECT_TRUE(heldSection(entry)) << function;
    } else if (function == "EmCtrlGetDUEPriority" || function == "EmCtrlSupportedDUEPriority") {
      EXPECT_FALSE(heldSection(entry)) << function;
    }
  }
  EXPECT_TRUE(sectionsFree());
}

INSTANTIATE_TEST_SUITE_P(Rows, CorrelationDataIndexTableTest,
                         testing::ValuesIn(kIndexCases),
                         [](const testing::TestParamInfo<IndexCase>& info) {
                           return info.param.name;
                         });

TEST_F(CorrelationDataIndexTest, RefusedIndexFallsBackToFlagsAndOnlyTheFallbackIsReported) {
  const std::string sensor = studio();
  // A refusal by number alone is not an error.
  QuilbySimFailNext("CSSG2H_SetColorSensorDataIndex", 1, 0);
  EXPECT_EQ(call("SensorCorrelationDescription", "GET", sensor).status, 200);
  EXPECT_EQ(dataIndexSteps(journal()),
            (std::vector<std::string>{"Priority", "Index 3 -> -1", "Index2 1 1 -> 0"}));

  clearJournal();
  QuilbySimFailNext("CSSG2H_SetColorSensorDataIndex", 1, 0);
  QuilbySimFailNext("CSSG2H_SetColorSensorDataIndex2", 1, 0x8000000A);
  EXPECT_EQ(call("SensorCorrelationDescription", "GET", sensor).envelope,
            emError(0x8000000A, "Out of range.", "Set color sensor data index."));
  EXPECT_TRUE(calls("CSSG2H_GetCriterionSensorDescription").empty());
  EXPECT_TRUE(sectionsFree());

  // An accepted index never reaches the fallback.
  clearJournal();
  QuilbySimFailNext("CSSG2H_SetColorSensorDataIndex2", 1, 0x8000000A);
  EXPECT_EQ(call("SensorCorrelationDescription", "GET", sensor).status, 200);
  EXPECT_TRUE(calls("CSSG2H_SetColorSensorDataIndex2").empty());
}

TEST_F(CorrelationDataIndexTest, FailedPriorityReadEndsBeforeTheSectionIsEntered) {
  const std::string sensor = studio();
  QuilbySimFailNext("EmCtrlGetDUEPriority", 1, 0x80010001);
  EXPECT_EQ(call("SensorCorrelationMatrixData", "PUT", sensor, "",
                 R"({"matrix":[[1],[0,1],[0,0,1]]})")
                .envelope,
            emError(0x80010001, "Monitor connection error.", "Get DUE priority."));
  EXPECT_TRUE(calls("EmCtrlLockMonitor").empty());
  EXPECT_TRUE(colorSensorCalls().empty());
}

TEST_F(CorrelationDataIndexTest, SectionIsEnteredAfterThePriorityReadAndLeftBeforeTheReading) {
  const std::string sensor = studio();
  ASSERT_EQ(call("SensorCorrelationDescription", "GET", sensor).status, 200);
  std::vector<std::string> order;
  const cairnjson::Value entries = journal();
  for (const cairnjson::Value& entry : entries.elements()) {
    const std::string& function = entry["function"].stringRef();
    if (function == "EmCtrlGetDUEPriority" || function == "EmCtrlLockMonitor" ||
        function == "EmCtrlUnlockMonitor" || function.rfind("CSSG2H_", 0) == 0) {
      order.push_back(function);
    }
  }
  // Two sections: one around the index selection, one around the reading.
  EXPECT_EQ(order, (std::vector<std::string>{
                       "EmCtrlGetDUEPriority", "EmCtrlLockMonitor",
                       "CSSG2H_SetColorSensorDataIndex", "EmCtrlUnlockMonitor", "EmCtrlLockMonitor",
                       "CSSG2H_GetCriterionSensorDescription", "EmCtrlUnlockMonitor"}));
}

}  // namespace
