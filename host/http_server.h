// The development host's HTTP front end: the web console's static files at "/", and every route
// of the Frontend, behind the Host and Origin check of AccessPolicy.
//
// Any local process can connect, so what one client may cost is bounded (ServerLimits, and
// docs/http-server.md for why each bound is what it is). One thread serves every connection
// through libmicrohttpd's event loop, so idle or slow clients hold no thread; requests that need
// the frontend run on a few worker threads, which wait there for the host's thread, while the
// serving thread goes on answering others.
#ifndef QUILBY_HOST_HTTP_SERVER_H
#define QUILBY_HOST_HTTP_SERVER_H

#include "access_policy.h"
#include "frontend.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace quilbyhost {

// What a client may cost the server. The defaults are the host's own; tests shrink them.
struct ServerLimits {
  // Request bodies, counted as they arrive whatever their transfer encoding or content type.
  std::size_t bodyBytes = 1024 * 1024;
  // The body of PUT /sim/world: a whole world file.
  std::size_t worldBodyBytes = 16 * 1024 * 1024;
  // Request bodies held at once, over every connection: what many clients together may cost.
  std::size_t heldBodyBytes = 128 * 1024 * 1024;
  // The HTTP library's memory per connection: read buffer, request line and every header line
  // live in it, so it bounds both the size and the number of headers.
  std::size_t connectionMemoryBytes = 64 * 1024;
  // Connections open at once; the library closes further ones as they come.
  unsigned connections = 256;
  // A connection on which no byte moves for this long is closed (whole seconds, at least 1).
  std::chrono::seconds idleTimeout{10};
  // A request must have arrived whole (head and body) within this time of the connection's
  // opening, or of the previous answer on it; otherwise the connection is cut. This catches a
  // client that trickles its request, which the idle timeout alone never would.
  std::chrono::milliseconds requestDeadline{15000};
  // Threads that hand requests to the frontend; they mostly wait for the host's thread.
  unsigned workers = 4;
};

struct ServerOptions {
  std::string address = "127.0.0.1";
  // 0 picks a free port.
  int port = 8771;
  // Further names accepted in Host and Origin (see AccessPolicy).
  std::vector<std::string> allowedHosts;
  // The console's files; empty serves none.
  std::string consoleDirectory;
  // Write one line per request to standard error.
  bool accessLog = true;
  ServerLimits limits;
};

class HttpServer {
 public:
  // `frontend` must outlive the server.
  HttpServer(Frontend& frontend, ServerOptions options);
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  // Binds the listening socket, for this server alone (no other socket may share the port).
  // False with a reason in `error` (port in use, no such address, console directory missing).
  bool bind(std::string& error);
  // After bind: the port listened on, and the console's address.
  int port() const { return port_; }
  std::string url() const;

  // Answers requests until stop(); blocks. False when it could not serve at all.
  bool serve();
  // Makes serve() return once the requests the host is working on are answered, also when
  // serve() has not started yet; from any thread.
  void stop();

  // The requests the host is working on now (taken whole, not yet answered); from any thread.
  int requestsInProgress() const;

 private:
  struct State;

  ServerOptions options_;
  int port_ = 0;
  std::atomic<bool> stopRequested_{false};
  std::unique_ptr<State> state_;
};

}  // namespace quilbyhost

#endif  // QUILBY_HOST_HTTP_SERVER_H
