#include "resources/sensor_lookup.h"

#include "bridge/bridge_result.h"
#include "bridge/em_error.h"
#include "device/sensor_cache.h"
#include "quilby/measurement_device.h"

namespace vesk::bridge {

std::string ParameterText(const BridgeData& data, const std::string& key) {
  return data.parameters[key].toString(std::string());
}

bool HasQueryKey(const BridgeData& data, const std::string& key) {
  return data.query.contains(key);
}

device::SensorInUse GetMDHandle(const BridgeData& data, std::string* uri, const std::string& word) {
  const std::string id = ParameterText(data, "id");
  *uri += "Sensors/" + id;
  if (!word.empty()) *uri += "/" + word;
  BridgeCheckRequestCondition(!id.empty(), "URI is invalid.");
  device::SensorInUse handle = device::SensorCache::Instance().use(id);
  if (!handle.get()) throw BridgeResultError(BridgeStatusCode::NotFound, "Error", "Not found.");
  return handle;
}

void* BuiltInSensorHIDHandle(MDHandle handle) {
  void* hid = MDGetHIDHandle(handle);
  BridgeCheckEmError(hid ? EMERR_OK : EMERR_FAILED, "Get HID handle.");
  return hid;
}

}  // namespace vesk::bridge
