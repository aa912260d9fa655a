// Setup and TearDown: start-up and shut-down of the plug-in.
#include "quilby/plugin.h"

#include "bridge/library_path.h"
#include "bridge/logger.h"
#include "device/device_id_table.h"
#include "device/sensor_cache.h"
#include "quilby/host.h"
#include "quilby/measurement_device.h"
#include "util/path.h"

#include <string>

namespace {

// The directory of the measurement subprocess's bundle inside the host's registry.
constexpr const char* kBundleDirectory = "com.vesk.quilby";
constexpr const char* kSubprocessName = "mdsubprocess";

std::string applicationNameForSubprocess() {
  std::string name = Plg_GetApplicationName();
  for (char& c : name) {
    if (c == ' ') c = '_';
  }
  return name;
}

fs::Path subprocessPath() {
  fs::Path path(vesk::WithoutTrailingSeparator(Plg_GetRegistryPath()));
  path.appendPathComponent(kBundleDirectory);
  path.appendPathComponent(Plg_GetArchitecture());
  path.appendPathComponent(kSubprocessName);
  return path;
}

void setUp() {
  MDInitDeviceLibrariesDirectoryPath(Plg_GetRegistryExportsPath());
  if (!vesk::device::SupportsSubprocess(vesk::device::LoadDeviceIDs())) return;
  const std::string applicationName = applicationNameForSubprocess();
  const EmError status =
      MDLaunchSubprocess(subprocessPath().text().c_str(), applicationName.c_str());
  if (EMERR_IS_FAILURE(status)) {
    vesk::QuilbyLogger::Instance().log(vesk::kLogFailure, "Failed to launch mdsubprocess.");
  } else {
    vesk::QuilbyLogger::Instance().log(vesk::kLogInformation, "Launch mdsubprocess.");
  }
}

void tearDown() {
  // No lock here: the host calls TearDown when nothing else uses the plug-in any more.
  vesk::device::SensorCache::Instance().clearAtTeardown();
  // The subprocess decision is made afresh from the file, so set-up and tear-down pair up only
  // when both see the same "did.json".
  if (!vesk::device::SupportsSubprocess(vesk::device::LoadDeviceIDs())) return;
  if (EMERR_IS_SUCCESS(MDQuitSubprocess())) {
    vesk::QuilbyLogger::Instance().log(vesk::kLogInformation, "Quit mdsubprocess.");
  }
}

}  // namespace

QUILBY_EXPORT void Setup(void) {
  try {
    setUp();
  } catch (...) {
    // Nothing may reach the host; an incomplete set-up shows in the log and in later requests.
  }
}

QUILBY_EXPORT void TearDown(void) {
  try {
    tearDown();
  } catch (...) {
  }
}
