// Names of the EmError codes (as device_types.h spells them) and of the device functions, for the
// world file's failures and the world dump, and for the development host's simulator routes (the
// host compiles this file in, as it does not link libquilbysim.so).
#ifndef QUILBY_SIM_SRC_STATUS_NAMES_H
#define QUILBY_SIM_SRC_STATUS_NAMES_H

#include "quilby/device_types.h"

#include <optional>
#include <span>
#include <string_view>

namespace quilbysim {

struct NamedStatus {
  const char* name;
  EmError status;
};

// Every named code, in the order of device_types.h.
std::span<const NamedStatus> namedStatuses();

// "EMERR_SENSOR_CONNECTION_ERROR" for 0x80010002; nullptr for a code without a name.
const char* statusName(EmError status);
// The code named `name`, or nothing.
std::optional<EmError> statusFromName(std::string_view name);

// Whether `name` is a function of one of the six device libraries (the variant build's missing
// functions included).
bool isDeviceFunction(std::string_view name);
// Those functions, library by library in the order of devices/device_functions.h.
std::span<const char* const> deviceFunctions();

}  // namespace quilbysim

#endif  // QUILBY_SIM_SRC_STATUS_NAMES_H
