// Where the plug-in finds the device libraries it opens at run time.
#ifndef QUILBY_BRIDGE_LIBRARY_PATH_H
#define QUILBY_BRIDGE_LIBRARY_PATH_H

#include "util/path.h"

#include <string>

namespace vesk {

// The file of the library `stem` (for example "libemc") in the host's exports directory:
// Plg_GetRegistryExportsPath() with one trailing "/" or "\" dropped, then stem + "_x64.so" as
// one more path component.
[[nodiscard]] fs::Path LibraryPathInExports(const std::string& stem);

// `directory` with one trailing "/" or "\" dropped.
[[nodiscard]] std::string WithoutTrailingSeparator(std::string directory);

}  // namespace vesk

#endif  // QUILBY_BRIDGE_LIBRARY_PATH_H
