#include "summary_reporter.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace quilby_bench {

namespace {

constexpr const char* kRateCounter = "bytes_per_second";

double medianOf(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const std::size_t middle = values.size() / 2;
  if (values.size() % 2 == 1) return values[middle];
  return (values[middle - 1] + values[middle]) / 2;
}

std::string formatNumber(double value, int decimals) {
  char text[64];
  std::snprintf(text, sizeof text, "%.*f", decimals, value);
  return text;
}

std::string padLeft(const std::string& text, std::size_t width) {
  return text.size() >= width ? text : std::string(width - text.size(), ' ') + text;
}

std::string padRight(const std::string& text, std::size_t width) {
  return text.size() >= width ? text : text + std::string(width - text.size(), ' ');
}

}  // namespace

std::string caseName(const std::string& operation, const std::string& library,
                     const std::string& file) {
  return operation + "/" + library + "/" + file;
}

void SummaryReporter::ReportRuns(const std::vector<Run>& runs) {
  ConsoleReporter::ReportRuns(runs);
  for (const Run& run : runs) {
    Measurement& measurement = measurements_[run.run_name.function_name];
    if (run.error_occurred) {
      measurement.error = run.error_message;
      continue;
    }
    const auto counter = run.counters.find(kRateCounter);
    if (counter == run.counters.end()) continue;
    if (run.run_type == Run::RT_Iteration) {
      measurement.repetitions.push_back(counter->second.value);
    } else if (run.aggregate_name == "median") {
      measurement.median = counter->second.value;
    } else if (run.aggregate_name == "mean") {
      measurement.mean = counter->second.value;
    }
  }
}

double SummaryReporter::megabytesPerSecond(const std::string& name) const {
  const auto found = measurements_.find(name);
  if (found == measurements_.end() || !found->second.error.empty()) return -1;
  const Measurement& measurement = found->second;
  // The median resists one disturbed repetition better than the mean.
  double bytesPerSecond = -1;
  if (measurement.median >= 0) {
    bytesPerSecond = measurement.median;
  } else if (!measurement.repetitions.empty()) {
    bytesPerSecond = medianOf(measurement.repetitions);
  } else if (measurement.mean >= 0) {
    bytesPerSecond = measurement.mean;
  }
  return bytesPerSecond < 0 ? -1 : bytesPerSecond / 1e6;
}

std::string SummaryReporter::errorOf(const std::string& name) const {
  const auto found = measurements_.find(name);
  return found == measurements_.end() ? std::string() : found->second.error;
}

void SummaryReporter::printSummary(std::ostream& out, const SummaryLayout& layout) const {
  std::size_t labelWidth = 0;
  for (const auto& [operation, rows] : layout.operations) {
    for (const std::string& row : rows) {
      labelWidth = std::max(labelWidth, (layout.reference + " / " + row).size());
    }
  }
  labelWidth += 4;
  std::vector<std::size_t> columnWidths;
  for (const std::string& file : layout.files) {
    columnWidths.push_back(std::max<std::size_t>(10, file.size() + 2));
  }

  const auto header = [&](const std::string& title) {
    out << padRight(title, labelWidth);
    for (std::size_t i = 0; i < layout.files.size(); ++i) {
      out << padLeft(layout.files[i], columnWidths[i]);
    }
    out << '\n';
  };
  const auto cell = [&](std::size_t column, double value, int decimals,
                        const std::string& error) {
    std::string text = "-";
    if (value >= 0) {
      text = formatNumber(value, decimals);
    } else if (!error.empty()) {
      text = "error";
    }
    out << padLeft(text, columnWidths[column]);
  };
  const auto ratio = [&](const std::string& operation, const std::string& library,
                         const std::string& file) {
    const double ours = megabytesPerSecond(caseName(operation, layout.reference, file));
    const double theirs = megabytesPerSecond(caseName(operation, library, file));
    return ours > 0 && theirs > 0 ? ours / theirs : -1.0;
  };

  out << "\n==================== json_bench summary ====================\n"
      << "Throughput in MB/s, 1 MB = 1e6 bytes of the input file (Google Benchmark's column\n"
      << "above counts M as 2^20). Serialize rows are measured against the input file size\n"
      << "too, so every row compares with every other.\n";

  std::vector<std::string> errors;
  for (const auto& [operation, rows] : layout.operations) {
    out << '\n';
    header(operation + " (MB/s)");
    for (const std::string& row : rows) {
      out << padRight("  " + row, labelWidth);
      for (std::size_t i = 0; i < layout.files.size(); ++i) {
        const std::string name = caseName(operation, row, layout.files[i]);
        const std::string error = errorOf(name);
        cell(i, megabytesPerSecond(name), 1, error);
        if (!error.empty()) errors.push_back(name + ": " + error);
      }
      out << '\n';
    }

    out << '\n';
    header(operation + ": " + layout.reference + " / library");
    for (const std::string& row : rows) {
      if (row == layout.reference) continue;
      out << padRight("  " + layout.reference + " / " + row + ":", labelWidth);
      for (std::size_t i = 0; i < layout.files.size(); ++i) {
        cell(i, ratio(operation, row, layout.files[i]), 2, {});
      }
      out << '\n';
    }
  }

  if (!errors.empty()) {
    out << "\nFailed cases:\n";
    for (const std::string& error : errors) out << "  " << error << '\n';
  }

  out << "\nGoals (" << layout.reference << " MB/s / library MB/s, on each file)\n";
  std::size_t operationWidth = 0;
  for (const Goal& goal : layout.goals) {
    operationWidth = std::max(operationWidth, goal.operation.size());
  }
  std::size_t goalWidth = 0;
  std::vector<std::string> goalLabels;
  for (const Goal& goal : layout.goals) {
    std::string label = padRight(goal.operation, operationWidth) + "  " + layout.reference +
                        " / " + goal.library +
                        " >= " + formatNumber(goal.minimumRatio, 2);
    if (!goal.note.empty()) label += " (" + goal.note + ")";
    goalWidth = std::max(goalWidth, label.size());
    goalLabels.push_back(std::move(label));
  }
  std::size_t fileWidth = 0;
  for (const std::string& file : layout.files) fileWidth = std::max(fileWidth, file.size());
  for (std::size_t g = 0; g < layout.goals.size(); ++g) {
    const Goal& goal = layout.goals[g];
    for (const std::string& file : layout.files) {
      const double value = ratio(goal.operation, goal.library, file);
      out << "  " << padRight(goalLabels[g], goalWidth) << "  " << padRight(file, fileWidth)
          << "  ";
      if (value < 0) {
        out << padLeft("-", 6) << "  not measured\n";
      } else {
        out << padLeft(formatNumber(value, 3), 6) << "  "
            << (value >= goal.minimumRatio ? "met" : "NOT met") << '\n';
      }
    }
  }
  out << std::flush;
}

}  // namespace quilby_bench
