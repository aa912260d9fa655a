// The quilby-host program itself against the plug-in double, which echoes the four texts each
// entry point received and whose TearDown leaves a mark: its HTTP front end over a loopback socket,
// the command-line front end and a clean shutdown on signals.
#include "support/json_helpers.h"

#include <gtest/gtest.h>
#include <httplib.h>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

extern char** environ;

namespace {

using quilby_test::parsed;
namespace fsys = std::filesystem;

// A running quilby-host with its standard output on a pipe.
class Program {
 public:
  Program(std::vector<std::string> arguments, const fsys::path& mark) {
    arguments.insert(arguments.begin(), QUILBY_HOST_PROGRAM);
    arguments.insert(arguments.end(), {"--exports", QUILBY_ECHO_EXPORTS_DIR, "--quiet"});
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    // The environment passes (a sanitizer's options with it), with where TearDown leaves its mark.
    std::string markVariable = "QUILBY_ECHO_TEARDOWN_MARK=" + mark.string();
    std::vector<char*> envp = {markVariable.data()};
    for (char** entry = environ; *entry != nullptr; ++entry) envp.push_back(*entry);
    envp.push_back(nullptr);

    int out[2];
    EXPECT_EQ(pipe(out), 0);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, out[0]);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    EXPECT_EQ(posix_spawn(&pid_, argv[0], &actions, nullptr, argv.data(), envp.data()), 0);
    posix_spawn_file_actions_destroy(&actions);
    close(out[1]);
    output_ = fdopen(out[0], "r");
  }
  ~Program() {
    if (pid_ > 0) {
      kill(pid_, SIGKILL);
      waitpid(pid_, nullptr, 0);
    }
    if (output_) fclose(output_);
  }

  // The next line of standard output, empty at its end.
  std::string line() {
    char buffer[65536];
    return fgets(buffer, sizeof buffer, output_) ? buffer : "";
  }
  // The exit status; -1 when it did not exit normally, -2 when it was still running after 20 s
  // (it is then killed).
  int wait() {
    int status = 0;
    for (int tenths = 0; waitpid(pid_, &status, WNOHANG) == 0; ++tenths) {
      if (tenths == 200) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
        pid_ = -1;
        return -2;
      }
      usleep(100 * 1000);
    }
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  void signal(int number) { kill(pid_, number); }

 private:
  pid_t pid_ = -1;
  FILE* output_ = nullptr;
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

  // The lines `run` prints for a file of `requests`, and its exit status.
  std::pair<std::vector<std::string>, int> run(const std::string& requests) {
    std::ofstream(scratch_ / "requests.txt") << requests;
    Program program({"run", (scratch_ / "requests.txt").string()}, mark_);
    std::vector<std::string> lines;
    for (std::string next = program.line(); !next.empty(); next = program.line()) {
      lines.push_back(next.substr(0, next.find('\n')));
    }
    return {lines, program.wait()};
  }

  const fsys::path scratch_ =
      fsys::temp_directory_path() / ("quilby-host-" + std::to_string(getpid()));
  const fsys::path mark_ = scratch_ / "teardown";
};

TEST_F(ProgramTest, RunAnswersEveryLineAndFailsOnlyWhenOneFails) {
  const auto [lines, status] = run("# opens and sets a mode\n"
                                   "\n"
                                   "POST /Sensors/33\n"
                                   "put /Sensors/a/Mode {\"mode\": 1,  \"observerKey\": 0}\n"
                                   "GET /Nowhere\n");
  EXPECT_EQ(status, 1);
  EXPECT_TRUE(tornDown());
  // --quiet (which every Program passes) leaves the answers alone, without the "> " lines.
  const std::vector<std::string> expected = {
      R"(200 {"error":null,"value":{"data":"","entryPoint":"DeviceID","parameters":"{\"deviceID\":\"33\"}","query":"{}","request":"{\"method\":\"POST\"}"}})",
      R"(200 {"error":null,"value":{"data":"{\"mode\": 1,  \"observerKey\": 0}","entryPoint":"SensorMode","parameters":"{\"id\":\"a\"}","query":"{}","request":"{\"method\":\"PUT\"}"}})",
      R"(404 {"error":{"message":"No resource answers GET /Nowhere.","name":"HostError"},"value":null})",
  };
  EXPECT_EQ(lines, expected);
  EXPECT_EQ(run("GET /Sensors?connected\n").second, 0);
}

TEST_F(ProgramTest, ServeTearsDownOnEitherSignal) {
  for (const int number : {SIGTERM, SIGINT}) {
    fsys::remove(mark_);
    Program program({"--port", "0"}, mark_);
    const std::string first = program.line();
    ASSERT_EQ(first.rfind("quilby-host: console at http://127.0.0.1:", 0), 0u) << first;
    program.signal(number);
    EXPECT_EQ(program.wait(), 0) << strsignal(number);
    EXPECT_TRUE(tornDown()) << strsignal(number);
  }
}

TEST_F(ProgramTest, RefusesABadCommandLine) {
  Program program({"--port", "http"}, mark_);
  EXPECT_EQ(program.wait(), 2);
  EXPECT_FALSE(tornDown());
}

// quilby-host serving on a free loopback port for the whole suite; it must end cleanly.
class HttpTest : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    server_ = new Program({"--port", "0"}, "");
    const std::string first = server_->line();
    const std::string prefix = "quilby-host: console at http://127.0.0.1:";
    ASSERT_EQ(first.rfind(prefix, 0), 0u) << first;
    port_ = std::stoi(first.substr(prefix.size()));
  }
  static void TearDownTestSuite() {
    server_->signal(SIGTERM);
    EXPECT_EQ(server_->wait(), 0);
    delete server_;
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

  static inline Program* server_ = nullptr;
  static inline int port_ = 0;
};

// The request target reaches the routes as sent; routes_test.cpp maps every route.
TEST_F(HttpTest, RestRequestsReachThePlugInAsSent) {
  const httplib::Response response =
      send("POST", "/Monitors/S%201/CX%2F271/Sensor?supports&deviceIDs=3%2C5", "body");
  EXPECT_EQ(response.status, 200);
  EXPECT_EQ(response.get_header_value("X-Quilby-Entry-Point"), "Monitors");
  const cairnjson::Value value = parsed(response.body)["value"];
  EXPECT_EQ(value["entryPoint"].stringRef(), "Monitors");
  EXPECT_EQ(value["request"].stringRef(), R"({"method":"POST"})");
  EXPECT_EQ(value["parameters"].stringRef(), R"({"product":"CX/271","serial":"S 1"})");
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

TEST_F(HttpTest, BridgeRouteGivesTheFourTexts) {
  const cairnjson::Value value = parsed(
      send("POST", "/bridge/SensorAmbraSenseLevel",
           R"({"request": {"method": "PUT"}, "parameters": {"id": "s"}, "data": "2.6 no json"})")
          .body)["value"];
  EXPECT_EQ(value["entryPoint"].stringRef(), "SensorAmbraSenseLevel");
  EXPECT_EQ(value["request"].stringRef(), R"({"method":"PUT"})");
  EXPECT_EQ(value["parameters"].stringRef(), R"({"id":"s"})");
  EXPECT_EQ(value["query"].stringRef(), "");
  EXPECT_EQ(value["data"].stringRef(), "2.6 no json");
}

TEST_F(HttpTest, AnswersWhatHasNoRouteWithAHostError) {
  const struct {
    const char* method;
    const char* path;
    int status;
  } cases[] = {
      {"POST", "/bridge/Setup", 404}, {"GET", "/bridge/Sensors", 405}, {"POST", "/bridge/", 404},
      {"POST", "/bridge/Sensors/extra", 404},
      // Without a simulator every simulator path says so.
      {"POST", "/sim", 404}, {"POST", "/sim/", 404}, {"GET", "/sim/world", 404},
  };
  for (const auto& c : cases) {
    const std::string method = c.method;
    const httplib::Response response = send(method, c.path, method == "POST" ? "{}" : "");
    EXPECT_EQ(response.status, c.status) << c.method << " " << c.path;
    EXPECT_EQ(parsed(response.body)["error"]["name"].stringRef(), "HostError") << c.path;
  }
  EXPECT_FALSE(parsed(send("GET", "/host/info").body)["value"]["simulator"].toInt(1));
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

// The server applies the access policy (access_policy_test.cpp) to every route family, with the
// port it listens on and the request's own Host and Origin.
TEST_F(HttpTest, RefusesRequestsNotAddressedToItOrFromAnotherSite) {
  const std::string port = std::to_string(port_);
  const struct {
    const char* name;
    httplib::Headers headers;
    int status;
  } cases[] = {
      {"own address", {}, 200},
      {"own page by name", {{"Host", "localhost:" + port}, {"Origin", "http://localhost:" + port}},
       200},
      {"rebound name", {{"Host", "attacker.example:" + port}}, 403},
      {"other site", {{"Origin", "http://attacker.example"}}, 403},
  };
  for (const auto& c : cases) {
    for (const char* path : {"/Sensors", "/", "/host/info"}) {
      const httplib::Response response = send("GET", path, "", c.headers);
      EXPECT_EQ(response.status, c.status) << c.name << " " << path;
      if (c.status != 403) continue;
      const cairnjson::Value envelope = parsed(response.body);
      EXPECT_EQ(envelope["error"]["name"].stringRef(), "HostError");
      EXPECT_TRUE(envelope["value"].isNull());
    }
  }
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
