// The command line of quilby-host.
#ifndef QUILBY_HOST_OPTIONS_H
#define QUILBY_HOST_OPTIONS_H

#include "http_server.h"
#include "plugin_host.h"

#include <optional>
#include <string>
#include <vector>

namespace quilbyhost {

enum class Mode { Serve, Run, Shell, Measure, Help, Version };

// A colour for the simulated monitor to show while measuring, as encoded RGB from 0 to 1.
struct ShownColour {
  std::string name;
  double red = 1;
  double green = 1;
  double blue = 1;
};

// What `measure` does. Exactly one of monitor, device id and individual id names the sensor.
struct MeasureOptions {
  // --monitor SERIAL/PRODUCT: the sensor built into that monitor.
  std::string monitorSerial;
  std::string monitorProduct;
  // --device-id N, decimal as the route takes it.
  std::string deviceId;
  // --individual-id: decimal, as the route takes it (the option also reads the hexadecimal form
  // of the connected list).
  std::string individualId;
  // --mode and --observer: the measurement library's codes; the mode is set only when given.
  std::optional<int> mode;
  int observer = 0;
  // Readings per colour (or in all, without colours).
  int count = 1;
  // --colours: shown one after the other, `count` readings each.
  std::vector<ShownColour> colours;
  // --csv, --cgats: files to write; empty writes none.
  std::string csvPath;
  std::string cgatsPath;
  // --raw: the sensor's uncorrected XYZ instead of the corrected one.
  bool raw = false;
  // --reference N: the reading (1 is the first) the others are compared with.
  int reference = 1;
};

struct HostOptions {
  Mode mode = Mode::Serve;
  // The request file of `run`.
  std::string file;
  HostSettings settings;
  ServerOptions server;
  // A world file for the simulator (QUILBY_SIM_WORLD); empty keeps the environment's.
  std::string world;
  // --quiet: nothing but the answers (run, shell) or the table (measure) on standard output,
  // and on standard error only what went wrong.
  bool quiet = false;
  MeasureOptions measure;
};

// Where the defaults point: the build's exports directory and the console's sources.
struct OptionDefaults {
  std::string exportsDirectory;
  std::string consoleDirectory;
};

// Reads the arguments after the program name: an optional command (serve, run FILE, shell,
// measure, help, version) and the flags of usageText(), as "--flag value" or "--flag=value".
// False with a sentence in `error` for an unknown command or flag ("unknown option --foo"), a
// flag without its value, a value out of range, a flag of `measure` with another command, or a
// `measure` that does not name exactly one sensor.
bool parseOptions(const std::vector<std::string>& arguments, const OptionDefaults& defaults,
                  HostOptions& options, std::string& error);

// The help text: commands, then every flag by group.
std::string usageText(const OptionDefaults& defaults);

// The program's name and version: "quilby-host 0.1.0".
std::string versionText();

}  // namespace quilbyhost

#endif  // QUILBY_HOST_OPTIONS_H
