// Every function of every device library fails in turn, once with a failing status and once with
// "Unknown." (the one failure code the plug-in lets through), while the page sends each request
// that reaches that function. Whatever the function, every answer must be a well-formed envelope,
// no monitor's critical section and no registry lock may be left held, and once the failure is
// gone the same request must succeed again: a failure leaves no stuck state behind.
//
// Which requests reach which function is read from the journal of one undisturbed run of every
// request, so a new device function or a new request is swept without editing a table.
#include "support/registry_fixture.h"
#include "src/status_names.h"

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

// The sensor a request names.
enum class Target {
  None,         // no sensor parameters
  ArmSensor,    // the studio monitor's built-in sensor, its arm out
  PanelSensor,  // the office monitor's built-in sensor
  Colorimeter,
  Spectrophotometer,
  Throwaway,    // a colorimeter opened for this request alone, for the ones that close it
};

struct Request {
  const char* entryPoint;
  const char* method;
  Target target;
  const char* parameters;  // for Target::None
  const char* query;
  const char* data;
};

const char* const kIdentity = "[[1,0,0],[0,1,0],[0,0,1]]";

// One request per handler, or more where a query or body reaches other functions; each succeeds
// on its own in the built-in world.
const Request kRequests[] = {
    {"Sensors", "GET", Target::None, "", "", ""},
    {"Sensors", "GET", Target::None, "", R"({"connected":1})", ""},
    {"Sensors", "GET", Target::None, "", R"({"serialConnected":1})", ""},
    {"Sensors", "PUT", Target::None, "", "", R"({"libraryPath":"/tmp"})"},
    {"SensorsName", "GET", Target::None, "", "", ""},
    {"SensorsName", "GET", Target::None, "", R"({"deviceIDs":"33,48"})", ""},
    {"XRiteControlPanel", "PUT", Target::None, "", "", ""},
    {"DeviceID", "POST", Target::None, R"({"deviceID":33})", "", ""},
    {"IndividualID", "POST", Target::None, R"({"individualID":"54887620458597674"})", "", ""},
    {"Monitors", "POST", Target::None, R"({"serial":"QM4C0088","product":"QM-24-Office"})", "", ""},
    {"Sensor", "GET", Target::Spectrophotometer, "", "", ""},
    {"Sensor", "GET", Target::ArmSensor, "", R"({"connection":1})", ""},
    {"Sensor", "DELETE", Target::Throwaway, "", "", ""},
    {"SensorMode", "GET", Target::Colorimeter, "", R"({"supports":1})", ""},
    {"SensorMode", "PUT", Target::Colorimeter, "", "", R"({"mode":1,"observerKey":0})"},
    {"SensorCalibration", "GET", Target::Spectrophotometer, "", R"({"needs":1})", ""},
    {"SensorCalibration", "PUT", Target::Spectrophotometer, "", "", ""},
    {"SensorArm", "GET", Target::ArmSensor, "", R"({"supports":1})", ""},
    {"SensorArm", "PUT", Target::ArmSensor, "", "", "true"},
    {"SensorArm", "PUT", Target::ArmSensor, "", "", "false"},
    {"SensorPosition", "GET", Target::Colorimeter, "", "", ""},
    {"SensorPosition", "GET", Target::Colorimeter, "", R"({"supports":1})", ""},
    {"SensorXYZ", "GET", Target::ArmSensor, "", "", ""},
    {"SensorRawData", "GET", Target::Colorimeter, "", "", ""},
    {"SensorRGB", "GET", Target::PanelSensor, "", "", ""},
    {"SensorIR", "GET", Target::PanelSensor, "", "", ""},
    {"SensorXYZWithoutCorrelation", "GET", Target::ArmSensor, "", "", ""},
    {"SensorExteriorLight", "GET", Target::Spectrophotometer, "", "", ""},
    {"SensorExteriorLight", "GET", Target::Spectrophotometer, "", R"({"supports":1})", ""},
    {"SensorExteriorLight", "PUT", Target::Spectrophotometer, "", "", "true"},
    {"SensorTargetMarker", "GET", Target::Spectrophotometer, "", "", ""},
    {"SensorTargetMarker", "GET", Target::Spectrophotometer, "", R"({"supports":1})", ""},
    {"SensorTargetMarker", "PUT", Target::Spectrophotometer, "", "", "true"},
    {"SensorParameterDescription", "GET", Target::Spectrophotometer, "", "", ""},
    {"SensorParameterDescription", "PUT", Target::Spectrophotometer, "", "", R"("bench 3")"},
    {"SensorCorrection", "PUT", Target::Colorimeter, "", "", kIdentity},
    {"SensorCorrection", "DELETE", Target::Colorimeter, "", "", ""},
    {"SensorExCorrection", "GET", Target::Colorimeter, "", "", ""},
    {"SensorExCorrection", "PUT", Target::Colorimeter, "", "", kIdentity},
    {"SensorDeviceOption", "GET", Target::Colorimeter, "", R"({"option":2})", ""},
    {"SensorDeviceOption", "PUT", Target::Colorimeter, "", "", R"({"option":2,"value":5})"},
    {"SensorIFSTempCorrectParam", "POST", Target::PanelSensor, "", "", ""},
    {"SensorIFSBrightCorrectParamUpdate", "GET", Target::ArmSensor, "", "", ""},
    {"SensorIFSBrightCorrectParamUpdate", "PUT", Target::ArmSensor, "", "", "true"},
    {"SensorAmbraSense", "GET", Target::ArmSensor, "", "", ""},
    {"SensorAmbraSense", "PUT", Target::ArmSensor, "", "", "true"},
    {"SensorAmbraSenseLevel", "GET", Target::ArmSensor, "", "", ""},
    {"SensorAmbraSenseLevel", "PUT", Target::ArmSensor, "", "", "2"},
    {"SensorCorrelation", "GET", Target::ArmSensor, "", R"({"available":1})", ""},
    {"SensorCorrelation", "PUT", Target::ArmSensor, "", "", R"({"id":1})"},
    {"SensorCorrelation", "PUT", Target::ArmSensor, "", "",
     R"({"id":1,"type":"recalc","targetWhite":{"x":0.3127,"y":0.329,"Y":150}})"},
    {"SensorCorrelation", "DELETE", Target::ArmSensor, "", "", ""},
    {"SensorCorrelation", "DELETE", Target::ArmSensor, "", R"({"swingSensor":1})", ""},
    {"SensorCorrelation9Points", "DELETE", Target::ArmSensor, "", "", ""},
    {"SensorCorrelationDescription", "GET", Target::ArmSensor, "", "", ""},
    {"SensorCorrelationDescription", "PUT", Target::ArmSensor, "", "",
     R"({"date":"2025-03-04 05:06","referenceSensor":{"deviceID":48,"serial":"QS20-240117"}})"},
    {"SensorCorrelationDescription", "DELETE", Target::ArmSensor, "", "", ""},
    {"SensorCorrelationData", "GET", Target::ArmSensor, "", "", ""},
    {"SensorCorrelationData", "GET", Target::PanelSensor, "", "", ""},
    {"SensorCorrelationData", "PUT", Target::ArmSensor, "", "",
     R"({"luminanceLevelCorrection":{"brightness":140,"dimmerOut":895},"referenceTone":{}})"},
    {"SensorCorrelationData", "PUT", Target::ArmSensor, "", "",
     R"({"calibrationData":{},"correctionData":{},"normalizedMeasurement":{},"reference":{},)"
     R"("toneCorrection":{}})"},
    {"SensorCorrelationData", "PUT", Target::ArmSensor, "", R"({"send":1})",
     R"({"calibrationData":{},"correctionData":{}})"},
    {"SensorCorrelationDatabase", "GET", Target::ArmSensor, "", "", ""},
    {"SensorCorrelationDatabase", "GET", Target::ArmSensor, "", R"({"id":1})", ""},
    {"SensorCorrelationDatabase", "GET", Target::PanelSensor, "", R"({"id":3})", ""},
    {"SensorCorrelationDatabase", "POST", Target::ArmSensor, "", "",
     R"({"referenceSensor":{"deviceID":48,"serial":"QS20-240117"}})"},
    {"SensorCorrelationDatabase", "POST", Target::ArmSensor, "", "",
     R"({"referenceSensor":{"deviceID":48,"serial":"QS20-240117"},"date":"2025-03-04 05:06"})"},
    {"SensorCorrelationDatabase", "POST", Target::PanelSensor, "", "",
     R"({"referenceSensor":{"deviceID":48,"serial":"QS20-240117"},"kind":"IFSv3"})"},
    {"SensorCorrelationMatrix", "GET", Target::ArmSensor, "", R"({"available":1})", ""},
    {"SensorCorrelationMatrix", "PUT", Target::ArmSensor, "", "", "1"},
    {"SensorCorrelationMatrix", "DELETE", Target::ArmSensor, "", "", ""},
    {"SensorCorrelationMatrixData", "GET", Target::ArmSensor, "", R"({"checksFactoryData":1})", ""},
    {"SensorCorrelationMatrixData", "GET", Target::PanelSensor, "", "", ""},
    {"SensorCorrelationMatrixData", "PUT", Target::ArmSensor, "", "",
     R"({"matrix":[[1,0,0],[0,1,0],[0,0,1],[0,0,0],[0,0,0],[0,0,0],[0,0,0],[0,0,0]]})"},
    {"SensorCorrelationMatrixData", "PUT", Target::PanelSensor, "", "", R"({"matrix":[[1,0,0],[0,1,0],[0,0,1]]})"},
    {"SensorCorrelationMatrixDatabase", "GET", Target::ArmSensor, "", "", ""},
    {"SensorCorrelationMatrixDatabase", "POST", Target::ArmSensor, "", "",
     R"({"referenceSensor":{"deviceID":48,"serial":"QS20-240117"}})"},
    // Last: it closes every sensor.
    {"Sensors", "DELETE", Target::None, "", "", ""},
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
    ASSERT_EQ(call("Sensors", "PUT", "", "", R"({"serialMappings":{"QS-30 serial bridge":82}})").status,
              200);
    targets_[Target::None] = "";
    targets_[Target::ArmSensor] = armSensor();
    ASSERT_EQ(answer("SensorArm", "PUT", targets_[Target::ArmSensor], "", "true"), ok("null"));
    targets_[Target::PanelSensor] = panelSensor();
    targets_[Target::Colorimeter] = colorimeter();
    targets_[Target::Spectrophotometer] = spectrophotometer();
    replaceThrowaway();
    clearJournal();
  }

  // A new throwaway sensor, for a request that closed the last one.
  void replaceThrowaway() { targets_[Target::Throwaway] = colorimeter(); }

  Reply send(const Request& request) {
    const std::string parameters =
        request.target == Target::None ? request.parameters : targets_[request.target];
    return call(request.entryPoint, request.method, parameters, request.query, request.data);
  }

  // The device functions a request calls, from the journal.
  std::set<std::string> functionsCalled() const {
    std::set<std::string> names;
    const cairnjson::Value entries = journal();
    for (const cairnjson::Value& entry : entries.elements()) names.insert(entry["function"].stringRef());
    return names;
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

  std::map<Target, std::string> targets_;
};

// The envelope is one object of exactly "error" and "value"; an error carries its kind and
// message, a library error also its code as an unsigned failure code.
void expectWellFormed(const Reply& reply, const std::string& context) {
  SCOPED_TRACE(context + " -> " + std::to_string(reply.status) + " " + reply.envelope);
  const cairnjson::Value envelope = parsed(reply.envelope);
  ASSERT_TRUE(envelope.isObject());
  EXPECT_EQ(envelope.size(), 2u);
  EXPECT_TRUE(envelope.contains("error") && envelope.contains("value"));
  const std::set<int> statuses = {200, 400, 404, 405, 500};
  EXPECT_TRUE(statuses.count(reply.status));
  if (reply.status == 200) {
    EXPECT_TRUE(reply.error.isNull());
    return;
  }
  EXPECT_TRUE(reply.error["name"].isString());
  EXPECT_TRUE(reply.error["message"].isString());
  EXPECT_FALSE(reply.error["message"].stringRef().empty());
  if (reply.error["name"].stringRef() == "EmError") {
    const long long code = reply.error["code"].toLLong(-1);
    EXPECT_GE(code, 0x80000000LL);
    EXPECT_LE(code, 0xFFFFFFFFLL);
  }
}

TEST_F(FaultSweepTest, EveryDeviceFunctionFailingLeavesWellFormedAnswersAndNoStuckState) {
  // Which functions each request reaches, when nothing fails; each request succeeds on its own.
  std::map<std::string, std::vector<std::size_t>> reaching;
  for (std::size_t index = 0; index < std::size(kRequests); ++index) {
    prepare();
    const Reply reply = send(kRequests[index]);
    ASSERT_EQ(reply.status, 200) << describe(kRequests[index]) << ": " << reply.envelope;
    for (const std::string& function : functionsCalled()) reaching[function].push_back(index);
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
        const std::string context = function + " failing with " +
                                    std::to_string(failure) + ": " + describe(request);
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
        if (request.target == Target::Throwaway) replaceThrowaway();
        const Reply again = send(request);
        EXPECT_EQ(again.status, 200) << context << ", then " << again.envelope;
        ++swept;
      }
    }
  }
  std::printf("%zu functions reached by %zu requests, %d failing requests swept\n",
              reaching.size(), std::size(kRequests), swept);
}

// Set-up and tear-down with each of their functions failing: the plug-in still loads, answers
// and unloads, and afterwards works as before.
TEST_F(FaultSweepTest, LifecycleFunctionsFailingLeaveAWorkingPlugin) {
  std::ofstream(webDirectory() / "did.json", std::ios::binary) << "[48]";
  for (const std::string& function : kLifecycleFunctions) {
    for (const EmError failure : kFailures) {
      const std::string context = function + " failing with " + std::to_string(failure);
      QuilbySimFailNext(function.c_str(), 1000000, failure);
      unloadPlugin(true);
      loadPlugin(exportsDirectory(), true);
      expectWellFormed(call("Sensors", "GET"), context);
      QuilbySimClearFailures();
      clearJournal();
      unloadPlugin(true);
      loadPlugin(exportsDirectory(), true);
      functions = SensorHandleFunctions();
      EXPECT_FALSE(calls(function).empty()) << context;
      EXPECT_EQ(answer("Sensors", "GET"), ok("[]")) << context;
    }
  }
}

}  // namespace
