// What calls leave behind: journal entries, used-up injected failures and log lines; and what
// handles that are not open get: refusals from every function.
#include "sim_test_support.h"

#include <cmath>
#include <cstddef>
#include <fstream>
#include <map>
#include <regex>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace {

using namespace sim_test;

class JournalTest : public SimTest {};

TEST_F(JournalTest, RecordsEveryCallInOrderWithArgumentsAndResults) {
  void* hid = nullptr;
  ASSERT_EQ(EmCtrlGetHIDHandle(kStudioSerial, kStudioProduct, &hid), EMERR_OK);
  MDHandle handle = openBuiltIn(hid);
  EXPECT_EQ(MDSetMode(handle, 1, 0), EMERR_UNSUPPORTED);
  MDGetName(handle);
  MDGetHIDHandle(handle);
  const MDDeviceID ids[] = {33, 48};
  MDSupportsSubprocess(ids, 2);
  MDSupportsSubprocess(nullptr, 0);
  MDGetNameFromDeviceID(12345);
  ASSERT_EQ(MDClose(&handle), EMERR_OK);

  // One entry a line; $H stands for the handle, $M for the monitor and its section.
  const std::string handleText = journal()[1ul]["handle"].toString("");
  ASSERT_EQ(handleText.rfind("md:", 0), 0u) << handleText;
  const std::string expected = R"([
{"arguments":["QM7A0451","QM-27-Studio-Lab"],"function":"EmCtrlGetHIDHandle",$M,"status":0},
{"arguments":["hid:0x1001"],"function":"MDOpenWithHIDHandle","handle":"$H",$M,"status":0},
{"arguments":["$H",1,0],"function":"MDSetMode",$M,"status":2147483655},
{"arguments":["$H"],"function":"MDGetName",$M,"status":"QM arm sensor"},
{"arguments":["$H"],"function":"MDGetHIDHandle",$M,"status":"hid:0x1001"},
{"arguments":[[33,48],2],"function":"MDSupportsSubprocess","status":1},
{"arguments":[null,0],"function":"MDSupportsSubprocess","status":0},
{"arguments":[12345],"function":"MDGetNameFromDeviceID","status":null},
{"arguments":["$H"],"function":"MDClose",$M,"status":0}
])";
  const std::string monitor =
      R"("monitor":{"product":"QM-27-Studio-Lab","serial":"QM7A0451"},"sectionHeld":false)";
  const std::string text = std::regex_replace(expected, std::regex("\n"), "");
  EXPECT_EQ(controlText(QuilbySimJournal),
            std::regex_replace(std::regex_replace(text, std::regex("\\$H"), handleText),
                               std::regex("\\$M"), monitor));
}

// JSON has no numbers for these; the journal names them and stays one readable document.
TEST_F(JournalTest, NonFiniteInputsAreNamedAndStoredNowhere) {
  const double nan = std::nan(""), inf = HUGE_VAL;
  const double matrix[9] = {nan, 0, 0, 0, inf, 0, 0, 0, -inf};
  EXPECT_EQ(CSSG2H_SetXYZCorrectionMatrix(kStudioHid, matrix), EMERR_INVALID_DATA);
  MDCSSG2CalibrationData calibration{};
  calibration.calibration.a[1][2] = inf;
  EXPECT_EQ(CSSG2H_SetColorSensorCalibData(kStudioHid, &calibration), EMERR_INVALID_DATA);
  MDCSSG2CorrelationDataEx correlation{};
  correlation.luminanceLevelCorrection.brightness = nan;
  int64_t id = 0;
  EXPECT_EQ(MDAddCSSG2CorrelationDataEx(kStudioSerial, kStudioProduct, 48, "QS20-240117",
                                        &correlation, &id),
            EMERR_INVALID_DATA);

  const Value entries = journal();
  ASSERT_EQ(entries.size(), 3u);
  EXPECT_EQ(compact(entries[0ul]["arguments"][1ul]),
            R"(["nan",0.0,0.0,0.0,"inf",0.0,0.0,0.0,"-inf"])");
  EXPECT_EQ(compact(entries[1ul]["arguments"][1ul]),
            R"({"calibration":{"a":[[0.0,0.0,0.0],[0.0,0.0,"inf"],[0.0,0.0,0.0]]}})");
  EXPECT_EQ(compact(entries[2ul]["arguments"][4ul]),
            R"({"luminanceLevelCorrection":{"brightness":"nan"}})");
  // Nothing was stored, so the world still dumps and loads as it is.
  EXPECT_EQ(loadWorld(controlText(QuilbySimWorld)), "");
}

// Injected failures replace the next calls of a function and do nothing else; the world file arms
// them too, with calls to let pass first and the status in any of its forms.
class FaultInjectionTest : public SimTest {};

TEST_F(FaultInjectionTest, FailsTheNextCallsWithoutActingThenWorksAgain) {
  QuilbySimFailNext("MDOpen", 1, EMERR_SENSOR_CONNECTION_ERROR);
  MDHandle handle = nullptr;
  EXPECT_EQ(MDOpen(kColorimeter, &handle), EMERR_SENSOR_CONNECTION_ERROR);
  EXPECT_EQ(handle, nullptr) << "an injected failure does nothing else";
  EXPECT_EQ(compact(journal()[0ul]),  // no handle; the status is EMERR_SENSOR_CONNECTION_ERROR
            R"({"arguments":[33],"function":"MDOpen","injected":true,"status":2147549186})");
  for (const std::string status : {"2147549187", R"("0x80010003")", R"("EMERR_MEASURE_ERROR")"}) {
    SCOPED_TRACE(status);
    const std::string failures =
        R"([{"function": "MDMeasureXYZ2", "skip": 1, "count": 2, "status": )" + status + "}]";
    ASSERT_EQ(loadWorld(worldWith({{"failures", failures}})), "");
    MDHandle colorimeter = open(kColorimeter);
    EXPECT_EQ(measureStatus(colorimeter), EMERR_OK);
    EXPECT_EQ(measureStatus(colorimeter), EMERR_MEASURE_ERROR);
    EXPECT_EQ(compact(world()["failures"]), R"([{"count":1,"function":"MDMeasureXYZ2","skip":0,)"
                                            R"("status":"EMERR_MEASURE_ERROR"}])");
    EXPECT_EQ(measureStatus(colorimeter), EMERR_MEASURE_ERROR);
    EXPECT_EQ(measureStatus(colorimeter), EMERR_OK);
    EXPECT_EQ(world()["failures"].size(), 0u) << "a used-up failure is gone";
  }
}

// The world's noise is drawn from its seed: the same seed gives the same readings, another seed
// others, so that every test run sees the same world.
TEST_F(FaultInjectionTest, SameSeedGivesSameNoisyReadingsAndAnotherSeedOthers) {
  const auto run = [] {
    MDHandle colorimeter = open(kColorimeter);
    MDColor first{}, second{}, corrected{};
    EXPECT_EQ(MDMeasureXYZ2(colorimeter, &first, &corrected), EMERR_OK);
    EXPECT_EQ(MDMeasureXYZ2(colorimeter, &second, &corrected), EMERR_OK);
    return std::vector<double>{first.X, first.Y, second.X, second.Y};
  };
  const std::vector<double> first = run();
  ASSERT_EQ(QuilbySimReset(), 0);
  EXPECT_EQ(run(), first);
  EXPECT_NE(first[1], first[3]) << "noise varies from reading to reading";
  ASSERT_EQ(loadWorld(worldWith({{"noise.seed", "7"}})), "");
  EXPECT_NE(run()[1], first[1]) << "another seed, other noise";
}

// A line's time, UTC with milliseconds ("2024-03-14T09:26:53.589Z"), and the tab after it.
const std::string kTime = R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z\t)";

class LoggingTest : public SimTest {};

// Lines go to the file QUILBY_LOG names, appended, else to standard error; a logger pointer that
// is not the library's writes nothing.
TEST_F(LoggingTest, WritesTabSeparatedLinesToQuilbyLogElseToStandardError) {
  void* logger = mirelto_get_logger();
  ASSERT_NE(logger, nullptr);
  unsetenv("QUILBY_LOG");  // ctest sends the log of every test to a file
  testing::internal::CaptureStderr();
  mirelto_log(logger, "Quilby", 3, "Launch mdsubprocess.");
  const std::string written = testing::internal::GetCapturedStderr();
  EXPECT_TRUE(std::regex_match(written, std::regex(kTime + "Quilby\t3\tLaunch mdsubprocess\\.\n")))
      << written;

  std::ofstream(path_) << "earlier line\n";
  setenv("QUILBY_LOG", path_.c_str(), 1);
  mirelto_log(logger, "Quilby", 2, "statusCode:200\tmethod:GET\turi:Sensors\tmsg:Success");
  int notALogger = 0;
  mirelto_log(&notALogger, "Quilby", 2, "lost");
  mirelto_log(nullptr, "Quilby", 2, "lost");
  mirelto_log(logger, "Quilby", 5, "Failed to launch mdsubprocess.");
  const std::string logged = fileText(path_);
  EXPECT_TRUE(std::regex_match(
      logged, std::regex("earlier line\n" + kTime +
                         "Quilby\t2\tstatusCode:200\tmethod:GET\turi:Sensors\tmsg:Success\n" +
                         kTime + "Quilby\t5\tFailed to launch mdsubprocess\\.\n")))
      << logged;
}

// An argument for any parameter: 1 for a number, an empty record, or a pointer to memory (zeroed
// at first) large enough for any record.
struct AnyArgument {
  template <class T>
  operator T() const {
    alignas(std::max_align_t) static unsigned char memory[4096];
    if constexpr (std::is_pointer_v<T>) {
      return reinterpret_cast<T>(memory);
    } else if constexpr (std::is_arithmetic_v<T>) {
      return T{1};
    } else {
      return T{};
    }
  }
};

// Calls `function` on `handle` when it takes one, noting whether it answered anything but its
// "nothing": EMERR_INVALID_ARGUMENT, NULL or 0.
template <class Result, class First, class... Rest>
void callOn(MDHandle handle, std::map<std::string, bool>& answers, const char* name, bool isStatus,
            Result (*function)(First, Rest...)) {
  if constexpr (std::is_same_v<First, MDHandle>) {
    const Result result = function(handle, static_cast<Rest>(AnyArgument{})...);
    Result nothing{};
    if constexpr (std::is_same_v<Result, EmError>) nothing = isStatus ? EMERR_INVALID_ARGUMENT : 0;
    answers[name] = result != nothing;
  }
}
template <class Result>
void callOn(MDHandle, std::map<std::string, bool>&, const char*, bool, Result (*)()) {}

// Every function taking a sensor handle, called on `handle`.
std::map<std::string, bool> answers(MDHandle handle) {
  std::map<std::string, bool> answers;
#define QUILBY_SIM_CALL_ON(Result, Name, Parameters, Arguments) \
  callOn(handle, answers, #Name, std::string_view(#Result) == "EmError", &Name);
  QUILBY_SIM_MEASUREMENT_DEVICE_FUNCTIONS(QUILBY_SIM_CALL_ON)
  QUILBY_SIM_MEASUREMENT_DEVICE_OPTIONAL_FUNCTIONS(QUILBY_SIM_CALL_ON)
#undef QUILBY_SIM_CALL_ON
  return answers;
}

class HandlesTest : public SimTest {};

TEST_F(HandlesTest, HandlesThatAreNotOpenFailEveryCall) {
  auto refusedEverywhere = [](const char* kind, MDHandle handle) {
    for (const auto& [function, answered] : answers(handle)) {
      EXPECT_FALSE(answered) << function << " on a " << kind << " handle";
    }
    EXPECT_EQ(MDClose(&handle), EMERR_INVALID_ARGUMENT) << kind;
  };
  MDHandle closed = open(kColorimeter), copy = closed, beforeReset = open(kColorimeter);
  // Open handles get answers from every function, so the refusals below are the handles' doing.
  const auto armSensor = answers(openBuiltIn(kStudioHid));
  for (const auto& [function, answered] : answers(open(kSpectrophotometer))) {
    EXPECT_TRUE(answered || armSensor.at(function)) << function;
  }
  ASSERT_EQ(MDClose(&closed), EMERR_OK);
  EXPECT_EQ(closed, nullptr);
  EXPECT_EQ(MDClose(nullptr), EMERR_INVALID_ARGUMENT);
  refusedEverywhere("closed", copy);
  refusedEverywhere("NULL", nullptr);
  int local = 0;
  refusedEverywhere("foreign", reinterpret_cast<MDHandle>(&local));
  EXPECT_EQ(local, 0);
  ASSERT_EQ(QuilbySimReset(), 0);
  refusedEverywhere("pre-reset", beforeReset);
}

}  // namespace
