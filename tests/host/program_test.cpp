// The quilby-host program itself against the plug-in double, which echoes the four texts each
// entry point received and whose TearDown leaves a mark: its HTTP front end over a loopback socket,
// the command-line front end and a clean shutdown on signals.
#include "host_program.h"
#include "support/json_helpers.h"

#include <gtest/gtest.h>
#include <httplib.h>

#include <signal.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>


namespace {

using quilby_test::parsed;
namespace fsys = std::filesystem;

// quilby-host on the echo plug-in, whose TearDown writes "TearDown" to `mark`.
struct Program : quilby_test::HostProgram {
  Program(std::vector<std::string> arguments, const fsys::path& directory, const fsys::path& mark)
      : HostProgram(withEcho(std::move(arguments)), directory,
                    {"QUILBY_ECHO_TEARDOWN_MARK=" + mark.string()}) {}
  static std::vector<std::string> withEcho(std::vector<std::string> arguments) {
    arguments.insert(arguments.end(), {"--exports", QUILBY_ECHO_EXPORTS_DIR, "--quiet"});
    return arguments;
  }
};

class ProgramTest : public testing::Test {
 protected:
  void SetUp() override { fsys::create_directories(scratch_); }
  void TearDown() override { fsys::remove_all(scratch_); }

  bool tornDown() const {
    std::ifstream file(mark_);
    std::string text;
    std::getline(file, text);
    return text == "TearDown";
  }

  const fsys::path scratch_ =
      fsys::temp_directory_path() / ("quilby-host-" + std::to_string(getpid()));
  const fsys::path mark_ = scratch_ / "teardown";
};

TEST_F(ProgramTest, ServeTearsDownOnEitherSignal) {
  for (const int number : {SIGTERM, SIGINT}) {
    fsys::remove(mark_);
    Program program({"--port", "0"}, scratch_, mark_);
    const std::string first = program.line();
    ASSERT_EQ(first.rfind("quilby-host: console at http://127.0.0.1:", 0), 0u) << first;
    program.signal(number);
    EXPECT_EQ(program.wait(), 0) << strsignal(number);
    EXPECT_TRUE(tornDown()) << strsignal(number);
  }
}

// A second host on the same port would split the requests between two device worlds.
TEST_F(ProgramTest, ASecondHostOnAPortInUseRefusesToStart) {
  Program first({"--port", "0"}, scratch_, mark_);
  const std::string line = first.line();
  const std::string prefix = "quilby-host: console at http://127.0.0.1:";
  ASSERT_EQ(line.rfind(prefix, 0), 0u) << line;
  const std::string port = std::to_string(std::stoi(line.substr(prefix.size())));

  fsys::create_directories(scratch_ / "second");
  Program second({"--port", port}, scratch_ / "second", mark_);
  EXPECT_EQ(second.wait(), 1);
  const std::string text = second.errors();
  EXPECT_NE(text.find("port " + port + " is in use"), std::string::npos) << text;

  httplib::Client client("127.0.0.1", std::stoi(port));
  const httplib::Result stillServing = client.Get("/host/info");
  ASSERT_TRUE(stillServing);
  EXPECT_EQ(stillServing->status, 200);
  first.signal(SIGTERM);
  EXPECT_EQ(first.wait(), 0);
}

// quilby-host serving on a free loopback port for the whole suite; it must end cleanly.
class HttpTest : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    fsys::create_directories(directory_);
    server_ = new Program({"--port", "0"}, directory_, "");
    const std::string first = server_->line();
    const std::string prefix = "quilby-host: console at http://127.0.0.1:";
    ASSERT_EQ(first.rfind(prefix, 0), 0u) << first;
    port_ = std::stoi(first.substr(prefix.size()));
  }
  static void TearDownTestSuite() {
    server_->signal(SIGTERM);
    EXPECT_EQ(server_->wait(), 0);
    delete server_;
    fsys::remove_all(directory_);
  }

  // The response to `method` `path` with `body` and extra headers; the test stops without one.
  static httplib::Response send(const std::string& method, const std::string& path,
                                const std::string& body = "",
                                const httplib::Headers& headers = {}) {
    httplib::Request request;
    request.method = method;
    request.path = path;
    request.headers = headers;
    request.body = body;
    if (!body.empty() || method == "PUT" || method == "POST") {
      request.set_header("Content-Type", "application/json");
    }
    const httplib::Result result = httplib::Client("127.0.0.1", port_).send(request);
    if (!result) throw std::runtime_error("no response to " + method + " " + path);
    return *result;
  }

  static inline const fsys::path directory_ =
      fsys::temp_directory_path() / ("quilby-host-http-" + std::to_string(getpid()));
  static inline Program* server_ = nullptr;
  static inline int port_ = 0;
};

// The request target reaches the routes as sent; routes_test.cpp maps every route.
TEST_F(HttpTest, RestRequestsReachThePlugInAsSent) {
  const httplib::Response response =
      send("POST", "/Monitors/S%201/QM%2F27/Sensor?supports&deviceIDs=3%2C5", "body");
  EXPECT_EQ(response.status, 200);
  EXPECT_EQ(response.get_header_value("X-Quilby-Entry-Point"), "Monitors");
  const cairnjson::Value value = parsed(response.body)["value"];
  EXPECT_EQ(value["entryPoint"].stringRef(), "Monitors");
  EXPECT_EQ(value["request"].stringRef(), R"({"method":"POST"})");
  EXPECT_EQ(value["parameters"].stringRef(), R"({"product":"QM/27","serial":"S 1"})");
  EXPECT_EQ(value["query"].stringRef(), R"({"deviceIDs":"3,5","supports":null})");
  EXPECT_EQ(value["data"].stringRef(), "body");
}

TEST_F(HttpTest, BodiesReachThePlugInByteForByte) {
  const std::string bodies[] = {
      R"({"mode": 1, "observerKey": 0})",
      "{\r\n  \"mode\" : 1.50\r\n}\r\n  trailing",
      "\xEF\xBB\xBF[1, 2]",
      "abc \"quoted\" \\ back",
      "caf\xC3\xA9 \xE2\x9C\x93",
      "\xFF\xFE not UTF-8",
      "   ",
  };
  for (const std::string& body : bodies) {
    EXPECT_EQ(parsed(send("PUT", "/Sensors/a/Mode", body).body)["value"]["data"].stringRef(), body);
  }
}

TEST_F(HttpTest, PassesTheBridgeStatusAndRefusesAMissingAnswer) {
  const httplib::Response notFound = send("PUT", "/Sensors/a/Mode", "status:404");
  EXPECT_EQ(notFound.status, 404);
  EXPECT_EQ(notFound.get_header_value("X-Quilby-Status"), "404");
  EXPECT_FALSE(notFound.get_header_value("X-Quilby-Promise-Id").empty());

  const httplib::Response silent = send("PUT", "/Sensors/a/Mode", "answers:0");
  EXPECT_EQ(silent.status, 502);
  const cairnjson::Value error = parsed(silent.body)["error"];
  EXPECT_EQ(error["name"].stringRef(), "HostError");
  EXPECT_NE(error["message"].stringRef().find("0 answers"), std::string::npos);
}

TEST_F(HttpTest, ServesTheConsoleAsModulesWithoutCaching) {
  const std::pair<const char*, const char*> files[] = {{"/", "text/html"},
                                                       {"/js/main.js", "text/javascript"},
                                                       {"/style.css", "text/css"},
                                                       {"/icon.svg", "image/svg+xml"}};
  for (const auto& [path, type] : files) {
    const httplib::Response response = send("GET", path);
    EXPECT_EQ(response.status, 200) << path;
    EXPECT_EQ(response.get_header_value("Content-Type").rfind(type, 0), 0u) << path;
    EXPECT_EQ(response.get_header_value("Cache-Control"), "no-store") << path;
    EXPECT_EQ(response.get_header_value("X-Frame-Options"), "DENY") << path;
  }
  EXPECT_NE(send("GET", "/../CMakeLists.txt").status, 200);
}

}  // namespace
