// json_bench: parse and compact-serialize throughput of cairnjson against nlohmann/json, JsonCpp,
// RapidJSON and simdjson on canada.json, citm_catalog.json and twitter.json.
//
//   json_bench [Google Benchmark flags]
//
// Every library is run once on every file before anything is timed: a parse failure, or a
// serializer failure, stops the program; serialized text that does not read back as the input is
// reported as a warning. After Google Benchmark's own output a summary gives MB/s per library
// and file, cairnjson's ratio against each library, and whether the team's goals are met.
#include "bench_data.h"
#include "libraries.h"
#include "summary_reporter.h"

#include <benchmark/benchmark.h>

#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace quilby_bench {
namespace {

// Defaults for a run that one reading can be trusted from: five short repetitions of every case
// in random order, summarised by their median, so that neither a busy moment nor the state one
// library's case leaves the allocator in decides a ratio. The whole run stays near a minute.
// Each applies only when the flag was not given.
struct DefaultFlag {
  const char* name;
  const char* environment;
  const char* argument;
};
constexpr DefaultFlag kDefaultFlags[] = {
    {"benchmark_min_time", "BENCHMARK_MIN_TIME", "--benchmark_min_time=0.2"},
    {"benchmark_repetitions", "BENCHMARK_REPETITIONS", "--benchmark_repetitions=5"},
    {"benchmark_enable_random_interleaving", "BENCHMARK_ENABLE_RANDOM_INTERLEAVING",
     "--benchmark_enable_random_interleaving=true"},
    {"benchmark_report_aggregates_only", "BENCHMARK_REPORT_AGGREGATES_ONLY",
     "--benchmark_report_aggregates_only=true"},
};

std::vector<Library> allLibraries() {
  std::vector<Library> libraries{cairnjsonLibrary(), nlohmannLibrary(), jsoncppLibrary()};
  for (Library& library : rapidjsonLibraries()) libraries.push_back(std::move(library));
  libraries.push_back(simdjsonLibrary());
  return libraries;
}

SummaryLayout summaryLayout(const std::vector<Library>& libraries,
                            const std::vector<Sample>& samples) {
  SummaryLayout layout;
  layout.reference = "cairnjson";
  for (const Sample& sample : samples) layout.files.push_back(sample.name);
  std::vector<std::string> parseRows;
  std::vector<std::string> serializeRows;
  for (const Library& library : libraries) {
    parseRows.push_back(library.name);
    if (library.serialize != nullptr) serializeRows.push_back(library.name);
  }
  layout.operations = {{"parse", parseRows}, {"serialize", serializeRows}};
  layout.goals = {
      {"parse", "nlohmann", 1.5, ""},
      {"parse", "jsoncpp", 1.0, ""},
      {"parse", "rapidjson-fullprec", 0.4, "within 2.5x"},
      {"serialize", "nlohmann", 2.0, ""},
  };
  return layout;
}

// Timing a library that cannot read a file, or a serializer that fails, would give meaningless
// rows; a serializer whose text reads back differently still runs, but is pointed out.
bool checkLibraries(const std::vector<Library>& libraries, const std::vector<Sample>& samples) {
  bool usable = true;
  int warnings = 0;
  for (const Library& library : libraries) {
    for (const Sample& sample : samples) {
      const std::string parseError = library.checkParse(sample.text);
      if (!parseError.empty()) {
        std::cerr << "json_bench: " << library.name << " cannot parse " << sample.path << ": "
                  << parseError << '\n';
        usable = false;
        continue;
      }
      if (library.checkSerialize == nullptr) continue;
      std::string out;
      const std::string serializeError = library.checkSerialize(sample.text, out);
      if (!serializeError.empty()) {
        std::cerr << "json_bench: " << library.name << " cannot serialize " << sample.name
                  << ": " << serializeError << '\n';
        usable = false;
        continue;
      }
      const std::string difference = compareDocuments(sample.text, out);
      if (!difference.empty()) {
        std::cerr << "json_bench: warning: serialize/" << library.name << "/" << sample.name
                  << ": " << difference << '\n';
        ++warnings;
      }
    }
  }
  if (usable && warnings == 0) {
    std::cerr << "json_bench: every library parsed every file, and every serializer's output "
                 "reads back as its input\n";
  }
  return usable;
}

void registerCases(const std::vector<Library>& libraries, const std::vector<Sample>& samples) {
  using Entry = void (*)(benchmark::State&, const std::string&);
  const auto add = [](const std::string& operation, const Library& library, const Sample& sample,
                      Entry entry) {
    const std::string name = caseName(operation, library.name, sample.name);
    benchmark::RegisterBenchmark(name.c_str(),
                                 [entry, &sample](benchmark::State& state) {
                                   entry(state, sample.text);
                                   // Serialize rows count input bytes too, so rows compare.
                                   state.SetBytesProcessed(
                                       static_cast<std::int64_t>(state.iterations()) *
                                       static_cast<std::int64_t>(sample.text.size()));
                                 })
        ->Unit(benchmark::kMillisecond);
  };
  // Grouped by file so the rows to compare stand next to each other in the console output.
  for (const Sample& sample : samples) {
    for (const Library& library : libraries) add("parse", library, sample, library.parse);
  }
  for (const Sample& sample : samples) {
    for (const Library& library : libraries) {
      if (library.serialize != nullptr) add("serialize", library, sample, library.serialize);
    }
  }
}

// The value of a Google Benchmark flag as given on the command line, else its environment
// variable (which Google Benchmark also honours), else `fallback`. Read before Initialize()
// removes the flags from argv.
std::string flagValue(int argc, char** argv, std::string_view flag, const char* environment,
                      const std::string& fallback) {
  const std::string prefix = "--" + std::string(flag) + "=";
  std::string value;
  bool found = false;
  for (int i = 1; i < argc; ++i) {
    const std::string_view argument(argv[i]);
    if (argument.substr(0, prefix.size()) == prefix) {
      value = std::string(argument.substr(prefix.size()));
      found = true;
    } else if (argument == "--" + std::string(flag)) {
      value = "true";
      found = true;
    }
  }
  if (found) return value;
  const char* fromEnvironment = std::getenv(environment);
  return fromEnvironment != nullptr ? std::string(fromEnvironment) : fallback;
}

bool isFalse(std::string value) {
  for (char& c : value) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return value == "0" || value == "f" || value == "false" || value == "n" || value == "no" ||
         value == "off";
}

// Google Benchmark applies --benchmark_color and --benchmark_counters_tabular only to the
// reporter it builds itself; ours has to read them to look the same.
benchmark::ConsoleReporter::OutputOptions consoleOptions(int argc, char** argv) {
  int options = benchmark::ConsoleReporter::OO_None;
  const std::string color = flagValue(argc, argv, "benchmark_color", "BENCHMARK_COLOR", "auto");
  bool useColor = !isFalse(color);
  if (color == "auto") {
    const char* term = std::getenv("TERM");
    useColor = isatty(STDOUT_FILENO) != 0 && term != nullptr && *term != '\0' &&
               std::strcmp(term, "dumb") != 0;
  }
  if (useColor) options |= benchmark::ConsoleReporter::OO_Color;
  const std::string tabular = flagValue(argc, argv, "benchmark_counters_tabular",
                                        "BENCHMARK_COUNTERS_TABULAR", "false");
  if (!isFalse(tabular)) options |= benchmark::ConsoleReporter::OO_Tabular;
  return static_cast<benchmark::ConsoleReporter::OutputOptions>(options);
}

void printHelp() {
  benchmark::PrintDefaultHelp();
  std::fprintf(stdout,
               "\njson_bench reads canada.json, citm_catalog.json and twitter.json from\n"
               "  $QUILBY_BENCH_DATA when set, else %s\n"
               "Unless given otherwise it runs with",
               QUILBY_BENCH_DATA_DIR);
  for (const DefaultFlag& flag : kDefaultFlags) std::fprintf(stdout, " %s", flag.argument);
  std::fprintf(stdout,
               ".\nThe display is always the console format followed by the summary; use\n"
               "--benchmark_out=FILE --benchmark_out_format=json for machine-readable results.\n");
}

int run(int argc, char** argv) {
  const benchmark::ConsoleReporter::OutputOptions options = consoleOptions(argc, argv);
  const std::string format = flagValue(argc, argv, "benchmark_format", "BENCHMARK_FORMAT",
                                       "console");
  if (format != "console") {
    std::cerr << "json_bench: --benchmark_format=" << format
              << " is not supported for the display; use --benchmark_out=FILE "
                 "--benchmark_out_format="
              << format << '\n';
    return 1;
  }

  // Google Benchmark's own flags pass through; the defaults fill in only what was not given.
  std::vector<char*> arguments(argv, argv + argc);
  std::vector<std::string> defaults;
  for (const DefaultFlag& flag : kDefaultFlags) {
    if (flagValue(argc, argv, flag.name, flag.environment, "").empty()) {
      defaults.emplace_back(flag.argument);
    }
  }
  for (std::string& flag : defaults) {
    arguments.insert(arguments.begin() + (argc > 0 ? 1 : 0), flag.data());
  }
  int argumentCount = static_cast<int>(arguments.size());
  arguments.push_back(nullptr);
  benchmark::Initialize(&argumentCount, arguments.data(), printHelp);
  if (benchmark::ReportUnrecognizedArguments(argumentCount, arguments.data())) return 1;

  std::vector<Sample> samples;
  std::string error;
  if (!loadSamples(samples, error)) {
    std::cerr << "json_bench: " << error << '\n';
    return 1;
  }
  const std::vector<Library> libraries = allLibraries();
  if (!checkLibraries(libraries, samples)) {
    std::cerr << "json_bench: stopping before any timing\n";
    return 1;
  }
  registerCases(libraries, samples);

  SummaryReporter reporter(options);
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.printSummary(reporter.GetOutputStream(), summaryLayout(libraries, samples));
  benchmark::Shutdown();
  return 0;
}

}  // namespace
}  // namespace quilby_bench

int main(int argc, char** argv) { return quilby_bench::run(argc, argv); }
