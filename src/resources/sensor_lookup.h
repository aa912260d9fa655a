// From a per-sensor request to the opened sensor.
#ifndef QUILBY_RESOURCES_SENSOR_LOOKUP_H
#define QUILBY_RESOURCES_SENSOR_LOOKUP_H

#include "bridge/bridge_data.h"
#include "device/sensor_cache.h"
#include "quilby/device_types.h"

#include <string>
#include <string_view>

namespace vesk::bridge {

// The open sensor named by the request's "id" parameter. Appends "Sensors/" + id, and "/" + `word`
// when `word` is not empty, to `*uri` (the request's logged URI) before anything else. Throws 400
// "BadRequestError" "URI is invalid." for a missing or empty id and 404 "Error" "Not found." for
// an id the sensor cache does not know (or whose sensor is closed in place). Takes the cache's
// lock for the lookup only; the handle stays in use, so that no other host component closes it
// or takes it over, until the result is destroyed. Keep the result in a named variable for the
// whole handler:
//
//   const device::SensorInUse handle = GetMDHandle(data, &uri(), "Mode");
[[nodiscard]] device::SensorInUse GetMDHandle(const BridgeData& data, std::string* uri,
                                              std::string_view word);

// The HID handle of the monitor a built-in sensor belongs to. A sensor without one fails with
// the library-status error of 0x80000000 ("Failed.") under "Get HID handle.".
[[nodiscard]] void* BuiltInSensorHIDHandle(MDHandle handle);

// The text of parameter `key` (the value's text form; "" when the parameters are not an object
// or lack the key).
[[nodiscard]] std::string ParameterText(const BridgeData& data, std::string_view key);

// Whether the query is an object holding `key`; the key's value is never read.
[[nodiscard]] bool HasQueryKey(const BridgeData& data, std::string_view key);

}  // namespace vesk::bridge

#endif  // QUILBY_RESOURCES_SENSOR_LOOKUP_H
