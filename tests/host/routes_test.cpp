// The development host's mapping of HTTP requests onto the plug-in's entry points.
#include "routes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <ostream>
#include <string>

namespace {

using quilbyhost::BridgeCall;
using quilbyhost::RouteMatch;

struct RestCase {
  const char* name;
  const char* method;
  const char* target;
  const char* entryPoint;
  const char* parameters;
  const char* query;
};

void PrintTo(const RestCase& c, std::ostream* out) { *out << c.name; }

// Every entry point at least once, with the shapes that must not be confused.
const RestCase kRestCases[] = {
    {"SensorsGet", "GET", "/Sensors", "Sensors", "{}", "{}"},
    {"SensorsConnected", "GET", "/Sensors?connected", "Sensors", "{}", R"({"connected":null})"},
    {"SensorsDelete", "DELETE", "/Sensors", "Sensors", "{}", "{}"},
    {"SensorsName", "GET", "/Sensors/Name?deviceIDs=3,5", "SensorsName", "{}",
     R"({"deviceIDs":"3,5"})"},
    {"PostOfNameIsStillNames", "POST", "/Sensors/Name", "SensorsName", "{}", "{}"},
    {"ControlPanel", "PUT", "/XRite/ControlPanel", "XRiteControlPanel", "{}", "{}"},
    {"OpenByDeviceId", "POST", "/Sensors/33", "DeviceID", R"({"deviceID":"33"})", "{}"},
    {"OpenByIndividualId", "POST", "/Sensors/Individual/6699", "IndividualID",
     R"({"individualID":"6699"})", "{}"},
    {"OpenByMonitor", "POST", "/Monitors/27Q00451/CX271-Studio/Sensor", "Monitors",
     R"({"product":"CX271-Studio","serial":"27Q00451"})", "{}"},
    {"EncodedMonitorProduct", "POST", "/Monitors/S%201/CX%2F271/Sensor", "Monitors",
     R"({"product":"CX/271","serial":"S 1"})", "{}"},
    {"SensorGet", "GET", "/Sensors/abc", "Sensor", R"({"id":"abc"})", "{}"},
    {"SensorDelete", "DELETE", "/Sensors/abc", "Sensor", R"({"id":"abc"})", "{}"},
    {"SensorPutIsNotAnOpening", "PUT", "/Sensors/33", "Sensor", R"({"id":"33"})", "{}"},
    {"EmptyIdReachesThePlugIn", "GET", "/Sensors//XYZ", "SensorXYZ", R"({"id":""})", "{}"},
    {"TrailingSlashIsAnEmptyId", "GET", "/Sensors/", "Sensor", R"({"id":""})", "{}"},
    {"Mode", "GET", "/Sensors/a/Mode?supports", "SensorMode", R"({"id":"a"})",
     R"({"supports":null})"},
    {"Calibration", "PUT", "/Sensors/a/Calibration", "SensorCalibration", R"({"id":"a"})", "{}"},
    {"Arm", "PUT", "/Sensors/a/Arm", "SensorArm", R"({"id":"a"})", "{}"},
    {"Position", "GET", "/Sensors/a/Position", "SensorPosition", R"({"id":"a"})", "{}"},
    {"XYZ", "GET", "/Sensors/a/XYZ", "SensorXYZ", R"({"id":"a"})", "{}"},
    {"RawData", "GET", "/Sensors/a/RawData", "SensorRawData", R"({"id":"a"})", "{}"},
    {"RGB", "GET", "/Sensors/a/RGB", "SensorRGB", R"({"id":"a"})", "{}"},
    {"IR", "GET", "/Sensors/a/IR", "SensorIR", R"({"id":"a"})", "{}"},
    {"XYZWithoutCorrelation", "GET", "/Sensors/a/XYZWithoutCorrelation",
     "SensorXYZWithoutCorrelation", R"({"id":"a"})", "{}"},
    {"Presence", "PUT", "/Sensors/a/AmbraSense", "SensorAmbraSense", R"({"id":"a"})", "{}"},
    {"PresenceLevel", "GET", "/Sensors/a/AmbraSense/Level", "SensorAmbraSenseLevel",
     R"({"id":"a"})", "{}"},
    {"Correlation", "GET", "/Sensors/a/Correlation?available", "SensorCorrelation",
     R"({"id":"a"})", R"({"available":null})"},
    {"NinePoints", "DELETE", "/Sensors/a/Correlation/9Points", "SensorCorrelation9Points",
     R"({"id":"a"})", "{}"},
    {"Description", "GET", "/Sensors/a/Correlation/Description", "SensorCorrelationDescription",
     R"({"id":"a"})", "{}"},
    {"CorrelationData", "GET", "/Sensors/a/Correlation/Data", "SensorCorrelationData",
     R"({"id":"a"})", "{}"},
    {"CorrelationDatabase", "POST", "/Sensors/a/Correlation/Database",
     "SensorCorrelationDatabase", R"({"id":"a"})", "{}"},
    {"Matrix", "PUT", "/Sensors/a/CorrelationMatrix", "SensorCorrelationMatrix", R"({"id":"a"})",
     "{}"},
    {"MatrixData", "GET", "/Sensors/a/CorrelationMatrix/Data?checksFactoryData",
     "SensorCorrelationMatrixData", R"({"id":"a"})", R"({"checksFactoryData":null})"},
    {"MatrixDatabase", "GET", "/Sensors/a/CorrelationMatrix/Database",
     "SensorCorrelationMatrixDatabase", R"({"id":"a"})", "{}"},
    {"ExteriorLight", "GET", "/Sensors/a/ExteriorLight", "SensorExteriorLight", R"({"id":"a"})",
     "{}"},
    {"ParameterDescription", "PUT", "/Sensors/a/ParameterDescription",
     "SensorParameterDescription", R"({"id":"a"})", "{}"},
    {"Correction", "DELETE", "/Sensors/a/Correction", "SensorCorrection", R"({"id":"a"})", "{}"},
    {"ExCorrection", "GET", "/Sensors/a/ExCorrection", "SensorExCorrection", R"({"id":"a"})", "{}"},
    {"TargetMarker", "GET", "/Sensors/a/TargetMarker", "SensorTargetMarker", R"({"id":"a"})", "{}"},
    {"DeviceOption", "GET", "/Sensors/a/DeviceOption?option=2", "SensorDeviceOption",
     R"({"id":"a"})", R"({"option":"2"})"},
    {"TempCorrect", "POST", "/Sensors/a/IFSTempCorrectParam", "SensorIFSTempCorrectParam",
     R"({"id":"a"})", "{}"},
    {"BrightCorrect", "GET", "/Sensors/a/IFSBrightCorrectParamUpdate",
     "SensorIFSBrightCorrectParamUpdate", R"({"id":"a"})", "{}"},
    {"EncodedIdAndFragment", "GET", "/Sensors/a%2Fb/XYZ#top", "SensorXYZ", R"({"id":"a/b"})",
     "{}"},
};

class RestRouteTest : public testing::TestWithParam<RestCase> {};

TEST_P(RestRouteTest, MapsMethodAndPathOntoTheEntryPoint) {
  const RestCase& c = GetParam();
  const RouteMatch match = quilbyhost::mapRestRequest(c.method, c.target, "body text");
  ASSERT_TRUE(match.ok()) << match.error.message;
  EXPECT_EQ(match.call.entryPoint, c.entryPoint);
  EXPECT_EQ(match.call.request, std::string(R"({"method":")") + c.method + "\"}");
  EXPECT_EQ(match.call.parameters, c.parameters);
  EXPECT_EQ(match.call.query, c.query);
  EXPECT_EQ(match.call.data, "body text");
}

INSTANTIATE_TEST_SUITE_P(Routes, RestRouteTest, testing::ValuesIn(kRestCases),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(RestRouteTableTest, ReachesEveryEntryPointAndNothingElse) {
  std::set<std::string> reached;
  for (const RestCase& c : kRestCases) reached.insert(c.entryPoint);
  for (const quilbyhost::RestRoute& route : quilbyhost::restRoutes()) {
    EXPECT_TRUE(quilbyhost::isEntryPoint(route.entryPoint)) << route.entryPoint;
  }
  const auto& names = quilbyhost::entryPointNames();
  EXPECT_EQ(names.size(), 34u);
  EXPECT_EQ(reached, std::set<std::string>(names.begin(), names.end()));
}

TEST(RestRouteTableTest, BodiesPassByteForByte) {
  const std::string bodies[] = {"", "abc", "{\"mode\": 1,\n \"observerKey\": 0}  trailing",
                                "\xEF\xBB\xBF{\"a\":1}", "\"quoted\\\"\"", "\xFF\xFE binary"};
  for (const std::string& body : bodies) {
    EXPECT_EQ(quilbyhost::mapRestRequest("PUT", "/Sensors/a/Mode", body).call.data, body);
  }
}

TEST(RestRouteTableTest, RefusesUnknownPathsAndMethods) {
  const struct {
    const char* method;
    const char* target;
    int status;
  } cases[] = {
      {"GET", "/", 404},
      {"GET", "/Sensors/a/Nope", 404},
      {"GET", "/sensors", 404},
      {"GET", "/Monitors/a/b", 404},
      {"GET", "/Sensors/a/XYZ/extra", 404},
      {"PATCH", "/Sensors", 405},
      {"get", "/Sensors", 405},
      {"OPTIONS", "/Sensors", 405},
  };
  for (const auto& c : cases) {
    const RouteMatch match = quilbyhost::mapRestRequest(c.method, c.target, "");
    EXPECT_EQ(match.error.status, c.status) << c.method << " " << c.target;
    EXPECT_FALSE(match.error.message.empty());
  }
}

TEST(QueryTest, BecomesAnObjectOfStringsAndNulls) {
  const std::pair<const char*, const char*> cases[] = {
      {"", "{}"},
      {"supports", R"({"supports":null})"},
      {"a=", R"({"a":""})"},
      {"deviceIDs=3,5&connected", R"({"connected":null,"deviceIDs":"3,5"})"},
      {"deviceIDs=3%2C5", R"({"deviceIDs":"3,5"})"},
      {"name=a+b%20c", R"({"name":"a b c"})"},
      {"x=1&x=2", R"({"x":"2"})"},
      {"&&a=1&", R"({"a":"1"})"},
      {"k%3D=v=w", R"({"k=":"v=w"})"},
      {"q=%22%5C", R"({"q":"\"\\"})"},
      {"bad=%zz%4", R"({"bad":"%zz%4"})"},
  };
  for (const auto& [raw, want] : cases) EXPECT_EQ(quilbyhost::queryObjectText(raw), want) << raw;
}

TEST(QueryTest, PathSegmentsKeepPlusSigns) {
  EXPECT_EQ(quilbyhost::percentDecode("a+b%2B", false), "a+b+");
  EXPECT_EQ(quilbyhost::percentDecode("a+b%2B", true), "a b+");
}

struct BridgeCase {
  const char* name;
  const char* body;
  BridgeCall want;
};

void PrintTo(const BridgeCase& c, std::ostream* out) { *out << c.name; }

const BridgeCase kBridgeCases[] = {
    {"ValuesAreSerialized",
     R"({"request": {"method": "PUT"}, "parameters": {"id": "a"}, "query": {"supports": null},
         "data": {"mode": 1, "observerKey": 0}})",
     {"SensorMode", R"({"method":"PUT"})", R"({"id":"a"})", R"({"supports":null})",
      R"({"mode":1,"observerKey":0})"}},
    {"StringsPassAsTheirText",
     R"({"request": "{\"method\":\"get\"}", "data": "{ \"mode\" : 1 } trailing"})",
     {"SensorMode", R"({"method":"get"})", "", "", R"({ "mode" : 1 } trailing)"}},
    {"RawTextThatIsNoJson", R"({"data": "abc", "parameters": "not json"})",
     {"SensorMode", "", "not json", "", "abc"}},
    {"AbsentAndNullAreEmpty", R"({"query": null})", {"SensorMode", "", "", "", ""}},
    {"BareNumbersAndBooleans", R"({"data": 7, "query": true})",
     {"SensorMode", "", "", "true", "7"}},
};

class BridgeRouteTest : public testing::TestWithParam<BridgeCase> {};

TEST_P(BridgeRouteTest, GivesTheFourTexts) {
  const BridgeCase& c = GetParam();
  const RouteMatch match = quilbyhost::mapBridgeRequest("SensorMode", c.body);
  ASSERT_TRUE(match.ok()) << match.error.message;
  EXPECT_EQ(match.call.entryPoint, c.want.entryPoint);
  EXPECT_EQ(match.call.request, c.want.request);
  EXPECT_EQ(match.call.parameters, c.want.parameters);
  EXPECT_EQ(match.call.query, c.want.query);
  EXPECT_EQ(match.call.data, c.want.data);
}

INSTANTIATE_TEST_SUITE_P(Bodies, BridgeRouteTest, testing::ValuesIn(kBridgeCases),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(BridgeRouteRefusalTest, RefusesWhatIsNotACallOfAnEntryPoint) {
  const struct {
    const char* entryPoint;
    const char* body;
    int status;
  } cases[] = {
      {"Setup", "{}", 404},
      {"TearDown", "{}", 404},
      {"QuilbyLockSensors", "{}", 404},
      {"sensormode", "{}", 404},
      {"SensorMode", "", 400},
      {"SensorMode", "[1]", 400},
      {"SensorMode", "not json", 400},
      {"SensorMode", R"({"body": "x"})", 400},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(quilbyhost::mapBridgeRequest(c.entryPoint, c.body).error.status, c.status)
        << c.entryPoint << " " << c.body;
  }
}

}  // namespace
