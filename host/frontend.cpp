#include "frontend.h"

#include "colour/export.h"
#include "colour_routes.h"
#include "json/cairnjson.h"
#include "src/status_names.h"

#include <algorithm>
#include <charconv>
#include <exception>
#include <string_view>

namespace quilbyhost {

namespace {

// `valueText` must be JSON text; the simulator's own texts are embedded without a second pass.
std::string envelopeAround(const std::string& valueText) {
  return R"({"error":null,"value":)" + valueText + "}";
}

HostResponse reply(int status, std::string body) {
  HostResponse response;
  response.status = status;
  response.body = std::move(body);
  return response;
}

HostResponse answer(const cairnjson::Value& value) {
  return reply(200, envelopeAround(cairnjson::Serializer::compact(value)));
}

HostResponse hostError(int status, const std::string& message) {
  return reply(status, hostErrorEnvelope("HostError", message));
}

HostResponse simulatorError(int status, const std::string& message) {
  return reply(status, hostErrorEnvelope("SimulatorError", message));
}

bool startsWith(const std::string& text, const std::string& prefix) {
  return text.compare(0, prefix.size(), prefix) == 0;
}

// The path's segments after `prefix`, decoded; none when the path is not longer than the prefix.
std::vector<std::string> segmentsAfter(std::string_view path, std::string_view prefix) {
  std::vector<std::string> segments;
  if (path.size() <= prefix.size()) return segments;
  std::string_view rest = path.substr(prefix.size());
  while (!rest.empty()) {
    const std::size_t slash = rest.find('/');
    segments.push_back(percentDecode(rest.substr(0, slash), false));
    if (slash == std::string_view::npos) break;
    rest.remove_prefix(slash + 1);
  }
  return segments;
}

// Matches the decoded segments of a path against a pattern's: literal segments must be equal,
// "{name}" segments are collected into `parameters`.
bool matchPattern(std::string_view pattern, const std::vector<std::string>& segments,
                  std::vector<std::string>& parameters) {
  const std::vector<std::string> expected = segmentsAfter(pattern, "/");
  if (expected.size() != segments.size()) return false;
  parameters.clear();
  for (std::size_t i = 0; i < expected.size(); ++i) {
    if (expected[i].size() > 1 && expected[i].front() == '{' && expected[i].back() == '}') {
      parameters.push_back(segments[i]);
    } else if (expected[i] != segments[i]) {
      return false;
    }
  }
  return true;
}

// A family of host routes: the paths under one prefix.
struct RouteFamily {
  const char* prefix;
  // As messages name it.
  const char* name;
  // The one method every route of the family takes, or null.
  const char* onlyMethod;
  bool needsSimulator;
};

const RouteFamily kRouteFamilies[] = {
    {"/sim", "simulator", nullptr, true},
    {"/host", "host", "GET", false},
    {"/colour", "colour", "POST", false},
};

bool parseJson(const std::string& text, cairnjson::Value& value) {
  cairnjson::Parser parser;
  return parser.parse(text, value);
}

// The value of `key` in a raw query string, and whether it was there.
bool queryValue(const std::string& rawQuery, const std::string& key, std::string& value) {
  const cairnjson::Value query = queryObject(rawQuery);
  if (!query.contains(key)) return false;
  value = query[key].toString("");
  return true;
}

// Counts and statuses are 32-bit words in the simulator's interface.
bool isUint32(const cairnjson::Value& value) {
  if (!value.isInteger()) return false;
  const long long number = value.toLLong(-1);
  return number >= 0 && number <= 0xFFFFFFFFLL;
}

}  // namespace

std::string hostErrorEnvelope(const std::string& name, const std::string& message) {
  cairnjson::Value envelope(cairnjson::Type::Object);
  envelope["error"]["message"].setString(message);
  envelope["error"]["name"].setString(name);
  envelope["value"] = cairnjson::Value();
  return cairnjson::Serializer::compact(envelope);
}

Frontend::Frontend(HostThread& thread, const Simulator* simulator, std::string consoleDirectory)
    : thread_(thread), simulator_(simulator), consoleDirectory_(std::move(consoleDirectory)) {}

HostResponse Frontend::handle(const std::string& method, const std::string& target,
                              const std::string& body) {
  try {
    std::string path;
    std::string rawQuery;
    splitTarget(target, path, rawQuery);
    if (startsWith(path, "/bridge/")) {
      if (method != "POST") return hostError(405, "The bridge route takes POST only.");
      const std::vector<std::string> name = segmentsAfter(path, "/bridge/");
      if (name.size() != 1) return hostError(404, "No route " + path + ".");
      const RouteMatch match = mapBridgeRequest(name.front(), body);
      if (!match.ok()) return hostError(match.error.status, match.error.message);
      return callPlugin(match.call);
    }
    if (std::optional<HostResponse> answered = handleHostRoute(method, path, rawQuery, body)) {
      return std::move(*answered);
    }
    const RouteMatch match = mapRestRequest(method, target, body);
    if (!match.ok()) return hostError(match.error.status, match.error.message);
    return callPlugin(match.call);
  } catch (const std::exception& error) {
    return hostError(500, std::string("The host failed: ") + error.what());
  } catch (...) {
    return hostError(500, "The host failed.");
  }
}

const std::vector<Frontend::HostRoute>& Frontend::hostRoutes() {
  static const std::vector<HostRoute> routes = {
      {"GET", "/host/info", &Frontend::hostInfo},
      {"GET", "/host/routes", &Frontend::hostRouteTable},
      {"GET", "/sim/world", &Frontend::simulatorWorld},
      {"PUT", "/sim/world", &Frontend::simulatorLoadWorld},
      {"POST", "/sim/reset", &Frontend::simulatorReset},
      {"GET", "/sim/journal", &Frontend::simulatorJournal},
      {"DELETE", "/sim/journal", &Frontend::simulatorClearJournal},
      {"GET", "/sim/criticalSections", &Frontend::simulatorCriticalSections},
      {"GET", "/sim/functions", &Frontend::simulatorFunctions},
      {"GET", "/sim/errors", &Frontend::simulatorErrors},
      {"POST", "/sim/failures", &Frontend::simulatorFail},
      {"DELETE", "/sim/failures", &Frontend::simulatorClearFailures},
      {"PUT", "/sim/monitors/{serial}/{product}/shownColor", &Frontend::simulatorShownColour},
      {"PUT", "/sim/monitors/{serial}/{product}/held", &Frontend::simulatorHold},
      {"POST", "/colour/derive", &Frontend::colourDerive},
      {"POST", "/colour/export", &Frontend::colourExport},
  };
  return routes;
}

std::optional<HostResponse> Frontend::handleHostRoute(const std::string& method,
                                                      const std::string& path,
                                                      const std::string& rawQuery,
                                                      const std::string& body) {
  const RouteFamily* family = nullptr;
  for (const RouteFamily& candidate : kRouteFamilies) {
    const std::string prefix = candidate.prefix;
    if (path == prefix || startsWith(path, prefix + "/")) family = &candidate;
  }
  if (!family) return std::nullopt;
  if (family->needsSimulator && !simulator_) {
    return hostError(404, "No simulator is loaded: the exports directory holds other device "
                          "libraries than the simulated ones.");
  }
  const std::vector<std::string> segments = segmentsAfter(path, "/");
  HostRequest request{method, path, rawQuery, body, {}};
  for (const HostRoute& route : hostRoutes()) {
    if (method == route.method && matchPattern(route.pattern, segments, request.parameters)) {
      return (this->*route.handler)(request);
    }
  }
  if (family->onlyMethod && method != family->onlyMethod) {
    return hostError(405, std::string("The ") + family->name + " routes take " +
                              family->onlyMethod + " only.");
  }
  return hostError(404, std::string("No ") + family->name + " route " + method + " " + path + ".");
}

HostResponse Frontend::callPlugin(const BridgeCall& call) {
  Answer delivered;
  std::string error;
  const bool ok = thread_.run([&] {
    return PluginHost::Instance().call(call.entryPoint, call.request, call.parameters, call.query,
                                       call.data, delivered, error);
  });
  if (!ok) {
    HostResponse failed = hostError(502, error);
    failed.entryPoint = call.entryPoint;
    return failed;
  }
  HostResponse response = reply(delivered.status, delivered.envelope);
  response.entryPoint = call.entryPoint;
  response.promiseId = delivered.promiseId;
  return response;
}

void Frontend::forgetSensors() {
  Answer ignored;
  std::string error;
  PluginHost::Instance().call("Sensors", R"({"method":"DELETE"})", "{}", "{}", "", ignored,
                              error);
  // The closing of handles the new world no longer knows is noise, not part of its journal.
  simulator_->clearJournal();
}

HostResponse Frontend::hostInfo(const HostRequest&) {
  const HostSettings settings = PluginHost::Instance().settings();
  cairnjson::Value info(cairnjson::Type::Object);
  info["exportsPath"].setString(settings.exportsPath);
  info["webPagePath"].setString(settings.htmlPath);
  info["registryPath"].setString(settings.registryPath);
  info["architecture"].setString(settings.architecture);
  info["applicationName"].setString(settings.applicationName);
  info["consoleDirectory"].setString(consoleDirectory_);
  info["simulator"].setBool(simulator_ != nullptr);
  info["pluginLoaded"].setBool(PluginHost::Instance().loaded());
  return answer(info);
}

HostResponse Frontend::hostRouteTable(const HostRequest&) {
  cairnjson::Value routes(cairnjson::Type::Array);
  for (const RestRoute& route : restRoutes()) {
    cairnjson::Value row(cairnjson::Type::Object);
    row["methods"].setString(route.methods);
    row["path"].setString(route.pattern);
    row["entryPoint"].setString(route.entryPoint);
    routes.push_back(row);
  }
  return answer(routes);
}

HostResponse Frontend::simulatorWorld(const HostRequest&) {
  return reply(200, envelopeAround(thread_.run([&] { return simulator_->world(); })));
}

HostResponse Frontend::simulatorLoadWorld(const HostRequest& request) {
  std::string error;
  const bool loaded = thread_.run([&] {
    if (!simulator_->loadWorld(request.body, error)) return false;
    forgetSensors();
    return true;
  });
  if (!loaded) return simulatorError(400, error);
  return answer(cairnjson::Value());
}

HostResponse Frontend::simulatorReset(const HostRequest&) {
  std::string error;
  const int result = thread_.run([&] {
    const int status = simulator_->reset();
    if (status != 0) error = simulator_->lastError();
    forgetSensors();
    return status;
  });
  if (result != 0) {
    return simulatorError(400, "The world file was refused, the built-in world was loaded: " +
                                   error);
  }
  return answer(cairnjson::Value());
}

HostResponse Frontend::simulatorJournal(const HostRequest& request) {
  std::string text = thread_.run([&] { return simulator_->journal(); });
  std::string last;
  if (!queryValue(request.rawQuery, "last", last)) return reply(200, envelopeAround(text));
  std::size_t count = 0;
  const auto [end, error] = std::from_chars(last.data(), last.data() + last.size(), count);
  if (error != std::errc() || end != last.data() + last.size()) {
    return simulatorError(400, "last must be a whole number.");
  }
  cairnjson::Value entries;
  parseJson(text, entries);
  const cairnjson::Value::Elements& all = entries.elements();
  const std::size_t from = all.size() > count ? all.size() - count : 0;
  return answer(cairnjson::Value::makeArray(
      cairnjson::Value::Elements(all.begin() + static_cast<std::ptrdiff_t>(from), all.end())));
}

HostResponse Frontend::simulatorClearJournal(const HostRequest&) {
  thread_.run([&] { simulator_->clearJournal(); });
  return answer(cairnjson::Value());
}

HostResponse Frontend::simulatorCriticalSections(const HostRequest&) {
  return reply(200, envelopeAround(thread_.run([&] { return simulator_->criticalSections(); })));
}

HostResponse Frontend::simulatorFunctions(const HostRequest&) {
  const auto functions = quilbysim::deviceFunctions();
  std::vector<std::string_view> sorted(functions.begin(), functions.end());
  std::sort(sorted.begin(), sorted.end());
  cairnjson::Value names(cairnjson::Type::Array);
  for (const std::string_view name : sorted) {
    names.push_back(cairnjson::Value::makeString(std::string(name)));
  }
  return answer(names);
}

HostResponse Frontend::simulatorErrors(const HostRequest&) {
  cairnjson::Value codes(cairnjson::Type::Array);
  for (const quilbysim::NamedStatus& entry : quilbysim::namedStatuses()) {
    cairnjson::Value row(cairnjson::Type::Object);
    row["name"].setString(entry.name);
    row["code"].setInteger(entry.status);
    codes.push_back(row);
  }
  return answer(codes);
}

HostResponse Frontend::simulatorFail(const HostRequest& request) {
  cairnjson::Value failure;
  if (!parseJson(request.body, failure) || !failure.isObject() || !failure["function"].isString()) {
    return simulatorError(400, "The body must be {\"function\": name, \"count\": n, "
                               "\"status\": code or EMERR_ name}.");
  }
  const std::string function = failure["function"].stringRef();
  if (!quilbysim::isDeviceFunction(function)) {
    return simulatorError(400, "\"" + function + "\" is not a device-library function.");
  }
  const cairnjson::Value& countValue = failure["count"];
  if (!countValue.isNull() && !isUint32(countValue)) {
    return simulatorError(400, "count must be a whole number from 0 (remove) upwards.");
  }
  std::uint32_t status = 0x80000000u;
  const cairnjson::Value& statusValue = failure["status"];
  if (isUint32(statusValue)) {
    status = static_cast<std::uint32_t>(statusValue.toLLong(0));
  } else if (statusValue.isString()) {
    if (!parseStatus(statusValue.stringRef(), status)) {
      return simulatorError(400, "status \"" + statusValue.stringRef() +
                                     "\" is not a number, 0x text or EMERR_ name.");
    }
  } else if (!statusValue.isNull()) {
    return simulatorError(400, "status must be a number, 0x text or EMERR_ name.");
  }
  const auto count = static_cast<std::uint32_t>(countValue.isNull() ? 1 : countValue.toLLong(1));
  thread_.run([&] { simulator_->failNext(function, count, status); });
  return answer(cairnjson::Value());
}

HostResponse Frontend::simulatorClearFailures(const HostRequest&) {
  thread_.run([&] { simulator_->clearFailures(); });
  return answer(cairnjson::Value());
}

HostResponse Frontend::simulatorShownColour(const HostRequest& request) {
  const std::string& serial = request.parameters[0];
  const std::string& product = request.parameters[1];
  cairnjson::Value rgb;
  bool valid = parseJson(request.body, rgb) && rgb.isArray() && rgb.size() == 3;
  double channels[3] = {0, 0, 0};
  for (unsigned long i = 0; valid && i < 3; ++i) {
    valid = rgb[i].isNumber() && rgb[i].toDouble(-1) >= 0 && rgb[i].toDouble(-1) <= 1;
    channels[i] = rgb[i].toDouble(0);
  }
  if (!valid) return simulatorError(400, "The body must be [red, green, blue], each from 0 to 1.");
  const int result = thread_.run([&] {
    return simulator_->setShownColor(serial, product, channels[0], channels[1], channels[2]);
  });
  if (result != 0) return simulatorError(404, "No monitor " + serial + " / " + product + ".");
  return answer(cairnjson::Value());
}

HostResponse Frontend::simulatorHold(const HostRequest& request) {
  const std::string& serial = request.parameters[0];
  const std::string& product = request.parameters[1];
  cairnjson::Value held;
  if (!parseJson(request.body, held) || !held.isBool()) {
    return simulatorError(400, "The body must be true (another program holds the monitor) or "
                               "false.");
  }
  const int result =
      thread_.run([&] { return simulator_->holdMonitor(serial, product, held.toInt(0) != 0); });
  if (result != 0) {
    return simulatorError(409, "No monitor " + serial + " / " + product +
                                   ", or this process holds its critical section.");
  }
  return answer(cairnjson::Value());
}

HostResponse Frontend::colourDerive(const HostRequest& request) {
  return deriveReadings(request.body);
}

HostResponse Frontend::colourExport(const HostRequest& request) {
  return exportReadings(request.rawQuery, request.body, quilbycolour::currentUtcTime());
}

}  // namespace quilbyhost
