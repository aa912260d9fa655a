// Where quilby-host finds the plug-in and its web console, relative to its own executable, so
// that neither a build tree nor an installed copy depends on the path it was built at.
#ifndef QUILBY_HOST_INSTALL_LAYOUT_H
#define QUILBY_HOST_INSTALL_LAYOUT_H

#include "options.h"

#include <string>

namespace quilbyhost {

// The two layouts quilby-host runs from, each relative to the directory of the executable:
//   installed:  <bin>/quilby-host, <bin>/QUILBY_HOST_INSTALLED_EXPORTS_DIR (the plug-in and the
//               device libraries), <bin>/QUILBY_HOST_INSTALLED_CONSOLE_DIR (the console);
//   build tree: <build>/quilby-host, <build>/exports, <build>/console.
// The installed layout is chosen when its exports directory holds libquilby.so.
struct InstallLayout {
  std::string installedExports;
  std::string installedConsole;
};

// The default exports and console directories for an executable in `executableDirectory`.
OptionDefaults defaultLocations(const std::string& executableDirectory,
                                const InstallLayout& layout);

// The directory of the running executable (from /proc/self/exe); "." when it cannot be read.
std::string executableDirectory();

}  // namespace quilbyhost

#endif  // QUILBY_HOST_INSTALL_LAYOUT_H
