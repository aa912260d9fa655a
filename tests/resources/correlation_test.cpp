// The correlation resources end to end against the simulated libraries: every handler's answers
// in one table, then the corrections (Correlation, Correlation/9Points) and the criterion sensor
// description (Correlation/Description).
#include "resources/correlation_fixture.h"

#include <algorithm>
#include <string>

namespace {

using namespace correlation_test;

// ---- Every handler's answers --------------------------------------------------------------------

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
const std::string kUnsupported =
    emError(0x80000007, "Unsupported.", "Clear 9 points correlation correction.");
const std::string kMatrixNotRegistered =
    emError(0x80000005, "Not registered.", "Apply correlation matrix.");
const std::string kNotNumber = badRequest("data must be number.");
const std::string kNotArray = badRequest("matrix data type is not array.");
const std::string kApply = "MDApplyCorrelationCorrection ";
const std::string kClear = "MDClear9PointsCorrelationCorrection";
const std::string kNoReference = badRequest("data must have referenceSensor.");
const std::string kBadReference = badRequest("referenceSensor must have deviceID, serial.");
const char* const kGone = R"({"id":"gone"})";
const char* const kEight =
    R"({"matrix":[[1,2,3],[4,5,6],[7,8,9],[10,11,12],[13,14,15],[16,17,18],[19,20,21],)"
    R"([22,23,24],[25,26,27]]})";

const Request kRequests[] = {
    // The sensor is resolved first.
    {"NoIdIsInvalidBeforeTheQuery", "{}", R"(GET Correlation?{"available":1})", "", kInvalidURI,
     ""},
    {"ParametersNotAnObjectAreInvalid", "", "DELETE CorrelationMatrix", "", kInvalidURI, ""},
    {"UnknownIdBeforeTheBody", kGone, "PUT Correlation", "", kNotFound, ""},
    {"UnknownIdBeforeTheMatrix", kGone, "PUT CorrelationMatrix/Data", "", kNotFound, ""},
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
    {"NinePointsOfAFixedSensor", "office", "DELETE Correlation/9Points", "", kUnsupported, kClear},
    {"SwingSensorQueryOfAFixedSensor", "office", R"(DELETE Correlation?{"swingSensor":0})", "",
     kUnsupported, kClear},
    // The description: a built-in sensor's user set, each step's failure reported.
    {"FailedPriorityReadEndsBeforeAnyOperation", "studio", "PUT Correlation/Description", "{}",
     injected("Get DUE priority."), "!EmCtrlGetDUEPriority"},
    {"DescriptionNeedsAHidHandle", "usb", "GET Correlation/Description", "", kNoHid, ""},
    {"DescriptionReadFails", "studio", "GET Correlation/Description", "",
     injected("Get criterion sensor descripction."), "!CSSG2H_GetCriterionSensorDescription"},
    {"DescriptionWriteFails", "studio", "PUT Correlation/Description", "{}",
     injected("Set criterion sensor descripction."), "!CSSG2H_SetCriterionSensorDescription"},
    {"DescriptionDeleteFails", "studio", "DELETE Correlation/Description", "",
     injected("Set criterion sensor descripction."), "!CSSG2H_SetCriterionSensorDescription"},
    // The serial's terminator included.
    {"DescriptionDeleteWritesAZeroedRecord", "studio", "DELETE Correlation/Description", "",
     ok("null"), "CSSG2H_SetCriterionSensorDescription {}"},
    // Stored matrices: the query is checked before the HID handle; any sensor takes a matrix,
    // whose id is the body.
    {"MatrixListingNeedsTheQuery", "usb", "GET CorrelationMatrix", "", kNoQuery, ""},
    {"MatrixListingNeedsAHidHandle", "usb", R"(GET CorrelationMatrix?{"available":0})", "", kNoHid,
     ""},
    {"MatrixBareInteger", "usb", "PUT CorrelationMatrix", "2", ok("null"),
     "MDApplyCorrelationMatrix 2"},
    {"MatrixNegativeIsZero", "usb", "PUT CorrelationMatrix", "-3", kMatrixNotRegistered,
     "MDApplyCorrelationMatrix 0"},
    {"MatrixObjectWithIdRefused", "usb", "PUT CorrelationMatrix", R"({"id":2})", kNotNumber, ""},
    {"MatrixNumberTextRefused", "usb", "PUT CorrelationMatrix", R"("2")", kNotNumber, ""},
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
     kNotArray, ""},
    {"DataBodyIsNotTheRows", "studio", "PUT CorrelationMatrix/Data", "[[1,0,0],[0,1,0],[0,0,1]]",
     kNotArray, ""},
    // The correlation records held in the sensor: the body is judged before the HID handle.
    {"RecordsNeedAnObject", "usb", "PUT Correlation/Data", "", badRequest("data must be object."),
     ""},
    {"RecordsArrayRefused", "usb", "PUT Correlation/Data", "[{}]",
     badRequest("data must be object."), ""},
    {"RecordsNeedAKnownRecord", "usb", "PUT Correlation/Data", R"({"calibration":{}})",
     badRequest("data must have calibrationData, correctionData, luminanceLevelCorrection, "
                "normalizedMeasurement, reference, referenceTone or toneCorrection."),
     ""},
    {"RecordsToneCorrectionIsAnObject", "usb", "PUT Correlation/Data",
     R"({"reference":{},"toneCorrection":[1]})", badRequest("toneCorrection must be object."), ""},
    {"RecordsLuminanceLevelIsAnObject", "usb", "PUT Correlation/Data",
     R"({"luminanceLevelCorrection":null})", badRequest("luminanceLevelCorrection must be object."),
     ""},
    {"RecordsNeedAHidHandle", "usb", "GET Correlation/Data", "", kNoHid, ""},
    // The databases: the query and body are judged before the HID handle.
    {"DatabaseIdIsANumber", "usb", R"(GET Correlation/Database?{"id":"abc"})", "",
     badRequest("id must be number."), ""},
    {"DatabaseNeedsAReference", "usb", "POST Correlation/Database", "", kNoReference, ""},
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
    {"MatrixDatabaseNeedsAReference", "usb", "POST CorrelationMatrix/Database", "7", kNoReference,
     ""},
    {"MatrixDatabaseReferenceIdOf32Bits", "usb", "POST CorrelationMatrix/Database",
     R"({"referenceSensor":{"deviceID":4294967296,"serial":"S"}})", kBadReference, ""},
};

class CorrelationRequestTest : public CorrelationTest,
                               public testing::WithParamInterface<Request> {};

TEST_P(CorrelationRequestTest, AnswersAndReachesOnlyItsOperation) {
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

INSTANTIATE_TEST_SUITE_P(Rows, CorrelationRequestTest, testing::ValuesIn(kRequests),
                         [](const auto& info) { return std::string(info.param.name); });

// ---- Corrections --------------------------------------------------------------------------------

TEST_F(CorrelationTest, ListsTheCorrectionsOfTheSensorsMonitor) {
  EXPECT_EQ(answer("SensorCorrelation", "GET", sensor("studio"), R"({"available":false})"),
            "200 "
            R"({"error":null,"value":[)"
            R"({"id":1,"monitor":{"product":"QM-27-Studio-Lab","serial":"QM7A0451"},)"
            R"("referenceSensor":{"deviceID":48,"serial":"QS20-240117"}},)"
            R"({"id":2,"monitor":{"product":"QM-27-Studio-Lab","serial":"QM7A0451"},)"
            R"("referenceSensor":{"deviceID":82,"serial":"QS30-980007"}}]})");
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
  EXPECT_EQ(dataSet("QM7A0451", 3)["luminanceLevelCorrection"]["brightness"].toDouble(0), 120.0);
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
