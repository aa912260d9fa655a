#include "routes.h"

#include "json/cairnjson.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace quilbyhost {

namespace {

// Matches the order of the export list in quilby/plugin.h.
const std::array<const char*, 34> kEntryPoints = {
    "Sensors", "SensorsName", "DeviceID", "IndividualID", "Monitors", "Sensor", "SensorMode",
    "SensorCalibration", "SensorXYZ", "SensorRawData", "SensorRGB", "SensorIR",
    "SensorXYZWithoutCorrelation", "SensorArm", "SensorPosition", "SensorExteriorLight",
    "SensorParameterDescription", "SensorCorrection", "SensorExCorrection", "SensorTargetMarker",
    "XRiteControlPanel", "SensorCorrelation", "SensorCorrelation9Points",
    "SensorCorrelationDescription", "SensorCorrelationData", "SensorCorrelationDatabase",
    "SensorCorrelationMatrix", "SensorCorrelationMatrixData", "SensorCorrelationMatrixDatabase",
    "SensorAmbraSense", "SensorAmbraSenseLevel", "SensorIFSTempCorrectParam",
    "SensorIFSBrightCorrectParamUpdate", "SensorDeviceOption"};

// Literal segments come before parameter segments of the same place ("/Sensors/Name" before
// "/Sensors/{id}"), and the opening route of a device id before the per-sensor route of the same
// shape, which takes every other method.
const std::vector<RestRoute> kRoutes = {
    {"*", "/Sensors", "Sensors"},
    {"*", "/Sensors/Name", "SensorsName"},
    {"*", "/XRite/ControlPanel", "XRiteControlPanel"},
    {"*", "/Sensors/Individual/{individualID}", "IndividualID"},
    {"*", "/Monitors/{serial}/{product}/Sensor", "Monitors"},
    {"POST", "/Sensors/{deviceID}", "DeviceID"},
    {"!POST", "/Sensors/{id}", "Sensor"},
    {"*", "/Sensors/{id}/Mode", "SensorMode"},
    {"*", "/Sensors/{id}/Calibration", "SensorCalibration"},
    {"*", "/Sensors/{id}/Arm", "SensorArm"},
    {"*", "/Sensors/{id}/Position", "SensorPosition"},
    {"*", "/Sensors/{id}/XYZ", "SensorXYZ"},
    {"*", "/Sensors/{id}/RawData", "SensorRawData"},
    {"*", "/Sensors/{id}/RGB", "SensorRGB"},
    {"*", "/Sensors/{id}/IR", "SensorIR"},
    {"*", "/Sensors/{id}/XYZWithoutCorrelation", "SensorXYZWithoutCorrelation"},
    {"*", "/Sensors/{id}/AmbraSense", "SensorAmbraSense"},
    {"*", "/Sensors/{id}/AmbraSense/Level", "SensorAmbraSenseLevel"},
    {"*", "/Sensors/{id}/Correlation", "SensorCorrelation"},
    {"*", "/Sensors/{id}/Correlation/9Points", "SensorCorrelation9Points"},
    {"*", "/Sensors/{id}/Correlation/Description", "SensorCorrelationDescription"},
    {"*", "/Sensors/{id}/Correlation/Data", "SensorCorrelationData"},
    {"*", "/Sensors/{id}/Correlation/Database", "SensorCorrelationDatabase"},
    {"*", "/Sensors/{id}/CorrelationMatrix", "SensorCorrelationMatrix"},
    {"*", "/Sensors/{id}/CorrelationMatrix/Data", "SensorCorrelationMatrixData"},
    {"*", "/Sensors/{id}/CorrelationMatrix/Database", "SensorCorrelationMatrixDatabase"},
    {"*", "/Sensors/{id}/ExteriorLight", "SensorExteriorLight"},
    {"*", "/Sensors/{id}/ParameterDescription", "SensorParameterDescription"},
    {"*", "/Sensors/{id}/Correction", "SensorCorrection"},
    {"*", "/Sensors/{id}/ExCorrection", "SensorExCorrection"},
    {"*", "/Sensors/{id}/TargetMarker", "SensorTargetMarker"},
    {"*", "/Sensors/{id}/DeviceOption", "SensorDeviceOption"},
    {"*", "/Sensors/{id}/IFSTempCorrectParam", "SensorIFSTempCorrectParam"},
    {"*", "/Sensors/{id}/IFSBrightCorrectParamUpdate", "SensorIFSBrightCorrectParamUpdate"},
};

// Splits at every "/" after the leading one, keeping empty segments: "/Sensors//XYZ" has an
// empty id, which the plug-in itself refuses ("URI is invalid.").
std::vector<std::string_view> segmentsOf(std::string_view path) {
  std::vector<std::string_view> segments;
  if (path.empty() || path.front() != '/') return segments;
  path.remove_prefix(1);
  while (true) {
    const std::size_t slash = path.find('/');
    segments.push_back(path.substr(0, slash));
    if (slash == std::string_view::npos) break;
    path.remove_prefix(slash + 1);
  }
  return segments;
}

bool methodFits(std::string_view methods, std::string_view method) {
  if (methods == "*") return true;
  if (!methods.empty() && methods.front() == '!') return methods.substr(1) != method;
  return methods == method;
}

// Matches raw (still encoded) segments against a pattern; the parameters are decoded.
bool patternFits(std::string_view pattern, const std::vector<std::string_view>& segments,
                 cairnjson::Value& parameters) {
  const std::vector<std::string_view> wanted = segmentsOf(pattern);
  if (wanted.size() != segments.size()) return false;
  cairnjson::Value found(cairnjson::Type::Object);
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    const std::string_view piece = wanted[i];
    const std::string decoded = percentDecode(segments[i], false);
    if (!piece.empty() && piece.front() == '{') {
      found[std::string(piece.substr(1, piece.size() - 2))].setString(decoded);
    } else if (piece != decoded) {
      return false;
    }
  }
  parameters = found;
  return true;
}

RouteMatch failure(int status, std::string message) {
  RouteMatch match;
  match.error = RouteError{status, std::move(message)};
  return match;
}

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

const std::vector<std::string>& entryPointNames() {
  static const std::vector<std::string> names(kEntryPoints.begin(), kEntryPoints.end());
  return names;
}

bool isEntryPoint(std::string_view name) {
  return std::find(kEntryPoints.begin(), kEntryPoints.end(), name) != kEntryPoints.end();
}

const std::vector<RestRoute>& restRoutes() { return kRoutes; }

std::string percentDecode(std::string_view text, bool plusIsSpace) {
  std::string decoded;
  decoded.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '%' && i + 2 < text.size() && hexDigit(text[i + 1]) >= 0 &&
        hexDigit(text[i + 2]) >= 0) {
      decoded.push_back(static_cast<char>(hexDigit(text[i + 1]) * 16 + hexDigit(text[i + 2])));
      i += 2;
    } else if (c == '+' && plusIsSpace) {
      decoded.push_back(' ');
    } else {
      decoded.push_back(c);
    }
  }
  return decoded;
}

void splitTarget(std::string_view target, std::string& path, std::string& rawQuery) {
  target = target.substr(0, target.find('#'));
  const std::size_t question = target.find('?');
  path.assign(target.substr(0, question));
  rawQuery.assign(question == std::string_view::npos ? std::string_view()
                                                     : target.substr(question + 1));
}

cairnjson::Value queryObject(std::string_view rawQuery) {
  cairnjson::Value query(cairnjson::Type::Object);
  while (!rawQuery.empty()) {
    const std::size_t amp = rawQuery.find('&');
    const std::string_view piece = rawQuery.substr(0, amp);
    rawQuery.remove_prefix(amp == std::string_view::npos ? rawQuery.size() : amp + 1);
    if (piece.empty()) continue;
    const std::size_t equals = piece.find('=');
    const std::string key = percentDecode(piece.substr(0, equals), true);
    cairnjson::Value value;
    if (equals != std::string_view::npos) {
      value.setString(percentDecode(piece.substr(equals + 1), true));
    }
    query[key] = value;
  }
  return query;
}

std::string queryObjectText(std::string_view rawQuery) {
  return cairnjson::Serializer::compact(queryObject(rawQuery));
}

RouteMatch mapRestRequest(std::string_view method, std::string_view target, std::string body) {
  if (method != "GET" && method != "PUT" && method != "POST" && method != "DELETE") {
    return failure(405, "The method " + std::string(method) +
                            " is not one of GET, PUT, POST and DELETE.");
  }
  std::string path;
  std::string rawQuery;
  splitTarget(target, path, rawQuery);
  const std::vector<std::string_view> segments = segmentsOf(path);
  for (const RestRoute& route : kRoutes) {
    if (!methodFits(route.methods, method)) continue;
    cairnjson::Value parameters;
    if (!patternFits(route.pattern, segments, parameters)) continue;
    RouteMatch match;
    match.call.entryPoint = route.entryPoint;
    match.call.request = R"({"method":")" + std::string(method) + "\"}";
    match.call.parameters = cairnjson::Serializer::compact(parameters);
    match.call.query = queryObjectText(rawQuery);
    match.call.data = std::move(body);
    return match;
  }
  return failure(404, "No resource answers " + std::string(method) + " " + path + ".");
}

RouteMatch mapBridgeRequest(std::string_view entryPoint, const std::string& body) {
  if (!isEntryPoint(entryPoint)) {
    return failure(404, "The plug-in has no entry point named \"" + std::string(entryPoint) +
                            "\".");
  }
  cairnjson::Parser parser;
  cairnjson::Value arguments;
  if (!parser.parse(body, arguments) || !arguments.isObject()) {
    return failure(400, "The body must be a JSON object with the members request, parameters, "
                        "query and data.");
  }
  RouteMatch match;
  match.call.entryPoint = std::string(entryPoint);
  const std::pair<const char*, std::string*> slots[] = {{"request", &match.call.request},
                                                         {"parameters", &match.call.parameters},
                                                         {"query", &match.call.query},
                                                         {"data", &match.call.data}};
  for (const auto& entry : arguments.members()) {
    const std::string& name = entry.first;
    const cairnjson::Value& member = entry.second;
    const auto slot = std::find_if(std::begin(slots), std::end(slots),
                                   [&name](const auto& s) { return name == s.first; });
    if (slot == std::end(slots)) {
      return failure(400, "The body has the member \"" + name +
                              "\"; only request, parameters, query and data are allowed.");
    }
    if (member.isString()) {
      *slot->second = member.stringRef();
    } else if (!member.isNull()) {
      *slot->second = cairnjson::Serializer::compact(member);
    }
  }
  return match;
}

}  // namespace quilbyhost
