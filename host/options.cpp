#include "options.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdint>

namespace quilbyhost {

namespace {

enum class Group { PlugIn, Http, Measure, Output };

// One flag: its name, the word for its value (null for a switch), its help line, the group the
// help lists it under, and what it sets. A flag of the Measure group belongs to `measure` only.
struct Flag {
  const char* name;
  const char* value;
  const char* help;
  Group group;
  bool (*apply)(HostOptions& options, const std::string& value, std::string& error);
};

// The most readings `measure` takes, as the colour routes do.
constexpr int kMaxReadings = 10000;

bool readInteger(const std::string& text, int lowest, int highest, int& number) {
  int value = 0;
  const auto [end, failed] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (failed != std::errc() || end != text.data() + text.size() || value < lowest ||
      value > highest) {
    return false;
  }
  number = value;
  return true;
}

bool readUnsigned64(std::string_view text, int base, std::uint64_t& number) {
  const auto [end, failed] = std::from_chars(text.data(), text.data() + text.size(), number, base);
  return !text.empty() && failed == std::errc() && end == text.data() + text.size();
}

// A colour by name or as #rrggbb.
bool readColour(const std::string& text, ShownColour& colour) {
  static const ShownColour kNamed[] = {
      {"white", 1, 1, 1},   {"black", 0, 0, 0},   {"red", 1, 0, 0},      {"green", 0, 1, 0},
      {"blue", 0, 0, 1},    {"cyan", 0, 1, 1},    {"magenta", 1, 0, 1},  {"yellow", 1, 1, 0},
      {"grey", 0.5, 0.5, 0.5}, {"gray", 0.5, 0.5, 0.5},
  };
  for (const ShownColour& named : kNamed) {
    if (text == named.name) {
      colour = named;
      return true;
    }
  }
  std::uint64_t rgb = 0;
  if (text.size() != 7 || text[0] != '#' || !readUnsigned64(std::string_view(text).substr(1), 16, rgb)) {
    return false;
  }
  colour = {text, static_cast<double>((rgb >> 16) & 0xFF) / 255,
            static_cast<double>((rgb >> 8) & 0xFF) / 255, static_cast<double>(rgb & 0xFF) / 255};
  return true;
}

const std::vector<Flag>& flags() {
  static const std::vector<Flag> table = {
      {"--exports", "DIR", "libquilby.so and the device libraries (default %EXPORTS%)",
       Group::PlugIn,
       [](HostOptions& o, const std::string& v, std::string&) {
         o.settings.exportsPath = v;
         return true;
       }},
      {"--web-page", "DIR", "the web page directory holding did.json (default: the console's)",
       Group::PlugIn,
       [](HostOptions& o, const std::string& v, std::string&) {
         o.settings.htmlPath = v;
         return true;
       }},
      {"--registry", "DIR", "the registry directory (default: the exports directory)",
       Group::PlugIn,
       [](HostOptions& o, const std::string& v, std::string&) {
         o.settings.registryPath = v;
         return true;
       }},
      {"--architecture", "WORD", "the architecture word (default x86_64)", Group::PlugIn,
       [](HostOptions& o, const std::string& v, std::string&) {
         o.settings.architecture = v;
         return true;
       }},
      {"--application", "NAME", "the application name (default \"Quilby Host\")", Group::PlugIn,
       [](HostOptions& o, const std::string& v, std::string&) {
         o.settings.applicationName = v;
         return true;
       }},
      {"--world", "FILE", "a world file for the simulated device libraries", Group::PlugIn,
       [](HostOptions& o, const std::string& v, std::string&) {
         o.world = v;
         return true;
       }},
      {"--address", "ADDRESS", "the address to listen on (default 127.0.0.1)", Group::Http,
       [](HostOptions& o, const std::string& v, std::string&) {
         o.server.address = v;
         return true;
       }},
      {"--port", "N", "the port (default 8771; 0 picks a free one)", Group::Http,
       [](HostOptions& o, const std::string& v, std::string& error) {
         if (readInteger(v, 0, 65535, o.server.port)) return true;
         error = "--port needs a number from 0 to 65535, not \"" + v + "\"";
         return false;
       }},
      {"--allow-host", "NAME", "accept requests addressed to NAME as well (repeatable)",
       Group::Http,
       [](HostOptions& o, const std::string& v, std::string&) {
         o.server.allowedHosts.push_back(v);
         return true;
       }},
      {"--console", "DIR", "the console's files (default %CONSOLE%)", Group::Http,
       [](HostOptions& o, const std::string& v, std::string&) {
         o.server.consoleDirectory = v;
         return true;
       }},
      {"--monitor", "SERIAL/PRODUCT", "the sensor built into that monitor", Group::Measure,
       [](HostOptions& o, const std::string& v, std::string& error) {
         const std::size_t slash = v.find('/');
         if (slash == std::string::npos || slash == 0 || slash + 1 == v.size()) {
           error = "--monitor needs SERIAL/PRODUCT, e.g. QM7A0451/QM-27-Studio-Lab, not \"" + v +
                   "\"";
           return false;
         }
         o.measure.monitorSerial = v.substr(0, slash);
         o.measure.monitorProduct = v.substr(slash + 1);
         return true;
       }},
      {"--device-id", "N", "the sensor with that device id (GET /Sensors?connected lists them)",
       Group::Measure,
       [](HostOptions& o, const std::string& v, std::string& error) {
         std::uint64_t id = 0;
         if (readUnsigned64(v, 10, id) && id <= 0xFFFFFFFFu) {
           o.measure.deviceId = std::to_string(id);
           return true;
         }
         error = "--device-id needs a decimal number below 2^32, not \"" + v + "\"";
         return false;
       }},
      {"--individual-id", "ID",
       "the sensor with that individual id: decimal, 0x hexadecimal, or the 16 hexadecimal digits "
       "the connected list shows",
       Group::Measure,
       [](HostOptions& o, const std::string& v, std::string& error) {
         std::uint64_t id = 0;
         const std::string_view text = v;
         const bool hexadecimal = text.size() == 16 || text.rfind("0x", 0) == 0;
         const std::string_view digits = text.rfind("0x", 0) == 0 ? text.substr(2) : text;
         if (readUnsigned64(digits, hexadecimal ? 16 : 10, id)) {
           o.measure.individualId = std::to_string(id);
           return true;
         }
         error = "--individual-id needs a decimal number, 0x and hexadecimal digits, or 16 "
                 "hexadecimal digits, not \"" + v + "\"";
         return false;
       }},
      {"--mode", "MODE", "set the mode first: display, ambient, reflectance, or the library's number",
       Group::Measure,
       [](HostOptions& o, const std::string& v, std::string& error) {
         const char* const names[] = {"display", "ambient", "reflectance"};
         for (int code = 0; code < 3; ++code) {
           if (v == names[code]) {
             o.measure.mode = code;
             return true;
           }
         }
         int code = 0;
         if (readInteger(v, 0, 1000000, code)) {
           o.measure.mode = code;
           return true;
         }
         error = "--mode needs display, ambient, reflectance or a number, not \"" + v + "\"";
         return false;
       }},
      {"--observer", "2|10", "with --mode: the CIE 1931 2-degree (default) or 1964 10-degree observer",
       Group::Measure,
       [](HostOptions& o, const std::string& v, std::string& error) {
         if (v == "2" || v == "10") {
           o.measure.observer = v == "2" ? 0 : 1;
           return true;
         }
         error = "--observer needs 2 or 10, not \"" + v + "\"";
         return false;
       }},
      {"--count", "N", "readings per colour (default 1)", Group::Measure,
       [](HostOptions& o, const std::string& v, std::string& error) {
         if (readInteger(v, 1, kMaxReadings, o.measure.count)) return true;
         error = "--count needs a number from 1 to " + std::to_string(kMaxReadings) + ", not \"" +
                 v + "\"";
         return false;
       }},
      {"--colours", "LIST",
       "colours for the simulated monitor to show, each in turn: white, black, red, green, "
       "blue, cyan, magenta, yellow, grey or #rrggbb, separated by commas",
       Group::Measure,
       [](HostOptions& o, const std::string& v, std::string& error) {
         o.measure.colours.clear();
         std::size_t start = 0;
         while (true) {
           const std::size_t comma = v.find(',', start);
           const std::string name = v.substr(start, comma - start);
           ShownColour colour;
           if (!readColour(name, colour)) {
             error = "--colours: \"" + name + "\" is no colour (white, black, red, green, blue, "
                     "cyan, magenta, yellow, grey or #rrggbb)";
             return false;
           }
           o.measure.colours.push_back(colour);
           if (comma == std::string::npos) return true;
           start = comma + 1;
         }
       }},
      {"--reference", "N", "the reading the others are compared with (default 1, the first)",
       Group::Measure,
       [](HostOptions& o, const std::string& v, std::string& error) {
         if (readInteger(v, 1, kMaxReadings, o.measure.reference)) return true;
         error = "--reference needs a reading number from 1, not \"" + v + "\"";
         return false;
       }},
      {"--raw", nullptr, "record the sensor's uncorrected XYZ instead of the corrected one",
       Group::Measure,
       [](HostOptions& o, const std::string&, std::string&) {
         o.measure.raw = true;
         return true;
       }},
      {"--csv", "FILE", "write the readings as CSV", Group::Measure,
       [](HostOptions& o, const std::string& v, std::string&) {
         o.measure.csvPath = v;
         return true;
       }},
      {"--cgats", "FILE", "write the readings as a CGATS.17 file", Group::Measure,
       [](HostOptions& o, const std::string& v, std::string&) {
         o.measure.cgatsPath = v;
         return true;
       }},
      {"--quiet", nullptr,
       "only the answers (run, shell) or the table (measure), and errors; serve: no line per "
       "request",
       Group::Output,
       [](HostOptions& o, const std::string&, std::string&) {
         o.quiet = true;
         o.server.accessLog = false;
         return true;
       }},
      {"--version", nullptr, "print the version and exit", Group::Output,
       [](HostOptions& o, const std::string&, std::string&) {
         o.mode = Mode::Version;
         return true;
       }},
      {"--help", nullptr, "print this help and exit (also -h)", Group::Output,
       [](HostOptions& o, const std::string&, std::string&) {
         o.mode = Mode::Help;
         return true;
       }},
  };
  return table;
}

const Flag* findFlag(const std::string& name) {
  const std::string wanted = name == "-h" ? "--help" : name == "-q" ? "--quiet" : name;
  for (const Flag& flag : flags()) {
    if (wanted == flag.name) return &flag;
  }
  return nullptr;
}

bool readCommand(const std::vector<std::string>& arguments, std::size_t& next,
                 HostOptions& options, std::string& error) {
  if (next == arguments.size() || arguments[next].rfind("-", 0) == 0) return true;
  const std::string& command = arguments[next++];
  if (command == "serve") {
    options.mode = Mode::Serve;
  } else if (command == "shell") {
    options.mode = Mode::Shell;
  } else if (command == "measure") {
    options.mode = Mode::Measure;
  } else if (command == "help") {
    options.mode = Mode::Help;
  } else if (command == "version") {
    options.mode = Mode::Version;
  } else if (command == "run") {
    if (next == arguments.size() || arguments[next].rfind("--", 0) == 0) {
      error = "run needs the file of requests to run";
      return false;
    }
    options.mode = Mode::Run;
    options.file = arguments[next++];
  } else {
    error = "unknown command \"" + command + "\" (serve, run FILE, shell, measure, help, version)";
    return false;
  }
  return true;
}

bool checkMeasure(const HostOptions& options, bool measureFlagGiven, std::string& error) {
  if (options.mode != Mode::Measure) {
    if (measureFlagGiven && options.mode != Mode::Help && options.mode != Mode::Version) {
      error = "--monitor, --device-id, --individual-id, --mode, --observer, --count, --colours, "
              "--reference, --raw, --csv and --cgats are options of measure";
      return false;
    }
    return true;
  }
  const MeasureOptions& measure = options.measure;
  const int named = !measure.monitorSerial.empty() + !measure.deviceId.empty() +
                    !measure.individualId.empty();
  if (named != 1) {
    error = "measure needs one sensor: --monitor SERIAL/PRODUCT, --device-id N or "
            "--individual-id ID";
    return false;
  }
  const long long readings =
      static_cast<long long>(measure.count) * std::max<std::size_t>(1, measure.colours.size());
  if (readings > kMaxReadings) {
    error = "measure takes at most " + std::to_string(kMaxReadings) + " readings, not " +
            std::to_string(readings);
    return false;
  }
  if (measure.reference > readings) {
    error = "--reference " + std::to_string(measure.reference) + " is past the last of " +
            std::to_string(readings) + " readings";
    return false;
  }
  return true;
}

// A help line: `left` (the flag), then `help` in a column of its own, wrapped at 98 columns.
std::string wrapped(const std::string& left, const std::string& help) {
  constexpr std::size_t kColumn = 34;
  constexpr std::size_t kWidth = 98;
  const std::string indent(kColumn, ' ');
  std::string text = left.size() < kColumn ? left + std::string(kColumn - left.size(), ' ')
                                           : left + "\n" + indent;
  std::size_t lineLength = kColumn;
  std::size_t start = 0;
  while (start < help.size()) {
    std::size_t end = help.find(' ', start);
    if (end == std::string::npos) end = help.size();
    const std::size_t length = end - start;
    if (lineLength > kColumn && lineLength + 1 + length > kWidth) {
      text += "\n" + indent;
      lineLength = kColumn;
    } else if (lineLength > kColumn) {
      text += ' ';
      ++lineLength;
    }
    text.append(help, start, length);
    lineLength += length;
    start = end + 1;
  }
  return text + "\n";
}

}  // namespace

bool parseOptions(const std::vector<std::string>& arguments, const OptionDefaults& defaults,
                  HostOptions& options, std::string& error) {
  options = HostOptions();
  options.settings.exportsPath = defaults.exportsDirectory;
  options.server.consoleDirectory = defaults.consoleDirectory;
  std::size_t next = 0;
  if (!readCommand(arguments, next, options, error)) return false;

  bool webPageGiven = false;
  bool registryGiven = false;
  bool measureFlagGiven = false;
  while (next < arguments.size()) {
    std::string name = arguments[next++];
    if (name.rfind("-", 0) != 0) {
      error = "unexpected argument \"" + name + "\"";
      return false;
    }
    std::string value;
    bool valueGiven = false;
    if (const std::size_t equals = name.find('='); equals != std::string::npos) {
      value = name.substr(equals + 1);
      name.resize(equals);
      valueGiven = true;
    }
    const Flag* flag = findFlag(name);
    if (!flag) {
      error = "unknown option " + name;
      return false;
    }
    if (!flag->value && valueGiven) {
      error = name + " takes no value";
      return false;
    }
    if (flag->value && !valueGiven) {
      if (next == arguments.size()) {
        error = name + " needs a value (" + flag->value + ")";
        return false;
      }
      value = arguments[next++];
    }
    if (!flag->apply(options, value, error)) return false;
    webPageGiven = webPageGiven || std::string(flag->name) == "--web-page";
    registryGiven = registryGiven || std::string(flag->name) == "--registry";
    measureFlagGiven = measureFlagGiven || flag->group == Group::Measure;
  }
  // --help and --version win over the command and whatever else is given.
  const bool helpOrVersion = options.mode == Mode::Help || options.mode == Mode::Version;
  if (!helpOrVersion && !checkMeasure(options, measureFlagGiven, error)) return false;
  // The console is the web page, so its directory holds did.json unless told otherwise.
  if (!webPageGiven) options.settings.htmlPath = options.server.consoleDirectory;
  if (!registryGiven) options.settings.registryPath = options.settings.exportsPath;
  return true;
}

std::string usageText(const OptionDefaults& defaults) {
  std::string text =
      "Usage:\n"
      "  quilby-host [serve] [flags]     the HTTP bridge, REST routes and web console\n"
      "  quilby-host run FILE [flags]    one request per line: [NAME =] METHOD PATH [body]\n"
      "  quilby-host shell [flags]       the same, typed (help lists what a line can be)\n"
      "  quilby-host measure SENSOR [flags]\n"
      "                                  open a sensor, take readings, print them with the\n"
      "                                  derived values, write CSV or CGATS\n"
      "  quilby-host version             print the version\n";
  const std::pair<Group, const char*> groups[] = {
      {Group::PlugIn, "The plug-in"},
      {Group::Http, "HTTP (serve)"},
      {Group::Measure, "measure (SENSOR is --monitor, --device-id or --individual-id)"},
      {Group::Output, "Output"},
  };
  for (const auto& [group, title] : groups) {
    text += std::string("\n") + title + ":\n";
    for (const Flag& flag : flags()) {
      if (flag.group != group) continue;
      std::string left = std::string("  ") + flag.name + (flag.value ? std::string(" ") + flag.value : "");
      std::string help = flag.help;
      for (const auto& [placeholder, value] :
           {std::pair<std::string, std::string>{"%EXPORTS%", defaults.exportsDirectory},
            {"%CONSOLE%", defaults.consoleDirectory}}) {
        if (const std::size_t at = help.find(placeholder); at != std::string::npos) {
          help.replace(at, placeholder.size(), value);
        }
      }
      text += wrapped(left, help);
    }
  }
  text += "\nRoutes, bodies and answers: docs/api.md; scripts and measure: docs/cli.md.\n";
  return text;
}

std::string versionText() { return std::string("quilby-host ") + QUILBY_HOST_VERSION; }

}  // namespace quilbyhost
