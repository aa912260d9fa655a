// Every per-sensor handler's answers in one table (that each looks its sensor up first is checked
// for all of them in plugin/entry_points_test.cpp): a refusal or a failure of the library function
// doing the work reaches the page with its text, and the operation is carried out alone. Requests
// to a built-in sensor through its monitor enter the monitor's critical section around the
// colour-sensor call and always leave it: on success, on library failures, and when the function is
// missing.
#include "resources/correlation_fixture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using namespace correlation_test;
using testing::StartsWith;

// The calls that carry a request out: those of the measurement and colour-sensor libraries, the
// HID handle lookups, the data-index selection and the queries of what a sensor supports aside.
bool isOperation(const std::string& function) {
  if (!function.starts_with("MD") && !function.starts_with("CSSG2H_")) return false;
  for (const char* aside : {"HIDHandle", "DataIndex", "Supported"}) {
    if (function.find(aside) != std::string::npos) return false;
  }
  return true;
}

// One request and what it must do:
//   sensor   see CorrelationTest::sensor;
//   request  the method and the resource's word, then the query after a "?"; "DELETE
//            Correlation/9Points" goes to SensorCorrelation9Points and logs that word;
//   answer   the envelope;
//   reached  the one operation the request carries out ("" for none), then that call's second
//            argument as JSON when it is checked (the journal writes a whole double without a
//            fraction, except 0.0). A leading "!" makes the function fail once with kInjected;
//            when it is not an operation, none is reached.
struct Request {
  const char *name, *sensor, *request;
  std::string body, answer, reached;
};

const std::string kNoQuery = badRequest("requires 'available' query.");
const std::string kNotRegistered =
    emError(0x80000005, "Not registered.", "Apply correlation correction.");
const std::string kNoId = badRequest("data must have id.");
const std::string kApply = "MDApplyCorrelationCorrection ";
const std::string kClear = "MDClear9PointsCorrelationCorrection";
const std::string kBadReference = badRequest("referenceSensor must have deviceID, serial.");
const char* const kEight =
    R"({"matrix":[[1,2,3],[4,5,6],[7,8,9],[10,11,12],[13,14,15],[16,17,18],[19,20,21],)"
    R"([22,23,24],[25,26,27]]})";

const Request kTable[] = {
    // Each library failure reaches the page with its operation text; a built-in sensor's monitor
    // section is left.
    {"ModeFails", "usb", "PUT Mode", R"({"mode":0,"observerKey":0})", injected("Set sensor mode."),
     "!MDSetMode"},
    {"CalibrationFails", "usb", "PUT Calibration", "", injected("Calibrate sensor."),
     "!MDCalibrate"},
    {"ArmOutFails", "studio", "PUT Arm", "true", injected("Open sensor arm."), "!MDTakeOutArm"},
    {"ArmInFails", "studio", "PUT Arm", "false", injected("Close sensor arm."), "!MDTakeInArm"},
    {"PositionFails", "usb", "GET Position", "", injected("Get sensor position."),
     "!MDGetSensorPosition"},
    {"XYZFails", "usb", "GET XYZ", "", injected("Measure XYZ."), "!MDMeasureXYZ2"},
    {"RawDataFails", "usb", "GET RawData", "", injected("Measure raw data."), "!MDMeasureRaw"},
    {"RGBFails", "office", "GET RGB", "", injected("Measure RGB."), "!CSSG2H_MeasureRGB"},
    {"IRFails", "office", "GET IR", "", injected("Get IR value."), "!CSSG2H_GetIRValue"},
    {"UncorrelatedXYZFails", "studio", "GET XYZWithoutCorrelation", "",
     injected("Measure not correlated XYZ count."), "!CSSG2H_MeasureNotCorrelatedXYZCount"},
    {"PresenceReadFails", "studio", "GET AmbraSense", "", injected("Get human detect on off."),
     "!CSSG2H_GetHumanDetectOnOff"},
    {"PresenceWriteFails", "studio", "PUT AmbraSense", "true", injected("Set human detect on off."),
     "!CSSG2H_SetHumanDetectOnOff"},
    {"PresenceLevelReadFails", "studio", "GET AmbraSense/Level", "",
     injected("Get human detect mode."), "!CSSG2H_GetHumanDetectMode"},
    {"PresenceLevelWriteFails", "studio", "PUT AmbraSense/Level", "2",
     injected("Set human detect mode."), "!CSSG2H_SetHumanDetectMode"},
    // The corrections: listing, applying (ids rounded half away from zero, below 0 giving 0),
    // releasing, and the nine-point correction, which a fixed sensor does not have.
    {"ListingNeedsTheQuery", "studio", "GET Correlation", "", kNoQuery, ""},
    {"ListingEndsSilentlyAtTheFirstFailure", "studio", R"(GET Correlation?{"available":1})", "",
     ok(R"([])"), "!MDEnumCorrelationCorrection"},
    {"ApplyOtherTypeIsPlain", "studio", "PUT Correlation", R"({"id":2,"type":"plain"})", ok("null"),
     kApply + "2"},
    {"ApplyHalfRoundsAwayFromZero", "studio", "PUT Correlation", R"({"id":2.5})", ok("null"),
     kApply + "3"},
    {"ApplyNegativeIdIsZero", "studio", "PUT Correlation", R"({"id":-4})", kNotRegistered,
     kApply + "0"},
    {"ApplyIdAboveTwoTo63IsZero", "studio", "PUT Correlation", R"({"id":1e19})", kNotRegistered,
     kApply + "0"},
    {"ApplyIdTwoTo63Passes", "studio", "PUT Correlation", R"({"id":9223372036854775808.0})",
     kNotRegistered, kApply + "9223372036854775808"},
    {"ApplyRecalcOutOfDomain", "studio", "PUT Correlation",
     R"({"id":1,"type":"recalc","targetWhite":{"x":0.3127,"y":0.329,"Y":0}})",
     emError(0x8000000D, "Out of domain.",
             "Apply correlation correction with recalc luminance level correction."),
     "MDApplyCorrelationCorrectionWithRecalcLuminanceLevelCorrection 1"},
    {"ApplyStringIdRefused", "studio", "PUT Correlation", R"({"id":"3"})", kNoId, ""},
    {"ApplyIdCheckedBeforeType", "studio", "PUT Correlation", R"({"type":"recalc"})", kNoId, ""},
    {"ApplyRecalcWhiteMustBeAnObject", "studio", "PUT Correlation",
     R"({"id":1,"type":"recalc","targetWhite":[0.3,0.3,1]})",
     badRequest("data must have targetWhite."), ""},
    {"ApplyRecalcWhiteNeedsNumericY", "studio", "PUT Correlation",
     R"({"id":1,"type":"recalc","targetWhite":{"x":0.3,"y":0.3,"Y":"120"}})",
     badRequest("targetWhite must have x, y, Y."), ""},
    {"SwingSensorQueryOfAnyValueClears", "studio", R"(DELETE Correlation?{"swingSensor":false})",
     "", ok("null"), kClear},
    {"ReleaseFails", "studio", "DELETE Correlation", "",
     injected("Release correlation correction."), "!MDReleaseCorrelationCorrection"},
    {"NinePointsCleared", "studio", "DELETE Correlation/9Points", "", ok("null"), kClear},
    {"NinePointsOfAFixedSensor", "office", "DELETE Correlation/9Points", "",
     emError(0x80000007, "Unsupported.", "Clear 9 points correlation correction."), kClear},
    // The description: a built-in sensor's user set, each step's failure reported.
    {"FailedPriorityReadEndsBeforeAnyOperation", "studio", "PUT Correlation/Description", "{}",
     injected("Get DUE priority."), "!EmCtrlGetDUEPriority"},
    {"DescriptionNeedsAHidHandle", "usb", "GET Correlation/Description", "", kNoHid, ""},
    {"DescriptionReadFails", "studio", "GET Correlation/Description", "",
     injected("Get criterion sensor descripction."), "!CSSG2H_GetCriterionSensorDescription"},
    {"DescriptionWriteFails", "studio", "PUT Correlation/Description", "{}",
     injected("Set criterion sensor descripction."), "!CSSG2H_SetCriterionSensorDescription"},
    // The serial's terminator included; a write's failure is the Put row's.
    {"DescriptionDeleteWritesAZeroedRecord", "studio", "DELETE Correlation/Description", "",
     ok("null"), "CSSG2H_SetCriterionSensorDescription {}"},
    // Stored matrices: the query is checked before the HID handle; any sensor takes a matrix,
    // whose id is the body.
    {"MatrixListingNeedsTheQuery", "usb", "GET CorrelationMatrix", "", kNoQuery, ""},
    {"MatrixListingNeedsAHidHandle", "usb", R"(GET CorrelationMatrix?{"available":0})", "", kNoHid,
     ""},
    {"MatrixBareInteger", "usb", "PUT CorrelationMatrix", "2", ok("null"),
     "MDApplyCorrelationMatrix 2"},
    {"MatrixNegativeIsZero", "usb", "PUT CorrelationMatrix", "-3",
     emError(0x80000005, "Not registered.", "Apply correlation matrix."),
     "MDApplyCorrelationMatrix 0"},
    {"MatrixObjectWithIdRefused", "usb", "PUT CorrelationMatrix", R"({"id":2})",
     badRequest("data must be number."), ""},
    {"MatrixReleaseFails", "usb", "DELETE CorrelationMatrix", "",
     injected("Release correlation matrix."), "!MDReleaseCorrelationMatrix"},
    // The built-in sensor's matrix, written in the largest form the rows fill and the sensor
    // supports.
    {"DataNeedsAHidHandle", "usb", "GET CorrelationMatrix/Data", "", kNoHid, ""},
    {"DataReadOf8x3Fails", "studio", "GET CorrelationMatrix/Data", "",
     injected("Get color sensor correction matrix 8x3."), "!CSSG2H_GetXYZCorrectionMatrix8DXT"},
    {"DataReadOf3x3Fails", "office", "GET CorrelationMatrix/Data", "",
     injected("Get color sensor correction matrix 3x3."), "!CSSG2H_GetXYZCorrectionMatrix"},
    {"DataWriteOf8x3Fails", "studio", "PUT CorrelationMatrix/Data", kEight,
     injected("Set color sensor correction matrix 8x3."), "!CSSG2H_SetXYZCorrectionMatrix8DXT"},
    {"DataWriteOf8RowsWithout8x3Fails", "office", "PUT CorrelationMatrix/Data", kEight,
     injected("Set color sensor correction matrix 3x3."), "!CSSG2H_SetXYZCorrectionMatrix"},
    {"DataEightRowsAs8x3", "studio", "PUT CorrelationMatrix/Data", kEight, ok("null"),
     "CSSG2H_SetXYZCorrectionMatrix8DXT "
     "[1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16,17,18,19,20,21,22,23,24]"},
    {"DataSevenRowsAs3x3", "studio", "PUT CorrelationMatrix/Data",
     R"({"matrix":[[1,2,3,99],[4,5,6],[7,8,9],[0],[0],[0],[0]]})", ok("null"),
     "CSSG2H_SetXYZCorrectionMatrix [1,2,3,4,5,6,7,8,9]"},
    {"DataElementsConverted", "office", "PUT CorrelationMatrix/Data",
     R"({"matrix":[[1,"0.5",true],[0,null],[2.5],"x"]})", ok("null"),
     "CSSG2H_SetXYZCorrectionMatrix [1,0.5,1,0.0,0.0,0.0,2.5,0.0,0.0]"},
    {"DataNonFiniteReachesTheLibrary", "office", "PUT CorrelationMatrix/Data",
     R"({"matrix":[["nan",0,0],[0,1,0],[0,0,1]]})",
     emError(0x8000001A, "Invalid data.", "Set color sensor correction matrix 3x3."),
     "CSSG2H_SetXYZCorrectionMatrix"},
    {"DataTwoRowsRefused", "studio", "PUT CorrelationMatrix/Data",
     R"({"matrix":[[1,0,0],[0,1,0]]})", badRequest("matrix data size is invalid."), ""},
    {"DataMatrixNotArray", "studio", "PUT CorrelationMatrix/Data", R"({"matrix":{"0":[1,0,0]}})",
     badRequest("matrix data type is not array."), ""},
    // The correlation records held in the sensor: the body is judged before the HID handle.
    {"RecordsNeedAnObject", "usb", "PUT Correlation/Data", "[{}]",
     badRequest("data must be object."), ""},
    {"RecordsNeedAKnownRecord", "usb", "PUT Correlation/Data", R"({"calibration":{}})",
     badRequest("data must have calibrationData, correctionData, luminanceLevelCorrection, "
                "normalizedMeasurement, reference, referenceTone or toneCorrection."),
     ""},
    {"RecordsToneCorrectionIsAnObject", "usb", "PUT Correlation/Data",
     R"({"reference":{},"toneCorrection":[1]})", badRequest("toneCorrection must be object."), ""},
    {"RecordsNeedAHidHandle", "usb", "GET Correlation/Data", "", kNoHid, ""},
    // The databases: the query and body are judged before the HID handle.
    {"DatabaseIdIsANumber", "usb", R"(GET Correlation/Database?{"id":"abc"})", "",
     badRequest("id must be number."), ""},
    {"DatabaseNeedsAReference", "usb", "POST Correlation/Database", "",
     badRequest("data must have referenceSensor."), ""},
    {"DatabaseReferenceIdIsANumber", "usb", "POST Correlation/Database",
     R"({"referenceSensor":{"deviceID":"48","serial":"S"}})", kBadReference, ""},
    {"DatabaseReferenceHasASerial", "usb", "POST Correlation/Database",
     R"({"referenceSensor":{"deviceID":48}})", kBadReference, ""},
    {"DatabaseSerialOf33Bytes", "usb", "POST Correlation/Database",
     R"({"referenceSensor":{"deviceID":48,"serial":")" + std::string(33, 's') + "\"}}",
     badRequest("serial must be 32 bytes or less."), ""},
    {"DatabaseIFSv3EntriesAreUndated", "usb", "POST Correlation/Database",
     kReference + R"(,"kind":"IFSv3","date":"2025-01"})",
     badRequest("date is not supported for IFSv3 data."), ""},
    {"MatrixDatabaseReferenceIdOf32Bits", "usb", "POST CorrelationMatrix/Database",
     R"({"referenceSensor":{"deviceID":4294967296,"serial":"S"}})", kBadReference, ""},
};

class RequestTableTest : public CorrelationTest, public testing::WithParamInterface<Request> {};

TEST_P(RequestTableTest, AnswersAndReachesOnlyItsOperation) {
  const Request& row = GetParam();
  const std::string parameters = sensor(row.sensor);
  const std::string request = row.request;
  const std::size_t space = request.find(' ');
  const std::size_t mark = std::min(request.find('?'), request.size());
  const std::string word = request.substr(space + 1, mark - space - 1);
  std::string entryPoint = "Sensor" + word;
  std::erase(entryPoint, '/');
  const bool fails = row.reached.starts_with('!');
  const std::string reached = row.reached.substr(fails ? 1 : 0);
  const std::string function = reached.substr(0, reached.find(' '));
  clearJournal();
  if (fails) QuilbySimFailNext(function.c_str(), 1, kInjected);
  EXPECT_EQ(answer(entryPoint, request.substr(0, space), parameters,
                   request.substr(std::min(mark + 1, request.size())), row.body),
            row.answer);

  std::vector<cairnjson::Value> operations;
  const cairnjson::Value entries = journal();
  for (const cairnjson::Value& entry : entries.elements()) {
    if (isOperation(entry["function"].stringRef())) operations.push_back(entry);
  }
  ASSERT_EQ(operations.size(), isOperation(function) ? 1u : 0u) << compact(entries);
  if (isOperation(function)) {
    EXPECT_EQ(operations[0]["function"].stringRef(), function);
  }
  if (reached.find(' ') != std::string::npos) {
    EXPECT_EQ(compact(operations[0]["arguments"][1ul]),
              compact(parsed(reached.substr(reached.find(' ') + 1))));
  }
  // Only the user set is selected, inside the monitor's section.
  for (const cairnjson::Value& selected : calls("CSSG2H_SetColorSensorDataIndex")) {
    EXPECT_EQ(selected["arguments"][1ul].toLLong(-1), 3);
  }
  expectSectionsKept();
  const auto lines = logLines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_NE(lines[0].second.find("/" + word + "\t"), std::string::npos) << lines[0].second;
}

INSTANTIATE_TEST_SUITE_P(Rows, RequestTableTest, testing::ValuesIn(kTable),
                         [](const auto& info) { return std::string(info.param.name); });

// ---- The monitor's critical section ------------------------------------------------------------

// The section as every built-in sensor's request uses it, shown with the panel sensor's RGB
// measurement.
class MonitorSectionTest : public RegistryTest {
 protected:
  std::string measure(const std::string& sensor, const char* resource = "SensorRGB") {
    clearJournal();
    return answer(resource, "GET", sensor);
  }
  // The calls entering and leaving the section, and the measurement's as "held" or "unguarded".
  std::vector<std::string> sectionCalls() const {
    std::vector<std::string> names;
    const cairnjson::Value entries = journal();
    for (const cairnjson::Value& entry : entries.elements()) {
      const std::string& name = entry["function"].stringRef();
      if (name == "EmCtrlLockMonitor" || name == "EmCtrlUnlockMonitor") names.push_back(name);
      const bool held = entry["sectionHeld"].isBool() && entry["sectionHeld"].toLLong(0) != 0;
      if (name == "CSSG2H_MeasureRGB") names.push_back(held ? "held" : "unguarded");
    }
    return names;
  }
  const std::vector<std::string> guarded = {"EmCtrlLockMonitor", "held", "EmCtrlUnlockMonitor"};
};

TEST_F(MonitorSectionTest, SectionIsEnteredAroundTheCallAndLeftAfterwards) {
  // A sensor whose lookup gives no HID handle fails before the monitor is asked (one without
  // any is the request table's).
  const std::string sensor = panelSensor();
  QuilbySimFailNext("MDGetHIDHandle", 1, 0);
  EXPECT_EQ(measure(sensor), kNoHid);
  EXPECT_EQ(deviceCalls(), std::vector<std::string>{"MDGetHIDHandle"});
  EXPECT_THAT(measure(sensor), StartsWith("200 "));
  EXPECT_EQ(sectionCalls(), guarded);
  EXPECT_EQ(sectionOwners(), std::vector<std::string>(3));
  // The library's "Unknown." is let through, and a refusal to leave is not reported.
  const std::pair<const char*, EmError> failures[] = {{"CSSG2H_MeasureRGB", EMERR_UNKNOWN},
                                                      {"EmCtrlUnlockMonitor", EMERR_FAILED}};
  for (const auto& [function, status] : failures) {
    QuilbySimFailNext(function, 1, status);
    EXPECT_THAT(measure(sensor), StartsWith("200 ")) << function;
    EXPECT_EQ(sectionCalls(), guarded) << function;
  }
}

TEST_F(MonitorSectionTest, RefusedOrMissingSectionLeavesTheWorkUnguarded) {
  QuilbySimFailNext("EmCtrlLockMonitor", 1, EMERR_CANNOT_ENTER_MONITOR_CRITICAL_SECTION);
  EXPECT_THAT(measure(panelSensor()), StartsWith("200 "));
  EXPECT_EQ(sectionCalls(), (std::vector<std::string>{"EmCtrlLockMonitor", "unguarded"}));
  reloadWith("libemc_x64.so");
  EXPECT_THAT(measure(panelSensor()), StartsWith("200 "));
  EXPECT_EQ(sectionCalls(), std::vector<std::string>{"unguarded"});
  EXPECT_EQ(sectionOwners(), std::vector<std::string>(3));
  // Only the IR reading's function is missing from the variant colour-sensor library: the
  // section is left all the same.
  reloadWith("libmSensor_x64.so");
  EXPECT_EQ(measure(panelSensor(), "SensorIR"), functionNotFound("libmSensor"));
  EXPECT_EQ(calls("EmCtrlLockMonitor").size(), 1u);
  EXPECT_EQ(calls("EmCtrlUnlockMonitor").size(), 1u);
  EXPECT_EQ(sectionOwners(), std::vector<std::string>(3));
}

}  // namespace
