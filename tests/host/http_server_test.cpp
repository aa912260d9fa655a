// The HTTP server in process, with the echo plug-in behind it: what reaches the plug-in and the
// console's files, and clients that misbehave as a local attacker would, with the limits shrunk
// where a test would otherwise wait. Raw loopback sockets send what a well-behaved client library
// never sends. Every wait is bounded.
#include "frontend.h"
#include "host_thread.h"
#include "http_server.h"
#include "plugin_host.h"
#include "support/json_helpers.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <future>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

namespace {

using namespace quilbyhost;
using namespace std::chrono_literals;
using quilby_test::parsed;
namespace fsys = std::filesystem;

constexpr std::size_t kMiB = 1024 * 1024;

struct RawResponse {
  int status = 0;  // 0: none came
  std::string head;
  std::string body;

  std::string header(const std::string& name) const {
    const std::size_t at = head.find("\r\n" + name + ": ");
    if (at == std::string::npos) return "";
    const std::size_t start = at + name.size() + 4;
    return head.substr(start, head.find("\r\n", start) - start);
  }
};

// A loopback connection that sends whatever it is told. Sends give up after 5 s, so a server
// that neither reads nor closes fails the test instead of hanging it.
class RawConnection {
 public:
  explicit RawConnection(int port) : fd_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    const timeval limit = {5, 0};
    setsockopt(fd_, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    connect(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address);
  }
  ~RawConnection() { close(fd_); }
  RawConnection(const RawConnection&) = delete;
  RawConnection& operator=(const RawConnection&) = delete;

  // False once the server takes no more.
  bool send(std::string_view bytes) {
    while (!bytes.empty()) {
      const ssize_t sent = ::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
      if (sent <= 0) return false;
      bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
  }

  // Whether the server sent something, or closed, within `wait`.
  bool readable(std::chrono::milliseconds wait) {
    pollfd watch = {fd_, POLLIN, 0};
    return poll(&watch, 1, static_cast<int>(wait.count())) > 0;
  }

  // Whether the server closed the connection, answering first or not, with no pause of `wait`.
  bool closedWithin(std::chrono::milliseconds wait) {
    char buffer[4096];
    while (readable(wait)) {
      if (recv(fd_, buffer, sizeof buffer, 0) <= 0) return true;
    }
    return false;
  }

  // One response: its head, and a body of its Content-Length.
  RawResponse response(std::chrono::milliseconds wait = 5s) {
    RawResponse response;
    std::string text;
    char buffer[65536];
    std::size_t headEnd = std::string::npos;
    std::size_t length = 0;
    while (headEnd == std::string::npos || text.size() < headEnd + 4 + length) {
      if (!readable(wait)) break;
      const ssize_t received = recv(fd_, buffer, sizeof buffer, 0);
      if (received <= 0) break;
      text.append(buffer, static_cast<std::size_t>(received));
      if (headEnd == std::string::npos && (headEnd = text.find("\r\n\r\n")) != std::string::npos) {
        const std::size_t field = text.find("Content-Length: ");
        if (field < headEnd) length = std::stoul(text.substr(field + 16));
      }
    }
    if (headEnd == std::string::npos || text.compare(0, 5, "HTTP/") != 0) return response;
    response.status = std::stoi(text.substr(9, 3));
    response.head = text.substr(0, headEnd);
    response.body = text.substr(headEnd + 4);
    return response;
  }

 private:
  int fd_;
};

// Sends a body of `size` bytes in pieces, chunked or not, and stops early as soon as the server
// answers or stops taking bytes.
struct SentBody {
  std::size_t bytes = 0;
  bool whole = false;
};

SentBody sendBody(RawConnection& connection, std::size_t size, bool chunked) {
  const std::string piece(64 * 1024, 'x');
  SentBody sent;
  while (sent.bytes < size) {
    if (connection.readable(0ms)) return sent;
    const std::size_t count = std::min(piece.size(), size - sent.bytes);
    char frame[32];
    std::snprintf(frame, sizeof frame, "%zx\r\n", count);
    const std::string bytes = chunked ? frame + piece.substr(0, count) + "\r\n"
                                      : piece.substr(0, count);
    if (!connection.send(bytes)) return sent;
    sent.bytes += count;
  }
  sent.whole = !chunked || connection.send("0\r\n\r\n");
  return sent;
}

class HttpServerTest : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    thread_ = std::make_unique<HostThread>();
    std::string error;
    ASSERT_TRUE(thread_->run([&] {
      return PluginHost::Instance().load(QUILBY_ECHO_EXPORTS_DIR "/libquilby.so", error);
    })) << error;
    thread_->run([] { PluginHost::Instance().setUp(); });
  }
  static void TearDownTestSuite() {
    thread_->run([] {
      PluginHost::Instance().tearDown();
      PluginHost::Instance().unload();
    });
    thread_.reset();
  }

  void SetUp() override {
    fsys::create_directories(console_);
    std::ofstream(console_ / "index.html") << "<!doctype html><title>console</title>";
  }
  void TearDown() override {
    stopServer();
    fsys::remove_all(console_);
  }

  // Starts a server with `limits` on a free port, serving on a thread of its own; `stopFirst`
  // stops it before it serves.
  void startServer(const ServerLimits& limits, bool stopFirst = false) {
    ServerOptions options;
    options.port = 0;
    options.consoleDirectory = console_.string();
    options.accessLog = false;
    options.limits = limits;
    frontend_ = std::make_unique<Frontend>(*thread_, nullptr, console_.string());
    server_ = std::make_unique<HttpServer>(*frontend_, options);
    std::string error;
    ASSERT_TRUE(server_->bind(error)) << error;
    if (stopFirst) server_->stop();
    serving_ = std::thread([this] { served_ = server_->serve(); });
  }
  void stopServer() {
    if (!server_) return;
    server_->stop();
    serving_.join();
    server_.reset();
  }

  int port() const { return server_->port(); }

  std::string hostHeader() const { return "Host: 127.0.0.1:" + std::to_string(port()) + "\r\n"; }

  // The answer to `request` ("METHOD /target") with `body` and further `headers`, on a
  // connection of its own.
  RawResponse exchange(const std::string& request, const std::string& body = "",
                       const std::string& headers = "") const {
    RawConnection connection(port());
    connection.send(request + " HTTP/1.1\r\n" + hostHeader() + headers +
                    "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
    return connection.response();
  }

  static inline std::unique_ptr<HostThread> thread_;
  const fsys::path console_ =
      fsys::temp_directory_path() / ("quilby-http-" + std::to_string(getpid()));
  std::unique_ptr<Frontend> frontend_;
  std::unique_ptr<HttpServer> server_;
  std::thread serving_;
  bool served_ = false;
};

// The request target reaches the routes undecoded (routes_test.cpp maps and decodes them), bodies
// byte for byte, form bodies (what `curl -d` sends) like any other and past the 8 KiB some servers
// allow them; the plug-in's status comes back, and no answer at all is the host's error.
TEST_F(HttpServerTest, RequestsReachThePlugInAsSentAndItsAnswersComeBack) {
  startServer({});
  const RawResponse response =
      exchange("POST /Monitors/S%201/QM%2F27/Sensor?supports&deviceIDs=3%2C5", "body");
  EXPECT_EQ(response.status, 200);
  EXPECT_EQ(response.header("X-Quilby-Entry-Point"), "Monitors");
  const cairnjson::Value value = parsed(response.body)["value"];
  EXPECT_EQ(value["entryPoint"].stringRef(), "Monitors");
  EXPECT_EQ(value["request"].stringRef(), R"({"method":"POST"})");
  EXPECT_EQ(value["query"].stringRef(), R"({"deviceIDs":"3,5","supports":null})");
  for (const std::string& body : std::vector<std::string>{
           R"({"mode": 1, "observerKey": 0})", "{\r\n  \"mode\" : 1.50\r\n}\r\n  trailing",
           "\xEF\xBB\xBF[1, 2]", "abc \"quoted\" \\ back", "caf\xC3\xA9 \xE2\x9C\x93",
           "\xFF\xFE not UTF-8", "   ", "mode=" + std::string(100 * 1024, 'v')}) {
    for (const char* type : {"", "Content-Type: application/x-www-form-urlencoded\r\n"}) {
      const RawResponse echoed = exchange("PUT /Sensors/a/Mode", body, type);
      EXPECT_TRUE(parsed(echoed.body)["value"]["data"].stringRef() == body)
          << body.substr(0, 40) << " " << type;
    }
  }

  const RawResponse notFound = exchange("PUT /Sensors/a/Mode", "status:404");
  EXPECT_EQ(notFound.status, 404);
  EXPECT_EQ(notFound.header("X-Quilby-Status"), "404");
  EXPECT_FALSE(notFound.header("X-Quilby-Promise-Id").empty());
  const RawResponse silent = exchange("PUT /Sensors/a/Mode", "answers:0");
  EXPECT_EQ(silent.status, 502);
  const cairnjson::Value error = parsed(silent.body)["error"];
  EXPECT_EQ(error["name"].stringRef(), "HostError");
  EXPECT_NE(error["message"].stringRef().find("0 answers"), std::string::npos);
}

TEST_F(HttpServerTest, ServesTheConsoleAsModulesWithoutCachingAndNothingBesideIt) {
  fsys::create_directories(console_ / "js");
  for (const char* file : {"js/main.js", "style.css", "icon.svg"}) std::ofstream(console_ / file);
  startServer({});
  const std::pair<const char*, const char*> files[] = {
      {"/", "text/html"}, {"/js/main.js", "text/javascript"}, {"/style.css", "text/css"},
      {"/icon.svg", "image/svg+xml"}};
  for (const auto& [path, type] : files) {
    const RawResponse response = exchange(std::string("GET ") + path);
    EXPECT_EQ(response.status, 200) << path;
    EXPECT_EQ(response.header("Content-Type").rfind(type, 0), 0u) << path;
    EXPECT_EQ(response.header("Cache-Control"), "no-store") << path;
    EXPECT_EQ(response.header("X-Frame-Options"), "DENY") << path;
  }
  const std::string besideIt = console_.filename().string() + "/index.html";
  for (const std::string& path : {"/../" + besideIt, "/%2E%2E/" + besideIt}) {
    EXPECT_EQ(exchange("GET " + path).status, 404) << path;
  }
}

TEST_F(HttpServerTest, RefusesABodyPastItsRouteLimitWhateverItsEncoding) {
  startServer({.worldBodyBytes = 4 * kMiB});
  const std::tuple<const char*, const char*, std::size_t, bool, int> cases[] = {
      {"announced too large", "POST /bridge/SensorsName", 64 * kMiB, false, 413},
      {"chunked too large", "POST /bridge/SensorsName", 64 * kMiB, true, 413},
      {"chunked within the limit", "PUT /Sensors/a/Mode", kMiB / 2, true, 200},
      {"a world, past the plug-in limit", "PUT /sim/world", 2 * kMiB, false, 404},
      {"a world too large", "PUT /sim/world", 64 * kMiB, true, 413},
  };
  for (const auto& [name, route, size, chunked, status] : cases) {
    RawConnection connection(port());
    const std::string head = std::string(route) + " HTTP/1.1\r\n" + hostHeader() +
                             (chunked ? "Transfer-Encoding: chunked\r\n"
                                      : "Content-Length: " + std::to_string(size) + "\r\n") +
                             "\r\n";
    ASSERT_TRUE(connection.send(head)) << name;
    const SentBody sent = sendBody(connection, size, chunked);
    const RawResponse response = connection.response();
    EXPECT_EQ(response.status, status) << name;
    // A refused body is not read to its end; an accepted one reaches its route whole.
    EXPECT_EQ(sent.whole, status != 413) << name << ": " << sent.bytes << " bytes sent";
    if (status == 413) {
      EXPECT_EQ(parsed(response.body)["error"]["name"].stringRef(), "HostError") << name;
      EXPECT_TRUE(connection.closedWithin(2s)) << name;
    }
  }
}

TEST_F(HttpServerTest, BoundsTheNumberAndSizeOfHeaders) {
  startServer({});
  std::string flood;
  for (int line = 0; line < 10000; ++line) flood += "X-Filler-" + std::to_string(line) + ": 1\r\n";
  const std::tuple<const char*, std::string, bool> cases[] = {
      {"10,000 header lines", flood, false},
      {"one header of 100 KiB", "Cookie: " + std::string(100 * 1024, 'c') + "\r\n", false},
      {"a 16 KiB cookie", "Cookie: " + std::string(16 * 1024, 'c') + "\r\n", true},
  };
  for (const auto& [name, headers, accepted] : cases) {
    // The server may stop reading and answer before the head is sent in full.
    const int status = exchange("GET /Sensors", "", headers).status;
    if (accepted) {
      EXPECT_EQ(status, 200) << name;
    } else {
      EXPECT_TRUE(status == 431 || status == 400) << name << ": " << status;
    }
  }
}

// Beside the Host header every exchange sends.
TEST_F(HttpServerTest, RefusesRepeatedHostOrOriginHeaders) {
  startServer({});
  const std::string origin = "Origin: http://127.0.0.1:" + std::to_string(port()) + "\r\n";
  const std::tuple<const char*, std::string, int> cases[] = {
      {"own Host and Origin", origin, 200},
      {"Host twice", hostHeader(), 400},
      {"Host twice in other cases", "host: attacker.example\r\n", 400},
      {"Origin twice", origin + "Origin: http://attacker.example\r\n", 400},
      {"empty Origin", "Origin: \r\n", 400},
      {"another site", "Origin: http://attacker.example\r\n", 403},
  };
  for (const auto& [name, headers, status] : cases) {
    for (const char* target : {"/Sensors", "/"}) {
      const RawResponse response = exchange(std::string("GET ") + target, "", headers);
      EXPECT_EQ(response.status, status) << name << " " << target;
      if (status != 200) {
        EXPECT_EQ(parsed(response.body)["error"]["name"].stringRef(), "HostError") << name;
      }
    }
  }
}

// The idle timeout alone never ends a client that sends a byte now and then.
TEST_F(HttpServerTest, CutsARequestThatTricklesPastItsDeadline) {
  startServer({.idleTimeout = 30s, .requestDeadline = 1000ms});
  for (const bool afterAnAnswer : {false, true}) {
    RawConnection connection(port());
    if (afterAnAnswer) {
      // The next request on a kept-alive connection has its own deadline, no longer.
      ASSERT_TRUE(connection.send("GET /Sensors HTTP/1.1\r\n" + hostHeader() + "\r\n"));
      ASSERT_EQ(connection.response().status, 200);
    }
    ASSERT_TRUE(connection.send("GET /Sensors HTTP/1.1\r\n" + hostHeader()));
    int lines = 0;
    bool cut = false;
    for (; lines < 25 && !cut; ++lines) {
      cut = !connection.send("X-Slow-" + std::to_string(lines) + ": 1\r\n") ||
            connection.closedWithin(200ms);
    }
    EXPECT_TRUE(cut) << "still open after " << lines << " lines, one every 200 ms";
  }
}

// Bodies each within their limit may not add up to more than the server holds at once: of two
// that do, whichever goes over is refused and the other one is answered.
TEST_F(HttpServerTest, BoundsTheBodiesHeldAtOnce) {
  startServer({.heldBodyBytes = 3 * kMiB / 2});
  const std::string head =
      "PUT /Sensors/a/Mode HTTP/1.1\r\n" + hostHeader() + "Content-Length: 1048576\r\n\r\n";
  RawConnection first(port());
  ASSERT_TRUE(first.send(head + std::string(kMiB - 1, 'x')));
  RawConnection second(port());
  ASSERT_TRUE(second.send(head));
  sendBody(second, kMiB, false);
  // Whole, the second is answered either way; then the first gets its last byte.
  const int secondStatus = second.response().status;
  first.send("x");
  const std::multiset<int> statuses = {first.response().status, secondStatus};
  EXPECT_EQ(statuses, (std::multiset<int>{200, 503}));
}

// Idle connections, half-sent heads and half-sent bodies hold no worker: the console and the
// plug-in are still served while all of them stay open.
TEST_F(HttpServerTest, StaysUsableWithFiftyHostileConnectionsOpen) {
  startServer({.idleTimeout = 30s, .requestDeadline = 30s});
  std::vector<std::unique_ptr<RawConnection>> hostile;
  for (int i = 0; i < 50; ++i) {
    auto connection = std::make_unique<RawConnection>(port());
    if (i % 3 == 1) connection->send("GET / HTTP/1.1\r\n" + hostHeader() + "X-Slow: 1\r\n");
    if (i % 3 == 2) {
      connection->send("PUT /Sensors/a/Mode HTTP/1.1\r\n" + hostHeader() +
                       "Content-Length: 1000\r\n\r\n{\"mode\"");
    }
    hostile.push_back(std::move(connection));
  }
  EXPECT_NE(exchange("GET /").body.find("<title>console</title>"), std::string::npos);
  EXPECT_EQ(exchange("POST /bridge/Sensors", "{}").status, 200);
  for (const auto& connection : hostile) {
    EXPECT_FALSE(connection->readable(0ms)) << "a hostile connection was closed early";
  }
}

// A measurement holds the host's thread for seconds; the console's files and the host's own
// routes still come meanwhile. A stop lets the plug-in request be answered once the thread is
// free; a stop before serving ends it at once.
TEST_F(HttpServerTest, ServesOthersWhileThePlugInIsBusyAndStopsOnceItIsAnswered) {
  startServer({});
  std::promise<void> started, release;
  std::thread busy([&] {
    thread_->run([&] {
      started.set_value();
      release.get_future().wait();
    });
  });
  started.get_future().wait();
  RawConnection waiting(port());
  EXPECT_TRUE(waiting.send("POST /bridge/Sensors HTTP/1.1\r\n" + hostHeader() +
                           "Content-Length: 2\r\n\r\n{}"));
  for (int tenth = 0; tenth < 50 && server_->requestsInProgress() == 0; ++tenth) {
    std::this_thread::sleep_for(100ms);
  }
  EXPECT_EQ(server_->requestsInProgress(), 1);
  EXPECT_EQ(exchange("GET /").status, 200);
  EXPECT_EQ(exchange("GET /host/info").status, 200);
  EXPECT_FALSE(waiting.readable(0ms));
  server_->stop();
  release.set_value();
  busy.join();
  EXPECT_EQ(waiting.response().status, 200);
  serving_.join();
  EXPECT_TRUE(served_);
  server_.reset();

  // A reader that stops reading holds the stop up for the short grace only, not for as long as
  // the library would keep the connection.
  startServer({.idleTimeout = 600s});
  std::ofstream(console_ / "large.js") << std::string(16 * kMiB, 'x');
  RawConnection stalled(port());
  ASSERT_TRUE(stalled.send("GET /large.js HTTP/1.1\r\n" + hostHeader() + "\r\n"));
  ASSERT_TRUE(stalled.readable(5s));
  auto stopped = std::async(std::launch::async, [this] { stopServer(); });
  EXPECT_EQ(stopped.wait_for(30s), std::future_status::ready);
  stopped.wait();

  startServer({}, true);
  stopServer();
  EXPECT_TRUE(served_);
}

}  // namespace
