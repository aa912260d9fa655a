#include "http_server.h"

#include <httplib.h>

#include <cstdio>
#include <chrono>
#include <filesystem>
#include <thread>

namespace quilbyhost {

namespace {

constexpr const char* kJson = "application/json";

std::optional<std::string> header(const httplib::Request& request, const char* name) {
  if (!request.has_header(name)) return std::nullopt;
  return request.get_header_value(name);
}

}  // namespace

HttpServer::HttpServer(Frontend& frontend, ServerOptions options)
    : frontend_(frontend), options_(std::move(options)),
      server_(std::make_unique<httplib::Server>()) {}

HttpServer::~HttpServer() = default;

std::string HttpServer::url() const {
  // A wildcard is no address to browse to; loopback reaches the same server.
  const std::string name =
      isWildcardAddress(options_.address) ? "127.0.0.1" : hostForm(options_.address);
  return "http://" + name + ":" + std::to_string(port_) + "/";
}

bool HttpServer::bind(std::string& error) {
  httplib::Server& server = *server_;
  if (!options_.consoleDirectory.empty()) {
    // The console is a tool under development: every load reads the files afresh.
    if (!std::filesystem::is_directory(options_.consoleDirectory) ||
        !server.set_mount_point("/", options_.consoleDirectory, {{"Cache-Control", "no-store"}})) {
      error = "the console directory " + options_.consoleDirectory + " does not exist";
      return false;
    }
  }
  // Module scripts are refused by browsers unless served as JavaScript.
  server.set_file_extension_and_mimetype_mapping("js", "text/javascript");
  server.set_file_extension_and_mimetype_mapping("mjs", "text/javascript");
  server.set_file_extension_and_mimetype_mapping("css", "text/css");
  server.set_file_extension_and_mimetype_mapping("html", "text/html; charset=utf-8");
  server.set_file_extension_and_mimetype_mapping("svg", "image/svg+xml");
  server.set_file_extension_and_mimetype_mapping("json", kJson);
  server.set_default_headers({
      {"X-Content-Type-Options", "nosniff"},
      {"X-Frame-Options", "DENY"},
      {"Referrer-Policy", "no-referrer"},
      {"Content-Security-Policy",
       "default-src 'self'; img-src 'self' data:; frame-ancestors 'none'; form-action 'self'"},
  });
  server.set_payload_max_length(64 * 1024 * 1024);
  // Short, so that stop() does not wait long for idle keep-alive connections.
  server.set_keep_alive_timeout(1);

  server.set_pre_routing_handler([this](const httplib::Request& request,
                                        httplib::Response& response) {
    const std::optional<std::string> refused =
        policy_->refusal(header(request, "Host"), header(request, "Origin"));
    if (!refused) return httplib::Server::HandlerResponse::Unhandled;
    response.status = 403;
    response.set_content(hostErrorEnvelope("HostError", *refused), kJson);
    return httplib::Server::HandlerResponse::Handled;
  });

  const httplib::Server::Handler forward = [this](const httplib::Request& request,
                                                  httplib::Response& response) {
    const HostResponse answer = frontend_.handle(request.method, request.target, request.body);
    // A status outside HTTP's range cannot be sent; the header keeps what the plug-in said.
    response.status = answer.status >= 100 && answer.status <= 599 ? answer.status : 502;
    response.set_header("X-Quilby-Status", std::to_string(answer.status));
    if (!answer.entryPoint.empty()) response.set_header("X-Quilby-Entry-Point", answer.entryPoint);
    if (answer.promiseId != 0) {
      response.set_header("X-Quilby-Promise-Id", std::to_string(answer.promiseId));
    }
    response.set_header("Cache-Control", "no-store");
    response.set_content(answer.body, kJson);
  };
  server.Get(".*", forward);
  server.Put(".*", forward);
  server.Post(".*", forward);
  server.Delete(".*", forward);
  server.Patch(".*", forward);
  server.Options(".*", forward);

  // Whatever the library answers by itself (a malformed request, a body too large) still comes
  // as an envelope.
  const httplib::Server::HandlerWithResponse envelopeForLibraryErrors =
      [](const httplib::Request& request, httplib::Response& response) {
        if (!response.body.empty()) return httplib::Server::HandlerResponse::Unhandled;
        std::string message = "HTTP status " + std::to_string(response.status) + ".";
        // The library reads the body of such a request up to the end of the connection, so a
        // client that keeps the connection open runs into the read timeout.
        if (response.status == 400 && (request.method == "POST" || request.method == "PUT") &&
            !request.has_header("Content-Length") &&
            request.get_header_value("Transfer-Encoding") != "chunked") {
          message = "A POST or PUT request needs a body or \"Content-Length: 0\" "
                    "(curl: -d '').";
        }
        response.set_content(hostErrorEnvelope("HostError", message), kJson);
        return httplib::Server::HandlerResponse::Handled;
      };
  server.set_error_handler(envelopeForLibraryErrors);

  if (options_.accessLog) {
    server.set_logger([](const httplib::Request& request, const httplib::Response& response) {
      const std::string entryPoint = response.get_header_value("X-Quilby-Entry-Point");
      std::fprintf(stderr, "quilby-host: %s %s -> %d%s%s\n", request.method.c_str(),
                   request.target.c_str(), response.status, entryPoint.empty() ? "" : " ",
                   entryPoint.c_str());
    });
  }

  if (options_.port == 0) {
    port_ = server.bind_to_any_port(options_.address);
  } else {
    port_ = server.bind_to_port(options_.address, options_.port) ? options_.port : -1;
  }
  if (port_ <= 0) {
    error = "cannot listen on " + options_.address + " port " + std::to_string(options_.port) +
            " (address in use or not of this machine)";
    return false;
  }
  policy_.emplace(options_.address, port_, options_.allowedHosts);
  return true;
}

bool HttpServer::serve() {
  bool served = true;
  if (!stopRequested_) served = server_->listen_after_bind();
  finished_ = true;
  return served;
}

void HttpServer::stop() {
  stopRequested_ = true;
  // The library forgets a stop that comes before its listening loop runs; a signal can come
  // that early, right after the address is printed.
  while (!finished_ && !server_->is_running()) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  server_->stop();
}

}  // namespace quilbyhost
