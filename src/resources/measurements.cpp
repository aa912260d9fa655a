#include "resources/measurements.h"

#include "bridge/em_error.h"
#include "calibration/color_json.h"
#include "device/monitor_lock.h"
#include "loader/loaders.h"
#include "quilby/color_sensor.h"
#include "quilby/measurement_device.h"
#include "resources/sensor_lookup.h"

#include <cstdint>
#include <initializer_list>
#include <string>
#include <utility>

namespace vesk::bridge {

namespace {

// An object of floating members, e.g. {"R": r, "G": g, "B": b}.
cairnjson::Value floatingMembers(std::initializer_list<std::pair<const char*, double>> members) {
  cairnjson::Value object(cairnjson::Type::Object);
  for (const auto& [key, number] : members) object[key] = cairnjson::Value::makeDouble(number);
  return object;
}

cairnjson::Value answerWith(const char* key, const cairnjson::Value& member) {
  cairnjson::Value answer(cairnjson::Type::Object);
  answer[key] = member;
  return answer;
}

}  // namespace

BridgeResult SensorXYZ::Get(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), "XYZ");
  MDColor raw{};
  MDColor corrected{};
  BridgeCheckEmError(MDMeasureXYZ2(handle, &raw, &corrected), "Measure XYZ.");
  cairnjson::Value answer(cairnjson::Type::Object);
  answer["rawXYZ"] = ColorToJson(raw, "XYZ");
  answer["XYZ"] = ColorToJson(corrected, "XYZ");
  return BridgeResultOK(answer);
}

BridgeResult SensorRawData::Get(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), "RawData");
  double raw[3] = {};
  BridgeCheckEmError(
      libmeasurementdeviceLoader::loader().call(QUILBY_DEVICE_FUNCTION(MDMeasureRaw), handle, raw),
      "Measure raw data.");
  cairnjson::Value channels(cairnjson::Type::Array);
  for (const double channel : raw) channels.push_back(cairnjson::Value::makeDouble(channel));
  return BridgeResultOK(answerWith("rawData", channels));
}

BridgeResult SensorRGB::Get(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), "RGB");
  void* hid = BuiltInSensorHIDHandle(handle);
  MonitorLock section(hid);
  section.lock();
  double red = 0.0, green = 0.0, blue = 0.0;
  BridgeCheckEmError(libmSensorLoader::loader().call(QUILBY_DEVICE_FUNCTION(CSSG2H_MeasureRGB), hid,
                                                     &red, &green, &blue),
                     "Measure RGB.");
  return BridgeResultOK(answerWith("RGB", floatingMembers({{"R", red}, {"G", green}, {"B", blue}})));
}

BridgeResult SensorIR::Get(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), "IR");
  void* hid = BuiltInSensorHIDHandle(handle);
  MonitorLock section(hid);
  section.lock();
  double infrared = 0.0;
  std::uint64_t unused = 0;
  BridgeCheckEmError(libmSensorLoader::loader().call(QUILBY_DEVICE_FUNCTION(CSSG2H_GetIRValue), hid,
                                                     &infrared, &unused),
                     "Get IR value.");
  return BridgeResultOK(answerWith("IR", cairnjson::Value::makeDouble(infrared)));
}

BridgeResult SensorXYZWithoutCorrelation::Get(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), "XYZWithoutCorrelation");
  void* hid = BuiltInSensorHIDHandle(handle);
  MonitorLock section(hid);
  section.lock();
  double x = 0.0, y = 0.0, z = 0.0;
  BridgeCheckEmError(
      libmSensorLoader::loader().call(QUILBY_DEVICE_FUNCTION(CSSG2H_MeasureNotCorrelatedXYZCount),
                                      hid, &x, &y, &z),
      "Measure not correlated XYZ count.");
  return BridgeResultOK(answerWith("XYZ", floatingMembers({{"X", x}, {"Y", y}, {"Z", z}})));
}

}  // namespace vesk::bridge
