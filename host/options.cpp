#include "options.h"

#include <charconv>

namespace quilbyhost {

bool parseOptions(const std::vector<std::string>& arguments, const OptionDefaults& defaults,
                  HostOptions& options, std::string& error) {
  options = HostOptions();
  options.settings.exportsPath = defaults.exportsDirectory;
  options.server.consoleDirectory = defaults.consoleDirectory;
  bool webPageGiven = false;
  bool registryGiven = false;

  std::size_t next = 0;
  if (next < arguments.size() && arguments[next].rfind("-", 0) != 0) {
    const std::string& command = arguments[next++];
    if (command == "serve") {
      options.mode = Mode::Serve;
    } else if (command == "shell") {
      options.mode = Mode::Shell;
    } else if (command == "help") {
      options.mode = Mode::Help;
    } else if (command == "run") {
      if (next == arguments.size()) {
        error = "run needs the file of requests to run";
        return false;
      }
      options.mode = Mode::Run;
      options.file = arguments[next++];
    } else {
      error = "unknown command \"" + command + "\" (serve, run FILE, shell or help)";
      return false;
    }
  }

  while (next < arguments.size()) {
    std::string flag = arguments[next++];
    if (flag == "-h" || flag == "--help") {
      options.mode = Mode::Help;
      continue;
    }
    if (flag == "--quiet") {
      options.server.accessLog = false;
      continue;
    }
    if (flag.rfind("--", 0) != 0) {
      error = "unexpected argument \"" + flag + "\"";
      return false;
    }
    std::string value;
    const std::size_t equals = flag.find('=');
    if (equals != std::string::npos) {
      value = flag.substr(equals + 1);
      flag.resize(equals);
    } else if (next < arguments.size()) {
      value = arguments[next++];
    } else {
      error = flag + " needs a value";
      return false;
    }
    if (flag == "--exports") {
      options.settings.exportsPath = value;
    } else if (flag == "--web-page") {
      options.settings.htmlPath = value;
      webPageGiven = true;
    } else if (flag == "--registry") {
      options.settings.registryPath = value;
      registryGiven = true;
    } else if (flag == "--architecture") {
      options.settings.architecture = value;
    } else if (flag == "--application") {
      options.settings.applicationName = value;
    } else if (flag == "--world") {
      options.world = value;
    } else if (flag == "--address") {
      options.server.address = value;
    } else if (flag == "--port") {
      int port = -1;
      const auto [end, failed] = std::from_chars(value.data(), value.data() + value.size(), port);
      if (failed != std::errc() || end != value.data() + value.size() || port < 0 ||
          port > 65535) {
        error = "--port needs a number from 0 to 65535, not \"" + value + "\"";
        return false;
      }
      options.server.port = port;
    } else if (flag == "--allow-host") {
      options.server.allowedHosts.push_back(value);
    } else if (flag == "--console") {
      options.server.consoleDirectory = value;
    } else {
      error = "unknown flag " + flag;
      return false;
    }
  }
  // The console is the web page, so its directory holds did.json unless told otherwise.
  if (!webPageGiven) options.settings.htmlPath = options.server.consoleDirectory;
  if (!registryGiven) options.settings.registryPath = options.settings.exportsPath;
  return true;
}

std::string usageText(const OptionDefaults& defaults) {
  return "Usage:\n"
         "  quilby-host [serve] [flags]   the HTTP bridge, REST routes and web console\n"
         "  quilby-host run FILE [flags]  one request per line: METHOD PATH [body]\n"
         "  quilby-host shell [flags]     the same, typed on standard input\n"
         "\n"
         "The plug-in:\n"
         "  --exports DIR        libquilby.so and the device libraries\n"
         "                       (default " + defaults.exportsDirectory + ")\n"
         "  --web-page DIR       the web page directory holding did.json (default: the console's)\n"
         "  --registry DIR       the registry directory (default: the exports directory)\n"
         "  --architecture WORD  the architecture word (default x86_64)\n"
         "  --application NAME   the application name (default \"Quilby Host\")\n"
         "  --world FILE         a world file for the simulated device libraries\n"
         "HTTP (serve):\n"
         "  --address ADDRESS    the address to listen on (default 127.0.0.1)\n"
         "  --port N             the port (default 8771; 0 picks a free one)\n"
         "  --allow-host NAME    accept requests addressed to NAME as well (repeatable)\n"
         "  --console DIR        the console's files (default " + defaults.consoleDirectory + ")\n"
         "  --quiet              no line per request on standard error\n"
         "\n"
         "Routes, bodies and answers: docs/api.md.\n";
}

}  // namespace quilbyhost
