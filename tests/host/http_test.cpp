// The HTTP front end of the development host, end to end over a loopback socket, against a
// plug-in double that echoes the four texts each entry point received.
#include "frontend.h"
#include "host_thread.h"
#include "http_server.h"
#include "json/cairnjson.h"
#include "plugin_host.h"
#include "routes.h"

#include <gtest/gtest.h>
#include <httplib.h>

#include <memory>
#include <string>
#include <thread>

namespace {

using quilbyhost::Frontend;
using quilbyhost::HostThread;
using quilbyhost::HttpServer;
using quilbyhost::PluginHost;

cairnjson::Value parsed(const std::string& text) {
  cairnjson::Parser parser;
  cairnjson::Value value;
  EXPECT_TRUE(parser.parse(text, value)) << text;
  return value;
}

class HttpTest : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    quilbyhost::HostSettings settings;
    settings.exportsPath = QUILBY_ECHO_EXPORTS_DIR;
    PluginHost::Instance().configure(settings);
    std::string error;
    ASSERT_TRUE(PluginHost::Instance().load(std::string(QUILBY_ECHO_EXPORTS_DIR) + "/libquilby.so",
                                            error))
        << error;
  }
  static void TearDownTestSuite() { PluginHost::Instance().unload(); }

  void SetUp() override {
    quilbyhost::ServerOptions options;
    options.port = 0;
    options.accessLog = false;
    options.consoleDirectory = QUILBY_HOST_CONSOLE_DIR;
    server_ = std::make_unique<HttpServer>(frontend_, options);
    std::string error;
    ASSERT_TRUE(server_->bind(error)) << error;
    serving_ = std::thread([this] { server_->serve(); });
    client_ = std::make_unique<httplib::Client>("127.0.0.1", server_->port());
  }

  void TearDown() override {
    server_->stop();
    serving_.join();
  }

  // The response to `method` `path` with `body`, with extra headers.
  httplib::Result send(const std::string& method, const std::string& path,
                       const std::string& body = "", const httplib::Headers& headers = {}) {
    httplib::Request request;
    request.method = method;
    request.path = path;
    request.headers = headers;
    request.body = body;
    if (!body.empty() || method == "PUT" || method == "POST") {
      request.set_header("Content-Type", "application/json");
    }
    return client_->send(request);
  }

  std::string own() const { return "127.0.0.1:" + std::to_string(server_->port()); }

  HostThread thread_;
  Frontend frontend_{thread_, nullptr, QUILBY_HOST_CONSOLE_DIR};
  std::unique_ptr<HttpServer> server_;
  std::thread serving_;
  std::unique_ptr<httplib::Client> client_;
};

TEST_F(HttpTest, EveryRestRouteReachesItsEntryPointWithItsParameters) {
  for (const quilbyhost::RestRoute& route : quilbyhost::restRoutes()) {
    // Each parameter gets a value that needs encoding: "{id}" becomes "id 1/x".
    std::string path = route.pattern;
    cairnjson::Value expected(cairnjson::Type::Object);
    for (std::size_t open = path.find('{'); open != std::string::npos; open = path.find('{')) {
      const std::size_t close = path.find('}', open);
      const std::string name = path.substr(open + 1, close - open - 1);
      expected[name].setString(name + " 1/x");
      path.replace(open, close - open + 1, name + "%201%2Fx");
    }
    const std::string methods = route.methods;
    const std::string method = methods == "POST" ? "POST" : "PUT";
    const auto result = send(method, path + "?supports&deviceIDs=3,5", "body");
    ASSERT_TRUE(result) << path;
    EXPECT_EQ(result->status, 200) << path;
    EXPECT_EQ(result->get_header_value("X-Quilby-Entry-Point"), route.entryPoint) << path;
    const cairnjson::Value value = parsed(result->body)["value"];
    EXPECT_EQ(value["entryPoint"].stringRef(), route.entryPoint);
    EXPECT_EQ(value["request"].stringRef(), R"({"method":")" + method + "\"}");
    EXPECT_EQ(parsed(value["parameters"].stringRef()), expected) << path;
    EXPECT_EQ(value["query"].stringRef(), R"({"deviceIDs":"3,5","supports":null})");
    EXPECT_EQ(value["data"].stringRef(), "body");
  }
}

TEST_F(HttpTest, BodiesReachThePlugInByteForByte) {
  const std::string bodies[] = {
      R"({"mode": 1, "observerKey": 0})",
      "{\r\n  \"mode\" : 1.50\r\n}\r\n",
      "\xEF\xBB\xBF[1, 2]",
      "abc \"quoted\" \\ back",
      "caf\xC3\xA9 \xE2\x9C\x93",
      "\xFF\xFE not UTF-8",
      "   ",
  };
  for (const std::string& body : bodies) {
    const auto result = send("PUT", "/Sensors/a/Mode", body);
    ASSERT_TRUE(result);
    EXPECT_EQ(parsed(result->body)["value"]["data"].stringRef(), body);
  }
}

TEST_F(HttpTest, BridgeRouteGivesTheFourTexts) {
  const auto result = send("POST", "/bridge/SensorAmbraSenseLevel",
                           R"({"request": {"method": "PUT"}, "parameters": {"id": "s"},
                               "data": "2.6 not json"})");
  ASSERT_TRUE(result);
  EXPECT_EQ(result->status, 200);
  const cairnjson::Value value = parsed(result->body)["value"];
  EXPECT_EQ(value["entryPoint"].stringRef(), "SensorAmbraSenseLevel");
  EXPECT_EQ(value["request"].stringRef(), R"({"method":"PUT"})");
  EXPECT_EQ(value["parameters"].stringRef(), R"({"id":"s"})");
  EXPECT_EQ(value["query"].stringRef(), "");
  EXPECT_EQ(value["data"].stringRef(), "2.6 not json");

  const auto unknown = send("POST", "/bridge/Setup", "{}");
  ASSERT_TRUE(unknown);
  EXPECT_EQ(unknown->status, 404);
  EXPECT_EQ(parsed(unknown->body)["error"]["name"].stringRef(), "HostError");
  const auto wrongMethod = send("GET", "/bridge/Sensors");
  ASSERT_TRUE(wrongMethod);
  EXPECT_EQ(wrongMethod->status, 405);
  for (const char* path : {"/bridge/", "/bridge/Sensors/extra", "/sim", "/sim/"}) {
    const auto noRoute = send("POST", path, "{}");
    ASSERT_TRUE(noRoute) << path;
    EXPECT_EQ(noRoute->status, 404) << path;
  }
}

TEST_F(HttpTest, PassesTheBridgeStatusAndRefusesAMissingAnswer) {
  const auto notFound = send("PUT", "/Sensors/a/Mode", "status:404");
  ASSERT_TRUE(notFound);
  EXPECT_EQ(notFound->status, 404);
  EXPECT_EQ(notFound->get_header_value("X-Quilby-Status"), "404");
  EXPECT_FALSE(notFound->get_header_value("X-Quilby-Promise-Id").empty());

  const auto silent = send("PUT", "/Sensors/a/Mode", "answers:0");
  ASSERT_TRUE(silent);
  EXPECT_EQ(silent->status, 502);
  const cairnjson::Value error = parsed(silent->body)["error"];
  EXPECT_EQ(error["name"].stringRef(), "HostError");
  EXPECT_NE(error["message"].stringRef().find("0 answers"), std::string::npos);
}

TEST_F(HttpTest, RefusesRequestsNotAddressedToItOrFromAnotherSite) {
  const struct {
    const char* name;
    httplib::Headers headers;
    int status;
  } cases[] = {
      {"own address", {}, 200},
      {"own page", {{"Origin", "http://" + own()}}, 200},
      {"localhost page", {{"Host", "localhost:" + std::to_string(server_->port())},
                          {"Origin", "http://localhost:" + std::to_string(server_->port())}}, 200},
      {"rebound name", {{"Host", "attacker.example:" + std::to_string(server_->port())}}, 403},
      {"other site", {{"Origin", "http://attacker.example"}}, 403},
      {"opaque origin", {{"Origin", "null"}}, 403},
  };
  for (const auto& c : cases) {
    for (const char* path : {"/Sensors", "/", "/host/info"}) {
      const auto result = send("GET", path, "", c.headers);
      ASSERT_TRUE(result) << c.name;
      EXPECT_EQ(result->status, c.status) << c.name << " " << path;
      if (c.status == 403) {
        const cairnjson::Value envelope = parsed(result->body);
        EXPECT_EQ(envelope["error"]["name"].stringRef(), "HostError");
        EXPECT_TRUE(envelope["value"].isNull());
      }
    }
  }
}

TEST_F(HttpTest, ServesTheConsoleAsModulesWithoutCaching) {
  const struct {
    const char* path;
    const char* type;
  } files[] = {{"/", "text/html"}, {"/js/main.js", "text/javascript"},
               {"/style.css", "text/css"}, {"/icon.svg", "image/svg+xml"}};
  for (const auto& file : files) {
    const auto result = send("GET", file.path);
    ASSERT_TRUE(result) << file.path;
    EXPECT_EQ(result->status, 200) << file.path;
    EXPECT_EQ(result->get_header_value("Content-Type").rfind(file.type, 0), 0u) << file.path;
    EXPECT_EQ(result->get_header_value("Cache-Control"), "no-store") << file.path;
    EXPECT_EQ(result->get_header_value("X-Frame-Options"), "DENY") << file.path;
  }
  const auto escape = send("GET", "/../CMakeLists.txt");
  ASSERT_TRUE(escape);
  EXPECT_NE(escape->status, 200);
}

TEST_F(HttpTest, SimulatorRoutesSayWhenThereIsNoSimulator) {
  const auto result = send("GET", "/sim/world");
  ASSERT_TRUE(result);
  EXPECT_EQ(result->status, 404);
  EXPECT_EQ(parsed(result->body)["error"]["name"].stringRef(), "HostError");
  const auto info = send("GET", "/host/info");
  ASSERT_TRUE(info);
  EXPECT_FALSE(parsed(info->body)["value"]["simulator"].toInt(1));
}

}  // namespace
