// Every function of every device library fails in turn, once with a failing status and once with
// "Unknown." (the one failure code the plug-in lets through), while the page sends each request
// that reaches that function. Whatever the function, every answer must be a well-formed envelope,
// no monitor's critical section and no registry lock may be left held, and once the failure is
// gone the same request must succeed again: a failure leaves no stuck state behind.
//
// Which requests reach which function is read from the journal of one undisturbed run of every
// request, so a new device function or a new request is swept without editing a table.
#include "src/status_names.h"
#include "support/registry_fixture.h"

#include <chrono>
#include <fstream>
#include <future>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace quilby_test;
using namespace std::chrono_literals;

// One request: the sensor it names is "arm" (the studio monitor's built-in sensor, its arm out),
// "panel" (the office monitor's), "colorimeter", "spectrophotometer", or "throwaway" (a
// colorimeter opened for this request alone, for the ones that close it); any other text is the
// parameters themselves.
struct Request {
  const char *entryPoint, *method, *sensor, *query;
  std::string data;
};

const char* const kIdentity = "[[1,0,0],[0,1,0],[0,0,1]]";
const std::string kReference = R"({"referenceSensor":{"deviceID":48,"serial":"QS20-240117"})";

// One request per handler, or more where a query or body reaches other functions; each succeeds
// on its own in the built-in world.
const Request kRequests[] = {
    {"Sensors", "GET", "", R"({"connected":1})", ""},
    {"Sensors", "GET", "", R"({"serialConnected":1})", ""},
    {"Sensors", "PUT", "", "", R"({"libraryPath":"/tmp"})"},
    {"SensorsName", "GET", "", "", ""},
    {"SensorsName", "GET", "", R"({"deviceIDs":"33,48"})", ""},
    {"XRiteControlPanel", "PUT", "", "", ""},
    {"DeviceID", "POST", R"({"deviceID":33})", "", ""},
    {"IndividualID", "POST", R"({"individualID":"54887620458597674"})", "", ""},
    {"Monitors", "POST", R"({"serial":"QM4C0088","product":"QM-24-Office"})", "", ""},
    {"Sensor", "GET", "spectrophotometer", "", ""},
    {"Sensor", "GET", "arm", R"({"connection":1})", ""},
    {"Sensor", "DELETE", "throwaway", "", ""},
    {"SensorMode", "GET", "colorimeter", R"({"supports":1})", ""},
    {"SensorMode", "PUT", "colorimeter", "", R"({"mode":1,"observerKey":0})"},
    {"SensorCalibration", "GET", "spectrophotometer", R"({"needs":1})", ""},
    {"SensorCalibration", "PUT", "spectrophotometer", "", ""},
    {"SensorArm", "GET", "arm", R"({"supports":1})", ""},
    {"SensorArm", "PUT", "arm", "", "true"},
    {"SensorArm", "PUT", "arm", "", "false"},
    {"SensorPosition", "GET", "colorimeter", "", ""},
    {"SensorPosition", "GET", "colorimeter", R"({"supports":1})", ""},
    {"SensorXYZ", "GET", "arm", "", ""},
    {"SensorRawData", "GET", "colorimeter", "", ""},
    {"SensorRGB", "GET", "panel", "", ""},
    {"SensorIR", "GET", "panel", "", ""},
    {"SensorXYZWithoutCorrelation", "GET", "arm", "", ""},
    {"SensorExteriorLight", "GET", "spectrophotometer", "", ""},
    {"SensorExteriorLight", "GET", "spectrophotometer", R"({"supports":1})", ""},
    {"SensorExteriorLight", "PUT", "spectrophotometer", "", "true"},
    {"SensorTargetMarker", "GET", "spectrophotometer", "", ""},
    {"SensorTargetMarker", "GET", "spectrophotometer", R"({"supports":1})", ""},
    {"SensorTargetMarker", "PUT", "spectrophotometer", "", "true"},
    {"SensorParameterDescription", "GET", "spectrophotometer", "", ""},
    {"SensorParameterDescription", "PUT", "spectrophotometer", "", R"("bench 3")"},
    {"SensorCorrection", "PUT", "colorimeter", "", kIdentity},
    {"SensorCorrection", "DELETE", "colorimeter", "", ""},
    {"SensorExCorrection", "GET", "colorimeter", "", ""},
    {"SensorExCorrection", "PUT", "colorimeter", "", kIdentity},
    {"SensorDeviceOption", "GET", "colorimeter", R"({"option":2})", ""},
    {"SensorDeviceOption", "PUT", "colorimeter", "", R"({"option":2,"value":5})"},
    {"SensorIFSTempCorrectParam", "POST", "panel", "", ""},
    {"SensorIFSBrightCorrectParamUpdate", "GET", "arm", "", ""},
    {"SensorIFSBrightCorrectParamUpdate", "PUT", "arm", "", "true"},
    {"SensorAmbraSense", "GET", "arm", "", ""},
    {"SensorAmbraSense", "PUT", "arm", "", "true"},
    {"SensorAmbraSenseLevel", "GET", "arm", "", ""},
    {"SensorAmbraSenseLevel", "PUT", "arm", "", "2"},
    {"SensorCorrelation", "GET", "arm", R"({"available":1})", ""},
    {"SensorCorrelation", "PUT", "arm", "", R"({"id":1})"},
    {"SensorCorrelation", "PUT", "arm", "",
     R"({"id":1,"type":"recalc","targetWhite":{"x":0.3127,"y":0.329,"Y":150}})"},
    {"SensorCorrelation", "DELETE", "arm", "", ""},
    {"SensorCorrelation", "DELETE", "arm", R"({"swingSensor":1})", ""},
    {"SensorCorrelation9Points", "DELETE", "arm", "", ""},
    {"SensorCorrelationDescription", "GET", "arm", "", ""},
    {"SensorCorrelationDescription", "PUT", "arm", "",
     kReference + R"(,"date":"2025-03-04 05:06"})"},
    {"SensorCorrelationDescription", "DELETE", "arm", "", ""},
    {"SensorCorrelationData", "GET", "arm", "", ""},
    {"SensorCorrelationData", "GET", "panel", "", ""},
    {"SensorCorrelationData", "PUT", "arm", "",
     R"({"luminanceLevelCorrection":{"brightness":140,"dimmerOut":895},"referenceTone":{}})"},
    {"SensorCorrelationData", "PUT", "arm", "",
     R"({"calibrationData":{},"correctionData":{},"normalizedMeasurement":{},"reference":{},)"
     R"("toneCorrection":{}})"},
    {"SensorCorrelationData", "PUT", "arm", R"({"send":1})",
     R"({"calibrationData":{},"correctionData":{}})"},
    {"SensorCorrelationDatabase", "GET", "arm", "", ""},
    {"SensorCorrelationDatabase", "GET", "arm", R"({"id":1})", ""},
    {"SensorCorrelationDatabase", "GET", "panel", R"({"id":3})", ""},
    {"SensorCorrelationDatabase", "POST", "arm", "", kReference + "}"},
    {"SensorCorrelationDatabase", "POST", "arm", "", kReference + R"(,"date":"2025-03-04 05:06"})"},
    {"SensorCorrelationDatabase", "POST", "panel", "", kReference + R"(,"kind":"IFSv3"})"},
    {"SensorCorrelationMatrix", "GET", "arm", R"({"available":1})", ""},
    {"SensorCorrelationMatrix", "PUT", "arm", "", "1"},
    {"SensorCorrelationMatrix", "DELETE", "arm", "", ""},
    {"SensorCorrelationMatrixData", "GET", "arm", R"({"checksFactoryData":1})", ""},
    {"SensorCorrelationMatrixData", "GET", "panel", "", ""},
    {"SensorCorrelationMatrixData", "PUT", "arm", "",
     R"({"matrix":[[1,0,0],[0,1,0],[0,0,1],[0,0,0],[0,0,0],[0,0,0],[0,0,0],[0,0,0]]})"},
    {"SensorCorrelationMatrixData", "PUT", "panel", "", R"({"matrix":[[1,0,0],[0,1,0],[0,0,1]]})"},
    {"SensorCorrelationMatrixDatabase", "GET", "arm", "", ""},
    {"SensorCorrelationMatrixDatabase", "POST", "arm", "", kReference + "}"},
    // Last: it closes every sensor.
    {"Sensors", "DELETE", "", "", ""},
};

// The functions only set-up and tear-down call, and the logging library's one-time lookup of its
// logger: they are swept by reloading the plug-in.
const std::set<std::string> kLifecycleFunctions = {"MDLaunchSubprocess", "MDQuitSubprocess",
                                                   "MDSupportsSubprocess", "mirelto_get_logger"};

const EmError kFailures[] = {EMERR_FAILED, EMERR_UNKNOWN};

std::string describe(const Request& request) {
  return std::string(request.entryPoint) + " " + request.method + " " + request.query + " " +
         request.data;
}

class FaultSweepTest : public RegistryTest {
 protected:
  // A fresh world with the sensors the requests name, opened while nothing fails.
  void prepare() {
    call("Sensors", "DELETE");
    QuilbySimClearFailures();
    ASSERT_EQ(QuilbySimReset(), 0);
    ASSERT_EQ(answer("Sensors", "PUT", "", "", R"({"serialMappings":{"QS-30 serial bridge":82}})"),
              ok("null"));
    sensors_ = {{"arm", armSensor()},
                {"panel", panelSensor()},
                {"colorimeter", colorimeter()},
                {"spectrophotometer", spectrophotometer()},
                {"throwaway", colorimeter()}};
    ASSERT_EQ(answer("SensorArm", "PUT", sensors_["arm"], "", "true"), ok("null"));
    clearJournal();
  }

  Reply send(const Request& request) {
    const auto named = sensors_.find(request.sensor);
    return call(request.entryPoint, request.method,
                named == sensors_.end() ? request.sensor : named->second, request.query,
                request.data);
  }

  // Whether another thread can take the registry's lock within a generous bound. A lock left held
  // would block it for ever; the thread is then left behind, and the test fails.
  bool registryLockIsFree() {
    auto done = std::make_shared<std::promise<void>>();
    std::future<void> finished = done->get_future();
    std::thread([lookup = functions.getHandleForID, done] {
      lookup("", nullptr);
      done->set_value();
    }).detach();
    return finished.wait_for(30s) == std::future_status::ready;
  }

  std::map<std::string, std::string> sensors_;
};

// The envelope is one object of exactly "error" and "value"; an error carries its kind and
// message, a library error also its code as an unsigned failure code.
void expectWellFormed(const Reply& reply, const std::string& context) {
  SCOPED_TRACE(context + " -> " + std::to_string(reply.status) + " " + reply.envelope);
  const cairnjson::Value envelope = parsed(reply.envelope);
  ASSERT_TRUE(envelope.isObject());
  EXPECT_EQ(envelope.size(), 2u);
  EXPECT_TRUE(envelope.contains("error") && envelope.contains("value"));
  EXPECT_TRUE(std::set<int>({200, 400, 404, 405, 500}).count(reply.status));
  if (reply.status == 200) {
    EXPECT_TRUE(reply.error.isNull());
    return;
  }
  EXPECT_TRUE(reply.error["name"].isString());
  EXPECT_TRUE(reply.error["message"].isString() && !reply.error["message"].stringRef().empty());
  if (reply.error["name"].stringRef() == "EmError") {
    const long long code = reply.error["code"].toLLong(-1);
    EXPECT_TRUE(code >= 0x80000000LL && code <= 0xFFFFFFFFLL) << code;
  }
}

TEST_F(FaultSweepTest, EveryDeviceFunctionFailingLeavesWellFormedAnswersAndNoStuckState) {
  // Which functions each request reaches, when nothing fails; each request succeeds on its own.
  std::map<std::string, std::set<std::size_t>> reaching;
  for (std::size_t index = 0; index < std::size(kRequests); ++index) {
    prepare();
    const Reply reply = send(kRequests[index]);
    ASSERT_EQ(reply.status, 200) << describe(kRequests[index]) << ": " << reply.envelope;
    const cairnjson::Value entries = journal();
    for (const cairnjson::Value& entry : entries.elements()) {
      reaching[entry["function"].stringRef()].insert(index);
    }
  }

  std::set<std::string> unreached;
  for (const char* function : quilbysim::deviceFunctions()) {
    if (!reaching.count(function)) unreached.insert(function);
  }
  // Only what set-up and tear-down call is beyond the requests (and swept below).
  EXPECT_EQ(unreached, kLifecycleFunctions);

  int swept = 0;
  for (const auto& [function, requests] : reaching) {
    for (const EmError failure : kFailures) {
      for (const std::size_t index : requests) {
        const Request& request = kRequests[index];
        const std::string context =
            function + " failing with " + std::to_string(failure) + ": " + describe(request);
        prepare();
        QuilbySimFailNext(function.c_str(), 1000000, failure);
        expectWellFormed(send(request), context);
        QuilbySimClearFailures();
        ASSERT_TRUE(registryLockIsFree()) << context;
        // When the library refuses to let the monitor's critical section go, the plug-in keeps
        // it, as it is documented to; every other failure leaves each section free.
        if (function != "EmCtrlUnlockMonitor") {
          EXPECT_EQ(sectionOwners(), (std::vector<std::string>{"", "", ""})) << context;
        }
        // A new throwaway sensor, for a request that closed the last one.
        if (request.sensor == std::string("throwaway")) sensors_["throwaway"] = colorimeter();
        const Reply again = send(request);
        EXPECT_EQ(again.status, 200) << context << ", then " << again.envelope;
        ++swept;
      }
    }
  }
  std::printf("%zu functions reached by %zu requests, %d failing requests swept\n", reaching.size(),
              std::size(kRequests), swept);
}

// Set-up and tear-down with each of their functions failing: the plug-in still loads, answers
// and unloads, and afterwards works as before.
TEST_F(FaultSweepTest, LifecycleFunctionsFailingLeaveAWorkingPlugin) {
  std::ofstream(webDirectory() / "did.json", std::ios::binary) << "[48]";
  for (const std::string& function : kLifecycleFunctions) {
    for (const EmError failure : kFailures) {
      const std::string context = function + " failing with " + std::to_string(failure);
      QuilbySimFailNext(function.c_str(), 1000000, failure);
      unloadPlugin();
      loadPlugin();
      expectWellFormed(call("Sensors", "GET"), context);
      QuilbySimClearFailures();
      clearJournal();
      unloadPlugin();
      loadPlugin();
      EXPECT_FALSE(calls(function).empty()) << context;
      EXPECT_EQ(answer("Sensors", "GET"), ok("[]")) << context;
    }
  }
}

}  // namespace
