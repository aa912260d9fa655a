// Every resource entry point of the built plug-in answers through the host's bridge and leaves
// one line in the request log.
#include "support/plugin_fixture.h"

#include <filesystem>
#include <iterator>
#include <set>
#include <string>

namespace {

using quilby_test::PluginTest;
using quilby_test::Reply;

class EntryPointsTest : public PluginTest {};

// Every resource and the methods it implements; every other method must be refused.
const std::pair<const char*, std::set<std::string>> kResources[] = {
    {"Sensors", {"GET", "PUT", "DELETE"}},
    {"SensorsName", {"GET"}},
    {"DeviceID", {"POST"}},
    {"IndividualID", {"POST"}},
    {"Monitors", {"POST"}},
    {"Sensor", {"GET", "DELETE"}},
    {"SensorMode", {"GET", "PUT"}},
    {"SensorCalibration", {"GET", "PUT"}},
    {"SensorXYZ", {"GET"}},
    {"SensorRawData", {"GET"}},
    {"SensorRGB", {"GET"}},
    {"SensorIR", {"GET"}},
    {"SensorXYZWithoutCorrelation", {"GET"}},
    {"SensorArm", {"GET", "PUT"}},
    {"SensorPosition", {"GET"}},
    {"SensorExteriorLight", {"GET", "PUT"}},
    {"SensorParameterDescription", {"GET", "PUT"}},
    {"SensorCorrection", {"PUT", "DELETE"}},
    {"SensorExCorrection", {"GET", "PUT"}},
    {"SensorTargetMarker", {"GET", "PUT"}},
    {"XRiteControlPanel", {"PUT"}},
    {"SensorCorrelation", {"GET", "PUT", "DELETE"}},
    {"SensorCorrelation9Points", {"DELETE"}},
    {"SensorCorrelationDescription", {"GET", "PUT", "DELETE"}},
    {"SensorCorrelationData", {"GET", "PUT"}},
    {"SensorCorrelationDatabase", {"GET", "POST"}},
    {"SensorCorrelationMatrix", {"GET", "PUT", "DELETE"}},
    {"SensorCorrelationMatrixData", {"GET", "PUT"}},
    {"SensorCorrelationMatrixDatabase", {"GET", "POST"}},
    {"SensorAmbraSense", {"GET", "PUT"}},
    {"SensorAmbraSenseLevel", {"GET", "PUT"}},
    {"SensorIFSTempCorrectParam", {"POST"}},
    {"SensorIFSBrightCorrectParamUpdate", {"GET", "PUT"}},
    {"SensorDeviceOption", {"GET", "PUT"}}};

TEST_F(EntryPointsTest, MethodsAResourceDoesNotImplementAnswer405AndAreLogged) {
  ASSERT_EQ(std::size(kResources), 34u);
  for (const auto& [resource, implemented] : kResources) {
    for (const std::string method : {"GET", "PUT", "POST", "DELETE"}) {
      if (implemented.count(method) != 0) continue;
      clearJournal();
      const Reply reply = call(resource, method);
      const std::string message = method + " method is not allowed.";
      EXPECT_EQ(reply.status, 405) << resource << " " << method;
      EXPECT_EQ(reply.envelope,
                R"({"error":{"message":")" + message + R"(","name":"MethodError"},"value":null})");
      const auto lines = logLines();
      ASSERT_EQ(lines.size(), 1u) << resource << " " << method;
      EXPECT_EQ(lines[0].first, 5);
      EXPECT_EQ(lines[0].second, "statusCode:405\tmethod:" + method +
                                     "\turi:/quilby/\terr:MethodError\tmsg:" + message);
    }
  }
}

// DeviceID implements POST alone, so every request below is refused and logged.
TEST_F(EntryPointsTest, LoggedMethodIsTheRequestsMethodText) {
  const std::pair<const char*, const char*> table[] = {
      {R"({"method":"put"})", "PUT"}, {R"({"method":"Patch"})", "PATCH"},
      {R"({"method":7})", "7"},       {R"({"method":true})", "TRUE"},
      {R"({"method":1.5})", "1.5"},   {R"({"method":null})", "GET"},
      {R"({"method":[1]})", "GET"},   {"{}", "GET"},
      {"", "GET"},                    {"no json", "GET"}};
  for (const auto& [request, logged] : table) {
    clearJournal();
    quilbyhost::Answer answer;
    std::string error;
    ASSERT_TRUE(
        quilbyhost::PluginHost::Instance().call("DeviceID", request, "", "", "", answer, error))
        << error;
    const auto lines = logLines();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].second.substr(0, lines[0].second.find("\turi:")),
              std::string("statusCode:405\tmethod:") + logged)
        << request;
  }
}

TEST_F(EntryPointsTest, WithoutTheLoggingLibraryRequestsAreAnsweredSilently) {
  namespace fsys = std::filesystem;
  unloadPlugin(true);
  const fsys::path exports = fsys::temp_directory_path() / "quilby-exports-without-logging";
  fsys::remove_all(exports);
  fsys::create_directories(exports);
  for (const fsys::directory_entry& file : fsys::directory_iterator(exportsDirectory())) {
    if (file.path().filename() != "libmirelto2_x64.so") {
      fsys::create_symlink(file.path(), exports / file.path().filename());
    }
  }
  loadPlugin(exports, true);
  clearJournal();
  EXPECT_EQ(call("DeviceID", "GET").status, 405);
  EXPECT_TRUE(logLines().empty());
  unloadPlugin(true);
  fsys::remove_all(exports);
}

}  // namespace
