#include "resources/builtin_sensor_data_index.h"

#include "bridge/em_error.h"
#include "device/monitor_lock.h"
#include "loader/loaders.h"
#include "quilby/color_sensor.h"
#include "quilby/monitor_control.h"

#include <cstdint>

namespace vesk::bridge {

namespace {

// The data indices the colour-sensor library knows; 2 is unused.
constexpr std::uint32_t kFactoryIndex = 0;
constexpr std::uint32_t kFactoryIndexForPriority2 = 1;
constexpr std::uint32_t kUserIndex = 3;

// The only DUE priority that picks a factory set of its own.
constexpr EmCtrlDUEPriority kPriorityWithOwnSet = 2;

}  // namespace

void ApplyBuiltinSensorDataIndex(void* hid, EmCtrlDUEPriority* priorityOut, bool flag) {
  char serial[EMCTRL_SERIAL_SIZE] = {};
  char product[EMCTRL_PRODUCT_SIZE] = {};
  GetSerialProductWithHIDHandle(hid, serial, product, true);
  MonitorLock section(hid);

  const libemcLoader& monitors = libemcLoader::loader();
  bool priorityIs2 = false;
  if (monitors.call(QUILBY_DEVICE_FUNCTION(EmCtrlSupportedDUEPriority), serial, product) != 0) {
    EmCtrlDUEPriority priority = 0;
    BridgeCheckEmError(
        monitors.call(QUILBY_DEVICE_FUNCTION(EmCtrlGetDUEPriority), serial, product, &priority),
        "Get DUE priority.");
    if (priorityOut) *priorityOut = priority;
    priorityIs2 = priority == kPriorityWithOwnSet;
  }

  section.lock();
  const std::uint32_t index =
      !flag ? kUserIndex : (priorityIs2 ? kFactoryIndexForPriority2 : kFactoryIndex);
  const libmSensorLoader& sensor = libmSensorLoader::loader();
  if (sensor.call(QUILBY_DEVICE_FUNCTION(CSSG2H_SetColorSensorDataIndex), hid, index, 0u) >= 0) {
    return;
  }
  // Firmware that refuses an index by number still takes the same choice by flags.
  const std::uint32_t inverted = flag ? 0u : 1u;
  BridgeCheckEmError(sensor.call(QUILBY_DEVICE_FUNCTION(CSSG2H_SetColorSensorDataIndex2), hid,
                                 inverted, priorityIs2 ? 1u : 0u),
                     "Set color sensor data index.");
}

}  // namespace vesk::bridge
