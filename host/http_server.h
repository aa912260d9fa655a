// The development host's HTTP front end: the web console's static files at "/", and every route
// of the Frontend, behind the Host and Origin check of AccessPolicy.
#ifndef QUILBY_HOST_HTTP_SERVER_H
#define QUILBY_HOST_HTTP_SERVER_H

#include "access_policy.h"
#include "frontend.h"

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace httplib {
class Server;
}

namespace quilbyhost {

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
};

class HttpServer {
 public:
  // `frontend` must outlive the server.
  HttpServer(Frontend& frontend, ServerOptions options);
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  // Binds the listening socket. False with a reason in `error` (address in use, no such
  // address, console directory missing).
  bool bind(std::string& error);
  // After bind: the port listened on, and the console's address.
  int port() const { return port_; }
  std::string url() const;

  // Answers requests until stop(); blocks. False when it could not serve at all.
  bool serve();
  // Makes serve() return once the requests in progress are answered, also when serve() has not
  // started yet; from any thread. May wait briefly for serve() to start.
  void stop();

 private:
  Frontend& frontend_;
  ServerOptions options_;
  int port_ = 0;
  std::atomic<bool> stopRequested_{false};
  std::atomic<bool> finished_{false};
  std::optional<AccessPolicy> policy_;
  std::unique_ptr<httplib::Server> server_;
};

}  // namespace quilbyhost

#endif  // QUILBY_HOST_HTTP_SERVER_H
