// The correlation resources end to end against the simulated libraries: the corrections
// (Correlation, Correlation/9Points) and the criterion sensor description
// (Correlation/Description). Every handler's refusals and failures are rows of the request table in
// per_sensor_request_test.cpp.
#include "resources/correlation_fixture.h"

#include <string>

namespace {

using namespace correlation_test;

// ---- Corrections --------------------------------------------------------------------------------

TEST_F(CorrelationTest, ListsTheCorrectionsOfTheSensorsMonitor) {
  const std::string monitor = R"("monitor":{"product":"QM-27-Studio-Lab","serial":"QM7A0451"},)";
  EXPECT_EQ(answer("SensorCorrelation", "GET", sensor("studio"), R"({"available":false})"),
            ok(R"([{"id":1,)" + monitor + kReference.substr(1) + R"(},{"id":2,)" + monitor +
               R"("referenceSensor":{"deviceID":82,"serial":"QS30-980007"}}])"));
  // Index by index until the library says there is no more.
  EXPECT_EQ(calls("MDEnumCorrelationCorrection").size(), 3u);
}

TEST_F(CorrelationTest, RecalcPassesTheTargetWhiteAsAZeroedColourRecord) {
  ASSERT_EQ(
      answer("SensorCorrelation", "PUT", sensor("studio"), "",
             R"({"id":1,"type":"recalc","targetWhite":{"x":0.3127,"y":0.329,"Y":120,"X":5}})"),
      ok("null"));
  const auto applied = calls("MDApplyCorrelationCorrectionWithRecalcLuminanceLevelCorrection");
  ASSERT_EQ(applied.size(), 1u);
  // The journal leaves zero members out: only x, y and Y were set, X was not read.
  EXPECT_EQ(compact(applied[0]["arguments"][2ul]),
            compact(parsed(R"({"Y":120,"x":0.3127,"y":0.329})")));
  // The simulated library recalculated the user set's luminance level for that white.
  EXPECT_EQ(userSet(kStudioMonitor)["luminanceLevelCorrection"]["brightness"].toDouble(0), 120.0);
}

// ---- Criterion sensor description ---------------------------------------------------------------

// A description stored by Put and what Get answers afterwards: the date's text and the reference
// sensor, or "null".
struct DescriptionCase {
  const char* name;
  const char* body;
  const char* read;
};

const DescriptionCase kDescriptionCases[] = {
    {"DateObjectSecondsDropped",
     R"({"date":{"year":2024,"month":3,"day":7,"hour":9,"minute":5,"second":30},)"
     R"("referenceSensor":{"deviceID":82,"serial":"QS30-980007"}})",
     R"(2024-03-07 09:05:00 {"deviceID":82,"serial":"QS30-980007"})"},
    {"DateText", R"({"date":"2024/03/07T09.05.30","referenceSensor":{"deviceID":-7,"serial":"x"}})",
     R"(2024-03-07 09:05:00 {"deviceID":-7,"serial":"x"})"},
    {"SerialCutAt32Bytes",
     R"({"referenceSensor":{"deviceID":48,"serial":"0123456789abcdefghijklmnopqrstuvwxyzABCD"}})",
     R"(0000-00-00 00:00:00 {"deviceID":48,"serial":"0123456789abcdefghijklmnopqrstuv"})"},
    {"DeviceIdRoundedHalfAwayFromZero",
     R"({"date":{"year":2024},"referenceSensor":{"deviceID":47.5,"serial":3}})",
     R"(2024-00-00 00:00:00 {"deviceID":48,"serial":"3"})"},
    {"DeviceIdOutOfRangeIsZero", R"({"referenceSensor":{"deviceID":2147483648,"serial":"s"}})",
     R"(0000-00-00 00:00:00 {"deviceID":0,"serial":"s"})"},
    {"DeviceIdFromTextAndBoolean", R"({"referenceSensor":{"deviceID":"0x30","serial":true}})",
     R"(0000-00-00 00:00:00 {"deviceID":48,"serial":"true"})"},
    // Any one field makes a description present; none at all reads back as null.
    {"YearAloneIsPresent", R"({"date":{"year":2024}})",
     R"(2024-00-00 00:00:00 {"deviceID":0,"serial":""})"},
    {"SerialAloneIsPresent", R"({"referenceSensor":{"serial":"R"}})",
     R"(0000-00-00 00:00:00 {"deviceID":0,"serial":"R"})"},
    {"EmptyObjectIsAbsent", "{}", "null"},
};

class CorrelationDescriptionWriteTest : public CorrelationTest,
                                        public testing::WithParamInterface<DescriptionCase> {};

TEST_P(CorrelationDescriptionWriteTest, StoresWhatGetReadsBack) {
  const std::string armSensor = sensor("studio");
  ASSERT_EQ(answer("SensorCorrelationDescription", "PUT", armSensor, "", GetParam().body),
            ok("null"));
  ASSERT_EQ(calls("CSSG2H_SetCriterionSensorDescription").size(), 1u);
  expectSectionsKept();
  const cairnjson::Value read = call("SensorCorrelationDescription", "GET", armSensor).value;
  EXPECT_EQ(read.isNull()
                ? "null"
                : read["date"]["dateString"].toString("") + " " + compact(read["referenceSensor"]),
            GetParam().read);
}

INSTANTIATE_TEST_SUITE_P(Rows, CorrelationDescriptionWriteTest,
                         testing::ValuesIn(kDescriptionCases),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
