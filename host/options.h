// The command line of quilby-host.
#ifndef QUILBY_HOST_OPTIONS_H
#define QUILBY_HOST_OPTIONS_H

#include "http_server.h"
#include "plugin_host.h"

#include <string>
#include <vector>

namespace quilbyhost {

enum class Mode { Serve, Run, Shell, Help };

struct HostOptions {
  Mode mode = Mode::Serve;
  // The request file of `run`.
  std::string file;
  HostSettings settings;
  ServerOptions server;
  // A world file for the simulator (QUILBY_SIM_WORLD); empty keeps the environment's.
  std::string world;
};

// Where the defaults point: the build's exports directory and the console's sources.
struct OptionDefaults {
  std::string exportsDirectory;
  std::string consoleDirectory;
};

// Reads the arguments after the program name: an optional command (serve, run FILE, shell,
// help) and the flags of usageText(), as "--flag value" or "--flag=value". False with a sentence
// in `error` for an unknown command or flag, a flag without its value, or a port that is not a
// number from 0 to 65535.
bool parseOptions(const std::vector<std::string>& arguments, const OptionDefaults& defaults,
                  HostOptions& options, std::string& error);

std::string usageText(const OptionDefaults& defaults);

}  // namespace quilbyhost

#endif  // QUILBY_HOST_OPTIONS_H
