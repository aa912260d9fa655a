// Names of the EmError codes (as device_types.h spells them) and of the device functions, for the
// world file's failures and the world dump.
#ifndef QUILBY_SIM_SRC_STATUS_NAMES_H
#define QUILBY_SIM_SRC_STATUS_NAMES_H

#include "quilby/device_types.h"

#include <optional>
#include <string_view>

namespace quilbysim {

// "EMERR_SENSOR_CONNECTION_ERROR" for 0x80010002; nullptr for a code without a name.
const char* statusName(EmError status);
// The code named `name`, or nothing.
std::optional<EmError> statusFromName(std::string_view name);

// Whether `name` is a function of one of the six device libraries (the variant build's missing
// functions included).
bool isDeviceFunction(std::string_view name);

}  // namespace quilbysim

#endif  // QUILBY_SIM_SRC_STATUS_NAMES_H
