// The correlation corrections (Correlation, Correlation/9Points) and the criterion sensor
// description (Correlation/Description), end to end against the simulated libraries.
#include "correlation_test_support.h"

#include <cmath>
#include <ostream>
#include <string>

namespace {

using correlation_test::badRequest;
using correlation_test::compact;
using correlation_test::CorrelationTest;
using correlation_test::emError;
using correlation_test::kOK;
using correlation_test::Reply;

// ---- Listing ------------------------------------------------------------------------------------

TEST_F(CorrelationTest, ListsTheCorrectionsOfTheSensorsMonitor) {
  const std::string sensor = studio();
  const Reply reply = call("SensorCorrelation", "GET", sensor, R"({"available":false})");
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(reply.envelope,
            R"({"error":null,"value":[)"
            R"({"id":1,"monitor":{"product":"CX271-Studio","serial":"27Q00451"},)"
            R"("referenceSensor":{"deviceID":48,"serial":"S5-240117"}},)"
            R"({"id":2,"monitor":{"product":"CX271-Studio","serial":"27Q00451"},)"
            R"("referenceSensor":{"deviceID":82,"serial":"R2-1998-0007"}}]})");
  // Index by index until the library says there is no more.
  const auto listed = calls("MDEnumCorrelationCorrection");
  ASSERT_EQ(listed.size(), 3u);
  EXPECT_EQ(listed[2]["arguments"][1ul].toLLong(-1), 2);
  EXPECT_EQ(listed[2]["status"].toLLong(0), 0x8000000B);
}

TEST_F(CorrelationTest, ListingEndsSilentlyAtTheFirstFailure) {
  const std::string sensor = studio();
  QuilbySimFailNext("MDEnumCorrelationCorrection", 1, 0x80010002);
  EXPECT_EQ(call("SensorCorrelation", "GET", sensor, R"({"available":1})").envelope,
            R"({"error":null,"value":[]})");
  EXPECT_EQ(calls("MDEnumCorrelationCorrection").size(), 1u);
}

TEST_F(CorrelationTest, ChecksRunInOrderSensorFirst) {
  struct Row {
    const char* method;
    const char* parameters;
    const char* query;
    const char* data;
    int status;
    const char* message;
  };
  const std::string sensor = studio();
  const Row rows[] = {
      {"GET", "{}", R"({"available":1})", "", 400, "URI is invalid."},
      {"PUT", R"({"id":"0b5c7c52-0000-4000-8000-000000000000"})", "", "{}", 404, "Not found."},
      {"GET", sensor.c_str(), "", "", 400, "requires 'available' query."},
      {"GET", sensor.c_str(), R"(["available"])", "", 400, "requires 'available' query."},
  };
  for (const Row& row : rows) {
    clearJournal();
    const Reply reply = call("SensorCorrelation", row.method, row.parameters, row.query, row.data);
    EXPECT_EQ(reply.status, row.status) << row.method << " " << row.parameters << row.query;
    EXPECT_EQ(reply.error["message"].stringRef(), row.message) << row.method << row.query;
    EXPECT_TRUE(calls("MDEnumCorrelationCorrection").empty());
  }
}

TEST_F(CorrelationTest, EachResourceLogsItsPath) {
  struct Row {
    const char* resource;
    const char* method;
    const char* word;
  };
  const Row rows[] = {{"SensorCorrelation", "PUT", "Correlation"},
                      {"SensorCorrelation9Points", "DELETE", "Correlation/9Points"},
                      {"SensorCorrelationDescription", "GET", "Correlation/Description"},
                      {"SensorCorrelationMatrix", "DELETE", "CorrelationMatrix"},
                      {"SensorCorrelationMatrixData", "PUT", "CorrelationMatrix/Data"}};
  for (const Row& row : rows) {
    clearJournal();
    EXPECT_EQ(call(row.resource, row.method, R"({"id":"gone"})").status, 404) << row.resource;
    const auto lines = logLines();
    ASSERT_EQ(lines.size(), 1u) << row.resource;
    EXPECT_NE(lines[0].second.find(std::string("\turi:/quilby/Sensors/gone/") + row.word + "\t"),
              std::string::npos)
        << lines[0].second;
  }
}

// ---- Applying -----------------------------------------------------------------------------------

struct ApplyCase {
  const char* name;
  const char* body;
  const char* function;  // the apply call expected, or nullptr when the request is refused
  double id;             // its id argument
  const char* envelope;  // the answer
};

void PrintTo(const ApplyCase& row, std::ostream* out) { *out << row.name; }

const std::string kRecalcText =
    "Apply correlation correction with recalc luminance level correction.";
const std::string kNotRegistered =
    emError(0x80000005, "Not registered.", "Apply correlation correction.");
const std::string kNoId = badRequest("data must have id.");
const std::string kNoWhite = badRequest("data must have targetWhite.");
const std::string kWhiteIncomplete = badRequest("targetWhite must have x, y, Y.");
const std::string kOutOfDomain = emError(0x8000000D, "Out of domain.", kRecalcText);

const ApplyCase kApplyCases[] = {
    {"IntegerId", R"({"id":1})", "MDApplyCorrelationCorrection", 1, kOK},
    {"OtherTypeIsPlain", R"({"id":2,"type":"plain"})", "MDApplyCorrelationCorrection", 2, kOK},
    {"HalfRoundsAwayFromZero", R"({"id":2.5})", "MDApplyCorrelationCorrection", 3, kOK},
    {"NegativeIntegerIsZero", R"({"id":-4})", "MDApplyCorrelationCorrection", 0,
     kNotRegistered.c_str()},
    {"AboveTwoTo63IsZero", R"({"id":1e19})", "MDApplyCorrelationCorrection", 0,
     kNotRegistered.c_str()},
    {"TwoTo63Passes", R"({"id":9223372036854775808.0})", "MDApplyCorrelationCorrection",
     9223372036854775808.0, kNotRegistered.c_str()},
    {"Recalc", R"({"id":1,"type":"recalc","targetWhite":{"x":0.3127,"y":0.329,"Y":120}})",
     "MDApplyCorrelationCorrectionWithRecalcLuminanceLevelCorrection", 1, kOK},
    {"RecalcOutOfDomain", R"({"id":1,"type":"recalc","targetWhite":{"x":0.3127,"y":0.329,"Y":0}})",
     "MDApplyCorrelationCorrectionWithRecalcLuminanceLevelCorrection", 1,
     kOutOfDomain.c_str()},
    {"StringId", R"({"id":"3"})", nullptr, 0, kNoId.c_str()},
    {"NoId", R"({"type":"recalc"})", nullptr, 0, kNoId.c_str()},
    {"NoBody", "", nullptr, 0, kNoId.c_str()},
    {"RecalcWithoutWhite", R"({"id":1,"type":"recalc"})", nullptr, 0, kNoWhite.c_str()},
    {"RecalcWhiteNotObject", R"({"id":1,"type":"recalc","targetWhite":[0.3,0.3,1]})", nullptr, 0,
     kNoWhite.c_str()},
    {"RecalcWithoutY", R"({"id":1,"type":"recalc","targetWhite":{"x":0.3127,"y":0.329}})",
     nullptr, 0, kWhiteIncomplete.c_str()},
    {"RecalcStringY", R"({"id":1,"type":"recalc","targetWhite":{"x":0.3,"y":0.3,"Y":"120"}})",
     nullptr, 0, kWhiteIncomplete.c_str()},
};

class CorrelationApplyTest : public CorrelationTest,
                             public testing::WithParamInterface<ApplyCase> {};

TEST_P(CorrelationApplyTest, AppliesTheNamedCorrection) {
  const ApplyCase& row = GetParam();
  const std::string sensor = studio();
  clearJournal();
  const Reply reply = call("SensorCorrelation", "PUT", sensor, "", row.body);
  EXPECT_EQ(reply.envelope, row.envelope);
  const auto plain = calls("MDApplyCorrelationCorrection");
  const auto recalc = calls("MDApplyCorrelationCorrectionWithRecalcLuminanceLevelCorrection");
  if (!row.function) {
    EXPECT_TRUE(plain.empty() && recalc.empty()) << "a refused body reaches no library";
    return;
  }
  const auto applied = calls(row.function);
  ASSERT_EQ(applied.size(), 1u);
  EXPECT_EQ(plain.size() + recalc.size(), 1u);
  EXPECT_EQ(applied[0]["arguments"][1ul].toDouble(-1.0), row.id);
}

INSTANTIATE_TEST_SUITE_P(Rows, CorrelationApplyTest, testing::ValuesIn(kApplyCases),
                         [](const testing::TestParamInfo<ApplyCase>& info) {
                           return info.param.name;
                         });

TEST_F(CorrelationTest, RecalcPassesTheTargetWhiteAsAZeroedColourRecord) {
  const std::string sensor = studio();
  ASSERT_EQ(call("SensorCorrelation", "PUT", sensor, "",
                 R"({"id":1,"type":"recalc","targetWhite":{"x":0.3127,"y":0.329,"Y":120,"X":5}})")
                .envelope,
            kOK);
  const auto applied = calls("MDApplyCorrelationCorrectionWithRecalcLuminanceLevelCorrection");
  ASSERT_EQ(applied.size(), 1u);
  // The journal leaves zero members out: only x, y and Y were set, X was not read.
  const cairnjson::Value& white = applied[0]["arguments"][2ul];
  EXPECT_EQ(white.size(), 3u) << compact(white);
  EXPECT_EQ(white["x"].toDouble(0), 0.3127);
  EXPECT_EQ(white["y"].toDouble(0), 0.329);
  EXPECT_EQ(white["Y"].toDouble(0), 120.0);
  // The simulated library recalculated the user set's luminance level for that white.
  EXPECT_EQ(dataSet("27Q00451", 3)["luminanceLevelCorrection"]["brightness"].toDouble(0), 120.0);
}

// ---- Releasing and the nine-point correction ----------------------------------------------------

TEST_F(CorrelationTest, DeleteReleasesTheAppliedCorrection) {
  const std::string sensor = studio();
  ASSERT_EQ(call("SensorCorrelation", "PUT", sensor, "", R"({"id":2})").envelope, kOK);
  ASSERT_EQ(sensorState("SW-27Q00451")["appliedCorrelation"].toLLong(0), 2);
  clearJournal();
  EXPECT_EQ(call("SensorCorrelation", "DELETE", sensor).envelope, kOK);
  EXPECT_EQ(calls("MDReleaseCorrelationCorrection").size(), 1u);
  EXPECT_TRUE(calls("MDClear9PointsCorrelationCorrection").empty());
  EXPECT_TRUE(sensorState("SW-27Q00451")["appliedCorrelation"].isNull());
  EXPECT_TRUE(sensorState("SW-27Q00451")["ninePointCorrection"].isArray()) << "left alone";

  QuilbySimFailNext("MDReleaseCorrelationCorrection", 1, 0x80000000);
  EXPECT_EQ(call("SensorCorrelation", "DELETE", sensor).envelope,
            emError(0x80000000, "Failed.", "Release correlation correction."));
}

TEST_F(CorrelationTest, BothWaysClearTheNinePointCorrection) {
  struct Way {
    const char* resource;
    const char* query;
  };
  // The query key counts by presence, whatever its value.
  for (const Way& way : {Way{"SensorCorrelation", R"({"swingSensor":false})"},
                         Way{"SensorCorrelation9Points", ""},
                         Way{"SensorCorrelation9Points", R"({"swingSensor":true})"}}) {
    ASSERT_EQ(QuilbySimReset(), 0);
    const std::string swing = studio();
    clearJournal();
    EXPECT_EQ(call(way.resource, "DELETE", swing, way.query).envelope, kOK) << way.resource;
    EXPECT_EQ(calls("MDClear9PointsCorrelationCorrection").size(), 1u) << way.resource;
    EXPECT_TRUE(calls("MDReleaseCorrelationCorrection").empty()) << way.resource;
    EXPECT_TRUE(sensorState("SW-27Q00451")["ninePointCorrection"].isNull()) << way.resource;

    // A fixed sensor has no nine-point correction: the library's refusal under the step's text.
    const std::string fixed = office();
    EXPECT_EQ(call(way.resource, "DELETE", fixed, way.query).envelope,
              emError(0x80000007, "Unsupported.", "Clear 9 points correlation correction."))
        << way.resource;
  }
  EXPECT_EQ(call("SensorCorrelation9Points", "DELETE", "{}").error["message"].stringRef(),
            "URI is invalid.");
}

// ---- Criterion sensor description ---------------------------------------------------------------

const char* const kStoredDescription =
    R"({"error":null,"value":{"date":{"dateString":"2023-11-02 14:20:00","day":2,"hour":14,)"
    R"("minute":20,"month":11,"year":2023},)"
    R"("referenceSensor":{"deviceID":48,"serial":"S5-240117"}}})";

TEST_F(CorrelationTest, DescriptionIsReadFromTheUserSetInsideTheCriticalSection) {
  const std::string sensor = studio();
  const Reply reply = call("SensorCorrelationDescription", "GET", sensor);
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(reply.envelope, kStoredDescription);
  const auto read = calls("CSSG2H_GetCriterionSensorDescription");
  ASSERT_EQ(read.size(), 1u);
  EXPECT_TRUE(heldSection(read[0]));
  // The user set was selected first, and the section was left afterwards.
  const auto selected = calls("CSSG2H_SetColorSensorDataIndex");
  ASSERT_EQ(selected.size(), 1u);
  EXPECT_EQ(selected[0]["arguments"][1ul].toLLong(-1), 3);
  EXPECT_TRUE(sectionsFree());
}

TEST_F(CorrelationTest, AbsentDescriptionIsNull) {
  const std::string sensor = office();
  EXPECT_EQ(call("SensorCorrelationDescription", "GET", sensor).envelope, kOK);
  // Any one field makes it present.
  EXPECT_EQ(call("SensorCorrelationDescription", "PUT", sensor, "",
                 R"({"referenceSensor":{"serial":"R"}})")
                .envelope,
            kOK);
  EXPECT_EQ(call("SensorCorrelationDescription", "GET", sensor).envelope,
            R"({"error":null,"value":{"date":{"dateString":"0000-00-00 00:00:00","day":0,)"
            R"("hour":0,"minute":0,"month":0,"year":0},)"
            R"("referenceSensor":{"deviceID":0,"serial":"R"}}})");
}

struct DescriptionCase {
  const char* name;
  const char* body;
  const char* read;  // the value Get answers afterwards
};

void PrintTo(const DescriptionCase& row, std::ostream* out) { *out << row.name; }

const DescriptionCase kDescriptionCases[] = {
    {"DateObjectSecondsDropped",
     R"({"date":{"year":2024,"month":3,"day":7,"hour":9,"minute":5,"second":30},)"
     R"("referenceSensor":{"deviceID":82,"serial":"R2-1998-0007"}})",
     R"({"date":{"dateString":"2024-03-07 09:05:00","day":7,"hour":9,"minute":5,"month":3,)"
     R"("year":2024},"referenceSensor":{"deviceID":82,"serial":"R2-1998-0007"}})"},
    {"DateText",
     R"({"date":"2024/03/07T09.05.30","referenceSensor":{"deviceID":-7,"serial":"x"}})",
     R"({"date":{"dateString":"2024-03-07 09:05:00","day":7,"hour":9,"minute":5,"month":3,)"
     R"("year":2024},"referenceSensor":{"deviceID":-7,"serial":"x"}})"},
    {"SerialCutAt32Bytes",
     R"({"date":{"year":2024,"month":1,"day":1},"referenceSensor":)"
     R"({"deviceID":48,"serial":"0123456789abcdefghijklmnopqrstuvwxyzABCD"}})",
     R"({"date":{"dateString":"2024-01-01 00:00:00","day":1,"hour":0,"minute":0,"month":1,)"
     R"("year":2024},)"
     R"("referenceSensor":{"deviceID":48,"serial":"0123456789abcdefghijklmnopqrstuv"}})"},
    {"DeviceIdRoundedHalfAwayFromZero",
     R"({"date":{"year":2024},"referenceSensor":{"deviceID":47.5,"serial":3}})",
     R"({"date":{"dateString":"2024-00-00 00:00:00","day":0,"hour":0,"minute":0,"month":0,)"
     R"("year":2024},"referenceSensor":{"deviceID":48,"serial":"3"}})"},
    {"DeviceIdOutOfRangeIsZero",
     R"({"date":{"year":2024},"referenceSensor":{"deviceID":2147483648,"serial":"s"}})",
     R"({"date":{"dateString":"2024-00-00 00:00:00","day":0,"hour":0,"minute":0,"month":0,)"
     R"("year":2024},"referenceSensor":{"deviceID":0,"serial":"s"}})"},
    {"DeviceIdFromTextAndBoolean",
     R"({"date":{"year":2024},"referenceSensor":{"deviceID":"0x30","serial":true}})",
     R"({"date":{"dateString":"2024-00-00 00:00:00","day":0,"hour":0,"minute":0,"month":0,)"
     R"("year":2024},"referenceSensor":{"deviceID":48,"serial":"true"}})"},
    {"YearAloneIsPresent", R"({"date":{"year":2024}})",
     R"({"date":{"dateString":"2024-00-00 00:00:00","day":0,"hour":0,"minute":0,"month":0,)"
     R"("year":2024},"referenceSensor":{"deviceID":0,"serial":""}})"},
    {"EmptyObjectIsAbsent", "{}", "null"},
};

class CorrelationDescriptionWriteTest : public CorrelationTest,
                             public testing::WithParamInterface<DescriptionCase> {};

TEST_P(CorrelationDescriptionWriteTest, StoresWhatGetReadsBack) {
  const DescriptionCase& row = GetParam();
  const std::string sensor = studio();
  ASSERT_EQ(call("SensorCorrelationDescription", "PUT", sensor, "", row.body).envelope, kOK);
  const auto written = calls("CSSG2H_SetCriterionSensorDescription");
  ASSERT_EQ(written.size(), 1u);
  EXPECT_TRUE(heldSection(written[0]));
  EXPECT_TRUE(sectionsFree());
  EXPECT_EQ(compact(call("SensorCorrelationDescription", "GET", sensor).value), row.read);
}

INSTANTIATE_TEST_SUITE_P(Rows, CorrelationDescriptionWriteTest,
                         testing::ValuesIn(kDescriptionCases),
                         [](const testing::TestParamInfo<DescriptionCase>& info) {
                           return info.param.name;
                         });

TEST_F(CorrelationTest, DescriptionWritesReachOnlyTheUserSet) {
  const std::string sensor = studio();
  const cairnjson::Value factory = dataSet("27Q00451", 1)["criterionSensor"];
  ASSERT_EQ(call("SensorCorrelationDescription", "DELETE", sensor).envelope, kOK);
  EXPECT_EQ(call("SensorCorrelationDescription", "GET", sensor).envelope, kOK);
  EXPECT_FALSE(dataSet("27Q00451", 3).contains("criterionSensor")) << "the dump leaves zeros out";
  EXPECT_EQ(compact(dataSet("27Q00451", 1)["criterionSensor"]), compact(factory));
  // Delete writes a zeroed record, the serial's terminator included.
  const auto written = calls("CSSG2H_SetCriterionSensorDescription");
  ASSERT_EQ(written.size(), 1u);
  EXPECT_EQ(compact(written[0]["arguments"][1ul]), "{}");
}

TEST_F(CorrelationTest, DescriptionNeedsABuiltInSensor) {
  const std::string usb = colorimeter();
  for (const char* method : {"GET", "PUT", "DELETE"}) {
    clearJournal();
    EXPECT_EQ(call("SensorCorrelationDescription", method, usb, "", "{}").envelope,
              emError(0x80000000, "Failed.", "Get HID handle."))
        << method;
    EXPECT_TRUE(colorSensorCalls().empty()) << method;
  }
}

TEST_F(CorrelationTest, DescriptionFailuresCarryTheirStepAndLeaveTheSection) {
  struct Row {
    const char* method;
    const char* function;
    const char* reason;
  };
  const Row rows[] = {
      {"GET", "CSSG2H_GetCriterionSensorDescription", "Get criterion sensor descripction."},
      {"PUT", "CSSG2H_SetCriterionSensorDescription", "Set criterion sensor descripction."},
      {"DELETE", "CSSG2H_SetCriterionSensorDescription", "Set criterion sensor descripction."},
      {"GET", "CSSG2H_SetColorSensorDataIndex2", "Set color sensor data index."},
      {"PUT", "EmCtrlGetDUEPriority", "Get DUE priority."},
  };
  const std::string sensor = studio();
  for (const Row& row : rows) {
    QuilbySimClearFailures();
    QuilbySimFailNext(row.function, 1, 0x80010003);
    // The fallback is reached only when the index is refused by number.
    QuilbySimFailNext("CSSG2H_SetColorSensorDataIndex", 1, 0);
    EXPECT_EQ(call("SensorCorrelationDescription", row.method, sensor, "", "{}").envelope,
              emError(0x80010003, "Measure error.", row.reason))
        << row.method << " " << row.function;
    EXPECT_TRUE(sectionsFree()) << row.method << " " << row.function;
  }
}

TEST_F(CorrelationTest, DescriptionOfAMonitorHeldByAnotherProgramIsRefused) {
  const std::string sensor = studio();
  ASSERT_EQ(QuilbySimHoldMonitor("27Q00451", "CX271-Studio", 1), 0);
  clearJournal();
  // The index is refused by number and by flags; only the second refusal is reported.
  EXPECT_EQ(call("SensorCorrelationDescription", "GET", sensor).envelope,
            emError(0x8000001F, "Rejected by critical section.", "Set color sensor data index."));
  EXPECT_TRUE(calls("CSSG2H_GetCriterionSensorDescription").empty());
  ASSERT_EQ(QuilbySimHoldMonitor("27Q00451", "CX271-Studio", 0), 0);
  EXPECT_EQ(call("SensorCorrelationDescription", "GET", sensor).envelope, kStoredDescription);
}

}  // namespace
