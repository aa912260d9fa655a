// The development host's request handling, shared by the HTTP server and the command line: one
// request (method, target, body) in, one answer (status, JSON envelope) out.
//
// Route families:
//   /bridge/<EntryPoint>  POST: one entry point with the four texts given in the body
//   /Sensors..., /Monitors..., /XRite...  the REST routes of the plug-in's resources (routes.h)
//   /sim/...              the simulated device world (only when the simulator is loaded)
//   /host/...             what the host itself reports (settings, route table)
// Plug-in and simulator calls run on the host's thread, one at a time. The access check on Host
// and Origin belongs to the HTTP server, not here.
#ifndef QUILBY_HOST_FRONTEND_H
#define QUILBY_HOST_FRONTEND_H

#include "host_thread.h"
#include "plugin_host.h"
#include "routes.h"
#include "simulator.h"

#include <string>

namespace quilbyhost {

struct HostResponse {
  int status = 200;
  // The envelope {"error": ..., "value": ...}: from the plug-in as delivered, or made by the host
  // in the same shape (error names "HostError" and "SimulatorError").
  std::string body;
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

 private:
  HostResponse callPlugin(const BridgeCall& call);
  HostResponse handleSimulator(const std::string& method, const std::string& path,
                               const std::string& rawQuery, const std::string& body);
  HostResponse handleHost(const std::string& method, const std::string& path);
  // After a new world replaced every handle: lets the plug-in close the sensors it still holds,
  // so that no identifier outlives its handle.
  void forgetSensors();

  HostThread& thread_;
  const Simulator* simulator_;
  std::string consoleDirectory_;
};

// An envelope made by the host: {"error": {"message": message, "name": name}, "value": null}.
std::string hostErrorEnvelope(const std::string& name, const std::string& message);

}  // namespace quilbyhost

#endif  // QUILBY_HOST_FRONTEND_H
