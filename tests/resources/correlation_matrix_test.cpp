// The stored correlation matrices (CorrelationMatrix) and the built-in sensor's own correction
// matrix (CorrelationMatrix/Data), end to end against the simulated libraries, and a user's
// session with them; the selection of a built-in sensor's data index (user or factory set) before
// its correlation data is touched, and the monitor's critical section around it. Their refusals
// and failures are rows of the request table in correlation_test.cpp.
#include "resources/correlation_fixture.h"

#include <array>
#include <cmath>
#include <string>

namespace {

using namespace correlation_test;

// ---- Stored matrices ----------------------------------------------------------------------------

TEST_F(CorrelationTest, ListsTheMatricesOfTheMonitorsProductAndPanelRevision) {
  const std::string reference = kReference.substr(1);  // the QS-20 reference sensor as a member
  EXPECT_EQ(answer("SensorCorrelationMatrix", "GET", sensor("studio"), R"({"available":0})"),
            ok(R"([{"id":1,)" + reference +
               R"(},{"id":2,"referenceSensor":{"deviceID":82,"serial":"QS30-980007"}}])"));
  EXPECT_TRUE(calls("EmCtrlLockMonitor").empty()) << "listing takes no lock";
  EXPECT_EQ(answer("SensorCorrelationMatrix", "GET", sensor("office"), R"({"available":0})"),
            ok(R"([{"id":3,)" + reference + "}]"));

  // The matrices are those of the monitor's product and panel revision; none fits revision 4.
  loadWorld(worldWith({{kStudioMonitor + ".panelRevision", "4"}}));
  EXPECT_EQ(answer("SensorCorrelationMatrix", "GET", sensor("studio"), R"({"available":0})"),
            ok(R"([])"));
}

// ---- The built-in sensor's correction matrix ----------------------------------------------------

TEST_F(CorrelationTest, MatrixDataReadsTheSupportedFormAndComparesItWithTheFactorySet) {
  EXPECT_EQ(compact(call("SensorCorrelationMatrixData", "GET", sensor("office")).value),
            R"({"matrix":)" + compact(userSet(kOfficeMonitor)["matrix"]) + "}");
  const std::string armSensor = sensor("studio");
  const std::string query = R"({"checksFactoryData":false})";
  EXPECT_EQ(compact(call("SensorCorrelationMatrixData", "GET", armSensor, query).value),
            R"({"isFactory":true,"matrix":)" + compact(userSet(kStudioMonitor)["matrix"]) + "}");
  // The factory set stays selected, so a write has to select the user set again itself.
  const std::string changed =
      R"({"matrix":[[1,0,0],[0,1,0],[0,0,1],[0,0,0],[0,0,0],[0,0,0],[0,0,0],[0.5,0,0]]})";
  ASSERT_EQ(answer("SensorCorrelationMatrixData", "PUT", armSensor, "", changed), ok("null"));
  EXPECT_EQ(compact(call("SensorCorrelationMatrixData", "GET", armSensor, query).value),
            R"({"isFactory":false,"matrix":[[1,0.0,0.0],[0.0,1,0.0],[0.0,0.0,1],)"
            R"([0.0,0.0,0.0],[0.0,0.0,0.0],[0.0,0.0,0.0],[0.0,0.0,0.0],[0.5,0.0,0.0]]})");
}

// ---- A user's session -------------------------------------------------------------------------

// The studio monitor's arm sensor is correlated to a reference instrument by applying a stored
// matrix (or a stored correction); the measurements follow until it is released.
using XYZ = std::array<double, 3>;

// Whether `a` and `b` agree within the simulated sensor's noise.
testing::AssertionResult sameReading(const XYZ& a, const XYZ& b) {
  for (int i = 0; i < 3; ++i) {
    if (!(std::fabs(a[i] - b[i]) <= 0.003 * std::fabs(b[i]))) {
      return testing::AssertionFailure() << a[0] << " " << a[1] << " " << a[2] << " against "
                                         << b[0] << " " << b[1] << " " << b[2];
    }
  }
  return testing::AssertionSuccess();
}

struct Way {
  const char *resource, *body;  // the body with "#" for the listed id
  double terms[3][3];           // the stored record's X, Y and Z rows, acting on the XYZ before
};

const Way kWays[] = {
    {"SensorCorrelationMatrix",
     "#",
     {{1.015, 0.003, 0.0}, {0.002, 1.018, 0.004}, {-0.002, 0.001, 0.991}}},
    {"SensorCorrelation",
     R"({"id":#})",
     {{1.012, 0.004, -0.003}, {0.002, 1.021, 0.001}, {-0.001, 0.006, 0.987}}},
};

TEST_F(CorrelationTest, AppliedMatrixOrCorrectionCorrectsMeasurementsUntilReleased) {
  for (const Way& way : kWays) {
    SCOPED_TRACE(way.resource);
    ASSERT_EQ(QuilbySimReset(), 0);
    const std::string armSensor = sensor("studio");
    const auto measure = [&] {
      const cairnjson::Value xyz = call("SensorXYZ", "GET", armSensor).value["XYZ"];
      return XYZ{xyz["X"].toDouble(NAN), xyz["Y"].toDouble(NAN), xyz["Z"].toDouble(NAN)};
    };
    ASSERT_EQ(answer("SensorArm", "PUT", armSensor, "", "true"), ok("null"));
    const XYZ before = measure();
    ASSERT_GT(before[1], 100.0) << "the panel shows white";

    const cairnjson::Value listed =
        call(way.resource, "GET", armSensor, R"({"available":1})").value;
    ASSERT_EQ(listed.size(), 2u);
    ASSERT_EQ(listed[0ul]["referenceSensor"]["serial"].toString(""), "QS20-240117");
    std::string body = way.body;
    body.replace(body.find('#'), 1, listed[0ul]["id"].toString(""));
    ASSERT_EQ(answer(way.resource, "PUT", armSensor, "", body), ok("null"));

    XYZ expected{};
    for (int r = 0; r < 3; ++r) {
      for (int c = 0; c < 3; ++c) expected[r] += way.terms[r][c] * before[c];
    }
    const XYZ correlated = measure();
    EXPECT_TRUE(sameReading(correlated, expected));
    EXPECT_FALSE(sameReading(correlated, before));

    ASSERT_EQ(answer(way.resource, "DELETE", armSensor), ok("null"));
    EXPECT_TRUE(sameReading(measure(), before));
    EXPECT_TRUE(sectionsFree());
  }
}

// ---- The data index -----------------------------------------------------------------------------

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
  long long indexAfter;  // the factory set stays selected
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
  const std::string monitor = row.monitor == std::string("studio") ? kStudioMonitor : kOfficeMonitor;
  loadWorld(worldWith({{monitor + ".duePriority", row.duePriority},
                       {monitor + ".dataIndexByFlags", row.byFlags ? "true" : "false"}}));
  const std::string parameters = sensor(row.monitor);
  clearJournal();
  const std::string query = R"({"checksFactoryData":null})";
  ASSERT_EQ(call("SensorCorrelationMatrixData", "GET", parameters, query).status, 200);
  EXPECT_EQ(dataIndexSteps(journal()), row.steps);
  cairnjson::Value world = simWorld();
  EXPECT_EQ(valueAt(world, monitor + ".dataIndex").toLLong(-1), row.indexAfter);
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
  EXPECT_EQ(
      answer("SensorCorrelationDescription", "GET", armSensor),
      ok(R"({"date":{"dateString":"2023-11-02 14:20:00","day":2,"hour":14,"minute":20,)"
         R"("month":11,"year":2023},"referenceSensor":{"deviceID":48,"serial":"QS20-240117"}})"));
  // The priority is read before any section; one section selects the user set, another
  // surrounds the reading.
  EXPECT_EQ(dataIndexSteps(journal(), true),
            "Priority, LockMonitor, Index 3 -> 0, UnlockMonitor, LockMonitor, "
            "GetCriterionSensorDescription, UnlockMonitor");
}

}  // namespace
