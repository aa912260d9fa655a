// libmSensor_x64.so: the built-in sensor of a monitor, reached through the monitor's HID handle.
#include "src/implementations.h"
#include "src/measurement.h"
#include "src/records.h"
#include "src/simulator.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace quilbysim::impl {
namespace {

// The frame of the EmError functions: the HID handle must name a monitor with a built-in sensor,
// and a monitor whose critical section another program holds refuses every call.
template <class Body>
EmError onHid(Call& call, void* hid, Body body) {
  Monitor* monitor = call.monitorByHid(hid);
  return call.status([&]() -> EmError {
    if (!hid) return EMERR_INVALID_ARGUMENT;
    if (!monitor) return EMERR_MONITOR_CONNECTION_ERROR;
    if (monitor->criticalSection == Owner::Other) return EMERR_REJECTED_BY_CRITICAL_SECTION;
    Sensor* sensor = call.world().builtInSensor(*monitor);
    if (!sensor) return EMERR_SENSOR_CONNECTION_ERROR;
    return body(*monitor, *sensor);
  });
}

// One reading of the built-in sensor handed to `use`, or why there is none.
template <class Use>
EmError withReading(Call& call, void* hid, bool outputsGiven, Use use) {
  return onHid(call, hid, [&](Monitor& monitor, Sensor& sensor) -> EmError {
    if (!outputsGiven) return EMERR_INVALID_BUFFER;
    if (const EmError problem = readiness(sensor)) return problem;
    use(monitor, measure(call.world(), sensor, call.simulator().noise()));
    return EMERR_OK;
  });
}

template <class Record>
EmError getRecord(const char* function, void* hid, Record* out, Record DataSet::*member,
                  bool luminanceLevel = false) {
  Call call(function, {form::hid(hid)});
  return onHid(call, hid, [&](Monitor& monitor, Sensor&) -> EmError {
    if (!out) return EMERR_INVALID_BUFFER;
    if (luminanceLevel && !monitor.supportsLuminanceLevelCorrection) return EMERR_UNSUPPORTED;
    *out = monitor.selectedDataSet().*member;
    return EMERR_OK;
  });
}

template <class Record>
EmError setRecord(const char* function, void* hid, const Record* in, Record DataSet::*member,
                  const records::Layout& layout, bool luminanceLevel = false) {
  Call call(function, {form::hid(hid), form::record(in, layout)});
  return onHid(call, hid, [&](Monitor& monitor, Sensor&) -> EmError {
    if (!in) return EMERR_INVALID_BUFFER;
    if (luminanceLevel && !monitor.supportsLuminanceLevelCorrection) return EMERR_UNSUPPORTED;
    if (!records::finite(in, layout)) return EMERR_INVALID_DATA;
    monitor.selectedDataSet().*member = *in;
    return EMERR_OK;
  });
}

int supported(const char* function, void* hid, bool Monitor::*flag) {
  Call call(function, {form::hid(hid)});
  const Monitor* monitor = call.monitorByHid(hid);
  return call.value(0, form::integer, [&] { return monitor && monitor->*flag ? 1 : 0; });
}

}  // namespace

// ---- Measurements -------------------------------------------------------------------------------

EmError CSSG2H_MeasureRGB(void* hid, double* R, double* G, double* B) {
  Call call("CSSG2H_MeasureRGB", {form::hid(hid)});
  return withReading(call, hid, R && G && B, [&](const Monitor& monitor, const Reading& reading) {
    const Vec3 shares = primaryShares(monitor, reading);
    *R = shares[0];
    *G = shares[1];
    *B = shares[2];
  });
}

EmError CSSG2H_GetIRValue(void* hid, double* ir, uint64_t* extra) {
  Call call("CSSG2H_GetIRValue", {form::hid(hid)});
  return withReading(call, hid, ir && extra, [&](const Monitor& monitor, const Reading& reading) {
    *ir = infrared(call.world(), reading);
    // The further value is the sensor's measurement count, which tells readings apart.
    *extra = call.world().builtInSensor(monitor)->state.measurements;
  });
}

EmError CSSG2H_MeasureNotCorrelatedXYZCount(void* hid, double* X, double* Y, double* Z) {
  Call call("CSSG2H_MeasureNotCorrelatedXYZCount", {form::hid(hid)});
  return withReading(call, hid, X && Y && Z, [&](const Monitor&, const Reading& reading) {
    // Counts are whole numbers, as the sensor's converter delivers them.
    *X = std::round(reading.counts[0]);
    *Y = std::round(reading.counts[1]);
    *Z = std::round(reading.counts[2]);
  });
}

// ---- Data index ---------------------------------------------------------------------------------

int32_t CSSG2H_SetColorSensorDataIndex(void* hid, uint32_t index, uint32_t reserved) {
  // Catches everything itself: the table's generic guard would answer 0, "accepted".
  try {
    Call call("CSSG2H_SetColorSensorDataIndex",
              {form::hid(hid), form::integer(index), form::integer(reserved)});
    Monitor* monitor = call.monitorByHid(hid);
    return call.value<int32_t>(-1, form::integer, [&]() -> int32_t {
      if (!monitor || reserved != 0 || monitor->criticalSection == Owner::Other) return -1;
      if (monitor->dataIndexByFlags || !monitor->dataSet(index)) return -1;
      monitor->dataIndex = index;
      return 0;
    });
  } catch (...) {
    return -1;
  }
}

EmError CSSG2H_SetColorSensorDataIndex2(void* hid, uint32_t invertedFlag, uint32_t priorityIs2) {
  Call call("CSSG2H_SetColorSensorDataIndex2",
            {form::hid(hid), form::integer(invertedFlag), form::integer(priorityIs2)});
  return onHid(call, hid, [&](Monitor& monitor, Sensor&) -> EmError {
    if (invertedFlag > 1 || priorityIs2 > 1) return EMERR_INVALID_ARGUMENT;
    // The user set when inverted, else the factory set of the priority.
    const uint32_t index = invertedFlag ? 3 : (priorityIs2 ? 1 : 0);
    if (!monitor.dataSet(index)) return EMERR_OUT_OF_RANGE;
    monitor.dataIndex = index;
    return EMERR_OK;
  });
}

// ---- Criterion sensor description ---------------------------------------------------------------

EmError CSSG2H_GetCriterionSensorDescription(void* hid,
                                             MDCSSG2CriterionSensorDescription* description,
                                             int32_t* deviceID) {
  Call call("CSSG2H_GetCriterionSensorDescription", {form::hid(hid)});
  return onHid(call, hid, [&](Monitor& monitor, Sensor&) -> EmError {
    if (!description || !deviceID) return EMERR_INVALID_BUFFER;
    // `deviceID` may point into `description`: the record first, the same id after it.
    const MDCSSG2CriterionSensorDescription stored = monitor.selectedDataSet().criterionSensor;
    *description = stored;
    *deviceID = stored.deviceID;
    return EMERR_OK;
  });
}

EmError CSSG2H_SetCriterionSensorDescription(void* hid,
                                             const MDCSSG2CriterionSensorDescription* description) {
  Call call("CSSG2H_SetCriterionSensorDescription",
            {form::hid(hid), form::record(description, records::kCriterionSensorDescription)});
  return onHid(call, hid, [&](Monitor& monitor, Sensor&) -> EmError {
    if (!description) return EMERR_INVALID_BUFFER;
    if (strnlen(description->serial, MD_REFERENCE_SERIAL_SIZE) == MD_REFERENCE_SERIAL_SIZE) {
      return EMERR_INVALID_DATA;
    }
    MDCSSG2CriterionSensorDescription stored{};
    stored.date = description->date;
    stored.deviceID = description->deviceID;
    std::memcpy(stored.serial, description->serial, sizeof stored.serial);
    monitor.selectedDataSet().criterionSensor = stored;
    return EMERR_OK;
  });
}

// ---- Presence detection -------------------------------------------------------------------------

EmError CSSG2H_GetHumanDetectOnOff(void* hid, uint8_t* onOff) {
  Call call("CSSG2H_GetHumanDetectOnOff", {form::hid(hid)});
  return onHid(call, hid, [&](Monitor& monitor, Sensor&) -> EmError {
    if (!onOff) return EMERR_INVALID_BUFFER;
    if (!monitor.presence.supported) return EMERR_UNSUPPORTED;
    *onOff = monitor.presence.on ? 1 : 0;
    return EMERR_OK;
  });
}

EmError CSSG2H_SetHumanDetectOnOff(void* hid, uint8_t onOff) {
  Call call("CSSG2H_SetHumanDetectOnOff", {form::hid(hid), form::integer(onOff)});
  return onHid(call, hid, [&](Monitor& monitor, Sensor&) -> EmError {
    if (!monitor.presence.supported) return EMERR_UNSUPPORTED;
    if (onOff > 1) return EMERR_OUT_OF_RANGE;
    monitor.presence.on = onOff == 1;
    return EMERR_OK;
  });
}

EmError CSSG2H_GetHumanDetectMode(void* hid, uint32_t* mode) {
  Call call("CSSG2H_GetHumanDetectMode", {form::hid(hid)});
  return onHid(call, hid, [&](Monitor& monitor, Sensor&) -> EmError {
    if (!mode) return EMERR_INVALID_BUFFER;
    if (!monitor.presence.supported) return EMERR_UNSUPPORTED;
    *mode = monitor.presence.mode;
    return EMERR_OK;
  });
}

EmError CSSG2H_SetHumanDetectMode(void* hid, uint32_t mode) {
  Call call("CSSG2H_SetHumanDetectMode", {form::hid(hid), form::integer(mode)});
  return onHid(call, hid, [&](Monitor& monitor, Sensor&) -> EmError {
    if (!monitor.presence.supported) return EMERR_UNSUPPORTED;
    if (mode >= monitor.presence.modes) return EMERR_OUT_OF_RANGE;
    monitor.presence.mode = mode;
    return EMERR_OK;
  });
}

// ---- Correction matrices ------------------------------------------------------------------------
// One storage of 8 rows serves both forms: the 3x3 matrix is its first three rows, and writing a
// 3x3 matrix clears the other five, so that it acts alone.

int CSSG2H_SupportedXYZCorrectionMatrix8DXT(void* hid) {
  return supported("CSSG2H_SupportedXYZCorrectionMatrix8DXT", hid, &Monitor::supports8x3);
}

EmError CSSG2H_GetXYZCorrectionMatrix(void* hid, double matrix[9]) {
  Call call("CSSG2H_GetXYZCorrectionMatrix", {form::hid(hid)});
  return onHid(call, hid, [&](Monitor& monitor, Sensor&) -> EmError {
    if (!matrix) return EMERR_INVALID_BUFFER;
    const TermMatrix& stored = monitor.selectedDataSet().matrix;
    std::copy(stored.begin(), stored.begin() + 9, matrix);
    return EMERR_OK;
  });
}

EmError CSSG2H_SetXYZCorrectionMatrix(void* hid, const double matrix[9]) {
  Call call("CSSG2H_SetXYZCorrectionMatrix", {form::hid(hid), form::doubles(matrix, 9)});
  return onHid(call, hid, [&](Monitor& monitor, Sensor&) -> EmError {
    if (!matrix) return EMERR_INVALID_BUFFER;
    if (!records::allFinite(matrix, 9)) return EMERR_INVALID_DATA;
    TermMatrix& stored = monitor.selectedDataSet().matrix;
    stored.fill(0.0);
    std::copy(matrix, matrix + 9, stored.begin());
    return EMERR_OK;
  });
}

EmError CSSG2H_GetXYZCorrectionMatrix8DXT(void* hid, double matrix[24]) {
  Call call("CSSG2H_GetXYZCorrectionMatrix8DXT", {form::hid(hid)});
  return onHid(call, hid, [&](Monitor& monitor, Sensor&) -> EmError {
    if (!matrix) return EMERR_INVALID_BUFFER;
    if (!monitor.supports8x3) return EMERR_UNSUPPORTED;
    const TermMatrix& stored = monitor.selectedDataSet().matrix;
    std::copy(stored.begin(), stored.end(), matrix);
    return EMERR_OK;
  });
}

EmError CSSG2H_SetXYZCorrectionMatrix8DXT(void* hid, const double matrix[24]) {
  Call call("CSSG2H_SetXYZCorrectionMatrix8DXT", {form::hid(hid), form::doubles(matrix, 24)});
  return onHid(call, hid, [&](Monitor& monitor, Sensor&) -> EmError {
    if (!matrix) return EMERR_INVALID_BUFFER;
    if (!monitor.supports8x3) return EMERR_UNSUPPORTED;
    if (!records::allFinite(matrix, 24)) return EMERR_INVALID_DATA;
    std::copy(matrix, matrix + 24, monitor.selectedDataSet().matrix.begin());
    return EMERR_OK;
  });
}

// ---- Calibration and correlation records of the selected data set -------------------------------
// Set keeps a record in the library's copy of the data set and Send writes it to the sensor; the
// simulator's sensor and library share one copy, so both store.

EmError CSSG2H_GetColorSensorCalibData(void* hid, MDCSSG2CalibrationData* data) {
  return getRecord("CSSG2H_GetColorSensorCalibData", hid, data, &DataSet::calibrationData);
}

EmError CSSG2H_SetColorSensorCalibData(void* hid, const MDCSSG2CalibrationData* data) {
  return setRecord("CSSG2H_SetColorSensorCalibData", hid, data, &DataSet::calibrationData,
                   records::kCalibrationData);
}

EmError CSSG2H_SendColorSensorCalibData(void* hid, const MDCSSG2CalibrationData* data) {
  return setRecord("CSSG2H_SendColorSensorCalibData", hid, data, &DataSet::calibrationData,
                   records::kCalibrationData);
}

EmError CSSG2H_GetColorSensorCorrectionData(void* hid, MDCSSG2CorrectionData* data) {
  return getRecord("CSSG2H_GetColorSensorCorrectionData", hid, data, &DataSet::correctionData);
}

EmError CSSG2H_SetColorSensorCorrectionData(void* hid, const MDCSSG2CorrectionData* data) {
  return setRecord("CSSG2H_SetColorSensorCorrectionData", hid, data, &DataSet::correctionData,
                   records::kCorrectionData);
}

EmError CSSG2H_SendColorSensorCorrectionData(void* hid, const MDCSSG2CorrectionData* data) {
  return setRecord("CSSG2H_SendColorSensorCorrectionData", hid, data, &DataSet::correctionData,
                   records::kCorrectionData);
}

int CSSG2H_SupportedLuminanceLevelCorrectionParams(void* hid) {
  return supported("CSSG2H_SupportedLuminanceLevelCorrectionParams", hid,
                   &Monitor::supportsLuminanceLevelCorrection);
}

EmError CSSG2H_GetLuminanceLevelCorrectionParams(void* hid,
                                                 MDCSSG2LuminanceLevelCorrectionParams* params) {
  return getRecord("CSSG2H_GetLuminanceLevelCorrectionParams", hid, params,
                   &DataSet::luminanceLevelCorrection, true);
}

EmError CSSG2H_SetLuminanceLevelCorrectionParams(
    void* hid, const MDCSSG2LuminanceLevelCorrectionParams* params) {
  return setRecord("CSSG2H_SetLuminanceLevelCorrectionParams", hid, params,
                   &DataSet::luminanceLevelCorrection, records::kLuminanceLevelCorrectionParams,
                   true);
}

EmError CSSG2H_R2XCGetNormalizedMeasurementValue(void* hid, R2XC_ValueRGBK* value) {
  return getRecord("CSSG2H_R2XCGetNormalizedMeasurementValue", hid, value,
                   &DataSet::normalizedMeasurement);
}

EmError CSSG2H_R2XCSetNormalizedMeasurementValue(void* hid, const R2XC_ValueRGBK* value) {
  return setRecord("CSSG2H_R2XCSetNormalizedMeasurementValue", hid, value,
                   &DataSet::normalizedMeasurement, records::kValueRGBK);
}

EmError CSSG2H_R2XCGetRefParam(void* hid, R2XC_RefParam* param) {
  return getRecord("CSSG2H_R2XCGetRefParam", hid, param, &DataSet::refParam);
}

EmError CSSG2H_R2XCSetRefParam(void* hid, const R2XC_RefParam* param) {
  return setRecord("CSSG2H_R2XCSetRefParam", hid, param, &DataSet::refParam, records::kRefParam);
}

EmError CSSG2H_R2XCGetRefToneParam(void* hid, R2XC_RefToneParam* param) {
  return getRecord("CSSG2H_R2XCGetRefToneParam", hid, param, &DataSet::refToneParam);
}

EmError CSSG2H_R2XCSetRefToneParam(void* hid, const R2XC_RefToneParam* param) {
  return setRecord("CSSG2H_R2XCSetRefToneParam", hid, param, &DataSet::refToneParam,
                   records::kRefToneParam);
}

EmError CSSG2H_R2XCGetToneCorrectionParam(void* hid, R2XC_ToneCorrectionParam* param) {
  return getRecord("CSSG2H_R2XCGetToneCorrectionParam", hid, param, &DataSet::toneCorrection);
}

EmError CSSG2H_R2XCSetToneCorrectionParam(void* hid, const R2XC_ToneCorrectionParam* param) {
  return setRecord("CSSG2H_R2XCSetToneCorrectionParam", hid, param, &DataSet::toneCorrection,
                   records::kToneCorrectionParam);
}

}  // namespace quilbysim::impl
