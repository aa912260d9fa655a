#include "resources/correlation.h"

#include "bridge/em_error.h"
#include "calibration/color_json.h"
#include "calibration/correlation_json.h"
#include "device/monitor_lock.h"
#include "loader/loaders.h"
#include "quilby/color_sensor.h"
#include "quilby/measurement_device.h"
#include "resources/builtin_sensor_data_index.h"
#include "resources/sensor_lookup.h"
#include "util/fixed_buffer_text.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>

namespace vesk::bridge {

namespace {

// ---- Criterion sensor description ---------------------------------------------------------------

constexpr const char* kDescriptionWord = "Correlation/Description";

bool isAbsent(const MDCSSG2CriterionSensorDescription& description) {
  const MDDate& date = description.date;
  return date.year == 0 && date.month == 0 && date.day == 0 && date.hour == 0 &&
         date.minute == 0 && description.deviceID == 0 && description.serial[0] == '\0';
}

cairnjson::Value descriptionToJson(const MDCSSG2CriterionSensorDescription& description) {
  if (isAbsent(description)) return cairnjson::Value();
  cairnjson::Value json(cairnjson::Type::Object);
  json["date"] = ToJson(description.date);
  // The description's device id is signed, the listings' unsigned; both keep their value.
  json["referenceSensor"] =
      ReferenceSensorToJson(description.deviceID, description.serial, sizeof description.serial);
  return json;
}

MDCSSG2CriterionSensorDescription descriptionFromJson(const cairnjson::Value& json) {
  MDCSSG2CriterionSensorDescription description{};
  description.date = MDDateFromJson(json["date"]);
  const cairnjson::Value& reference = json["referenceSensor"];
  description.deviceID = reference["deviceID"].toInt(0);
  const std::string serial = reference["serial"].toString(std::string());
  // The last byte stays the terminator.
  std::memcpy(description.serial, serial.data(),
              std::min(serial.size(), sizeof description.serial - 1));
  return description;
}

// What Get, Put and Delete share: the built-in sensor's monitor, with the user data set selected.
void* descriptionMonitor(MDHandle handle) {
  void* hid = BuiltInSensorHIDHandle(handle);
  ApplyBuiltinSensorDataIndex(hid, nullptr, false);
  return hid;
}

void writeDescription(void* hid, const cairnjson::Value& json) {
  const MDCSSG2CriterionSensorDescription description = descriptionFromJson(json);
  MonitorLock section(hid);
  section.lock();
  const libmSensorLoader& sensor = libmSensorLoader::loader();
  BridgeCheckEmError(
      sensor.call(QUILBY_DEVICE_FUNCTION(CSSG2H_SetCriterionSensorDescription), hid, &description),
      "Set criterion sensor descripction.");
}

// ---- Corrections --------------------------------------------------------------------------------

constexpr const char* kCorrelationWord = "Correlation";

void clearNinePoints(MDHandle handle) {
  BridgeCheckEmError(MDClear9PointsCorrelationCorrection(handle),
                     "Clear 9 points correlation correction.");
}

// ---- Correlation records ------------------------------------------------------------------------

constexpr const char* kDataWord = "Correlation/Data";

// The body keys of the records, in the order they are written.
constexpr const char* kRecordKeys[] = {"calibrationData",       "correctionData",
                                       "luminanceLevelCorrection", "normalizedMeasurement",
                                       "reference",             "referenceTone",
                                       "toneCorrection"};

// Reads one record through the colour-sensor function `function`.
template <class Function, class Record>
void getRecord(void* hid, DeviceFunction<Function> function, Record& record, const char* step) {
  BridgeCheckEmError(libmSensorLoader::loader().call(function, hid, &record), step);
}

// Writes the record under `key` of `body`, if there is one.
template <class Function, class Record>
void putRecord(void* hid, const cairnjson::Value& body, const char* key,
               Record (*fromJson)(const cairnjson::Value&), DeviceFunction<Function> function,
               const char* step) {
  if (!body.contains(key)) return;
  const Record record = fromJson(body[key]);
  BridgeCheckEmError(libmSensorLoader::loader().call(function, hid, &record), step);
}

void checkRecordsBody(const cairnjson::Value& body) {
  BridgeCheckRequestCondition(body.isObject(), "data must be object.");
  bool named = false;
  for (const char* key : kRecordKeys) {
    if (!body.contains(key)) continue;
    BridgeCheckRequestCondition(body[key].isObject(), std::string(key) + " must be object.");
    named = true;
  }
  BridgeCheckRequestCondition(named,
                              "data must have calibrationData, correctionData, "
                              "luminanceLevelCorrection, normalizedMeasurement, reference, "
                              "referenceTone or toneCorrection.");
}

}  // namespace

MDCSSG2CorrelationDataEx ReadColorSensorCorrelationDataEx(void* hid,
                                                          bool* hasLuminanceLevelCorrection) {
  MDCSSG2CorrelationDataEx record{};
  getRecord(hid, QUILBY_DEVICE_FUNCTION(CSSG2H_GetColorSensorCalibData), record.calibrationData,
            "Get color sensor calib data.");
  getRecord(hid, QUILBY_DEVICE_FUNCTION(CSSG2H_GetColorSensorCorrectionData), record.correctionData,
            "Get color sensor correction data.");
  const bool supported =
      libmSensorLoader::loader().call(
          QUILBY_DEVICE_FUNCTION(CSSG2H_SupportedLuminanceLevelCorrectionParams), hid) != 0;
  if (supported) {
    getRecord(hid, QUILBY_DEVICE_FUNCTION(CSSG2H_GetLuminanceLevelCorrectionParams),
              record.luminanceLevelCorrection, "Get luminance level correction params.");
  }
  if (hasLuminanceLevelCorrection) *hasLuminanceLevelCorrection = supported;
  return record;
}

MDIFSv3CorrelationData ReadColorSensorIFSv3CorrelationData(void* hid) {
  MDIFSv3CorrelationData record{};
  getRecord(hid, QUILBY_DEVICE_FUNCTION(CSSG2H_R2XCGetNormalizedMeasurementValue),
            record.normalizedMeasurement, "Get normalized measurement value.");
  getRecord(hid, QUILBY_DEVICE_FUNCTION(CSSG2H_R2XCGetRefParam), record.reference,
            "Get ref param.");
  getRecord(hid, QUILBY_DEVICE_FUNCTION(CSSG2H_R2XCGetRefToneParam), record.referenceTone,
            "Get ref tone param.");
  getRecord(hid, QUILBY_DEVICE_FUNCTION(CSSG2H_R2XCGetToneCorrectionParam), record.toneCorrection,
            "Get tone correction param.");
  return record;
}

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
  const device::SensorInUse handle = GetMDHandle(data, &uri(), kCorrelationWord);
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
    monitor["product"].setString(string::fromFixedBuffer(monitorProduct, sizeof monitorProduct));
    monitor["serial"].setString(string::fromFixedBuffer(monitorSerial, sizeof monitorSerial));
    cairnjson::Value correction(cairnjson::Type::Object);
    correction["referenceSensor"] =
        ReferenceSensorToJson(referenceDeviceID, referenceSerial, sizeof referenceSerial);
    correction["monitor"] = monitor;
    correction["id"] = cairnjson::Value::makeInteger(id);
    corrections.push_back(correction);
  }
  return BridgeResultOK(corrections);
}

BridgeResult SensorCorrelation::Put(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), kCorrelationWord);
  const cairnjson::Value& body = data.data();
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
  return BridgeResultOK();
}

BridgeResult SensorCorrelation::Delete(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), kCorrelationWord);
  if (HasQueryKey(data, "swingSensor")) {
    clearNinePoints(handle);
  } else {
    BridgeCheckEmError(MDReleaseCorrelationCorrection(handle), "Release correlation correction.");
  }
  return BridgeResultOK();
}

BridgeResult SensorCorrelation9Points::Delete(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), "Correlation/9Points");
  clearNinePoints(handle);
  return BridgeResultOK();
}

BridgeResult SensorCorrelationDescription::Get(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), kDescriptionWord);
  void* hid = descriptionMonitor(handle);
  MonitorLock section(hid);
  section.lock();
  MDCSSG2CriterionSensorDescription description{};
  // The library fills the record and then stores the same id through the third argument, so
  // pointing it into the record is harmless.
  const libmSensorLoader& sensor = libmSensorLoader::loader();
  BridgeCheckEmError(sensor.call(QUILBY_DEVICE_FUNCTION(CSSG2H_GetCriterionSensorDescription), hid,
                                 &description, &description.deviceID),
                     "Get criterion sensor descripction.");
  return BridgeResultOK(descriptionToJson(description));
}

BridgeResult SensorCorrelationDescription::Put(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), kDescriptionWord);
  void* hid = descriptionMonitor(handle);
  writeDescription(hid, data.data());
  return BridgeResultOK();
}

BridgeResult SensorCorrelationDescription::Delete(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), kDescriptionWord);
  void* hid = descriptionMonitor(handle);
  writeDescription(hid, cairnjson::Value());
  return BridgeResultOK();
}

BridgeResult SensorCorrelationData::Get(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), kDataWord);
  void* hid = BuiltInSensorHIDHandle(handle);
  ApplyBuiltinSensorDataIndex(hid, nullptr, false);
  MonitorLock section(hid);
  section.lock();
  bool hasLuminanceLevelCorrection = false;
  const MDCSSG2CorrelationDataEx cssg2 =
      ReadColorSensorCorrelationDataEx(hid, &hasLuminanceLevelCorrection);
  cairnjson::Value records = ToJson(ReadColorSensorIFSv3CorrelationData(hid));
  section.unlock();

  const cairnjson::Value cssg2Json = ToJson(cssg2);
  records["calibrationData"] = cssg2Json["calibrationData"];
  records["correctionData"] = cssg2Json["correctionData"];
  if (hasLuminanceLevelCorrection) {
    records["luminanceLevelCorrection"] = cssg2Json["luminanceLevelCorrection"];
  }
  return BridgeResultOK(records);
}

BridgeResult SensorCorrelationData::Put(const BridgeData& data) {
  const device::SensorInUse handle = GetMDHandle(data, &uri(), kDataWord);
  const cairnjson::Value& body = data.data();
  checkRecordsBody(body);
  void* hid = BuiltInSensorHIDHandle(handle);
  ApplyBuiltinSensorDataIndex(hid, nullptr, false);
  const bool send = HasQueryKey(data, "send");

  MonitorLock section(hid);
  section.lock();
  if (send) {
    putRecord(hid, body, "calibrationData", MDCSSG2CalibrationDataFromJson,
              QUILBY_DEVICE_FUNCTION(CSSG2H_SendColorSensorCalibData),
              "Send color sensor calib data.");
    putRecord(hid, body, "correctionData", MDCSSG2CorrectionDataFromJson,
              QUILBY_DEVICE_FUNCTION(CSSG2H_SendColorSensorCorrectionData),
              "Send color sensor correction data.");
  } else {
    putRecord(hid, body, "calibrationData", MDCSSG2CalibrationDataFromJson,
              QUILBY_DEVICE_FUNCTION(CSSG2H_SetColorSensorCalibData),
              "Set color sensor calib data.");
    putRecord(hid, body, "correctionData", MDCSSG2CorrectionDataFromJson,
              QUILBY_DEVICE_FUNCTION(CSSG2H_SetColorSensorCorrectionData),
              "Set color sensor correction data.");
  }
  putRecord(hid, body, "luminanceLevelCorrection", MDCSSG2LuminanceLevelCorrectionParamsFromJson,
            QUILBY_DEVICE_FUNCTION(CSSG2H_SetLuminanceLevelCorrectionParams),
            "Set luminance level correction params.");
  putRecord(hid, body, "normalizedMeasurement", R2XC_ValueRGBKFromJson,
            QUILBY_DEVICE_FUNCTION(CSSG2H_R2XCSetNormalizedMeasurementValue),
            "Set normalized measurement value.");
  putRecord(hid, body, "reference", R2XC_RefParamFromJson,
            QUILBY_DEVICE_FUNCTION(CSSG2H_R2XCSetRefParam), "Set ref param.");
  putRecord(hid, body, "referenceTone", R2XC_RefToneParamFromJson,
            QUILBY_DEVICE_FUNCTION(CSSG2H_R2XCSetRefToneParam), "Set ref tone param.");
  putRecord(hid, body, "toneCorrection", R2XC_ToneCorrectionParamFromJson,
            QUILBY_DEVICE_FUNCTION(CSSG2H_R2XCSetToneCorrectionParam),
            "Set tone correction param.");
  return BridgeResultOK();
}

}  // namespace vesk::bridge
