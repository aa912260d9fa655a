// The stored correlation matrices (CorrelationMatrix) and the built-in sensor's own correction
// matrix (CorrelationMatrix/Data), end to end against the simulated libraries.
#include "correlation_test_support.h"

#include <ostream>
#include <string>
#include <vector>

namespace {

using correlation_test::badRequest;
using correlation_test::compact;
using correlation_test::CorrelationTest;
using correlation_test::emError;
using correlation_test::kOK;
using correlation_test::Reply;

class CorrelationMatrixTest : public CorrelationTest {};

// ---- Stored matrices ----------------------------------------------------------------------------

TEST_F(CorrelationMatrixTest, ListsTheMatricesOfTheMonitorsProductAndPanelRevision) {
  const std::string studioSensor = studio();
  EXPECT_EQ(call("SensorCorrelationMatrix", "GET", studioSensor, R"({"available":0})").envelope,
            R"({"error":null,"value":[)"
            R"({"id":1,"referenceSensor":{"deviceID":48,"serial":"S5-240117"}},)"
            R"({"id":2,"referenceSensor":{"deviceID":82,"serial":"R2-1998-0007"}}]})");
  const auto revision = calls("EmCtrlGetPanelRevision");
  ASSERT_EQ(revision.size(), 1u);
  EXPECT_EQ(compact(revision[0]["arguments"]), R"(["27Q00451","CX271-Studio"])");
  const auto listed = calls("MDEnumCorrelationMatrix");
  ASSERT_EQ(listed.size(), 3u);
  EXPECT_EQ(compact(listed[2]["arguments"][1ul]), R"("CX271-Studio")");
  EXPECT_EQ(listed[2]["arguments"][2ul].toLLong(-1), 3);
  EXPECT_EQ(listed[2]["arguments"][3ul].toLLong(-1), 2);
  EXPECT_TRUE(calls("EmCtrlLockMonitor").empty()) << "listing takes no lock";

  const std::string officeSensor = office();
  EXPECT_EQ(call("SensorCorrelationMatrix", "GET", officeSensor, R"({"available":0})").envelope,
            R"({"error":null,"value":[)"
            R"({"id":3,"referenceSensor":{"deviceID":48,"serial":"S5-240117"}}]})");
}

TEST_F(CorrelationMatrixTest, MonitorWithoutFittingMatricesListsNone) {
  loadDefaultWorldWith([](cairnjson::Value& world) {
    monitorIn(world, "27Q00451")["panelRevision"].setInteger(4);
  });
  const std::string sensor = studio();
  EXPECT_EQ(call("SensorCorrelationMatrix", "GET", sensor, R"({"available":0})").envelope,
            R"({"error":null,"value":[]})");
}

TEST_F(CorrelationMatrixTest, MatrixListingChecksTheQueryBeforeTheHidHandle) {
  const std::string usb = colorimeter();
  EXPECT_EQ(call("SensorCorrelationMatrix", "GET", usb).envelope,
            badRequest("requires 'available' query."));
  EXPECT_EQ(call("SensorCorrelationMatrix", "GET", usb, R"({"available":0})").envelope,
            emError(0x80000000, "Failed.", "Get HID handle."));
  EXPECT_TRUE(calls("MDEnumCorrelationMatrix").empty());
  EXPECT_EQ(call("SensorCorrelationMatrix", "GET", R"({"id":"nope"})", R"({"available":0})")
                .error["message"]
                .stringRef(),
            "Not found.");
}

struct MatrixPutCase {
  const char* name;
  const char* body;
  long long id;  // the id applied, or -1 when the body is refused
  const char* envelope;
};

void PrintTo(const MatrixPutCase& row, std::ostream* out) { *out << row.name; }

const std::string kMatrixNotRegistered =
    emError(0x80000005, "Not registered.", "Apply correlation matrix.");
const std::string kNotNumber = badRequest("data must be number.");

const MatrixPutCase kMatrixPutCases[] = {
    {"BareInteger", "2", 2, kOK},
    {"HalfRoundsUp", "1.5", 2, kOK},
    {"SixAndAHalfIsSeven", "6.5", 7, kMatrixNotRegistered.c_str()},
    {"NegativeIsZero", "-3", 0, kMatrixNotRegistered.c_str()},
    {"ObjectWithId", R"({"id":2})", -1, kNotNumber.c_str()},
    {"NumberText", R"("2")", -1, kNotNumber.c_str()},
    {"Boolean", "true", -1, kNotNumber.c_str()},
    {"NoBody", "", -1, kNotNumber.c_str()},
};

class CorrelationMatrixPutTest : public CorrelationTest,
                                 public testing::WithParamInterface<MatrixPutCase> {};

TEST_P(CorrelationMatrixPutTest, AppliesTheMatrixWhoseIdIsTheBody) {
  const MatrixPutCase& row = GetParam();
  // Any opened sensor may take a matrix, not only built-in ones.
  const std::string sensor = colorimeter();
  EXPECT_EQ(call("SensorCorrelationMatrix", "PUT", sensor, "", row.body).envelope, row.envelope);
  const auto applied = calls("MDApplyCorrelationMatrix");
  if (row.id < 0) {
    EXPECT_TRUE(applied.empty());
    return;
  }
  ASSERT_EQ(applied.size(), 1u);
  EXPECT_EQ(applied[0]["arguments"][1ul].toLLong(-1), row.id);
}

INSTANTIATE_TEST_SUITE_P(Rows, CorrelationMatrixPutTest, testing::ValuesIn(kMatrixPutCases),
                         [](const testing::TestParamInfo<MatrixPutCase>& info) {
                           return info.param.name;
                         });

TEST_F(CorrelationMatrixTest, DeleteReleasesTheAppliedMatrix) {
  const std::string sensor = colorimeter();
  ASSERT_EQ(call("SensorCorrelationMatrix", "PUT", sensor, "", "3").envelope, kOK);
  EXPECT_EQ(sensorState("C3-0042117")["appliedMatrix"].toLLong(0), 3);
  EXPECT_EQ(call("SensorCorrelationMatrix", "DELETE", sensor).envelope, kOK);
  EXPECT_TRUE(sensorState("C3-0042117")["appliedMatrix"].isNull());

  QuilbySimFailNext("MDReleaseCorrelationMatrix", 1, 0x80000015);
  EXPECT_EQ(call("SensorCorrelationMatrix", "DELETE", sensor).envelope,
            emError(0x80000015, "Invalid precondition.", "Release correlation matrix."));
  EXPECT_EQ(call("SensorCorrelationMatrix", "DELETE", "").error["message"].stringRef(),
            "URI is invalid.");
}

// ---- The built-in sensor's correction matrix ----------------------------------------------------

TEST_F(CorrelationMatrixTest, MatrixDataReadsTheFormTheSensorSupports) {
  const std::string officeSensor = office();
  const Reply threeRows = call("SensorCorrelationMatrixData", "GET", officeSensor);
  EXPECT_EQ(compact(threeRows.value),
            R"({"matrix":)" + compact(dataSet("24S10088", 3)["matrix"]) + "}");
  EXPECT_EQ(numbers(threeRows.value["matrix"][1ul]),
            (std::vector<double>{-0.03096, 0.99061, -0.01065}));
  EXPECT_TRUE(calls("CSSG2H_GetXYZCorrectionMatrix8DXT").empty());

  const std::string studioSensor = studio();
  clearJournal();
  const Reply eightRows = call("SensorCorrelationMatrixData", "GET", studioSensor);
  EXPECT_EQ(compact(eightRows.value["matrix"]), compact(dataSet("27Q00451", 3)["matrix"]));
  EXPECT_EQ(eightRows.value["matrix"].size(), 8u);
  EXPECT_FALSE(eightRows.value.contains("isFactory"));
  EXPECT_TRUE(calls("CSSG2H_GetXYZCorrectionMatrix").empty());
  for (const cairnjson::Value& entry : colorSensorCalls()) {
    EXPECT_TRUE(heldSection(entry)) << entry["function"].stringRef();
  }
  EXPECT_TRUE(sectionsFree());
}

TEST_F(CorrelationMatrixTest, IsFactoryComparesTheUserSetWithTheFactorySet) {
  const std::string sensor = studio();
  EXPECT_EQ(call("SensorCorrelationMatrixData", "GET", sensor, R"({"checksFactoryData":false})")
                .value["isFactory"]
                .toString(""),
            "true");
  // The factory set stays selected, so a write has to select the user set again itself.
  const std::string changed =
      R"({"matrix":[[1,0,0],[0,1,0],[0,0,1],[0,0,0],[0,0,0],[0,0,0],[0,0,0],[0.5,0,0]]})";
  ASSERT_EQ(call("SensorCorrelationMatrixData", "PUT", sensor, "", changed).envelope, kOK);
  const Reply reply =
      call("SensorCorrelationMatrixData", "GET", sensor, R"({"checksFactoryData":false})");
  EXPECT_EQ(compact(reply.value),
            R"({"isFactory":false,"matrix":[[1,0.0,0.0],[0.0,1,0.0],[0.0,0.0,1],)"
            R"([0.0,0.0,0.0],[0.0,0.0,0.0],[0.0,0.0,0.0],[0.0,0.0,0.0],[0.5,0.0,0.0]]})");
  EXPECT_EQ(compact(dataSet("27Q00451", 1)["matrix"]), compact(dataSet("27Q00451", 0)["matrix"]))
      << "the factory sets are untouched";
}

struct MatrixWriteCase {
  const char* name;
  bool onStudio;         // the 8x3 form is supported there, not on the office monitor
  const char* body;
  const char* function;  // the write expected, or nullptr when refused
  const char* written;   // the numbers it received, as JSON
  const char* envelope;
};

void PrintTo(const MatrixWriteCase& row, std::ostream* out) { *out << row.name; }

const char* const kEight =
    R"({"matrix":[[1,2,3],[4,5,6],[7,8,9],[10,11,12],[13,14,15],[16,17,18],[19,20,21],)"
    R"([22,23,24],[25,26,27]]})";
const char* const kFirst24 = "[1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16,17,18,19,20,21,22,23,24]";
const char* const kFirst9 = "[1,2,3,4,5,6,7,8,9]";
const std::string kNotArray = badRequest("matrix data type is not array.");
const std::string kTooSmall = badRequest("matrix data size is invalid.");
const std::string kNotFinite =
    emError(0x8000001A, "Invalid data.", "Set color sensor correction matrix 3x3.");

const MatrixWriteCase kMatrixWriteCases[] = {
    {"EightRowsAsEightByThree", true, kEight, "CSSG2H_SetXYZCorrectionMatrix8DXT", kFirst24, kOK},
    {"EightRowsWithoutTheFormAsThreeByThree", false, kEight, "CSSG2H_SetXYZCorrectionMatrix",
     kFirst9, kOK},
    {"SevenRowsAsThreeByThree", true,
     R"({"matrix":[[1,2,3,99],[4,5,6],[7,8,9],[0],[0],[0],[0]]})",
     "CSSG2H_SetXYZCorrectionMatrix", kFirst9, kOK},
    {"ElementsConverted", false, R"({"matrix":[[1,"0.5",true],[0,null],[2.5],"x"]})",
     "CSSG2H_SetXYZCorrectionMatrix", "[1,0.5,1,0,0,0,2.5,0,0]", kOK},
    {"NonFiniteReachesTheLibrary", false, R"({"matrix":[["nan",0,0],[0,1,0],[0,0,1]]})",
     "CSSG2H_SetXYZCorrectionMatrix", nullptr, kNotFinite.c_str()},
    {"TwoRows", true, R"({"matrix":[[1,0,0],[0,1,0]]})", nullptr, nullptr, kTooSmall.c_str()},
    {"MatrixNotArray", true, R"({"matrix":{"0":[1,0,0]}})", nullptr, nullptr, kNotArray.c_str()},
    {"BodyIsTheRows", true, "[[1,0,0],[0,1,0],[0,0,1]]", nullptr, nullptr, kNotArray.c_str()},
    {"NoBody", false, "", nullptr, nullptr, kNotArray.c_str()},
};

class CorrelationMatrixWriteTest : public CorrelationTest,
                        public testing::WithParamInterface<MatrixWriteCase> {};

TEST_P(CorrelationMatrixWriteTest, WritesTheRowsInTheFormTheyFit) {
  const MatrixWriteCase& row = GetParam();
  const std::string sensor = row.onStudio ? studio() : office();
  clearJournal();
  EXPECT_EQ(call("SensorCorrelationMatrixData", "PUT", sensor, "", row.body).envelope,
            row.envelope);
  const auto threeByThree = calls("CSSG2H_SetXYZCorrectionMatrix");
  const auto eightByThree = calls("CSSG2H_SetXYZCorrectionMatrix8DXT");
  EXPECT_TRUE(sectionsFree());
  if (!row.function) {
    EXPECT_TRUE(threeByThree.empty() && eightByThree.empty());
    return;
  }
  const auto written = calls(row.function);
  ASSERT_EQ(written.size(), 1u);
  EXPECT_EQ(threeByThree.size() + eightByThree.size(), 1u);
  EXPECT_TRUE(heldSection(written[0]));
  if (row.written) {
    EXPECT_EQ(numbers(written[0]["arguments"][1ul]),
              numbers(correlation_test::parsed(row.written)));
  }
}

INSTANTIATE_TEST_SUITE_P(Rows, CorrelationMatrixWriteTest,
                         testing::ValuesIn(kMatrixWriteCases),
                         [](const testing::TestParamInfo<MatrixWriteCase>& info) {
                           return info.param.name;
                         });

TEST_F(CorrelationMatrixTest, MatrixDataFailuresCarryTheirStepAndLeaveTheSection) {
  struct Row {
    bool onStudio;
    const char* method;
    const char* body;
    const char* function;
    const char* reason;
  };
  const Row rows[] = {
      {true, "GET", "", "CSSG2H_GetXYZCorrectionMatrix8DXT",
       "Get color sensor correction matrix 8x3."},
      {false, "GET", "", "CSSG2H_GetXYZCorrectionMatrix",
       "Get color sensor correction matrix 3x3."},
      {true, "PUT", kEight, "CSSG2H_SetXYZCorrectionMatrix8DXT",
       "Set color sensor correction matrix 8x3."},
      {false, "PUT", kEight, "CSSG2H_SetXYZCorrectionMatrix",
       "Set color sensor correction matrix 3x3."},
  };
  for (const Row& row : rows) {
    const std::string sensor = row.onStudio ? studio() : office();
    QuilbySimFailNext(row.function, 1, 0x80010002);
    EXPECT_EQ(call("SensorCorrelationMatrixData", row.method, sensor, "", row.body).envelope,
              emError(0x80010002, "Sensor connection error.", row.reason))
        << row.function;
    EXPECT_TRUE(sectionsFree()) << row.function;
  }
  const std::string usb = colorimeter();
  clearJournal();
  EXPECT_EQ(call("SensorCorrelationMatrixData", "GET", usb).envelope,
            emError(0x80000000, "Failed.", "Get HID handle."));
  EXPECT_TRUE(colorSensorCalls().empty());
}

}  // namespace
