// A stand-in for libquilby.so that answers the resource entry points the tests call with what it
// received: {"error":null,"value":{"entryPoint":..., "request":..., "parameters":..., "query":...,
// "data":...}} with each argument as a JSON string holding its bytes. Through the data text a test
// can also ask for a status ("status:404") or for no answer at all ("answers:0").
#include "quilby/host.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

std::string quoted(const char* text) {
  std::string out = "\"";
  for (const char* c = text; *c != '\0'; ++c) {
    const auto byte = static_cast<unsigned char>(*c);
    char escape[8];
    std::snprintf(escape, sizeof escape, "\\u%04x", byte);
    out += byte == '"' || byte == '\\' || byte < 0x20 ? escape : std::string(1, *c);
  }
  return out + "\"";
}

int echo(const char* entryPoint, const char* request, const char* parameters, const char* query,
         const char* data) {
  const int promise = BridgeHelperCreatePromiseID();
  if (std::strcmp(data, "answers:0") == 0) return promise;
  const int status = std::strncmp(data, "status:", 7) == 0 ? std::atoi(data + 7) : 200;
  const std::string envelope = R"({"error":null,"value":{"data":)" + quoted(data) +
                               R"(,"entryPoint":)" + quoted(entryPoint) +
                               R"(,"parameters":)" + quoted(parameters) +
                               R"(,"query":)" + quoted(query) +
                               R"(,"request":)" + quoted(request) + "}}";
  BridgeHelperSetResponse(promise, status, envelope.c_str());
  return promise;
}

}  // namespace

#define ECHO_RESOURCE(Name)                                                                  \
  extern "C" __attribute__((visibility("default"))) int Name(                                \
      const char* request, const char* parameters, const char* query, const char* data) {    \
    return echo(#Name, request, parameters, query, data);                                    \
  }

ECHO_RESOURCE(Sensors)
ECHO_RESOURCE(Monitors)
ECHO_RESOURCE(SensorMode)

extern "C" __attribute__((visibility("default"))) void Setup(void) {}

// Leaves a mark where the test asked, so that a test of the host program can see it was called.
extern "C" __attribute__((visibility("default"))) void TearDown(void) {
  if (const char* mark = std::getenv("QUILBY_ECHO_TEARDOWN_MARK")) {
    if (std::FILE* file = std::fopen(mark, "w")) {
      std::fputs("TearDown\n", file);
      std::fclose(file);
    }
  }
}
