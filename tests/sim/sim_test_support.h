// Shared helpers of the simulator tests: the default world's names, the control interface's texts
// as JSON values, and worlds derived from the default one.
#ifndef QUILBY_TESTS_SIM_SIM_TEST_SUPPORT_H
#define QUILBY_TESTS_SIM_SIM_TEST_SUPPORT_H

#include "quilby/color_sensor.h"
#include "quilby/correction.h"
#include "quilby/logging.h"
#include "quilby/measurement_device.h"
#include "quilby/monitor_control.h"
#include "quilby/usb_enumeration.h"
#include "quilby_sim/control.h"

#include "json/cairnjson.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <string>

namespace sim_test {

// The default world.
inline constexpr const char* kStudioSerial = "27Q00451";  // built-in swing sensor, 8x3, DUE 2
inline constexpr const char* kStudioProduct = "CX271-Studio";
inline void* const kStudioHid = reinterpret_cast<void*>(uintptr_t{4097});
inline constexpr const char* kUnlinkedSerial = "27U00912";  // no HID handle
inline constexpr const char* kOfficeSerial = "24S10088";    // built-in front sensor, index by flags
inline constexpr const char* kOfficeProduct = "CS240-Office";
inline void* const kOfficeHid = reinterpret_cast<void*>(uintptr_t{4098});
inline constexpr MDDeviceID kSwingSensor = 4144;
inline constexpr MDDeviceID kColorimeter = 33;      // usb, ambient, several positions
inline constexpr MDDeviceID kSpectrometer = 48;     // usb, needs calibration, reflectance
inline constexpr MDDeviceID kSerialReference = 82;  // serial link, needs calibration

// A text of the control interface, read with a buffer grown until it fits.
inline std::string controlText(uint32_t (*function)(char*, uint32_t)) {
  std::string text(64, '\0');
  uint32_t length = function(text.data(), static_cast<uint32_t>(text.size()));
  if (length >= text.size()) {
    text.assign(length + 1, '\0');
    length = function(text.data(), static_cast<uint32_t>(text.size()));
  }
  text.resize(length);
  return text;
}

inline cairnjson::Value parsed(const std::string& text) {
  cairnjson::Parser parser;
  cairnjson::Value value;
  if (!parser.parse(text, value)) ADD_FAILURE() << parser.error() << " in " << text;
  return value;
}

inline std::string compact(const cairnjson::Value& value) {
  std::string text;
  auto out = std::back_inserter(text);
  cairnjson::Serializer::serialize(out, value, {}, -1, nullptr);
  return text;
}

inline cairnjson::Value world() { return parsed(controlText(QuilbySimWorld)); }
inline cairnjson::Value journal() { return parsed(controlText(QuilbySimJournal)); }

// "" when `text` loads, else the loader's message.
inline std::string loadWorld(const std::string& text) {
  char error[512] = "unchanged";
  if (QuilbySimLoadWorld(text.c_str(), error, sizeof error) == 0) return "";
  return error;
}

// The default world changed by `edit`, as text.
inline std::string defaultWorldWith(const std::function<void(cairnjson::Value&)>& edit) {
  cairnjson::Value value = world();
  edit(value);
  return compact(value);
}

// Each test starts from the default world, whatever QUILBY_SIM_WORLD says.
class SimTest : public testing::Test {
 protected:
  void SetUp() override {
    unsetenv("QUILBY_SIM_WORLD");
    ASSERT_EQ(QuilbySimReset(), 0);
  }

  static MDHandle open(MDDeviceID deviceID) {
    MDHandle handle = nullptr;
    EXPECT_EQ(MDOpen(deviceID, &handle), EMERR_OK) << deviceID;
    return handle;
  }

  static MDHandle openBuiltIn(void* hid) {
    MDHandle handle = nullptr;
    EXPECT_EQ(MDOpenWithHIDHandle(hid, &handle), EMERR_OK);
    return handle;
  }
};

}  // namespace sim_test

#endif  // QUILBY_TESTS_SIM_SIM_TEST_SUPPORT_H
