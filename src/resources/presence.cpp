#include "resources/presence.h"

#include "bridge/em_error.h"
#include "device/monitor_lock.h"
#include "loader/loaders.h"
#include "quilby/color_sensor.h"
#include "resources/sensor_lookup.h"

#include <cstdint>

namespace vesk::bridge {

BridgeResult SensorAmbraSense::Get(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), "AmbraSense");
  void* hid = BuiltInSensorHIDHandle(handle);
  MonitorLock section(hid);
  section.lock();
  std::uint8_t onOff = 0;
  BridgeCheckEmError(libmSensorLoader::loader().call(
                         QUILBY_DEVICE_FUNCTION(CSSG2H_GetHumanDetectOnOff), hid, &onOff),
                     "Get human detect on off.");
  return BridgeResultOK(cairnjson::Value::makeInteger(onOff));
}

BridgeResult SensorAmbraSense::Put(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), "AmbraSense");
  void* hid = BuiltInSensorHIDHandle(handle);
  BridgeCheckRequestCondition(data.data().isNumber() || data.data().isBool(),
                              "data must be number or boolean.");
  const std::uint8_t onOff = data.data().toDouble(0.0) != 0.0 ? 1 : 0;
  MonitorLock section(hid);
  section.lock();
  BridgeCheckEmError(libmSensorLoader::loader().call(
                         QUILBY_DEVICE_FUNCTION(CSSG2H_SetHumanDetectOnOff), hid, onOff),
                     "Set human detect on off.");
  return BridgeResultOK();
}

BridgeResult SensorAmbraSenseLevel::Get(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), "AmbraSense/Level");
  void* hid = BuiltInSensorHIDHandle(handle);
  MonitorLock section(hid);
  section.lock();
  std::uint32_t mode = 0;
  BridgeCheckEmError(libmSensorLoader::loader().call(
                         QUILBY_DEVICE_FUNCTION(CSSG2H_GetHumanDetectMode), hid, &mode),
                     "Get human detect mode.");
  return BridgeResultOK(cairnjson::Value::makeInteger(mode));
}

BridgeResult SensorAmbraSenseLevel::Put(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), "AmbraSense/Level");
  void* hid = BuiltInSensorHIDHandle(handle);
  BridgeCheckRequestCondition(data.data().isNumber(), "data must be number.");
  const auto mode = static_cast<std::uint32_t>(data.data().toLLong(0));
  MonitorLock section(hid);
  section.lock();
  BridgeCheckEmError(
      libmSensorLoader::loader().call(QUILBY_DEVICE_FUNCTION(CSSG2H_SetHumanDetectMode), hid, mode),
      "Set human detect mode.");
  return BridgeResultOK();
}

}  // namespace vesk::bridge
