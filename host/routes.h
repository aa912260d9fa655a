// The development host's mapping from HTTP requests to the plug-in's entry points.
//
// Two ways in, both ending in one BridgeCall (an entry point and its four texts):
//   - REST routes: the HTTP method and the resource path name the entry point and its path
//     parameters, the query string becomes the query object, the body is the data text byte for
//     byte ("GET /Sensors/<id>/XYZ" -> SensorXYZ({"method":"GET"}, {"id":"<id>"}, {}, "")).
//   - The bridge route "POST /bridge/<EntryPoint>": a JSON body {"request", "parameters",
//     "query", "data"} gives the four texts directly, as a host's web view would pass them.
//
// Everything here is pure: no plug-in, no I/O. docs/api.md describes the rules for users.
#ifndef QUILBY_HOST_ROUTES_H
#define QUILBY_HOST_ROUTES_H

#include "json/value.h"

#include <string>
#include <string_view>
#include <vector>

namespace quilbyhost {

// One call of a resource entry point, as the plug-in receives it.
struct BridgeCall {
  std::string entryPoint;
  std::string request;
  std::string parameters;
  std::string query;
  std::string data;
};

// Why a request maps to no call: the HTTP status the host answers with and an English sentence.
struct RouteError {
  int status = 0;
  std::string message;
};

// The result of a mapping: `error.status` is 0 when `call` holds the call.
struct RouteMatch {
  BridgeCall call;
  RouteError error;
  bool ok() const { return error.status == 0; }
};

// One row of the REST route table, one per resource of the plug-in (quilby/resource_list.h):
// the entry point, the methods its handlers implement ("GET PUT", ...) and its path, whose
// "{name}" segments become members of the parameters object.
struct RestRoute {
  const char* entryPoint;
  const char* methods;
  const char* pattern;

  // Whether the resource implements `method`.
  [[nodiscard]] bool implements(std::string_view method) const;
};

// The 34 resource entry points of the plug-in, in the order of its export list.
const std::vector<std::string>& entryPointNames();
bool isEntryPoint(std::string_view name);

// The REST route table, in the order of the plug-in's resource list. A request goes to the route
// whose path fits it most closely (segment by segment, a literal word before a "{parameter}");
// of routes with the same path, to the one implementing the method, else to the one listed last
// (so "/Sensors/{x}" opens a sensor by device id for POST and is the sensor itself otherwise).
// A method the chosen resource lacks reaches the plug-in, which answers 405 itself.
const std::vector<RestRoute>& restRoutes();

// Maps a REST request. `target` is the request target as sent (path, then optionally "?" and
// the query string), still percent-encoded. `method` must be GET, PUT, POST or DELETE (405
// otherwise); a path without a route gives 404. The request text is {"method":"<METHOD>"}, the
// parameters and query texts are always JSON objects ("{}" when empty), `body` becomes the data
// text unchanged.
RouteMatch mapRestRequest(std::string_view method, std::string_view target, std::string body);

// Maps the body of "POST /bridge/<entryPoint>". Each of the members "request", "parameters",
// "query" and "data" gives one argument: absent (or null) gives the empty text, a JSON string
// gives its content unchanged (so any text, JSON or not, passes byte for byte), any other value
// gives its compact JSON text. An unknown entry point gives 404; a body that is not a JSON object,
// or a member other than those four, gives 400.
RouteMatch mapBridgeRequest(std::string_view entryPoint, const std::string& body);

// The query object of a raw query string: "supports&deviceIDs=3%2C5" gives
// {"deviceIDs":"3,5","supports":null}. Values are strings ("a=" gives ""), a key without "=" is
// null, "+" and %XX are decoded, empty pieces are skipped, and the last of repeated keys wins.
cairnjson::Value queryObject(std::string_view rawQuery);
// The same as compact JSON text, as the plug-in receives it.
std::string queryObjectText(std::string_view rawQuery);

// Percent-decodes `text`; with `plusIsSpace` a "+" becomes a space (query strings). A "%" not
// followed by two hexadecimal digits stays as it is.
std::string percentDecode(std::string_view text, bool plusIsSpace);

// Splits a request target into its path and raw query string (without the "?"); a fragment is
// dropped.
void splitTarget(std::string_view target, std::string& path, std::string& rawQuery);

}  // namespace quilbyhost

#endif  // QUILBY_HOST_ROUTES_H
