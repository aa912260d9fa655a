#include "resources/sensor_lookup.h"

#include "bridge/bridge_result.h"
#include "bridge/em_error.h"
#include "device/sensor_cache.h"
#include "quilby/measurement_device.h"

namespace vesk::bridge {

std::string ParameterText(const BridgeData& data, std::string_view key) {
  const std::optional<cairnjson::Member> member = data.parameterMember(key);
  return member ? std::string(member->text()) : std::string();
}

bool HasQueryKey(const BridgeData& data, std::string_view key) {
  return data.queryMember(key).has_value();
}

device::SensorInUse GetMDHandle(const BridgeData& data, std::string* uri, std::string_view word) {
  // The identifier is looked up where it was read, without a copy.
  const std::optional<cairnjson::Member> member = data.parameterMember("id");
  const std::string_view id = member ? member->text() : std::string_view();
  uri->append("Sensors/").append(id);
  if (!word.empty()) uri->append("/").append(word);
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
