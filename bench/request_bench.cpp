// request_bench: the cost of a request through the plug-in, against the least a host could do.
//
//   request_bench [Google Benchmark flags]
//   request_bench --repeat KIND COUNT     (for the instruction count; see scripts/bench-instructions)
//
// The plug-in is loaded as a host loads it, on the simulated device libraries, and four requests
// are sent over and over: SensorMode GET (the supported modes), SensorXYZ GET (a measurement),
// Sensors GET (the opened identifiers) and Sensors GET with "connected". Each has a "direct"
// twin: the same device-library calls made by hand, the same request line handed to the logging
// library (one that writes nothing, for both), and the same envelope written with std::to_chars
// into a reserved buffer, delivered to the host the same way. The twin is the floor: what any
// implementation must spend outside the plug-in. The summary gives nanoseconds per request for
// both, their ratio, and allocations per request (the process's operator new is counted; the
// plug-in's own allocations are the request's less its twin's, which holds the device
// libraries' own).
#include "request_host.h"

#include "quilby/measurement_device.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace quilby_bench {
namespace {

// A buffer that writes text without allocating once it has grown to its working size.
class TextBuffer {
 public:
  TextBuffer() { text_.reserve(4096); }
  void clear() { text_.clear(); }
  TextBuffer& operator<<(std::string_view piece) {
    text_.append(piece);
    return *this;
  }
  TextBuffer& number(double value) {
    char digits[32];
    const auto result = std::to_chars(digits, digits + sizeof digits, value);
    text_.append(digits, result.ptr);
    return *this;
  }
  TextBuffer& number(unsigned long long value) {
    char digits[24];
    const auto result = std::to_chars(digits, digits + sizeof digits, value);
    text_.append(digits, result.ptr);
    return *this;
  }
  TextBuffer& hex16(unsigned long long value) {
    char digits[17];
    const auto result = std::to_chars(digits, digits + 16, value, 16);
    const std::size_t length = static_cast<std::size_t>(result.ptr - digits);
    text_.append(16 - length, '0');
    text_.append(digits, length);
    return *this;
  }
  const std::string& text() const { return text_; }

 private:
  std::string text_;
};

// One kind of request: the plug-in's call, and its direct twin.
struct Kind {
  std::string name;
  Request request;
  std::function<void(TextBuffer&, TextBuffer&)> direct;
};

struct World {
  std::string sensor;  // the colorimeter, opened through the page
  MDHandle handle = nullptr;
  std::vector<Kind> kinds;
};

World& world() {
  static World instance;
  return instance;
}

const char* boolText(int value) { return value ? "true" : "false"; }

void logSuccess(TextBuffer& line, std::string_view method, std::string_view uri) {
  line.clear();
  line << "statusCode:200\tmethod:" << method << "\turi:/quilby/" << uri << "\tmsg:Success";
  log(2, line.text().c_str());
}

std::vector<Kind> makeKinds(const std::string& id, MDHandle handle) {
  const std::string sensor = R"({"id":")" + id + "\"}";
  const std::string get = R"({"method":"GET"})";
  std::vector<Kind> kinds;
  const std::string modeUri = "Sensors/" + id + "/Mode";
  const std::string xyzUri = "Sensors/" + id + "/XYZ";
  kinds.push_back({"SensorMode", {"SensorMode", get, sensor, R"({"supports":null})", ""},
                   [modeUri, handle](TextBuffer& envelope, TextBuffer& line) {
                     const int ambient = MDSupportsAmbient(handle);
                     const int reflectance = MDSupportsReflectance(handle);
                     logSuccess(line, "GET", modeUri);
                     envelope.clear();
                     envelope << R"({"error":null,"value":{"ambient":)" << boolText(ambient)
                              << R"(,"reflectance":)" << boolText(reflectance) << "}}";
                   }});
  kinds.push_back({"SensorXYZ", {"SensorXYZ", get, sensor, "", ""},
                   [xyzUri, handle](TextBuffer& envelope, TextBuffer& line) {
                     MDColor raw{};
                     MDColor corrected{};
                     if (MDMeasureXYZ2(handle, &raw, &corrected) != EMERR_OK) std::abort();
                     logSuccess(line, "GET", xyzUri);
                     envelope.clear();
                     envelope << R"({"error":null,"value":{"XYZ":{"X":)";
                     envelope.number(corrected.X) << R"(,"Y":)";
                     envelope.number(corrected.Y) << R"(,"Z":)";
                     envelope.number(corrected.Z) << R"(},"rawXYZ":{"X":)";
                     envelope.number(raw.X) << R"(,"Y":)";
                     envelope.number(raw.Y) << R"(,"Z":)";
                     envelope.number(raw.Z) << "}}}";
                   }});
  kinds.push_back({"Sensors", {"Sensors", get, "", "", ""},
                   [id](TextBuffer& envelope, TextBuffer& line) {
                     logSuccess(line, "GET", "Sensors");
                     envelope.clear();
                     envelope << R"({"error":null,"value":[")" << id << R"("]})";
                   }});
  kinds.push_back({"SensorsConnected", {"Sensors", get, "", R"({"connected":null})", ""},
                   [](TextBuffer& envelope, TextBuffer& line) {
                     envelope.clear();
                     envelope << R"({"error":null,"value":[)";
                     MDDeviceID deviceID = 0;
                     std::uint64_t individualID = 0;
                     for (std::uint32_t index = 0;
                          EMERR_IS_SUCCESS(MDEnumConnectedDevices(index, &deviceID, &individualID));
                          ++index) {
                       if (index != 0) envelope << ",";
                       envelope << R"({"deviceID":)";
                       envelope.number(static_cast<unsigned long long>(deviceID))
                           << R"(,"individualID":")";
                       envelope.hex16(individualID) << "\"}";
                     }
                     envelope << "]}";
                     logSuccess(line, "GET", "Sensors");
                   }});
  return kinds;
}

const Kind& kindNamed(const std::string& name) {
  for (const Kind& kind : world().kinds) {
    if (kind.name == name) return kind;
  }
  std::fprintf(stderr, "request_bench: no request kind %s\n", name.c_str());
  std::exit(2);
}

void sendThroughPlugin(benchmark::State& state, const Kind& kind) {
  const EntryPoint function = entryPoint(kind.request.entryPoint);
  std::uint64_t allocations = 0;
  for (auto _ : state) {
    const std::uint64_t before = allocationCount();
    send(function, kind.request);
    allocations += allocationCount() - before;
    if (lastStatus() != 200) state.SkipWithError("the plug-in did not answer 200");
  }
  state.counters["allocs"] =
      benchmark::Counter(static_cast<double>(allocations), benchmark::Counter::kAvgIterations);
}

void sendDirectly(benchmark::State& state, const Kind& kind) {
  TextBuffer envelope;
  TextBuffer line;
  std::uint64_t allocations = 0;
  for (auto _ : state) {
    const std::uint64_t before = allocationCount();
    kind.direct(envelope, line);
    deliver(200, envelope.text());
    allocations += allocationCount() - before;
  }
  state.counters["allocs"] =
      benchmark::Counter(static_cast<double>(allocations), benchmark::Counter::kAvgIterations);
}

// ---- Summary --------------------------------------------------------------------------------

struct Reading {
  std::vector<double> nanoseconds;
  std::vector<double> allocations;
};

double median(std::vector<double> values) {
  if (values.empty()) return 0;
  std::sort(values.begin(), values.end());
  const std::size_t middle = values.size() / 2;
  return values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

// Collects every repetition; the summary uses medians.
class SummaryReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
      Reading& reading = readings_[run.run_name.function_name];
      reading.nanoseconds.push_back(run.GetAdjustedRealTime());
      const auto allocs = run.counters.find("allocs");
      if (allocs != run.counters.end()) reading.allocations.push_back(allocs->second.value);
    }
  }

  // The table, and the goals: a ratio of at most 2.0 to the direct twin for SensorMode and
  // SensorXYZ, and at most 12 allocations of the plug-in's own per request. False when one is
  // missed.
  bool printSummary(const std::vector<Kind>& kinds) const {
    std::printf("\nrequest           plug-in ns   direct ns   ratio   allocs plug-in / direct / own\n");
    bool met = true;
    for (const Kind& kind : kinds) {
      const Reading& plugin = at("plugin/" + kind.name);
      const Reading& direct = at("direct/" + kind.name);
      const double pluginTime = median(plugin.nanoseconds);
      const double directTime = median(direct.nanoseconds);
      const double ratio = directTime > 0 ? pluginTime / directTime : 0;
      const double pluginAllocs = median(plugin.allocations);
      const double directAllocs = median(direct.allocations);
      const double own = pluginAllocs - directAllocs;
      std::printf("%-17s %10.0f  %10.0f  %6.2f   %6.1f / %6.1f / %5.1f\n", kind.name.c_str(),
                  pluginTime, directTime, ratio, pluginAllocs, directAllocs, own);
      if ((kind.name == "SensorMode" || kind.name == "SensorXYZ") && ratio > 2.0) met = false;
      if (kind.name == "SensorMode" && own > 12.0) met = false;
    }
    std::printf("goals (ratio <= 2.0 for SensorMode and SensorXYZ; SensorMode's own allocations "
                "<= 12): %s\n",
                met ? "met" : "MISSED");
    return met;
  }

 private:
  const Reading& at(const std::string& name) const {
    static const Reading none;
    const auto found = readings_.find(name);
    return found == readings_.end() ? none : found->second;
  }

  std::map<std::string, Reading> readings_;
};

// Defaults for a reading one can trust: five repetitions of every case in random order, medians.
void addDefaultFlags(std::vector<char*>& arguments) {
  static char minTime[] = "--benchmark_min_time=0.2";
  static char repetitions[] = "--benchmark_repetitions=5";
  static char interleave[] = "--benchmark_enable_random_interleaving=true";
  static char aggregates[] = "--benchmark_report_aggregates_only=false";
  for (char* flag : {minTime, repetitions, interleave, aggregates}) {
    const std::string name(flag, std::strchr(flag, '=') - flag);
    const bool given = std::any_of(arguments.begin(), arguments.end(), [&](const char* argument) {
      return std::strncmp(argument, name.c_str(), name.size()) == 0;
    });
    if (!given) arguments.push_back(flag);
  }
}

// Sends one request of `kind` `count` times, for an instruction count under callgrind.
int repeat(const std::string& kind, long count) {
  const Kind& chosen = kindNamed(kind);
  const EntryPoint function = entryPoint(chosen.request.entryPoint);
  for (long i = 0; i < count; ++i) send(function, chosen.request);
  return lastStatus() == 200 ? 0 : 1;
}

bool setUp() {
  if (!loadPlugin()) return false;
  World& state = world();
  state.sensor = openSensor(33);
  state.handle = handleOf(state.sensor);
  if (state.sensor.empty() || !state.handle) {
    std::fprintf(stderr, "request_bench: cannot open the colorimeter\n");
    return false;
  }
  state.kinds = makeKinds(state.sensor, state.handle);
  // Each request once, so that one-time work (opening libraries, the logger) is done.
  for (const Kind& kind : state.kinds) {
    send(entryPoint(kind.request.entryPoint), kind.request);
    if (lastStatus() != 200) {
      std::fprintf(stderr, "request_bench: %s answered %d\n", kind.name.c_str(), lastStatus());
      return false;
    }
  }
  return true;
}

}  // namespace
}  // namespace quilby_bench

int main(int argc, char** argv) {
  using namespace quilby_bench;
  if (!setUp()) return 1;
  if (argc == 4 && std::strcmp(argv[1], "--repeat") == 0) {
    const int status = repeat(argv[2], std::strtol(argv[3], nullptr, 10));
    unloadPlugin();
    return status;
  }
  for (const Kind& kind : world().kinds) {
    benchmark::RegisterBenchmark(("plugin/" + kind.name).c_str(), sendThroughPlugin, kind);
    benchmark::RegisterBenchmark(("direct/" + kind.name).c_str(), sendDirectly, kind);
  }
  std::vector<char*> arguments(argv, argv + argc);
  addDefaultFlags(arguments);
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  SummaryReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.printSummary(world().kinds);
  benchmark::Shutdown();
  unloadPlugin();
  return 0;
}
