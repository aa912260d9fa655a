// Google Benchmark's console output, followed by json_bench's own summary: throughput per
// library and file, cairnjson's ratio against each library, and the team's goals.
#ifndef QUILBY_BENCH_SUMMARY_REPORTER_H
#define QUILBY_BENCH_SUMMARY_REPORTER_H

#include <benchmark/benchmark.h>

#include <map>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace quilby_bench {

// Case names are "<operation>/<library>/<file>" so the summary can read them back.
std::string caseName(const std::string& operation, const std::string& library,
                     const std::string& file);

// A minimum of cairnjson's throughput over another library's, per file.
struct Goal {
  std::string operation;
  std::string library;
  double minimumRatio;
  std::string note;  // shown after the target, may be empty
};

struct SummaryLayout {
  std::string reference;  // the library every ratio is taken for
  std::vector<std::string> files;
  std::vector<std::pair<std::string, std::vector<std::string>>> operations;
  std::vector<Goal> goals;
};

class SummaryReporter : public benchmark::ConsoleReporter {
 public:
  explicit SummaryReporter(OutputOptions options) : ConsoleReporter(options) {}

  void ReportRuns(const std::vector<Run>& runs) override;

  void printSummary(std::ostream& out, const SummaryLayout& layout) const;

 private:
  struct Measurement {
    std::vector<double> repetitions;  // bytes per second of each plain run
    double median = -1;               // the "median" aggregate when repetitions were asked for
    double mean = -1;                 // the "mean" aggregate, when only that is reported
    std::string error;
  };

  // Megabytes (1e6 bytes) per second, or a negative value when the case did not run.
  double megabytesPerSecond(const std::string& name) const;
  std::string errorOf(const std::string& name) const;

  std::map<std::string, Measurement> measurements_;
};

}  // namespace quilby_bench

#endif  // QUILBY_BENCH_SUMMARY_REPORTER_H
