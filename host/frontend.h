// The development host's request handling, shared by the HTTP server and the command line: one
// request (method, target, body) in, one answer (status, JSON envelope or file) out.
//
// Route families:
//   /bridge/<EntryPoint>  POST: one entry point with the four texts given in the body
//   /Sensors..., /Monitors..., /XRite...  the REST routes of the plug-in's resources (routes.h)
//   /sim/...              the simulated device world (only when the simulator is loaded)
//   /host/...             what the host itself reports (settings, route table)
//   /colour/...           derived values and exports of readings, computed in the host
// The last three are the host's own routes, one row each in a table of small handlers. Plug-in
// and simulator calls run on the host's thread, one at a time. The access check on Host and
// Origin belongs to the HTTP server, not here.
#ifndef QUILBY_HOST_FRONTEND_H
#define QUILBY_HOST_FRONTEND_H

#include "host_thread.h"
#include "plugin_host.h"
#include "routes.h"
#include "simulator.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace quilbyhost {

struct HostResponse {
  int status = 200;
  // The envelope {"error": ..., "value": ...}: from the plug-in as delivered, or made by the host
  // in the same shape (error names "HostError" and "SimulatorError"). A route that answers a file
  // (POST /colour/export) puts the file here and says so in `contentType`.
  std::string body;
  // The media type of `body`; empty for an envelope (application/json). The HTTP server sends
  // the body with this type and with `headers`.
  std::string contentType;
  // Further headers to send with the answer, e.g. Content-Disposition for a file.
  std::vector<std::pair<std::string, std::string>> headers;
  // The entry point called, and the promise id its answer was delivered for; empty and 0 when
  // the request did not reach the plug-in.
  std::string entryPoint;
  int promiseId = 0;
};

class Frontend {
 public:
  // `simulator` may be null (real device libraries); both must outlive the frontend.
  Frontend(HostThread& thread, const Simulator* simulator, std::string consoleDirectory);

  // Handles one request; never throws. `target` is the request target as sent (still
  // percent-encoded, with its query string).
  HostResponse handle(const std::string& method, const std::string& target,
                      const std::string& body);

  // One request to a host route, with the path's {parameters} in pattern order, decoded.
  struct HostRequest {
    const std::string& method;
    const std::string& path;
    const std::string& rawQuery;
    const std::string& body;
    std::vector<std::string> parameters;
  };

 private:
  using Handler = HostResponse (Frontend::*)(const HostRequest&);
  // A host route: one method and one path pattern ("/sim/monitors/{serial}/{product}/held").
  struct HostRoute {
    const char* method;
    const char* pattern;
    Handler handler;
  };
  static const std::vector<HostRoute>& hostRoutes();
  // The answer of the host route for `method` and `path`, or one saying why there is none; none
  // when `path` belongs to no family of host routes.
  std::optional<HostResponse> handleHostRoute(const std::string& method, const std::string& path,
                                              const std::string& rawQuery,
                                              const std::string& body);

  HostResponse callPlugin(const BridgeCall& call);
  // After a new world replaced every handle: lets the plug-in close the sensors it still holds,
  // so that no identifier outlives its handle.
  void forgetSensors();

  HostResponse hostInfo(const HostRequest& request);
  HostResponse hostRouteTable(const HostRequest& request);
  HostResponse simulatorWorld(const HostRequest& request);
  HostResponse simulatorLoadWorld(const HostRequest& request);
  HostResponse simulatorReset(const HostRequest& request);
  HostResponse simulatorJournal(const HostRequest& request);
  HostResponse simulatorClearJournal(const HostRequest& request);
  HostResponse simulatorCriticalSections(const HostRequest& request);
  HostResponse simulatorFunctions(const HostRequest& request);
  HostResponse simulatorErrors(const HostRequest& request);
  HostResponse simulatorFail(const HostRequest& request);
  HostResponse simulatorClearFailures(const HostRequest& request);
  HostResponse simulatorShownColour(const HostRequest& request);
  HostResponse simulatorHold(const HostRequest& request);
  HostResponse colourDerive(const HostRequest& request);
  HostResponse colourExport(const HostRequest& request);

  HostThread& thread_;
  const Simulator* simulator_;
  std::string consoleDirectory_;
};

// An envelope made by the host: {"error": {"message": message, "name": name}, "value": null}.
std::string hostErrorEnvelope(const std::string& name, const std::string& message);

}  // namespace quilbyhost

#endif  // QUILBY_HOST_FRONTEND_H
