// Which requests the development host accepts (addressed to itself, from its own pages), and its
// mapping of HTTP requests onto the plug-in's entry points: the REST routes, the query object and
// the bridge route's members. That HTTP requests arrive here as sent, bodies byte for byte, is
// shown against the server (http_server_test.cpp).
#include "access_policy.h"
#include "routes.h"

#include <gtest/gtest.h>

#include <fstream>
#include <optional>
#include <regex>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

using quilbyhost::mapBridgeRequest;
using quilbyhost::mapRestRequest;
using quilbyhost::RouteMatch;

// The shapes of request that must not be confused, then every route by each of its methods.
TEST(RestRouteTest, MapsMethodPathAndQueryOntoEveryEntryPoint) {
  struct Case {
    std::string method, target, entryPoint, parameters, query;
  };
  const Case cases[] = {
      {"GET", "/Sensors?connected", "Sensors", "{}", R"({"connected":null})"},
      {"PUT", "/XRite/ControlPanel", "XRiteControlPanel", "{}", "{}"},
      // Literal segments win over "{id}"; only POST of "/Sensors/<n>" opens a sensor.
      {"POST", "/Sensors/Name?deviceIDs=3,5", "SensorsName", "{}", R"({"deviceIDs":"3,5"})"},
      {"POST", "/Sensors/33", "DeviceID", R"({"deviceID":"33"})", "{}"},
      {"PUT", "/Sensors/33", "Sensor", R"({"id":"33"})", "{}"},
      {"POST", "/Sensors/Individual/6699", "IndividualID", R"({"individualID":"6699"})", "{}"},
      {"POST", "/Monitors/S%201/QM%2F27/Sensor", "Monitors",
       R"({"product":"QM/27","serial":"S 1"})", "{}"},
      // Empty ids reach the plug-in, which refuses them itself.
      {"GET", "/Sensors//XYZ", "SensorXYZ", R"({"id":""})", "{}"},
      {"GET", "/Sensors/", "Sensor", R"({"id":""})", "{}"},
      // Segments are decoded, "+" included literally; a fragment is dropped.
      {"GET", "/Sensors/a%2Fb/XYZ#top", "SensorXYZ", R"({"id":"a/b"})", "{}"},
      {"GET", "/Sensors/a+b%2B/RGB", "SensorRGB", R"({"id":"a+b+"})", "{}"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.method + " " + c.target);
    const RouteMatch match = mapRestRequest(c.method, c.target, "body text");
    ASSERT_TRUE(match.ok()) << match.error.message;
    EXPECT_EQ(match.call.entryPoint, c.entryPoint);
    EXPECT_EQ(match.call.request, R"({"method":")" + c.method + "\"}");
    EXPECT_EQ(match.call.parameters, c.parameters);
    EXPECT_EQ(match.call.query, c.query);
    EXPECT_EQ(match.call.data, "body text");
  }
  // Every route (whose paths the next test holds to docs/api.md), by each of its methods and with
  // "7" for each parameter, reaches its own entry point: no other pattern takes its paths.
  for (const quilbyhost::RestRoute& route : quilbyhost::restRoutes()) {
    const std::string target = std::regex_replace(route.pattern, std::regex(R"(\{\w+\})"), "7");
    for (const char* method : {"GET", "PUT", "POST", "DELETE"}) {
      if (!route.implements(method)) continue;
      EXPECT_EQ(mapRestRequest(method, target, "").call.entryPoint, route.entryPoint)
          << method << " " << target;
    }
  }
}

// docs/api.md's table of REST routes says what the plug-in's resource list says: every entry point,
// its methods and its path, and nothing else.
TEST(RestRouteTest, DocumentedTableIsTheResourceList) {
  using Row = std::tuple<std::string, std::string, std::string>;  // methods, path, entry point
  std::set<Row> listed;
  for (const quilbyhost::RestRoute& route : quilbyhost::restRoutes()) {
    std::string methods;
    for (const char* method : {"GET", "PUT", "POST", "DELETE"}) {
      if (route.implements(method)) methods += (methods.empty() ? "" : ", ") + std::string(method);
    }
    listed.emplace(methods, route.pattern, route.entryPoint);
  }

  // | GET, PUT | `/Sensors/{id}/Mode` | `SensorMode` |
  const std::regex row(R"(\| ([A-Z]+(?:, [A-Z]+)*) \| `([^`]+)` \| `(\w+)` \|)");
  std::ifstream file(QUILBY_API_DOCUMENT);
  ASSERT_TRUE(file) << QUILBY_API_DOCUMENT;
  std::set<Row> documented;
  for (std::string line; std::getline(file, line);) {
    std::smatch cells;
    if (std::regex_match(line, cells, row)) documented.emplace(cells[1], cells[2], cells[3]);
  }
  EXPECT_EQ(documented, listed);
}

TEST(RestRouteTest, QueryBecomesAnObjectOfStringsAndNulls) {
  const std::pair<const char*, const char*> cases[] = {
      {"", "{}"},
      {"supports", R"({"supports":null})"},
      {"a=", R"({"a":""})"},
      {"deviceIDs=3,5&connected", R"({"connected":null,"deviceIDs":"3,5"})"},
      {"name=a+b%20c", R"({"name":"a b c"})"},
      {"x=1&x=2", R"({"x":"2"})"},
      {"&&a=1&", R"({"a":"1"})"},
      {"k%3D=v=w", R"({"k=":"v=w"})"},
      {"q=%22%5C", R"({"q":"\"\\"})"},
      {"bad=%zz%4", R"({"bad":"%zz%4"})"},
  };
  for (const auto& [raw, want] : cases) EXPECT_EQ(quilbyhost::queryObjectText(raw), want) << raw;
}

TEST(BridgeRouteTest, EachMemberGivesOneOfTheFourTexts) {
  using Texts = std::vector<std::string>;  // request, parameters, query, data
  const std::pair<const char*, Texts> cases[] = {
      // Values are serialized compactly.
      {R"({"request": {"method": "PUT"}, "parameters": {"id": "a"}, "query": {"supports": null},
           "data": {"mode": 1, "observerKey": 0}})",
       {R"({"method":"PUT"})", R"({"id":"a"})", R"({"supports":null})",
        R"({"mode":1,"observerKey":0})"}},
      // Strings pass as their text, JSON or not.
      {R"({"request": "{\"method\":\"get\"}", "data": "{ \"mode\" : 1 } trailing"})",
       {R"({"method":"get"})", "", "", R"({ "mode" : 1 } trailing)"}},
      {R"({"data": "abc", "parameters": "not json"})", {"", "not json", "", "abc"}},
      // Absent and null are empty; bare numbers and booleans are their text.
      {R"({"query": null})", {"", "", "", ""}},
      {R"({"data": 7, "query": true})", {"", "", "true", "7"}},
  };
  for (const auto& [body, texts] : cases) {
    const RouteMatch match = mapBridgeRequest("SensorMode", body);
    ASSERT_TRUE(match.ok()) << body << ": " << match.error.message;
    EXPECT_EQ(match.call.entryPoint, "SensorMode");
    EXPECT_EQ(Texts({match.call.request, match.call.parameters, match.call.query, match.call.data}),
              texts)
        << body;
  }
}

// A REST route by method and path, or a bridge route by entry point and body.
TEST(RouteTest, RefusesWhatIsNotACallOfAnEntryPoint) {
  const std::tuple<bool, const char*, const char*, int> cases[] = {
      {false, "GET", "/", 404},
      {false, "GET", "/Sensors/a/Nope", 404},
      {false, "GET", "/sensors", 404},
      {false, "GET", "/Monitors/a/b", 404},
      {false, "GET", "/Sensors/a/XYZ/extra", 404},
      {false, "PATCH", "/Sensors", 405},
      {false, "get", "/Sensors", 405},
      {true, "Setup", "{}", 404},
      {true, "sensormode", "{}", 404},
      {true, "SensorMode", "", 400},
      {true, "SensorMode", "[1]", 400},
      {true, "SensorMode", R"({"body": "x"})", 400},
  };
  for (const auto& [bridge, first, second, status] : cases) {
    const RouteMatch match =
        bridge ? mapBridgeRequest(first, second) : mapRestRequest(first, second, "");
    EXPECT_EQ(match.error.status, status) << first << " " << second;
    EXPECT_FALSE(match.error.message.empty()) << first << " " << second;
  }
}

using quilbyhost::AccessPolicy;

std::optional<std::string> header(const char* value) {
  return value ? std::optional<std::string>(value) : std::nullopt;
}

TEST(AccessPolicyTest, AcceptsOnlyItsOwnAddressAndPages) {
  // Host and Origin (null: not sent), and whether they are allowed.
  const std::tuple<const char*, const char*, bool> cases[] = {
      {"127.0.0.1:8771", nullptr, true},
      {"localhost:8771", nullptr, true},
      {"LocalHost:8771", nullptr, true},
      {"[::1]:8771", nullptr, true},
      {"127.0.0.1:8771", "http://127.0.0.1:8771", true},
      {"devbox.lan:8771", "http://devbox.lan:8771", true},  // --allow-host, in any case
      {nullptr, nullptr, false},
      {"", nullptr, false},
      // DNS rebinding: another name that resolves to the loopback, with or without its page.
      {"attacker.example:8771", nullptr, false},
      {"attacker.example:8771", "http://attacker.example:8771", false},
      {"localhost.attacker.example:8771", nullptr, false},
      {"127.0.0.1:8772", nullptr, false},
      {"127.0.0.1", nullptr, false},  // the default port 80 is not ours
      {"127.0.0.1:87x1", nullptr, false},
      // Pages of other origins.
      {"127.0.0.1:8771", "http://attacker.example", false},
      {"127.0.0.1:8771", "http://127.0.0.1:9000", false},
      {"127.0.0.1:8771", "https://127.0.0.1:8771", false},
      {"127.0.0.1:8771", "http://127.0.0.1:8771/x", false},
  };
  const AccessPolicy policy("127.0.0.1", 8771, {"DevBox.lan"});
  for (const auto& [host, origin, allowed] : cases) {
    const std::optional<std::string> refusal = policy.refusal(header(host), header(origin));
    EXPECT_EQ(!refusal, allowed) << (host ? host : "(no Host)") << " "
                                 << (origin ? origin : "(no Origin)");
    EXPECT_FALSE(refusal.value_or("allowed").empty());
  }
  // The address it is bound to is its own too, unless that is a wildcard.
  const AccessPolicy bound("192.168.1.20", 80, {});
  EXPECT_FALSE(bound.refusal(std::string("192.168.1.20"), std::string("http://192.168.1.20")));
  const AccessPolicy wildcard("0.0.0.0", 8771, {});
  EXPECT_TRUE(wildcard.refusal(std::string("0.0.0.0:8771"), std::nullopt));
  EXPECT_TRUE(wildcard.refusal(std::string("192.168.1.20:8771"), std::nullopt));
}

}  // namespace
