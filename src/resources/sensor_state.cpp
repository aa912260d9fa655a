#include "resources/sensor_state.h"

#include "bridge/em_error.h"
#include "device/sensor_cache.h"
#include "loader/loaders.h"
#include "quilby/measurement_device.h"
#include "resources/sensor_lookup.h"
#include "util/mutex.h"

#include <cstdint>
#include <string>

namespace vesk::bridge {

namespace {

// The library owns the text and may hand out NULL for "no text".
cairnjson::Value text(const char* libraryText) {
  cairnjson::Value value;
  value.setString(libraryText ? libraryText : "");
  return value;
}

// A body member required to be a JSON number; strings that read as numbers are refused too.
long long requiredNumber(const BridgeData& data, const char* key, const std::string& message) {
  const cairnjson::Value& member = data.data()[key];
  BridgeCheckRequestCondition(member.isNumber(), message);
  return member.toLLong(0);
}

}  // namespace

BridgeResult Sensor::Get(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), "");
  if (HasQueryKey(data, "connection")) {
    return BridgeResultOK(cairnjson::Value::makeBool(MDIsValidConnection(handle)));
  }

  cairnjson::Value sensor(cairnjson::Type::Object);
  sensor["deviceID"] = cairnjson::Value::makeInteger(MDGetDeviceID(handle));
  sensor["name"] = text(MDGetName(handle));
  sensor["serial"] = text(MDGetSerialNumber(handle));
  sensor["needsCalibration"] = cairnjson::Value::makeBool(MDIsCalibrationNecessary(handle));
  sensor["supportsAmbient"] = cairnjson::Value::makeBool(MDSupportsAmbient(handle));
  sensor["supportsReflectance"] = cairnjson::Value::makeBool(MDSupportsReflectance(handle));
  sensor["hasArm"] = cairnjson::Value::makeBool(MDHasArm(handle));
  sensor["hasMultipleSensorPosition"] =
      cairnjson::Value::makeBool(MDHasMultipleSensorPosition(handle));
  // Older measurement libraries lack this query; the key is then left out rather than guessed.
  libmeasurementdeviceLoader& library = libmeasurementdeviceLoader::loader();
  if (library.lookup(QUILBY_DEVICE_FUNCTION(MDHasTargetMarker))) {
    sensor["hasTargetMarker"] =
        cairnjson::Value::makeBool(library.call(QUILBY_DEVICE_FUNCTION(MDHasTargetMarker), handle));
  }
  std::uint64_t min = 0, max = 0, bandWidth = 0, count = 0;
  // A sensor without spectral data answers a failure here; the zero count already says so.
  (void)MDSpectralRadianceFixedData(handle, &min, &max, &bandWidth, &count);
  if (count != 0) {
    cairnjson::Value spectrum(cairnjson::Type::Object);
    spectrum["min"] = cairnjson::Value::makeInteger(static_cast<long long>(min));
    spectrum["max"] = cairnjson::Value::makeInteger(static_cast<long long>(max));
    spectrum["bandWidth"] = cairnjson::Value::makeInteger(static_cast<long long>(bandWidth));
    spectrum["count"] = cairnjson::Value::makeInteger(static_cast<long long>(count));
    sensor["spectrum"] = spectrum;
  }
  return BridgeResultOK(sensor);
}

BridgeResult Sensor::Delete(const BridgeData& data) {
  MDHandle handle = nullptr;
  {
    // The cache's lock is held from the lookup until the id is forgotten, so the handle closed
    // below is the one this id held when it was forgotten: a component that takes the sensor
    // over on another thread (under the lock) either comes first, and the lookup finds nothing,
    // or comes after, and finds nothing to take.
    device::SensorCache& cache = device::SensorCache::Instance();
    const MutexLock<RecursiveMutex> lock(cache.mutex());
    const device::SensorInUse sensor = GetMDHandle(data, &uri(), "");
    handle = sensor;
    // Forgotten before closing, so that no other component finds the id of a closed sensor.
    cache.unregisterHandle(ParameterText(data, "id"));
  }
  (void)MDClose(&handle);
  return BridgeResultOK();
}

BridgeResult SensorMode::Get(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), "Mode");
  BridgeCheckRequestCondition(HasQueryKey(data, "supports"), "requires 'supports' query.");
  cairnjson::Value modes(cairnjson::Type::Object);
  modes["ambient"] = cairnjson::Value::makeBool(MDSupportsAmbient(handle));
  modes["reflectance"] = cairnjson::Value::makeBool(MDSupportsReflectance(handle));
  return BridgeResultOK(modes);
}

BridgeResult SensorMode::Put(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), "Mode");
  const long long mode = requiredNumber(data, "mode", "data requires 'mode'.");
  const long long observerKey = requiredNumber(data, "observerKey", "data requires 'observerKey'.");
  BridgeCheckEmError(MDSetMode(handle, static_cast<std::uint32_t>(mode),
                               static_cast<std::uint32_t>(observerKey)),
                     "Set sensor mode.");
  return BridgeResultOK();
}

BridgeResult SensorCalibration::Get(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), "Calibration");
  BridgeCheckRequestCondition(HasQueryKey(data, "needs"), "requires 'needs' query.");
  return BridgeResultOK(cairnjson::Value::makeBool(MDIsCalibrationNecessary(handle)));
}

BridgeResult SensorCalibration::Put(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), "Calibration");
  BridgeCheckEmError(MDCalibrate(handle), "Calibrate sensor.");
  return BridgeResultOK();
}

BridgeResult SensorArm::Get(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), "Arm");
  BridgeCheckRequestCondition(HasQueryKey(data, "supports"), "requires 'supports' query.");
  return BridgeResultOK(cairnjson::Value::makeBool(MDHasArm(handle)));
}

BridgeResult SensorArm::Put(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), "Arm");
  BridgeCheckRequestCondition(data.data().isBool(), "data must be boolean.");
  if (data.data().toLLong(0) != 0) {
    BridgeCheckEmError(MDTakeOutArm(handle), "Open sensor arm.");
  } else {
    BridgeCheckEmError(MDTakeInArm(handle), "Close sensor arm.");
  }
  return BridgeResultOK();
}

BridgeResult SensorPosition::Get(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), "Position");
  if (HasQueryKey(data, "supports")) {
    return BridgeResultOK(cairnjson::Value::makeBool(MDHasMultipleSensorPosition(handle)));
  }
  std::uint32_t position = 0;
  BridgeCheckEmError(MDGetSensorPosition(handle, &position), "Get sensor position.");
  return BridgeResultOK(cairnjson::Value::makeInteger(position));
}

}  // namespace vesk::bridge
