#include "http_server.h"

#include "job_threads.h"
#include "routes.h"

#include <microhttpd.h>

#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <strings.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <functional>
#include <mutex>
#include <optional>
#include <unordered_set>
#include <utility>

namespace quilbyhost {

namespace {

using Clock = std::chrono::steady_clock;
namespace fsys = std::filesystem;

constexpr const char* kJson = "application/json";

// Sent with every answer the host makes itself: nothing it serves may be framed, sniffed as
// another type or tell another site where it came from.
constexpr std::pair<const char*, const char*> kSecurityHeaders[] = {
    {"X-Content-Type-Options", "nosniff"},
    {"X-Frame-Options", "DENY"},
    {"Referrer-Policy", "no-referrer"},
    {"Content-Security-Policy",
     "default-src 'self'; img-src 'self' data:; frame-ancestors 'none'; form-action 'self'"},
};

// Module scripts are refused by browsers unless served as JavaScript.
const char* contentType(const fsys::path& file) {
  static constexpr std::pair<const char*, const char*> kTypes[] = {
      {".html", "text/html; charset=utf-8"},
      {".js", "text/javascript"},
      {".mjs", "text/javascript"},
      {".css", "text/css"},
      {".svg", "image/svg+xml"},
      {".json", kJson},
      {".png", "image/png"},
      {".ico", "image/x-icon"},
      {".txt", "text/plain; charset=utf-8"},
  };
  const std::string extension = file.extension().string();
  for (const auto& [suffix, type] : kTypes) {
    if (extension == suffix) return type;
  }
  return "application/octet-stream";
}

const char* reasonPhrase(int status) {
  switch (status) {
    case 413: return "Content Too Large";
    case 503: return "Service Unavailable";
    default: return "Error";
  }
}

// Threads that run jobs in the order posted; the destructor runs what is queued, then joins.
// A listening socket on address:port (0: a free one), and the port it got; -1 with the reason.
// SO_REUSEADDR only lets a restarted host take its port back while connections of the previous
// run are still closing. Without SO_REUSEPORT no second socket can listen on the same port, so a
// second host fails here rather than splitting the requests between two device worlds.
int listenOn(const std::string& address, int port, int& boundPort, std::string& error) {
  std::string name = address;
  if (name.size() > 2 && name.front() == '[' && name.back() == ']') {
    name = name.substr(1, name.size() - 2);
  }
  const std::string service = std::to_string(port);
  addrinfo hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = AI_PASSIVE | AI_NUMERICSERV;
  addrinfo* found = nullptr;
  if (const int failed = getaddrinfo(name.c_str(), service.c_str(), &hints, &found); failed != 0) {
    error = "cannot listen on " + address + ": " + gai_strerror(failed);
    return -1;
  }
  int fd = -1;
  int lastError = EADDRNOTAVAIL;
  for (const addrinfo* at = found; at != nullptr && fd < 0; at = at->ai_next) {
    fd = socket(at->ai_family, at->ai_socktype | SOCK_CLOEXEC | SOCK_NONBLOCK, at->ai_protocol);
    if (fd < 0) {
      lastError = errno;
      continue;
    }
    const int on = 1;
    setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    // Two hosts started at the same moment can both bind; the second then fails to listen.
    if (::bind(fd, at->ai_addr, at->ai_addrlen) != 0 || listen(fd, 128) != 0) {
      lastError = errno;
      close(fd);
      fd = -1;
    }
  }
  freeaddrinfo(found);
  if (fd < 0) {
    error = lastError == EADDRINUSE
                ? "port " + service + " is in use on " + address +
                      " (another quilby-host or another program listens there; choose another "
                      "with --port)"
                : "cannot listen on " + address + " port " + service + ": " +
                      std::strerror(lastError);
    return -1;
  }
  sockaddr_storage bound{};
  socklen_t length = sizeof bound;
  getsockname(fd, reinterpret_cast<sockaddr*>(&bound), &length);
  boundPort = ntohs(bound.ss_family == AF_INET6
                        ? reinterpret_cast<const sockaddr_in6*>(&bound)->sin6_port
                        : reinterpret_cast<const sockaddr_in*>(&bound)->sin_port);
  return fd;
}

// A connection as the server follows it (the library's socket context).
struct Connection {
  int fd = -1;
  // By when the request being received must be whole; none while the host works on a request or
  // its answer goes out.
  std::optional<Clock::time_point> deadline;
};

// One request on its way through the server (the library's request context).
struct Exchange {
  enum class Phase {
    Head,       // not yet seen by the server
    Receiving,  // its body arrives
    Working,    // a worker has it; the connection is suspended
    Ready,      // the worker's answer waits to be queued
    Answered,   // an answer is queued, or the connection is being dropped
  };
  // As sent: still percent-encoded, with the query string.
  std::string target;
  std::string method;
  Phase phase = Phase::Head;
  std::size_t bodyLimit = 0;
  std::string body;
  HostResponse response;
  // Counted in State::answering.
  bool countedAnswer = false;
};

// The values of every Host and Origin header of a request, repeated ones included.
struct AccessHeaders {
  std::vector<std::string> hosts;
  std::vector<std::string> origins;
};

MHD_Result collectAccessHeaders(void* context, MHD_ValueKind, const char* key, const char* value) {
  auto& headers = *static_cast<AccessHeaders*>(context);
  if (strcasecmp(key, "Host") == 0) headers.hosts.emplace_back(value ? value : "");
  if (strcasecmp(key, "Origin") == 0) headers.origins.emplace_back(value ? value : "");
  return MHD_YES;
}

}  // namespace

// Everything here runs on the thread in serve(), the library's callbacks included, except the
// workers' jobs, which touch only their own Exchange, `working`, and resume its connection.
struct HttpServer::State {
  State(Frontend& frontend, const ServerOptions& options)
      : frontend(frontend), options(options), workers(options.limits.workers) {}
  ~State() {
    if (daemon) MHD_stop_daemon(daemon);
    if (poller >= 0) close(poller);
    if (wakeup >= 0) close(wakeup);
  }

  // Makes the loop take a turn now: a worker resumed a connection, or stop() was called.
  void wake() const {
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(wakeup, &one, sizeof one);
  }
  // One turn of the event loop: waits for the library's sockets, a wake-up, the library's own
  // timeout, the nearest deadline or `longest`, then lets the library work. False when it cannot.
  bool turn(std::chrono::milliseconds longest = std::chrono::minutes(1));

  // The library's callbacks; `server` is the State.
  static MHD_Result onRequest(void* server, MHD_Connection* connection, const char* url,
                              const char* method, const char* version, const char* upload,
                              std::size_t* uploadSize, void** context);
  static void* onTarget(void* server, const char* target, MHD_Connection* connection);
  static void onCompleted(void* server, MHD_Connection* connection, void** context,
                          MHD_RequestTerminationCode code);
  static void onConnection(void* server, MHD_Connection* connection, void** socketContext,
                           MHD_ConnectionNotificationCode code);

  MHD_Result advance(MHD_Connection* connection, Exchange& exchange, const char* method,
                     const char* upload, std::size_t* uploadSize);
  MHD_Result begin(MHD_Connection* connection, Exchange& exchange, const char* method);
  MHD_Result receive(MHD_Connection* connection, Exchange& exchange, const char* upload,
                     std::size_t size);
  MHD_Result dispatch(MHD_Connection* connection, Exchange& exchange);
  // A worker's answer is ready: hands the exchange back to the serving thread and wakes it.
  void handBack(MHD_Connection* connection, Exchange& exchange);
  MHD_Result respond(MHD_Connection* connection, Exchange& exchange,
                     const HostResponse& answer);
  MHD_Result serveFile(MHD_Connection* connection, Exchange& exchange, const fsys::path& file);
  MHD_Result refuseMidBody(MHD_Connection* connection, Exchange& exchange, int status,
                           const std::string& message);
  // A request is over, however it ended; `exchange` may be null.
  void finished(MHD_Connection* connection, const Exchange* exchange,
                MHD_RequestTerminationCode code);
  std::optional<fsys::path> consoleFile(const std::string& path) const;
  // Cuts the connections past their deadline; returns the time until the nearest other one.
  std::chrono::milliseconds cutLateRequests();
  void log(const Exchange& exchange, int status, const std::string& entryPoint = "") const;

  static Connection* connectionOf(MHD_Connection* connection) {
    const MHD_ConnectionInfo* info =
        MHD_get_connection_info(connection, MHD_CONNECTION_INFO_SOCKET_CONTEXT);
    return info ? static_cast<Connection*>(info->socket_context) : nullptr;
  }
  void armDeadline(MHD_Connection* connection) {
    if (Connection* tracked = connectionOf(connection)) {
      tracked->deadline = Clock::now() + options.limits.requestDeadline;
    }
  }
  void countAnswer(Exchange& exchange) {
    if (exchange.countedAnswer) return;
    exchange.countedAnswer = true;
    ++answering;
  }
  static void disarmDeadline(MHD_Connection* connection) {
    if (Connection* tracked = connectionOf(connection)) tracked->deadline.reset();
  }

  Frontend& frontend;
  const ServerOptions& options;
  std::optional<AccessPolicy> policy;
  MHD_Daemon* daemon = nullptr;
  // The loop waits on the library's epoll descriptor and on `wakeup` together.
  int poller = -1;
  int wakeup = -1;
  std::unordered_set<Connection*> connections;
  // Bytes of request bodies held, over every connection.
  std::size_t bodyBytesHeld = 0;
  // Requests being worked on or answered, whose answers are not yet sent.
  int answering = 0;
  // Set once serve() winds down: requests that arrive whole after that are not started.
  bool closing = false;
  // Requests the workers have; their connections are suspended until they are done.
  std::atomic<int> working{0};
  JobThreads workers;
};

// The contexts the library keeps for the server are owned through it: made here, released by
// the notifications below.
MHD_Result HttpServer::State::onRequest(void* server, MHD_Connection* connection, const char* url,
                                        const char* method, const char* /*version*/,
                                        const char* upload, std::size_t* uploadSize,
                                        void** context) {
  auto& state = *static_cast<State*>(server);
  try {
    if (!*context) {
      // The target is normally taken before the library parses it (onTarget).
      *context = onTarget(server, url, connection);
      if (!*context) return MHD_NO;
    }
    return state.advance(connection, *static_cast<Exchange*>(*context), method, upload,
                         uploadSize);
  } catch (...) {
    // Out of memory: the library drops the connection.
    return MHD_NO;
  }
}

void* HttpServer::State::onTarget(void* /*server*/, const char* target,
                                  MHD_Connection* /*connection*/) {
  try {
    auto exchange = std::make_unique<Exchange>();
    exchange->target = target;
    return exchange.release();
  } catch (...) {
    return nullptr;
  }
}

void HttpServer::State::onCompleted(void* server, MHD_Connection* connection, void** context,
                                    MHD_RequestTerminationCode code) {
  const std::unique_ptr<Exchange> exchange(static_cast<Exchange*>(*context));
  *context = nullptr;
  static_cast<State*>(server)->finished(connection, exchange.get(), code);
}

void HttpServer::State::onConnection(void* server, MHD_Connection* connection,
                                     void** socketContext, MHD_ConnectionNotificationCode code) {
  auto& state = *static_cast<State*>(server);
  if (code == MHD_CONNECTION_NOTIFY_STARTED) {
    const MHD_ConnectionInfo* info =
        MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD);
    try {
      auto tracked = std::make_unique<Connection>();
      tracked->fd = info ? info->connect_fd : -1;
      tracked->deadline = Clock::now() + state.options.limits.requestDeadline;
      state.connections.insert(tracked.get());
      *socketContext = tracked.release();
    } catch (...) {
      // Untracked, the connection still has the idle timeout.
    }
  } else if (*socketContext) {
    const std::unique_ptr<Connection> tracked(static_cast<Connection*>(*socketContext));
    state.connections.erase(tracked.get());
    *socketContext = nullptr;
  }
}

MHD_Result HttpServer::State::advance(MHD_Connection* connection, Exchange& exchange,
                                      const char* method, const char* upload,
                                      std::size_t* uploadSize) {
  switch (exchange.phase) {
    case Exchange::Phase::Head:
      return begin(connection, exchange, method);
    case Exchange::Phase::Receiving:
      if (*uploadSize > 0) {
        const std::size_t size = *uploadSize;
        *uploadSize = 0;
        return receive(connection, exchange, upload, size);
      }
      return dispatch(connection, exchange);
    case Exchange::Phase::Ready:
      return respond(connection, exchange, exchange.response);
    case Exchange::Phase::Working:
    case Exchange::Phase::Answered:
      break;
  }
  return MHD_YES;
}

MHD_Result HttpServer::State::begin(MHD_Connection* connection, Exchange& exchange,
                                    const char* method) {
  exchange.method = method;
  AccessHeaders headers;
  MHD_get_connection_values(connection, MHD_HEADER_KIND, &collectAccessHeaders, &headers);
  if (const std::optional<Refusal> refused = policy->check(headers.hosts, headers.origins)) {
    HostResponse answer;
    answer.status = refused->status;
    answer.body = hostErrorEnvelope("HostError", refused->message);
    return respond(connection, exchange, answer);
  }

  std::string path;
  std::string rawQuery;
  splitTarget(exchange.target, path, rawQuery);
  const ServerLimits& limits = options.limits;
  exchange.bodyLimit =
      exchange.method == "PUT" && path == "/sim/world" ? limits.worldBodyBytes : limits.bodyBytes;
  // A body announced too large is refused before a byte of it is read.
  if (const char* length = MHD_lookup_connection_value(connection, MHD_HEADER_KIND,
                                                       MHD_HTTP_HEADER_CONTENT_LENGTH)) {
    unsigned long long declared = 0;
    const char* end = length + std::strlen(length);
    const auto [stop, failed] = std::from_chars(length, end, declared);
    if (failed == std::errc::result_out_of_range ||
        (failed == std::errc() && declared > exchange.bodyLimit)) {
      HostResponse answer;
      answer.status = 413;
      answer.body = hostErrorEnvelope(
          "HostError", "The body is larger than the " + std::to_string(exchange.bodyLimit) +
                           " bytes " + exchange.method + " " + path + " takes.");
      return respond(connection, exchange, answer);
    }
  }

  if (exchange.method == "GET" || exchange.method == "HEAD") {
    if (const std::optional<fsys::path> file = consoleFile(path)) {
      return serveFile(connection, exchange, *file);
    }
  }
  exchange.phase = Exchange::Phase::Receiving;
  return MHD_YES;
}

MHD_Result HttpServer::State::receive(MHD_Connection* connection, Exchange& exchange,
                                      const char* upload, std::size_t size) {
  // A chunked body has no length to check in advance; it is counted as it comes.
  if (exchange.body.size() + size > exchange.bodyLimit) {
    std::string path;
    std::string rawQuery;
    splitTarget(exchange.target, path, rawQuery);
    return refuseMidBody(connection, exchange, 413,
                         "The body is larger than the " + std::to_string(exchange.bodyLimit) +
                             " bytes " + exchange.method + " " + path + " takes.");
  }
  if (bodyBytesHeld + size > options.limits.heldBodyBytes) {
    return refuseMidBody(connection, exchange, 503,
                         "The host holds too many request bodies at once; try again.");
  }
  exchange.body.append(upload, size);
  bodyBytesHeld += size;
  return MHD_YES;
}

MHD_Result HttpServer::State::dispatch(MHD_Connection* connection, Exchange& exchange) {
  disarmDeadline(connection);
  if (closing) {
    HostResponse answer;
    answer.status = 503;
    answer.body = hostErrorEnvelope("HostError", "The host is shutting down.");
    return respond(connection, exchange, answer);
  }
  // The frontend waits for the host's thread, maybe through a long measurement; meanwhile this
  // thread goes on serving every other connection.
  exchange.phase = Exchange::Phase::Working;
  countAnswer(exchange);
  ++working;
  MHD_suspend_connection(connection);
  try {
    workers.post([this, connection, &exchange] {
      exchange.response = frontend.handle(exchange.method, exchange.target, exchange.body);
      handBack(connection, exchange);
    });
  } catch (...) {
    exchange.response.status = 500;
    exchange.response.body = hostErrorEnvelope("HostError", "The host failed.");
    handBack(connection, exchange);
  }
  return MHD_YES;
}

void HttpServer::State::handBack(MHD_Connection* connection, Exchange& exchange) {
  exchange.phase = Exchange::Phase::Ready;
  // Counted down before the serving thread is woken: a wake-up that found the count unchanged
  // would let it sleep again, with no one left to wake it, while it waits for the count to fall.
  --working;
  // The exchange belongs to the serving thread again from here on.
  MHD_resume_connection(connection);
  wake();
}

MHD_Result HttpServer::State::respond(MHD_Connection* connection, Exchange& exchange,
                                      const HostResponse& answer) {
  exchange.phase = Exchange::Phase::Answered;
  disarmDeadline(connection);
  // A status outside HTTP's final range cannot be sent; the header keeps what the plug-in said.
  const int status = answer.status >= 200 && answer.status <= 599 ? answer.status : 502;
  MHD_Response* response = MHD_create_response_from_buffer(
      answer.body.size(), const_cast<char*>(answer.body.data()), MHD_RESPMEM_MUST_COPY);
  if (!response) return MHD_NO;
  // Envelopes are JSON; a route that answers with a file (an export) names its type and headers.
  const char* type = answer.contentType.empty() ? kJson : answer.contentType.c_str();
  MHD_add_response_header(response, MHD_HTTP_HEADER_CONTENT_TYPE, type);
  MHD_add_response_header(response, MHD_HTTP_HEADER_CACHE_CONTROL, "no-store");
  for (const auto& [name, value] : kSecurityHeaders) {
    MHD_add_response_header(response, name, value);
  }
  for (const auto& [name, value] : answer.headers) {
    MHD_add_response_header(response, name.c_str(), value.c_str());
  }
  MHD_add_response_header(response, "X-Quilby-Status", std::to_string(answer.status).c_str());
  if (!answer.entryPoint.empty()) {
    MHD_add_response_header(response, "X-Quilby-Entry-Point", answer.entryPoint.c_str());
  }
  if (answer.promiseId != 0) {
    MHD_add_response_header(response, "X-Quilby-Promise-Id",
                            std::to_string(answer.promiseId).c_str());
  }
  const MHD_Result queued =
      MHD_queue_response(connection, static_cast<unsigned>(status), response);
  MHD_destroy_response(response);
  if (queued == MHD_YES) countAnswer(exchange);
  log(exchange, status, answer.entryPoint);
  return queued;
}

MHD_Result HttpServer::State::serveFile(MHD_Connection* connection, Exchange& exchange,
                                        const fsys::path& file) {
  const int fd = open(file.c_str(), O_RDONLY | O_CLOEXEC);
  struct stat about{};
  if (fd < 0 || fstat(fd, &about) != 0 || !S_ISREG(about.st_mode)) {
    if (fd >= 0) close(fd);
    exchange.phase = Exchange::Phase::Receiving;
    return MHD_YES;
  }
  exchange.phase = Exchange::Phase::Answered;
  disarmDeadline(connection);
  // The library owns the descriptor from here on, also when it fails.
  MHD_Response* response = MHD_create_response_from_fd(static_cast<std::size_t>(about.st_size), fd);
  if (!response) return MHD_NO;
  MHD_add_response_header(response, MHD_HTTP_HEADER_CONTENT_TYPE, contentType(file));
  // The console is a tool under development: every load reads the files afresh.
  MHD_add_response_header(response, MHD_HTTP_HEADER_CACHE_CONTROL, "no-store");
  for (const auto& [name, value] : kSecurityHeaders) {
    MHD_add_response_header(response, name, value);
  }
  const MHD_Result queued = MHD_queue_response(connection, MHD_HTTP_OK, response);
  MHD_destroy_response(response);
  if (queued == MHD_YES) countAnswer(exchange);
  log(exchange, MHD_HTTP_OK);
  return queued;
}

// This version of the library takes an answer only before a body or after all of it, so the
// refusal is written to the socket here, and the connection dropped rather than the rest read.
MHD_Result HttpServer::State::refuseMidBody(MHD_Connection* connection, Exchange& exchange,
                                            int status, const std::string& message) {
  exchange.phase = Exchange::Phase::Answered;
  disarmDeadline(connection);
  const std::string body = hostErrorEnvelope("HostError", message);
  std::string raw = "HTTP/1.1 " + std::to_string(status) + " " + reasonPhrase(status) +
                    "\r\nConnection: close\r\nContent-Type: " + kJson +
                    "\r\nCache-Control: no-store\r\nX-Quilby-Status: " + std::to_string(status) +
                    "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n";
  for (const auto& [name, value] : kSecurityHeaders) {
    raw += std::string(name) + ": " + value + "\r\n";
  }
  raw += "\r\n" + body;
  if (const Connection* tracked = connectionOf(connection); tracked && tracked->fd >= 0) {
    // A few hundred bytes into an otherwise idle send buffer; the end of sending tells the client
    // that nothing follows, before the library closes the socket on the unread rest.
    [[maybe_unused]] const ssize_t sent =
        send(tracked->fd, raw.data(), raw.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    shutdown(tracked->fd, SHUT_WR);
  }
  log(exchange, status);
  return MHD_NO;
}

void HttpServer::State::finished(MHD_Connection* connection, const Exchange* exchange,
                                 MHD_RequestTerminationCode code) {
  if (exchange) {
    if (exchange->phase == Exchange::Phase::Head && code != MHD_REQUEST_TERMINATED_COMPLETED_OK) {
      // The library refused the request itself (a head too large or malformed): log what it sent.
      const MHD_ConnectionInfo* info =
          MHD_get_connection_info(connection, MHD_CONNECTION_INFO_HTTP_STATUS);
      if (info && info->http_status != 0) log(*exchange, static_cast<int>(info->http_status));
    }
    if (exchange->countedAnswer) --answering;
    bodyBytesHeld -= std::min(bodyBytesHeld, exchange->body.size());
  }
  // The next request on a kept-alive connection has its own time to arrive.
  armDeadline(connection);
}

std::optional<fsys::path> HttpServer::State::consoleFile(const std::string& path) const {
  if (options.consoleDirectory.empty()) return std::nullopt;
  std::string relative = percentDecode(path, false);
  if (relative.empty() || relative.front() != '/' ||
      relative.find('\0') != std::string::npos) {
    return std::nullopt;
  }
  relative.erase(0, 1);
  if (relative.empty() || relative.back() == '/') relative += "index.html";
  // No segment may leave the directory or name it again.
  std::string_view rest = relative;
  while (!rest.empty()) {
    const std::size_t slash = rest.find('/');
    const std::string_view segment = rest.substr(0, slash);
    if (segment.empty() || segment == "." || segment == "..") return std::nullopt;
    if (slash == std::string_view::npos) break;
    rest.remove_prefix(slash + 1);
  }
  fsys::path file = fsys::path(options.consoleDirectory) / relative;
  std::error_code ignored;
  if (!fsys::is_regular_file(file, ignored)) return std::nullopt;
  return file;
}

std::chrono::milliseconds HttpServer::State::cutLateRequests() {
  const Clock::time_point now = Clock::now();
  Clock::time_point nearest = now + std::chrono::hours(1);
  for (Connection* connection : connections) {
    if (!connection->deadline || connection->fd < 0) continue;
    if (*connection->deadline > now) {
      nearest = std::min(nearest, *connection->deadline);
      continue;
    }
    connection->deadline.reset();
    // The library sees the end of the stream on its next turn and closes the connection. The
    // descriptor cannot have been reused: the library closes it on this thread, after
    // onConnection has forgotten it.
    shutdown(connection->fd, SHUT_RDWR);
    if (options.accessLog) {
      std::fprintf(stderr, "quilby-host: a connection sent no whole request within %lld ms; "
                           "closed\n",
                   static_cast<long long>(options.limits.requestDeadline.count()));
    }
  }
  return std::chrono::ceil<std::chrono::milliseconds>(nearest - now);
}

bool HttpServer::State::turn(std::chrono::milliseconds longest) {
  const long long longestWait = std::max<long long>(longest.count(), 0);
  long long wait = std::min<long long>(cutLateRequests().count(), longestWait);
  MHD_UNSIGNED_LONG_LONG libraryWait = 0;
  if (MHD_get_timeout(daemon, &libraryWait) == MHD_YES) {
    wait = std::min(wait, static_cast<long long>(std::min<MHD_UNSIGNED_LONG_LONG>(
                              libraryWait, longestWait)));
  }
  epoll_event events[2];
  if (epoll_wait(poller, events, 2, static_cast<int>(std::max(wait, 0LL))) < 0 &&
      errno != EINTR) {
    return false;
  }
  std::uint64_t count = 0;
  while (read(wakeup, &count, sizeof count) > 0) {
  }
  return MHD_run(daemon) == MHD_YES;
}

void HttpServer::State::log(const Exchange& exchange, int status,
                            const std::string& entryPoint) const {
  if (!options.accessLog) return;
  // A target can be tens of kilobytes; the line stays readable.
  constexpr std::size_t kShownTarget = 200;
  const std::string target = exchange.target.size() <= kShownTarget
                                 ? exchange.target
                                 : exchange.target.substr(0, kShownTarget) + "...";
  // The method is unknown when the library refused the request before handing it on.
  std::fprintf(stderr, "quilby-host: %s %s -> %d%s%s\n",
               exchange.method.empty() ? "-" : exchange.method.c_str(), target.c_str(), status,
               entryPoint.empty() ? "" : " ", entryPoint.c_str());
}

HttpServer::HttpServer(Frontend& frontend, ServerOptions options)
    : options_(std::move(options)), state_(std::make_unique<State>(frontend, options_)) {}

HttpServer::~HttpServer() = default;

std::string HttpServer::url() const {
  // A wildcard is no address to browse to; loopback reaches the same server.
  const std::string name =
      isWildcardAddress(options_.address) ? "127.0.0.1" : hostForm(options_.address);
  return "http://" + name + ":" + std::to_string(port_) + "/";
}

bool HttpServer::bind(std::string& error) {
  if (!options_.consoleDirectory.empty() && !fsys::is_directory(options_.consoleDirectory)) {
    error = "the console directory " + options_.consoleDirectory + " does not exist";
    return false;
  }
  const int listening = listenOn(options_.address, options_.port, port_, error);
  if (listening < 0) return false;
  const ServerLimits& limits = options_.limits;
  State& state = *state_;
  // The library's own thread stays unused: serve() turns its event loop, so that it can also cut
  // connections past their deadline without racing the library for the descriptors.
  state.daemon = MHD_start_daemon(
      MHD_USE_EPOLL | MHD_ALLOW_SUSPEND_RESUME, 0, nullptr, nullptr, &State::onRequest, &state,
      MHD_OPTION_LISTEN_SOCKET, static_cast<MHD_socket>(listening),
      MHD_OPTION_CONNECTION_LIMIT, limits.connections,
      MHD_OPTION_CONNECTION_TIMEOUT,
      static_cast<unsigned>(std::max<long long>(limits.idleTimeout.count(), 1)),
      MHD_OPTION_CONNECTION_MEMORY_LIMIT, limits.connectionMemoryBytes,
      MHD_OPTION_URI_LOG_CALLBACK, &State::onTarget, &state,
      MHD_OPTION_NOTIFY_COMPLETED, &State::onCompleted, &state,
      MHD_OPTION_NOTIFY_CONNECTION, &State::onConnection, &state,
      MHD_OPTION_END);
  if (!state.daemon) {
    close(listening);
    error = "the HTTP server could not start on " + options_.address + " port " +
            std::to_string(port_);
    return false;
  }
  const MHD_DaemonInfo* library = MHD_get_daemon_info(state.daemon, MHD_DAEMON_INFO_EPOLL_FD);
  state.poller = epoll_create1(EPOLL_CLOEXEC);
  state.wakeup = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  epoll_event watch{};
  watch.events = EPOLLIN;
  if (!library || state.poller < 0 || state.wakeup < 0 ||
      epoll_ctl(state.poller, EPOLL_CTL_ADD, library->epoll_fd, &watch) != 0 ||
      epoll_ctl(state.poller, EPOLL_CTL_ADD, state.wakeup, &watch) != 0) {
    error = std::string("the HTTP server could not start: ") + std::strerror(errno);
    return false;
  }
  state.policy.emplace(options_.address, port_, options_.allowedHosts);
  return true;
}

bool HttpServer::serve() {
  State& state = *state_;
  if (!state.daemon) return false;
  bool served = true;
  while (!stopRequested_) {
    if (!state.turn()) {
      served = false;
      break;
    }
  }

  // No new connections; the requests the host works on are finished and their answers sent,
  // with a short grace for slow readers, before every connection closes.
  state.closing = true;
  const MHD_socket listening = MHD_quiesce_daemon(state.daemon);
  if (listening != MHD_INVALID_SOCKET) close(listening);
  constexpr auto kGrace = std::chrono::seconds(2);
  Clock::time_point graceEnd = Clock::now() + kGrace;
  while (state.working > 0 || (state.answering > 0 && Clock::now() < graceEnd)) {
    // Once only answers are left, the library may have nothing to wake the loop for (a reader
    // that stopped reading, a finished answer it has not yet counted): the grace bounds the wait.
    const std::chrono::milliseconds longest =
        state.working > 0 ? std::chrono::minutes(1)
                          : std::chrono::ceil<std::chrono::milliseconds>(graceEnd - Clock::now());
    if (!state.turn(longest)) break;
    if (state.working > 0) graceEnd = Clock::now() + kGrace;
  }
  MHD_stop_daemon(state.daemon);
  state.daemon = nullptr;
  return served;
}

int HttpServer::requestsInProgress() const { return state_->working; }

void HttpServer::stop() {
  stopRequested_ = true;
  if (state_->wakeup >= 0) state_->wake();
}

}  // namespace quilbyhost
