#include "routes.h"

#include "json/cairnjson.h"
#include "quilby/resource_list.h"

#include <algorithm>
#include <iterator>

namespace quilbyhost {

namespace {

#define QUILBY_HOST_ROUTE(Name, Methods, Path) RestRoute{#Name, Methods, Path},
const std::vector<RestRoute> kRoutes = {QUILBY_RESOURCES(QUILBY_HOST_ROUTE)};
#undef QUILBY_HOST_ROUTE

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

// How closely a fitting pattern fits, segment by segment: a literal word beats a parameter.
std::vector<bool> literalSegments(std::string_view pattern) {
  std::vector<bool> literals;
  for (const std::string_view piece : segmentsOf(pattern)) {
    literals.push_back(piece.empty() || piece.front() != '{');
  }
  return literals;
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

bool RestRoute::implements(std::string_view method) const {
  std::string_view listed = methods;
  while (!listed.empty()) {
    const std::size_t space = listed.find(' ');
    if (listed.substr(0, space) == method) return true;
    listed.remove_prefix(space == std::string_view::npos ? listed.size() : space + 1);
  }
  return false;
}

const std::vector<std::string>& entryPointNames() {
  static const std::vector<std::string> names = [] {
    std::vector<std::string> list;
    for (const RestRoute& route : kRoutes) list.emplace_back(route.entryPoint);
    return list;
  }();
  return names;
}

bool isEntryPoint(std::string_view name) {
  return std::any_of(kRoutes.begin(), kRoutes.end(),
                     [&](const RestRoute& route) { return route.entryPoint == name; });
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
  const RestRoute* chosen = nullptr;
  std::vector<bool> chosenFit;
  cairnjson::Value chosenParameters;
  for (const RestRoute& route : kRoutes) {
    cairnjson::Value parameters;
    if (!patternFits(route.pattern, segments, parameters)) continue;
    const std::vector<bool> fit = literalSegments(route.pattern);
    const bool closer = !chosen || fit > chosenFit;
    const bool sameFitAndBetter = chosen && fit == chosenFit &&
                                  (route.implements(method) || !chosen->implements(method));
    if (closer || sameFitAndBetter) {
      chosen = &route;
      chosenFit = fit;
      chosenParameters = parameters;
    }
  }
  if (!chosen) return failure(404, "No resource answers " + std::string(method) + " " + path + ".");
  RouteMatch match;
  match.call.entryPoint = chosen->entryPoint;
  match.call.request = R"({"method":")" + std::string(method) + "\"}";
  match.call.parameters = cairnjson::Serializer::compact(chosenParameters);
  match.call.query = queryObjectText(rawQuery);
  match.call.data = std::move(body);
  return match;
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
