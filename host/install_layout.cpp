#include "install_layout.h"

#include <filesystem>
#include <system_error>

namespace quilbyhost {

namespace {

// `relative` below `base`, with "." and ".." resolved lexically, so that the help text and
// the host's messages show a plain path.
std::string below(const std::string& base, const std::string& relative) {
  return (std::filesystem::path(base) / relative).lexically_normal().string();
}

}  // namespace

OptionDefaults defaultLocations(const std::string& executableDirectory,
                                const InstallLayout& layout) {
  const std::string installedExports = below(executableDirectory, layout.installedExports);
  std::error_code error;
  if (std::filesystem::is_regular_file(installedExports + "/libquilby.so", error)) {
    return {installedExports, below(executableDirectory, layout.installedConsole)};
  }
  return {below(executableDirectory, "exports"), below(executableDirectory, "console")};
}

std::string executableDirectory() {
  std::error_code error;
  const std::filesystem::path executable = std::filesystem::read_symlink("/proc/self/exe", error);
  if (error || !executable.has_parent_path()) return ".";
  return executable.parent_path().string();
}

}  // namespace quilbyhost
