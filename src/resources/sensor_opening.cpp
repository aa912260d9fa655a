#include "resources/sensor_opening.h"

#include "bridge/em_error.h"
#include "device/sensor_cache.h"
#include "loader/loaders.h"
#include "quilby/measurement_device.h"
#include "quilby/monitor_control.h"
#include "resources/sensor_lookup.h"
#include "util/mutex.h"
#include "util/string_conversion.h"

#include <cstdint>

namespace vesk::bridge {

namespace {

// The cache's lock is held from before the open until the answer is built, so that no other
// component sees the cache between opening and registering.
using CacheLock = MutexLock<RecursiveMutex>;

BridgeResult identifierAnswer(const std::string& id) {
  cairnjson::Value value;
  value.setString(id);
  return BridgeResultOK(value);
}

}  // namespace

BridgeResult DeviceID::Post(const BridgeData& data) {
  const std::string text = ParameterText(data, "deviceID");
  uri() += "Sensors/" + text;
  BridgeCheckRequestCondition(!text.empty(), "URI is invalid.");
  const auto deviceID = static_cast<MDDeviceID>(string::to<unsigned long long>(text));

  device::SensorCache& cache = device::SensorCache::Instance();
  const CacheLock lock(cache.mutex());
  MDHandle handle = nullptr;
  BridgeCheckEmError(MDOpen(deviceID, &handle), "Open sensor.");
  return identifierAnswer(cache.registerHandle(handle));
}

BridgeResult IndividualID::Post(const BridgeData& data) {
  const std::string text = ParameterText(data, "individualID");
  uri() += "Sensors/Individual/" + text;
  BridgeCheckRequestCondition(!text.empty(), "URI is invalid.");
  const std::uint64_t individualID = string::to<unsigned long long>(text);

  device::SensorCache& cache = device::SensorCache::Instance();
  const CacheLock lock(cache.mutex());
  MDHandle handle = nullptr;
  BridgeCheckEmError(MDOpenWithIndividualID(individualID, &handle), "Open sensor with individual id.");
  return identifierAnswer(cache.registerHandle(handle));
}

BridgeResult Monitors::Post(const BridgeData& data) {
  const std::string serial = ParameterText(data, "serial");
  const std::string product = ParameterText(data, "product");
  uri() += "Monitors/" + serial + "/" + product + "/Sensor";
  BridgeCheckRequestCondition(!serial.empty() && !product.empty(), "URI is invalid.");

  device::SensorCache& cache = device::SensorCache::Instance();
  const CacheLock lock(cache.mutex());
  void* hid = nullptr;
  BridgeCheckEmError(libemcLoader::loader().call(QUILBY_DEVICE_FUNCTION(EmCtrlGetHIDHandle),
                                                 serial.c_str(), product.c_str(), &hid),
                     "Get HID handle.");
  MDHandle handle = nullptr;
  BridgeCheckEmError(MDOpenWithHIDHandle(hid, &handle), "Open sensor with HID handle.");
  return identifierAnswer(cache.registerHandle(handle, serial, product));
}

}  // namespace vesk::bridge
