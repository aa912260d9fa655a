// Every resource entry point of the built plug-in answers through the host's bridge and leaves
// one line in the request log; the library exports exactly its C interface, needs only the
// measurement library at load time, and finds it beside itself.
#include "quilby/resource_list.h"
#include "support/dynamic_symbols.h"
#include "support/registry_fixture.h"

#include <iterator>
#include <regex>
#include <set>
#include <string>

namespace {

using namespace quilby_test;

class EntryPointsTest : public RegistryTest {};

struct Resource {
  const char* name;
  std::string methods, path;  // methods separated by spaces
};

#define QUILBY_TEST_RESOURCE(Name, Methods, Path) Resource{#Name, Methods, Path},
const Resource kResources[] = {QUILBY_RESOURCES(QUILBY_TEST_RESOURCE)};
#undef QUILBY_TEST_RESOURCE

// The resource list names exactly the methods each resource implements: the others are refused
// with 405 and logged. Each listed method of a resource under a sensor's path looks the sensor up
// before anything else: a missing id is an invalid URI and an unknown one is not found, the
// malformed query and body are never looked at, no device is called, and the logged URI is the
// resource's path with the id.
TEST_F(EntryPointsTest, ListedMethodsLookTheSensorUpFirstAndOthersAnswer405) {
  ASSERT_EQ(std::size(kResources), 34u);
  const std::string closed = colorimeter();
  ASSERT_EQ(answer("Sensor", "DELETE", closed), ok("null"));
  const std::pair<std::string, std::string> lookups[] = {
      {"", kInvalidURI},
      {"{}", kInvalidURI},
      {R"({"id":""})", kInvalidURI},
      {R"({"ID":"7"})", kInvalidURI},
      {R"(["id"])", kInvalidURI},
      {named("00000000-0000-0000-0000-000000000000"), kNotFound},
      {closed, kNotFound},
      {R"({"id":7})", kNotFound}};
  for (const auto& [resource, implemented, path] : kResources) {
    const std::size_t id = path.find("{id}");
    for (const std::string method : {"GET", "PUT", "POST", "DELETE"}) {
      const std::string context = std::string(resource) + " " + method;
      clearJournal();
      if ((" " + implemented + " ").find(" " + method + " ") == std::string::npos) {
        const std::string message = method + " method is not allowed.";
        EXPECT_EQ(answer(resource, method), R"(405 {"error":{"message":")" + message +
                                                R"(","name":"MethodError"},"value":null})")
            << context;
        EXPECT_EQ(logLines(), (std::vector<std::pair<int, std::string>>{
                                  {5, "statusCode:405\tmethod:" + method +
                                          "\turi:/quilby/\terr:MethodError\tmsg:" + message}}))
            << context;
        continue;
      }
      // Without parameters every path parameter is empty.
      EXPECT_NE(call(resource, method).status, 405) << context;
      EXPECT_EQ(loggedURI(), "/quilby" + std::regex_replace(path, std::regex("\\{\\w+\\}"), ""))
          << context;
      if (id == std::string::npos) continue;
      for (const auto& [parameters, expected] : lookups) {
        clearJournal();
        EXPECT_EQ(answer(resource, method, parameters, "\"no query\"", "[\"bad\"]"), expected)
            << context << " " << parameters;
        EXPECT_TRUE(deviceCalls().empty()) << context << " " << parameters;
        const std::string shown =
            expected == kInvalidURI ? "" : parsed(parameters)["id"].toString("");
        EXPECT_EQ(loggedURI(), "/quilby" + std::string(path).replace(id, 4, shown))
            << context << " " << parameters;
      }
    }
  }
}

// DeviceID implements POST alone, so every request below is refused and logged.
TEST_F(EntryPointsTest, LoggedMethodIsTheRequestsMethodText) {
  const std::pair<const char*, const char*> table[] = {{R"({"method":"put"})", "PUT"},
                                                       {R"({"method":"Patch"})", "PATCH"},
                                                       {R"({"method":7})", "7"},
                                                       {R"({"method":true})", "TRUE"},
                                                       {R"({"method":1.5})", "1.5"},
                                                       {R"({"method":null})", "GET"},
                                                       {R"({"method":[1]})", "GET"},
                                                       {R"({"method":{}})", "GET"},
                                                       {"{}", "GET"},
                                                       {"", "GET"},
                                                       {"no json", "GET"}};
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
  // Without the logging library requests are answered silently.
  reloadWith("", "libmirelto2_x64.so");
  EXPECT_EQ(call("DeviceID", "GET").status, 405);
  EXPECT_TRUE(logLines().empty());
}

#define QUILBY_TEST_RESOURCE_NAME(Name, Methods, Path) #Name,
#define QUILBY_TEST_NAME(Name) #Name,
const std::set<std::string> kExports = {QUILBY_RESOURCES(QUILBY_TEST_RESOURCE_NAME)
                                            QUILBY_OTHER_EXPORTS(QUILBY_TEST_NAME)};

// The export map is made from the resource list; the list's 34 resources and the eleven other
// functions are what a host can find, and nothing else.
TEST(ExportsTest, ExportsExactlyTheCInterface) {
  EXPECT_EQ(kExports.size(), 45u);
  EXPECT_EQ(dynamicSymbols(QUILBY_PLUGIN_LIBRARY, "--defined-only"), kExports);
}

// The functions of the libraries opened at run time are looked up, never referenced as symbols.
TEST(ExportsTest, LinksOnlyTheMeasurementLibraryFoundBesideItself) {
  // One line per entry, e.g. "(NEEDED) Shared library: [libquilbysim.so]".
  const std::string dynamic = outputOf(std::string("readelf -d ") + QUILBY_PLUGIN_LIBRARY);
  EXPECT_NE(dynamic.find("Shared library: [libmeasurementdevice_x64.so]"), std::string::npos);
  EXPECT_NE(dynamic.find("Library runpath: [$ORIGIN]"), std::string::npos);
  EXPECT_EQ(dynamic.find("(RPATH)"), std::string::npos);
  for (const char* runTime :
       {"libemc_x64", "libmSensor_x64", "libhalvex_x64", "libmdcorrector_x64", "libmirelto2_x64"}) {
    EXPECT_EQ(dynamic.find(runTime), std::string::npos) << runTime;
  }
  const std::regex lookedUp(
      "EmCtrl.*|CSSG2H_.*|Hvx.*|mirelto_.*|MDMeasureRaw|MDHasTargetMarker|"
      "MDEnumCorrelationMatrix|MDApplyCorrelationMatrix|MDReleaseCorrelationMatrix|"
      "MD(Has|Get|Set)(ExteriorLight|ExteriorLightingState|ParameterDescription|TargetMarker|"
      "DeviceOptionValue|IFSBrightCorrectParamUpdateEnabled)|MDCalcIFSTempCorrectParam|"
      "MDAdd.*|MDGet(CSSG2|IFSv3|Correlation|Latest).*|MDEnumCorrelation(Info|MatrixInfo)");
  for (const std::string& name : dynamicSymbols(QUILBY_PLUGIN_LIBRARY, "--undefined-only")) {
    EXPECT_FALSE(std::regex_match(name, lookedUp)) << name;
  }
}

}  // namespace
