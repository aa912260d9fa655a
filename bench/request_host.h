// A lean host for measuring requests: it provides the host interface with as little work as a
// host can do (promise ids from a counter, the last answer kept in a reserved buffer), loads
// libquilby.so on the simulated device libraries from a directory of links to the build's exports
// (with a logging library that writes nothing), and counts every allocation the process makes
// (operator new is replaced in this program, and the plug-in and the simulated libraries resolve
// to it).
#ifndef QUILBY_BENCH_REQUEST_HOST_H
#define QUILBY_BENCH_REQUEST_HOST_H

#include "quilby/device_types.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace quilby_bench {

// The four texts of one call of an entry point.
struct Request {
  const char* entryPoint;
  std::string request;
  std::string parameters;
  std::string query;
  std::string data;
};

using EntryPoint = int (*)(const char*, const char*, const char*, const char*);

// Allocations made by the process since it started.
std::uint64_t allocationCount();

// The answer last delivered through BridgeHelperSetResponse.
std::string_view lastAnswer();
int lastStatus();

// Loads the plug-in and calls Setup; false with a message on standard error when it cannot.
bool loadPlugin();
// Calls TearDown and unloads the plug-in.
void unloadPlugin();

// The entry point `name` of the loaded plug-in (null when it has none).
EntryPoint entryPoint(const char* name);

// Sends `request`; the answer is lastAnswer().
int send(EntryPoint function, const Request& request);

// Opens the sensor with device id `deviceID` through the page's DeviceID resource and answers
// its identifier ("" when it failed).
std::string openSensor(MDDeviceID deviceID);

// The handle the plug-in holds for the sensor `id`.
MDHandle handleOf(const std::string& id);

// Delivers `answer` the way the plug-in does: a fresh promise id, then the answer under it.
int deliver(int status, std::string_view answer);

// The logging library's logger object, and its log function, as the plug-in uses them.
void* logger();
void log(MireltoLevel level, const char* line);

}  // namespace quilby_bench

#endif  // QUILBY_BENCH_REQUEST_HOST_H
