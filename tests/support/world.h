// The built-in simulated world as the tests use it: its sensors and monitors, the texts of the
// simulator's control interface, and worlds derived from it.
#ifndef QUILBY_TESTS_SUPPORT_WORLD_H
#define QUILBY_TESTS_SUPPORT_WORLD_H

#include "quilby/device_types.h"
#include "quilby_sim/control.h"
#include "support/json_helpers.h"

#include <cstdint>
#include <initializer_list>
#include <string>
#include <utility>

namespace quilby_test {

inline constexpr MDDeviceID kColorimeter = 33;        // USB, ambient, several positions
inline constexpr MDDeviceID kSpectrophotometer = 48;  // USB, reflectance, spectrum, calibration
inline constexpr MDDeviceID kSerialReference = 82;    // on "QS-30 serial bridge", calibration
inline constexpr MDDeviceID kArmSensor = 4144;        // the studio monitor's; the arm starts in
// Built-in arm sensor: 8x3 matrix, DUE priority 2, luminance levels.
inline constexpr const char* kStudioSerial = "QM7A0451";
inline constexpr const char* kStudioProduct = "QM-27-Studio-Lab";
// Built-in panel sensor: older firmware (data index by flags, no DUE priority), 3x3 matrix only.
inline constexpr const char* kOfficeSerial = "QM4C0088";
inline constexpr const char* kOfficeProduct = "QM-24-Office";
inline constexpr const char* kUnlinkedSerial = "QM7B0912";  // known, but without HID handle
inline void* const kStudioHid = reinterpret_cast<void*>(std::uintptr_t{0x1001});
inline void* const kOfficeHid = reinterpret_cast<void*>(std::uintptr_t{0x1002});

// A text of the simulator's control interface (journal, world, critical sections, last error).
inline std::string controlText(std::uint32_t (*read)(char*, std::uint32_t)) {
  std::string text(read(nullptr, 0) + 1, '\0');
  text.resize(read(text.data(), static_cast<std::uint32_t>(text.size())));
  return text;
}

// The simulated world now, as a world file, with the value at each place ("monitors[0].serial")
// replaced by a JSON text.
inline std::string worldWith(std::initializer_list<std::pair<std::string, std::string>> edits) {
  cairnjson::Value world = parsed(controlText(QuilbySimWorld));
  for (const auto& [place, json] : edits) valueAt(world, place) = parsed(json);
  return compact(world);
}

}  // namespace quilby_test

#endif  // QUILBY_TESTS_SUPPORT_WORLD_H
