// What the end-to-end tests of the per-sensor resources share: opening the sensors of the
// built-in simulated world, the envelopes of failures, the monitors' critical sections, and a
// plug-in running against the variant device libraries.
#ifndef QUILBY_TESTS_SENSORS_SENSOR_TEST_SUPPORT_H
#define QUILBY_TESTS_SENSORS_SENSOR_TEST_SUPPORT_H

#include "quilby/device_types.h"
#include "support/plugin_fixture.h"

#include <filesystem>
#include <string>
#include <vector>

namespace quilby_test {

// The monitors of the built-in world that have a built-in sensor.
inline constexpr const char* kStudioSerial = "27Q00451";
inline constexpr const char* kStudioProduct = "CX271-Studio";
inline constexpr const char* kOfficeSerial = "24S10088";
inline constexpr const char* kOfficeProduct = "CS240-Office";

class SensorTest : public PluginTest {
 protected:
  void TearDown() override;

  // Opens a sensor through `entryPoint` (POST) and returns the parameters object naming it.
  std::string open(const std::string& entryPoint, const std::string& parameters);
  // USB colorimeter: ambient mode, several positions, no HID handle.
  std::string colorimeter() { return open("DeviceID", R"({"deviceID":33})"); }
  // USB spectrophotometer: ambient and reflectance, target marker, spectrum, needs calibration.
  std::string spectrophotometer() { return open("DeviceID", R"({"deviceID":48})"); }
  // The studio monitor's swing sensor (arm starts in; presence detection on the monitor).
  std::string swingSensor();
  // The office monitor's fixed front sensor, listed after a monitor without HID handle.
  std::string frontSensor();

  // Reloads the plug-in from a directory holding the variant device libraries (lacking
  // MDMeasureRaw, MDHasTargetMarker, EmCtrlLockMonitor, EmCtrlUnlockMonitor, CSSG2H_GetIRValue)
  // beside the built plug-in; with `only`, just those files are the variant ones.
  void useVariantLibraries(const std::vector<std::string>& only = {});

  // The owners of the monitors' critical sections, "" for a free one, in world order.
  static std::vector<std::string> sectionOwners();
  // The names of the device-library functions called since the journal was emptied, without the
  // logging library's.
  std::vector<std::string> deviceCalls() const;

  static std::string emError(unsigned code, const std::string& message, const std::string& reason);
  static std::string badRequest(const std::string& message);
  static std::string ok(const std::string& valueJson);

 private:
  std::filesystem::path variant_;
};

}  // namespace quilby_test

#endif  // QUILBY_TESTS_SENSORS_SENSOR_TEST_SUPPORT_H
