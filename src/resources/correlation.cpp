#include "resources/correlation.h"

#include "bridge/em_error.h"
#include "calibration/color_json.h"
#include "calibration/date_json.h"
#include "device/monitor_lock.h"
#include "loader/loaders.h"
#include "quilby/color_sensor.h"
#include "quilby/measurement_device.h"
#include "resources/builtin_sensor_data_index.h"
#include "resources/sensor_lookup.h"
#include "util/date_time.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>

namespace vesk::bridge {

namespace {

// The text a library left in a fixed buffer, which it may have filled to the last byte.
std::string bufferText(const char* buffer, std::size_t size) {
  return std::string(buffer, strnlen(buffer, size));
}

cairnjson::Value integer(long long number) {
  cairnjson::Value value;
  value.setInteger(number);
  return value;
}

cairnjson::Value text(const std::string& characters) {
  cairnjson::Value value;
  value.setString(characters);
  return value;
}

// The listings carry an unsigned device id, the description a signed one; both keep their value.
cairnjson::Value referenceSensorJson(long long deviceID, const std::string& serial) {
  cairnjson::Value reference(cairnjson::Type::Object);
  reference["deviceID"] = integer(deviceID);
  reference["serial"] = text(serial);
  return reference;
}

// ---- Criterion sensor description ---------------------------------------------------------------

constexpr const char* kDescriptionWord = "Correlation/Description";

bool isAbsent(const MDCSSG2CriterionSensorDescription& description) {
  const MDDate& date = description.date;
  return date.year == 0 && date.month == 0 && date.day == 0 && date.hour == 0 &&
         date.minute == 0 && description.deviceID == 0 && description.serial[0] == '\0';
}

cairnjson::Value descriptionToJson(const MDCSSG2CriterionSensorDescription& description) {
  if (isAbsent(description)) return cairnjson::Value();
  const MDDate& stored = description.date;
  const DateTime date(stored.year, stored.month, stored.day, stored.hour, stored.minute, 0, 0);
  cairnjson::Value json(cairnjson::Type::Object);
  json["date"] = ToJson(date, true, false, false);
  json["referenceSensor"] = referenceSensorJson(
      description.deviceID, bufferText(description.serial, sizeof description.serial));
  return json;
}

MDCSSG2CriterionSensorDescription descriptionFromJson(const cairnjson::Value& json) {
  MDCSSG2CriterionSensorDescription description{};
  const DateTime date = DateTimeFromJson(json["date"]);
  description.date.year = static_cast<std::uint16_t>(date.year);
  description.date.month = static_cast<std::uint8_t>(date.month);
  description.date.day = static_cast<std::uint8_t>(date.day);
  description.date.hour = static_cast<std::uint8_t>(date.hour);
  description.date.minute = static_cast<std::uint8_t>(date.minute);
  const cairnjson::Value& reference = json["referenceSensor"];
  description.deviceID = reference["deviceID"].toInt(0);
  const std::string serial = reference["serial"].toString(std::string());
  // The last byte stays the terminator.
  std::memcpy(description.serial, serial.data(),
              std::min(serial.size(), sizeof description.serial - 1));
  return description;
}

// What Get, Put and Delete share: the built-in sensor's monitor, with the user data set selected.
void* descriptionMonitor(const BridgeData& data, std::string* uri) {
  void* hid = BuiltInSensorHIDHandle(GetMDHandle(data, uri, kDescriptionWord));
  ApplyBuiltinSensorDataIndex(hid, nullptr, false);
  return hid;
}

void writeDescription(void* hid, const cairnjson::Value& json) {
  const MDCSSG2CriterionSensorDescription description = descriptionFromJson(json);
  MonitorLock section(hid);
  section.lock();
  const libmSensorLoader& sensor = libmSensorLoader::loader();
  BridgeCheckEmError(sensor.call<decltype(CSSG2H_SetCriterionSensorDescription)>(
                         "CSSG2H_SetCriterionSensorDescription", hid, &description),
                     "Set criterion sensor descripction.");
}

// ---- Corrections --------------------------------------------------------------------------------

constexpr const char* kCorrelationWord = "Correlation";

void clearNinePoints(MDHandle handle) {
  BridgeCheckEmError(MDClear9PointsCorrelationCorrection(handle),
                     "Clear 9 points correlation correction.");
}

}  // namespace

std::uint64_t CorrelationIdFromJson(const cairnjson::Value& value) {
  switch (value.type()) {
    case cairnjson::Type::Integer: {
      const long long id = value.toLLong(0);
      return id < 1 ? 0 : static_cast<std::uint64_t>(id);
    }
    case cairnjson::Type::Double: {
      const double rounded = std::round(value.toDouble(0.0));
      // NaN fails both comparisons.
      if (!(rounded >= 0.0 && rounded <= 9223372036854775808.0)) return 0;
      return static_cast<std::uint64_t>(rounded);
    }
    case cairnjson::Type::Bool:
    case cairnjson::Type::String: {
      const long long id = value.toLLong(-1);
      return id < 0 ? 0 : static_cast<std::uint64_t>(id);
    }
    default:
      return 0;
  }
}

BridgeResult SensorCorrelation::Get(const BridgeData& data) {
  const MDHandle handle = GetMDHandle(data, &uri(), kCorrelationWord);
  BridgeCheckRequestCondition(HasQueryKey(data, "available"), "requires 'available' query.");

  cairnjson::Value corrections(cairnjson::Type::Array);
  for (std::uint32_t index = 0;; ++index) {
    MDDeviceID referenceDeviceID = 0;
    char referenceSerial[MD_REFERENCE_SERIAL_SIZE] = {};
    char monitorProduct[MD_CORRELATION_PRODUCT_SIZE] = {};
    char monitorSerial[MD_CORRELATION_SERIAL_SIZE] = {};
    std::int64_t id = 0;
    // Whatever ends the listing (past the end, or a failure) is the library's to explain.
    if (MDEnumCorrelationCorrection(handle, index, &referenceDeviceID, referenceSerial,
                                    monitorProduct, monitorSerial, &id) != EMERR_OK) {
      break;
    }
    cairnjson::Value monitor(cairnjson::Type::Object);
    monitor["product"] = text(bufferText(monitorProduct, sizeof monitorProduct));
    monitor["serial"] = text(bufferText(monitorSerial, sizeof monitorSerial));
    cairnjson::Value correction(cairnjson::Type::Object);
    correction["referenceSensor"] =
        referenceSensorJson(referenceDeviceID, bufferText(referenceSerial, sizeof referenceSerial));
    correction["monitor"] = monitor;
    correction["id"] = integer(id);
    corrections.push_back(correction);
  }
  return BridgeResultOK(corrections);
}

BridgeResult SensorCorrelation::Put(const BridgeData& data) {
  const MDHandle handle = GetMDHandle(data, &uri(), kCorrelationWord);
  const cairnjson::Value& body = data.data;
  BridgeCheckRequestCondition(body["id"].isNumber(), "data must have id.");
  const std::uint64_t id = CorrelationIdFromJson(body["id"]);

  if (body["type"].toString(std::string()) == "recalc") {
    const cairnjson::Value& white = body["targetWhite"];
    BridgeCheckRequestCondition(white.isObject(), "data must have targetWhite.");
    BridgeCheckRequestCondition(white["x"].isNumber() && white["y"].isNumber() &&
                                    white["Y"].isNumber(),
                                "targetWhite must have x, y, Y.");
    const MDColor targetWhite = ColorFromJson(white, "xyY");
    BridgeCheckEmError(
        MDApplyCorrelationCorrectionWithRecalcLuminanceLevelCorrection(handle, id, targetWhite),
        "Apply correlation correction with recalc luminance level correction.");
  } else {
    BridgeCheckEmError(MDApplyCorrelationCorrection(handle, id), "Apply correlation correction.");
  }
  return BridgeResultOK(cairnjson::Value());
}

BridgeResult SensorCorrelation::Delete(const BridgeData& data) {
  const MDHandle handle = GetMDHandle(data, &uri(), kCorrelationWord);
  if (HasQueryKey(data, "swingSensor")) {
    clearNinePoints(handle);
  } else {
    BridgeCheckEmError(MDReleaseCorrelationCorrection(handle), "Release correlation correction.");
  }
  return BridgeResultOK(cairnjson::Value());
}

BridgeResult SensorCorrelation9Points::Delete(const BridgeData& data) {
  clearNinePoints(GetMDHandle(data, &uri(), "Correlation/9Points"));
  return BridgeResultOK(cairnjson::Value());
}

BridgeResult SensorCorrelationDescription::Get(const BridgeData& data) {
  void* hid = descriptionMonitor(data, &uri());
  MonitorLock section(hid);
  section.lock();
  MDCSSG2CriterionSensorDescription description{};
  // The library fills the record and then stores the same id through the third argument, so
  // pointing it into the record is harmless.
  const libmSensorLoader& sensor = libmSensorLoader::loader();
  BridgeCheckEmError(sensor.call<decltype(CSSG2H_GetCriterionSensorDescription)>(
                         "CSSG2H_GetCriterionSensorDescription", hid, &description,
                         &description.deviceID),
                     "Get criterion sensor descripction.");
  return BridgeResultOK(descriptionToJson(description));
}

BridgeResult SensorCorrelationDescription::Put(const BridgeData& data) {
  void* hid = descriptionMonitor(data, &uri());
  writeDescription(hid, data.data);
  return BridgeResultOK(cairnjson::Value());
}

BridgeResult SensorCorrelationDescription::Delete(const BridgeData& data) {
  void* hid = descriptionMonitor(data, &uri());
  writeDescription(hid, cairnjson::Value());
  return BridgeResultOK(cairnjson::Value());
}

}  // namespace vesk::bridge
