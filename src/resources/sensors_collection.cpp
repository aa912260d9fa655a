#include "resources/sensors_collection.h"

#include "bridge/em_error.h"
#include "device/sensor_cache.h"
#include "device/serial_usb_connection.h"
#include "quilby/measurement_device.h"
#include "resources/sensor_lookup.h"
#include "util/mutex.h"
#include "util/string_conversion.h"

#include <cstdint>
#include <cstdio>
#include <string>

namespace vesk::bridge {

namespace {

using CacheLock = MutexLock<RecursiveMutex>;


cairnjson::Value textValue(const char* text) {
  cairnjson::Value value;
  value.setString(text ? text : "");
  return value;
}

// The page compares individual identifiers as text, so the width is fixed.
std::string individualIDText(std::uint64_t individualID) {
  char text[17];
  std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(individualID));
  return text;
}

cairnjson::Value connectedDevices() {
  cairnjson::Value list(cairnjson::Type::Array);
  for (std::uint32_t index = 0;; ++index) {
    MDDeviceID deviceID = 0;
    std::uint64_t individualID = 0;
    // The library has no count: its first failing status marks the end of the list.
    if (EMERR_IS_FAILURE(MDEnumConnectedDevices(index, &deviceID, &individualID))) break;
    cairnjson::Value device;
    device["deviceID"].setInteger(deviceID);
    device["individualID"].setString(individualIDText(individualID));
    list.push_back(device);
  }
  return list;
}

cairnjson::Value openedSensorIdentifiers(const device::SensorCache& cache)
    QUILBY_REQUIRES(cache.mutex()) {
  cairnjson::Value list(cairnjson::Type::Array);
  for (const auto& entry : cache.handles()) {
    cairnjson::Value id;
    id.setString(entry.first);
    list.push_back(id);
  }
  return list;
}

// Every "," separates two pieces, so "3,,5" and "3," hold empty pieces, and "" is one.
cairnjson::Value namesOfDeviceIDs(const std::string& text) {
  cairnjson::Value names(cairnjson::Type::Array);
  std::size_t begin = 0;
  while (true) {
    const std::size_t comma = text.find(',', begin);
    const std::string piece = text.substr(begin, comma == std::string::npos ? comma : comma - begin);
    const auto deviceID = static_cast<MDDeviceID>(string::to<unsigned long long>(piece));
    names.push_back(textValue(MDGetNameFromDeviceID(deviceID)));
    if (comma == std::string::npos) break;
    begin = comma + 1;
  }
  return names;
}

}  // namespace

BridgeResult Sensors::Get(const BridgeData& data) {
  uri() += "Sensors";
  device::SensorCache& cache = device::SensorCache::Instance();
  const CacheLock lock(cache.mutex());
  if (HasQueryKey(data, "connected")) return BridgeResultOK(connectedDevices());
  if (HasQueryKey(data, "serialConnected")) {
    device::SerialUSBConnection& serial = device::SerialUSBConnection::Instance();
    serial.update();
    return BridgeResultOK(serial.connectedDeviceIDs());
  }
  return BridgeResultOK(openedSensorIdentifiers(cache));
}

BridgeResult Sensors::Put(const BridgeData& data) {
  uri() += "Sensors";
  if (data.data().contains("libraryPath")) {
    const std::string directory = data.data()["libraryPath"].toString(std::string());
    BridgeCheckEmError(MDInitDeviceLibrariesDirectoryPath(directory.c_str()),
                       "Init device libraries directory path.");
  }
  if (data.data().contains("serialMappings")) {
    device::SerialUSBConnection::Instance().setDeviceIDMappings(data.data()["serialMappings"]);
  }
  return BridgeResultOK();
}

BridgeResult Sensors::Delete(const BridgeData&) {
  uri() += "Sensors";
  device::SensorCache& cache = device::SensorCache::Instance();
  const CacheLock lock(cache.mutex());
  cache.clear();
  return BridgeResultOK();
}

BridgeResult SensorsName::Get(const BridgeData& data) {
  uri() += "Sensors/Name";
  if (HasQueryKey(data, "deviceIDs")) {
    return BridgeResultOK(namesOfDeviceIDs(data.query()["deviceIDs"].toString(std::string())));
  }
  cairnjson::Value names(cairnjson::Type::Array);
  device::SensorCache& cache = device::SensorCache::Instance();
  const CacheLock lock(cache.mutex());
  for (const auto& entry : cache.handles()) names.push_back(textValue(MDGetName(entry.second.handle)));
  return BridgeResultOK(names);
}

BridgeResult XRiteControlPanel::Put(const BridgeData&) {
  uri() += "XRite/ControlPanel";
  BridgeCheckEmError(MDOpenXRiteControlPanel(), "Open XRite Control Panel.");
  return BridgeResultOK();
}

}  // namespace vesk::bridge
