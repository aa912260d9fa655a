#include "measure.h"

#include "colour/colorimetry.h"
#include "colour/export.h"
#include "colour/number_text.h"
#include "json/cairnjson.h"

#include <unistd.h>

#include <array>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <vector>

namespace quilbyhost {

namespace {

using cairnjson::Value;
using quilbycolour::fixedText;
using quilbycolour::Xyz;

// A step that failed, with a sentence naming the operation and why.
struct MeasureFailure {
  std::string message;
};

// A path segment with everything but unreserved characters percent-encoded.
std::string pathSegment(const std::string& text) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string encoded;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (std::isalnum(byte) || c == '-' || c == '.' || c == '_' || c == '~') {
      encoded += c;
    } else {
      encoded += '%';
      encoded += kHex[byte >> 4];
      encoded += kHex[byte & 0xF];
    }
  }
  return encoded;
}

// The columns a text takes in a terminal: one per UTF-8 code point (the table holds no wide
// characters).
std::size_t columnsOf(const std::string& text) {
  std::size_t count = 0;
  for (const char c : text) count += (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  return count;
}

std::string padLeft(const std::string& text, std::size_t width) {
  const std::size_t used = columnsOf(text);
  return used >= width ? text : std::string(width - used, ' ') + text;
}

std::string padRight(const std::string& text, std::size_t width) {
  const std::size_t used = columnsOf(text);
  return used >= width ? text : text + std::string(width - used, ' ');
}

std::string trimmed(std::string text) {
  text.erase(text.find_last_not_of(' ') + 1);
  return text;
}

// Luminance and XYZ: hundredths of a unit, and four decimals below 1 so that dark readings keep
// their digits.
std::string xyzText(double value) { return fixedText(value, std::fabs(value) < 1 ? 4 : 2); }

std::string describeAnswer(const HostResponse& answer) {
  cairnjson::Parser parser;
  Value envelope;
  if (!parser.parse(answer.body, envelope) || !envelope["error"].isObject()) {
    return std::to_string(answer.status) + " " + answer.body.substr(0, 200);
  }
  const Value& error = envelope["error"];
  std::string text = std::to_string(answer.status) + " " + error["name"].toString("") + ": " +
                     error["message"].toString("");
  if (error["reason"].isString()) text += " (" + error["reason"].stringRef() + ")";
  return text;
}

const char* unitOfMode(const std::optional<int>& mode) {
  if (!mode || *mode == 0) return "cd/m²";
  return *mode == 1 ? "lx" : "";
}

const char* nameOfMode(const std::optional<int>& mode) {
  static const char* const kNames[] = {"display", "ambient", "reflectance"};
  return mode && *mode >= 0 && *mode < 3 ? kNames[*mode] : "";
}

struct TakenReading {
  std::string colour;
  std::string time;
  Xyz xyz;
};

// One column of the readings table: heading, unit, width, and the text of one reading.
struct TableColumn {
  const char* heading;
  std::string unit;
  std::size_t width;
  std::function<std::string(std::size_t index, const quilbycolour::Derived&)> text;
};

class Measurement {
 public:
  Measurement(Frontend& frontend, bool simulator, const MeasureOptions& options, bool quiet,
              std::FILE* out, std::FILE* errors, const std::atomic<bool>& stop)
      : frontend_(frontend), simulator_(simulator), options_(options), quiet_(quiet), out_(out),
        errors_(errors), stop_(stop) {}

  int run() {
    int status = 0;
    try {
      if (!options_.colours.empty() && !simulator_) {
        throw MeasureFailure{"--colours needs the simulated device libraries, through which the "
                             "monitor's colour is set; the exports directory holds other ones"};
      }
      open();
      describe();
      if (!options_.colours.empty()) findShowingMonitor();
      prepare();
      takeReadings();
    } catch (const MeasureFailure& failure) {
      std::fprintf(errors_, "quilby-host: %s\n", failure.message.c_str());
      status = 1;
    }
    if (!cleanUp()) status = 1;
    if (status != 0) return status;
    report();
    return writeFiles() ? 0 : 1;
  }

 private:
  // A request that must succeed; its answer's value.
  Value call(const std::string& operation, const std::string& method, const std::string& target,
             const std::string& body = "") {
    const HostResponse answer = frontend_.handle(method, target, body);
    if (answer.status < 200 || answer.status > 299) {
      throw MeasureFailure{operation + " failed: " + describeAnswer(answer)};
    }
    cairnjson::Parser parser;
    Value envelope;
    parser.parse(answer.body, envelope);
    return envelope["value"];
  }

  void say(const std::string& text) {
    if (quiet_) return;
    std::fprintf(errors_, "quilby-host: %s\n", text.c_str());
    std::fflush(errors_);
  }

  void open() {
    std::string target;
    if (!options_.monitorSerial.empty()) {
      target = "/Monitors/" + pathSegment(options_.monitorSerial) + "/" +
               pathSegment(options_.monitorProduct) + "/Sensor";
    } else if (!options_.deviceId.empty()) {
      target = "/Sensors/" + options_.deviceId;
    } else {
      target = "/Sensors/Individual/" + options_.individualId;
    }
    const Value id = call("Opening the sensor (POST " + target + ")", "POST", target);
    if (!id.isString()) throw MeasureFailure{"Opening the sensor answered no sensor id"};
    sensorId_ = id.stringRef();
    sensorPath_ = "/Sensors/" + pathSegment(sensorId_);
  }

  void describe() {
    const Value info = call("Reading the sensor's description", "GET", sensorPath_);
    deviceId_ = info["deviceID"].toLLong(-1);
    sensorName_ = info["name"].toString("sensor");
    const std::string serial = info["serial"].toString("");
    sensorLabel_ = sensorName_ + (serial.empty() ? "" : " (" + serial + ")");
    hasArm_ = info["hasArm"].toInt(0) != 0;
    say("opened " + sensorLabel_ + ", device id " + std::to_string(deviceId_));
  }

  // The simulated monitor the sensor looks at, and the colour it shows now (put back at the end).
  void findShowingMonitor() {
    const Value world = call("Reading the simulated world", "GET", "/sim/world");
    std::string serial = options_.monitorSerial;
    if (serial.empty()) {
      for (const Value& sensor : world["sensors"].elements()) {
        if (sensor["deviceID"].toLLong(-2) == deviceId_) serial = sensor["monitor"].toString("");
      }
    }
    for (const Value& monitor : world["monitors"].elements()) {
      if (monitor["serial"].toString("") != serial) continue;
      monitorSerial_ = serial;
      monitorProduct_ = monitor["product"].toString("");
      const Value& shown = monitor["shownColor"];
      shownBefore_ = {shown[0ul].toDouble(1), shown[1ul].toDouble(1), shown[2ul].toDouble(1)};
    }
    if (monitorSerial_.empty()) {
      throw MeasureFailure{"--colours: the " + sensorName_ +
                           " looks at no monitor of the simulated world, so what it measures "
                           "cannot be changed"};
    }
  }

  void prepare() {
    if (options_.mode) {
      say(std::string("setting the mode to ") +
          (*nameOfMode(options_.mode) ? nameOfMode(options_.mode) : std::to_string(*options_.mode).c_str()));
      call("Setting the mode", "PUT", sensorPath_ + "/Mode",
           "{\"mode\": " + std::to_string(*options_.mode) +
               ", \"observerKey\": " + std::to_string(options_.observer) + "}");
    }
    if (call("Asking whether the sensor needs calibrating", "GET", sensorPath_ + "/Calibration?needs")
            .toInt(0)) {
      say("the sensor needs calibrating: calibrating");
      call("Calibrating", "PUT", sensorPath_ + "/Calibration");
    }
    if (hasArm_) {
      say("the sensor has an arm: taking it out");
      call("Taking the arm out", "PUT", sensorPath_ + "/Arm", "true");
      armOut_ = true;
    }
  }

  void show(const quilbyhost::ShownColour& colour) {
    call("Showing " + colour.name + " on the simulated monitor", "PUT",
         "/sim/monitors/" + pathSegment(monitorSerial_) + "/" + pathSegment(monitorProduct_) +
             "/shownColor",
         "[" + fixedText(colour.red, 6) + ", " + fixedText(colour.green, 6) + ", " +
             fixedText(colour.blue, 6) + "]");
    colourChanged_ = true;
  }

  void takeReadings() {
    std::vector<ShownColour> colours = options_.colours;
    if (colours.empty()) colours.push_back({"", 1, 1, 1});
    for (const ShownColour& colour : colours) {
      if (!colour.name.empty()) show(colour);
      for (int i = 0; i < options_.count; ++i) {
        if (stop_) throw MeasureFailure{"interrupted: no readings kept"};
        const Value value = call("Measuring XYZ (reading " + std::to_string(readings_.size() + 1) + ")",
                                 "GET", sensorPath_ + "/XYZ");
        const Value& xyz = value[options_.raw ? "rawXYZ" : "XYZ"];
        readings_.push_back({colour.name, quilbycolour::currentUtcTime(),
                             {xyz["X"].toDouble(0), xyz["Y"].toDouble(0), xyz["Z"].toDouble(0)}});
      }
    }
  }

  // Leaves the world as it was found: the arm in, the monitor's colour back, the sensor closed.
  // Each step runs even when an earlier one failed.
  bool cleanUp() {
    bool clean = true;
    const auto attempt = [&](const std::function<void()>& step) {
      try {
        step();
      } catch (const MeasureFailure& failure) {
        std::fprintf(errors_, "quilby-host: %s\n", failure.message.c_str());
        clean = false;
      }
    };
    if (armOut_) {
      attempt([&] {
        say("taking the arm in");
        call("Taking the arm in", "PUT", sensorPath_ + "/Arm", "false");
      });
    }
    if (colourChanged_ && shownBefore_) {
      attempt([&] { show({"the colour it showed before", (*shownBefore_)[0], (*shownBefore_)[1], (*shownBefore_)[2]}); });
    }
    if (!sensorId_.empty()) {
      attempt([&] { call("Closing the sensor", "DELETE", sensorPath_); });
    }
    return clean;
  }

  // The monitor's white for L*a*b*: the mean of the readings of white, or of every reading when
  // the monitor showed one colour throughout; none when no white was measured.
  std::optional<Xyz> white() const {
    Xyz sum;
    int count = 0;
    for (std::size_t i = 0; i < readings_.size(); ++i) {
      const bool isWhite = options_.colours.empty() ||
                           isWhiteColour(options_.colours[i / static_cast<std::size_t>(options_.count)]);
      if (!isWhite) continue;
      sum.X += readings_[i].xyz.X;
      sum.Y += readings_[i].xyz.Y;
      sum.Z += readings_[i].xyz.Z;
      ++count;
    }
    if (count == 0 || sum.X <= 0 || sum.Y <= 0 || sum.Z <= 0) return std::nullopt;
    return Xyz{sum.X / count, sum.Y / count, sum.Z / count};
  }

  static bool isWhiteColour(const ShownColour& colour) {
    return colour.red == 1 && colour.green == 1 && colour.blue == 1;
  }

  std::vector<TableColumn> tableColumns(bool withLab) const {
    const std::string unit = unitOfMode(options_.mode);
    const auto chromaticity = [](std::optional<quilbycolour::Chromaticity> quilbycolour::Derived::*member,
                                 bool second) {
      return [member, second](std::size_t, const quilbycolour::Derived& d) -> std::string {
        const auto& point = d.*member;
        return point ? fixedText(second ? point->second : point->first, 4) : "-";
      };
    };
    std::size_t colourWidth = 6;
    for (const ShownColour& colour : options_.colours) {
      colourWidth = std::max(colourWidth, columnsOf(colour.name));
    }
    std::vector<TableColumn> columns = {
        {"#", "", 4, [](std::size_t i, const quilbycolour::Derived&) { return std::to_string(i + 1); }},
    };
    if (!options_.colours.empty()) {
      columns.push_back({"colour", "", colourWidth + 2,
                         [this](std::size_t i, const quilbycolour::Derived&) {
                           return readings_[i].colour;
                         }});
    }
    columns.push_back({"X", unit, 10, [](std::size_t, const quilbycolour::Derived& d) { return xyzText(d.xyz.X); }});
    columns.push_back({"Y", unit, 10, [](std::size_t, const quilbycolour::Derived& d) { return xyzText(d.xyz.Y); }});
    columns.push_back({"Z", unit, 10, [](std::size_t, const quilbycolour::Derived& d) { return xyzText(d.xyz.Z); }});
    columns.push_back({"x", "", 8, chromaticity(&quilbycolour::Derived::xy, false)});
    columns.push_back({"y", "", 8, chromaticity(&quilbycolour::Derived::xy, true)});
    columns.push_back({"u'", "", 8, chromaticity(&quilbycolour::Derived::uv, false)});
    columns.push_back({"v'", "", 8, chromaticity(&quilbycolour::Derived::uv, true)});
    columns.push_back({"CCT", "K", 7, [](std::size_t, const quilbycolour::Derived& d) {
                         return d.temperature ? fixedText(d.temperature->kelvin, 0) : "-";
                       }});
    columns.push_back({"Duv", "", 9, [](std::size_t, const quilbycolour::Derived& d) {
                         return d.temperature ? quilbycolour::signedFixedText(d.temperature->duv, 4) : "-";
                       }});
    if (withLab) {
      columns.push_back({"L*", "", 8, [](std::size_t, const quilbycolour::Derived& d) { return fixedText(d.lab->L, 2); }});
      columns.push_back({"a*", "", 8, [](std::size_t, const quilbycolour::Derived& d) { return fixedText(d.lab->a, 2); }});
      columns.push_back({"b*", "", 8, [](std::size_t, const quilbycolour::Derived& d) { return fixedText(d.lab->b, 2); }});
      columns.push_back({"ΔE00", "", 7, [](std::size_t, const quilbycolour::Derived& d) { return fixedText(*d.deltaE2000, 2); }});
    }
    columns.push_back({"Δu'v'", "", 8, [](std::size_t, const quilbycolour::Derived& d) {
                         return d.deltaUv ? fixedText(*d.deltaUv, 4) : "-";
                       }});
    return columns;
  }

  void report() {
    const std::optional<Xyz> monitorWhite = white();
    const std::size_t referenceIndex = static_cast<std::size_t>(options_.reference - 1);
    const Xyz reference = readings_.at(referenceIndex).xyz;
    std::vector<quilbycolour::Derived> derived;
    for (const TakenReading& reading : readings_) {
      derived.push_back(quilbycolour::derive(reading.xyz, monitorWhite, reference));
    }
    std::fprintf(out_, "%s, %zu reading%s of %s XYZ%s%s\n", sensorLabel_.c_str(), readings_.size(),
                 readings_.size() == 1 ? "" : "s", options_.raw ? "uncorrected" : "corrected",
                 *nameOfMode(options_.mode) ? ", mode " : "", nameOfMode(options_.mode));
    std::fprintf(out_, "%s; differences from reading %d\n\n",
                 monitorWhite ? "L*a*b* against the white measured"
                              : "no white measured, so no L*a*b*",
                 options_.reference);
    const std::vector<TableColumn> columns = tableColumns(monitorWhite.has_value());
    std::string headings;
    std::string units;
    for (const TableColumn& column : columns) {
      const bool left = std::string(column.heading) == "colour";
      headings += left ? "  " + padRight(column.heading, column.width - 2)
                       : padLeft(column.heading, column.width);
      units += padLeft(column.unit, column.width);
    }
    std::fprintf(out_, "%s\n", trimmed(headings).c_str());
    if (units.find_first_not_of(' ') != std::string::npos) {
      std::fprintf(out_, "%s\n", trimmed(units).c_str());
    }
    for (std::size_t i = 0; i < readings_.size(); ++i) {
      std::string row;
      for (const TableColumn& column : columns) {
        const std::string text = column.text(i, derived[i]);
        const bool left = std::string(column.heading) == "colour";
        row += left ? "  " + padRight(text, column.width - 2) : padLeft(text, column.width);
      }
      std::fprintf(out_, "%s\n", trimmed(row).c_str());
    }
    reportStatistics(derived);
    std::fflush(out_);
  }

  // Minimum, mean, maximum and standard deviation per colour, for series of two or more.
  void reportStatistics(const std::vector<quilbycolour::Derived>& derived) {
    if (options_.count < 2) return;
    const std::string unit = unitOfMode(options_.mode);
    struct Quantity {
      std::string name;
      int decimals;
      std::function<std::optional<double>(const quilbycolour::Derived&)> value;
    };
    const std::vector<Quantity> quantities = {
        {unit.empty() ? "Y" : "Y (" + unit + ")", 2, [](const quilbycolour::Derived& d) { return std::optional<double>(d.xyz.Y); }},
        {"x", 4, [](const quilbycolour::Derived& d) { return d.xy ? std::optional<double>(d.xy->first) : std::nullopt; }},
        {"y", 4, [](const quilbycolour::Derived& d) { return d.xy ? std::optional<double>(d.xy->second) : std::nullopt; }},
        {"u'", 4, [](const quilbycolour::Derived& d) { return d.uv ? std::optional<double>(d.uv->first) : std::nullopt; }},
        {"v'", 4, [](const quilbycolour::Derived& d) { return d.uv ? std::optional<double>(d.uv->second) : std::nullopt; }},
        {"CCT (K)", 0, [](const quilbycolour::Derived& d) {
           return d.temperature ? std::optional<double>(d.temperature->kelvin) : std::nullopt;
         }},
        {"ΔE00", 2, [](const quilbycolour::Derived& d) { return d.deltaE2000; }},
        {"Δu'v'", 4, [](const quilbycolour::Derived& d) { return d.deltaUv; }},
    };
    const std::size_t groups = std::max<std::size_t>(1, options_.colours.size());
    const std::size_t count = static_cast<std::size_t>(options_.count);
    for (std::size_t group = 0; group < groups; ++group) {
      const std::string title = options_.colours.empty() ? "All readings" : options_.colours[group].name;
      std::fprintf(out_, "\n%s%s%s%s%s\n", padRight(title + ", " + std::to_string(count) + " readings", 24).c_str(),
                   padLeft("min", 10).c_str(), padLeft("mean", 10).c_str(), padLeft("max", 10).c_str(),
                   padLeft("sd", 10).c_str());
      for (const Quantity& quantity : quantities) {
        std::vector<double> series;
        for (std::size_t i = group * count; i < (group + 1) * count; ++i) {
          if (const std::optional<double> value = quantity.value(derived[i])) series.push_back(*value);
        }
        const std::optional<quilbycolour::Statistics> statistics = quilbycolour::statisticsOf(series);
        if (!statistics || statistics->count != count) continue;
        const auto text = [&](double value) { return padLeft(fixedText(value, quantity.decimals), 10); };
        std::fprintf(out_, "  %s%s%s%s%s\n", padRight(quantity.name, 22).c_str(),
                     text(statistics->minimum).c_str(), text(statistics->mean).c_str(),
                     text(statistics->maximum).c_str(),
                     text(statistics->standardDeviation.value_or(0)).c_str());
      }
    }
  }

  bool writeFiles() {
    if (options_.csvPath.empty() && options_.cgatsPath.empty()) return true;
    std::vector<quilbycolour::ExportReading> exported;
    for (const TakenReading& reading : readings_) {
      exported.push_back({reading.time, sensorLabel_, nameOfMode(options_.mode), !options_.raw,
                          reading.colour, reading.xyz});
    }
    const std::optional<Xyz> monitorWhite = white();
    bool written = true;
    const auto write = [&](const std::string& path, const std::optional<std::string>& text) {
      if (path.empty()) return;
      std::ofstream file(path, std::ios::binary | std::ios::trunc);
      if (text) file << *text;
      file.close();
      if (!text || !file) {
        std::fprintf(errors_, "quilby-host: cannot write %s\n", path.c_str());
        written = false;
        return;
      }
      say("wrote " + path);
    };
    write(options_.csvPath, quilbycolour::readingsCsv(exported, monitorWhite));
    if (!options_.cgatsPath.empty()) {
      write(options_.cgatsPath,
            quilbycolour::readingsCgats(exported, monitorWhite,
                                        {std::string("quilby-host ") + QUILBY_HOST_VERSION,
                                         quilbycolour::currentUtcTime()}));
    }
    return written;
  }

  Frontend& frontend_;
  const bool simulator_;
  const MeasureOptions& options_;
  const bool quiet_;
  std::FILE* const out_;
  std::FILE* const errors_;
  const std::atomic<bool>& stop_;

  std::string sensorId_;
  std::string sensorPath_;
  std::string sensorName_;
  std::string sensorLabel_;
  long long deviceId_ = -1;
  bool hasArm_ = false;
  bool armOut_ = false;
  std::string monitorSerial_;
  std::string monitorProduct_;
  std::optional<std::array<double, 3>> shownBefore_;
  bool colourChanged_ = false;
  std::vector<TakenReading> readings_;
};

}  // namespace

bool checkMeasureFiles(const MeasureOptions& options, std::string& error) {
  for (const std::string& path : {options.csvPath, options.cgatsPath}) {
    if (path.empty()) continue;
    const std::filesystem::path file(path);
    std::error_code failed;
    if (std::filesystem::is_directory(file, failed)) {
      error = path + " is a directory";
      return false;
    }
    const std::filesystem::path directory =
        file.has_parent_path() ? file.parent_path() : std::filesystem::path(".");
    if (access(directory.c_str(), W_OK) != 0) {
      error = "cannot write " + path + ": the directory " + directory.string() +
              " does not exist or is not writable";
      return false;
    }
  }
  return true;
}

int runMeasure(Frontend& frontend, bool simulator, const MeasureOptions& options, bool quiet,
               std::FILE* out, std::FILE* errors, const std::atomic<bool>& stop) {
  return Measurement(frontend, simulator, options, quiet, out, errors, stop).run();
}

}  // namespace quilbyhost
