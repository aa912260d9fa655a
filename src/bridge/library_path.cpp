#include "bridge/library_path.h"

#include "quilby/host.h"

namespace vesk {

std::string WithoutTrailingSeparator(std::string directory) {
  if (!directory.empty() && (directory.back() == '/' || directory.back() == '\\')) {
    directory.pop_back();
  }
  return directory;
}

fs::Path LibraryPathInExports(const std::string& stem) {
  fs::Path path(WithoutTrailingSeparator(Plg_GetRegistryExportsPath()));
  path.appendPathComponent(stem + "_x64.so");
  return path;
}

}  // namespace vesk
