// The functions of the six simulated device libraries, and the table through which each library
// reaches their implementations in libquilbysim.so.
//
// Every simulated device library is a set of forwarders: each exported C function calls the
// function of the same name in the table that libquilbysim.so hands out, so that the whole device
// world (state, journal, failures) lives in one object shared by every library of the process.
//
// Each list below names one library's functions as X(Result, Name, (parameters), (arguments)).
// The table's members take their types from the public headers (decltype of the declaration), so
// a list entry that disagrees with its header, or an implementation that disagrees with its
// entry, fails to compile.
//
// The OPTIONAL lists hold the functions the plug-in looks up as optional; the variant build of
// the libraries leaves exactly these out.
#ifndef QUILBY_SIM_DEVICES_DEVICE_FUNCTIONS_H
#define QUILBY_SIM_DEVICES_DEVICE_FUNCTIONS_H

#include "quilby/color_sensor.h"
#include "quilby/correction.h"
#include "quilby/logging.h"
#include "quilby/measurement_device.h"
#include "quilby/monitor_control.h"
#include "quilby/usb_enumeration.h"

#define QUILBY_SIM_EXPORT __attribute__((visibility("default")))

// ---- libmeasurementdevice_x64.so ----------------------------------------------------------------

#define QUILBY_SIM_MEASUREMENT_DEVICE_FUNCTIONS(X)                                                \
  X(EmError, MDInitDeviceLibrariesDirectoryPath, (const char* directory), (directory))            \
  X(EmError, MDLaunchSubprocess, (const char* executablePath, const char* applicationName),       \
    (executablePath, applicationName))                                                            \
  X(EmError, MDQuitSubprocess, (void), ())                                                        \
  X(int, MDSupportsSubprocess, (const MDDeviceID* ids, uint32_t count), (ids, count))             \
  X(EmError, MDEnumConnectedDevices,                                                              \
    (uint32_t index, MDDeviceID* deviceID, uint64_t* individualID),                               \
    (index, deviceID, individualID))                                                              \
  X(const char*, MDGetNameFromDeviceID, (MDDeviceID deviceID), (deviceID))                        \
  X(EmError, MDOpenXRiteControlPanel, (void), ())                                                 \
  X(EmError, MDOpen, (MDDeviceID deviceID, MDHandle* handle), (deviceID, handle))                 \
  X(EmError, MDOpenWithHIDHandle, (void* hid, MDHandle* handle), (hid, handle))                   \
  X(EmError, MDOpenWithIndividualID, (uint64_t individualID, MDHandle* handle),                   \
    (individualID, handle))                                                                       \
  X(EmError, MDClose, (MDHandle* handle), (handle))                                               \
  X(void*, MDGetHIDHandle, (MDHandle handle), (handle))                                           \
  X(MDDeviceID, MDGetDeviceID, (MDHandle handle), (handle))                                       \
  X(const char*, MDGetName, (MDHandle handle), (handle))                                          \
  X(const char*, MDGetSerialNumber, (MDHandle handle), (handle))                                  \
  X(int, MDIsValidConnection, (MDHandle handle), (handle))                                        \
  X(int, MDIsCalibrationNecessary, (MDHandle handle), (handle))                                   \
  X(int, MDSupportsAmbient, (MDHandle handle), (handle))                                          \
  X(int, MDSupportsReflectance, (MDHandle handle), (handle))                                      \
  X(int, MDHasArm, (MDHandle handle), (handle))                                                   \
  X(int, MDHasMultipleSensorPosition, (MDHandle handle), (handle))                                \
  X(EmError, MDSpectralRadianceFixedData,                                                         \
    (MDHandle handle, uint64_t* min, uint64_t* max, uint64_t* bandWidth, uint64_t* count),        \
    (handle, min, max, bandWidth, count))                                                         \
  X(EmError, MDSetMode, (MDHandle handle, uint32_t mode, uint32_t observerKey),                   \
    (handle, mode, observerKey))                                                                  \
  X(EmError, MDCalibrate, (MDHandle handle), (handle))                                            \
  X(EmError, MDTakeOutArm, (MDHandle handle), (handle))                                           \
  X(EmError, MDTakeInArm, (MDHandle handle), (handle))                                            \
  X(EmError, MDGetSensorPosition, (MDHandle handle, uint32_t* position), (handle, position))      \
  X(EmError, MDMeasureXYZ2, (MDHandle handle, MDColor* raw, MDColor* corrected),                  \
    (handle, raw, corrected))                                                                     \
  X(EmError, MDEnumCorrelationCorrection,                                                         \
    (MDHandle handle, uint32_t index, MDDeviceID* referenceDeviceID,                              \
     char referenceSerial[MD_REFERENCE_SERIAL_SIZE],                                              \
     char monitorProduct[MD_CORRELATION_PRODUCT_SIZE],                                            \
     char monitorSerial[MD_CORRELATION_SERIAL_SIZE], int64_t* id),                                \
    (handle, index, referenceDeviceID, referenceSerial, monitorProduct, monitorSerial, id))       \
  X(EmError, MDApplyCorrelationCorrection, (MDHandle handle, uint64_t id), (handle, id))          \
  X(EmError, MDApplyCorrelationCorrectionWithRecalcLuminanceLevelCorrection,                      \
    (MDHandle handle, uint64_t id, MDColor targetWhite), (handle, id, targetWhite))               \
  X(EmError, MDReleaseCorrelationCorrection, (MDHandle handle), (handle))                         \
  X(EmError, MDClear9PointsCorrelationCorrection, (MDHandle handle), (handle))                    \
  X(EmError, MDSetCorrection, (MDHandle handle, const double matrix[9]), (handle, matrix))        \
  X(EmError, MDClearCorrection, (MDHandle handle), (handle))                                      \
  X(EmError, MDGetExCorrection, (MDHandle handle, double matrix[9]), (handle, matrix))            \
  X(EmError, MDSetExCorrection, (MDHandle handle, const double matrix[9]), (handle, matrix))      \
  X(EmError, MDEnumCorrelationMatrix,                                                             \
    (MDHandle handle, const char* product, uint16_t panelRevision, uint32_t index,                \
     MDDeviceID* referenceDeviceID, char referenceSerial[MD_REFERENCE_SERIAL_SIZE], int64_t* id), \
    (handle, product, panelRevision, index, referenceDeviceID, referenceSerial, id))              \
  X(EmError, MDApplyCorrelationMatrix, (MDHandle handle, uint64_t id), (handle, id))              \
  X(EmError, MDReleaseCorrelationMatrix, (MDHandle handle), (handle))                             \
  X(int, MDHasExteriorLight, (MDHandle handle), (handle))                                         \
  X(EmError, MDGetExteriorLightingState, (MDHandle handle, uint32_t* state), (handle, state))     \
  X(EmError, MDSetExteriorLightingState, (MDHandle handle, uint32_t state), (handle, state))      \
  X(EmError, MDGetParameterDescription,                                                           \
    (MDHandle handle, char description[MD_PARAMETER_DESCRIPTION_SIZE]), (handle, description))   \
  X(EmError, MDSetParameterDescription, (MDHandle handle, const char* description),               \
    (handle, description))                                                                        \
  X(EmError, MDGetTargetMarker, (MDHandle handle, uint32_t* on), (handle, on))                    \
  X(EmError, MDSetTargetMarker, (MDHandle handle, uint32_t on), (handle, on))                     \
  X(EmError, MDGetDeviceOptionValue, (MDHandle handle, uint32_t option, int32_t* value),          \
    (handle, option, value))                                                                      \
  X(EmError, MDSetDeviceOptionValue, (MDHandle handle, uint32_t option, int32_t value),           \
    (handle, option, value))                                                                      \
  X(EmError, MDGetIFSBrightCorrectParamUpdateEnabled, (MDHandle handle, uint32_t* enabled),       \
    (handle, enabled))                                                                            \
  X(EmError, MDSetIFSBrightCorrectParamUpdateEnabled, (MDHandle handle, uint32_t enabled),        \
    (handle, enabled))                                                                            \
  X(EmError, MDCalcIFSTempCorrectParam, (MDHandle handle), (handle))

#define QUILBY_SIM_MEASUREMENT_DEVICE_OPTIONAL_FUNCTIONS(X)                                       \
  X(EmError, MDMeasureRaw, (MDHandle handle, double raw[3]), (handle, raw))                       \
  X(int, MDHasTargetMarker, (MDHandle handle), (handle))

// ---- libemc_x64.so ------------------------------------------------------------------------------

#define QUILBY_SIM_MONITOR_CONTROL_FUNCTIONS(X)                                                   \
  X(EmError, EmCtrlGetSerialProduct,                                                              \
    (uint32_t index, char serial[EMCTRL_SERIAL_SIZE], char product[EMCTRL_PRODUCT_SIZE]),         \
    (index, serial, product))                                                                     \
  X(EmError, EmCtrlGetHIDHandle, (const char* serial, const char* product, void** hid),           \
    (serial, product, hid))                                                                       \
  X(uint16_t, EmCtrlGetPanelRevision, (const char* serial, const char* product),                  \
    (serial, product))                                                                            \
  X(int, EmCtrlSupportedDUEPriority, (const char* serial, const char* product), (serial, product)) \
  X(EmError, EmCtrlGetDUEPriority,                                                                \
    (const char* serial, const char* product, EmCtrlDUEPriority* priority),                       \
    (serial, product, priority))

#define QUILBY_SIM_MONITOR_CONTROL_OPTIONAL_FUNCTIONS(X)                                          \
  X(EmError, EmCtrlLockMonitor, (const char* serial, const char* product), (serial, product))     \
  X(EmError, EmCtrlUnlockMonitor, (const char* serial, const char* product), (serial, product))

// ---- libmSensor_x64.so --------------------------------------------------------------------------

#define QUILBY_SIM_COLOR_SENSOR_FUNCTIONS(X)                                                      \
  X(EmError, CSSG2H_MeasureRGB, (void* hid, double* R, double* G, double* B), (hid, R, G, B))     \
  X(EmError, CSSG2H_MeasureNotCorrelatedXYZCount, (void* hid, double* X, double* Y, double* Z),   \
    (hid, X, Y, Z))                                                                               \
  X(int32_t, CSSG2H_SetColorSensorDataIndex, (void* hid, uint32_t index, uint32_t reserved),      \
    (hid, index, reserved))                                                                       \
  X(EmError, CSSG2H_SetColorSensorDataIndex2,                                                     \
    (void* hid, uint32_t invertedFlag, uint32_t priorityIs2), (hid, invertedFlag, priorityIs2))   \
  X(EmError, CSSG2H_GetCriterionSensorDescription,                                                \
    (void* hid, MDCSSG2CriterionSensorDescription* description, int32_t* deviceID),               \
    (hid, description, deviceID))                                                                 \
  X(EmError, CSSG2H_SetCriterionSensorDescription,                                                \
    (void* hid, const MDCSSG2CriterionSensorDescription* description), (hid, description))        \
  X(EmError, CSSG2H_GetHumanDetectOnOff, (void* hid, uint8_t* onOff), (hid, onOff))               \
  X(EmError, CSSG2H_SetHumanDetectOnOff, (void* hid, uint8_t onOff), (hid, onOff))                \
  X(EmError, CSSG2H_GetHumanDetectMode, (void* hid, uint32_t* mode), (hid, mode))                 \
  X(EmError, CSSG2H_SetHumanDetectMode, (void* hid, uint32_t mode), (hid, mode))                  \
  X(int, CSSG2H_SupportedXYZCorrectionMatrix8DXT, (void* hid), (hid))                             \
  X(EmError, CSSG2H_GetXYZCorrectionMatrix, (void* hid, double matrix[9]), (hid, matrix))         \
  X(EmError, CSSG2H_SetXYZCorrectionMatrix, (void* hid, const double matrix[9]), (hid, matrix))   \
  X(EmError, CSSG2H_GetXYZCorrectionMatrix8DXT, (void* hid, double matrix[24]), (hid, matrix))    \
  X(EmError, CSSG2H_SetXYZCorrectionMatrix8DXT, (void* hid, const double matrix[24]),             \
    (hid, matrix))                                                                                \
  X(EmError, CSSG2H_GetColorSensorCalibData, (void* hid, MDCSSG2CalibrationData* data),           \
    (hid, data))                                                                                  \
  X(EmError, CSSG2H_SetColorSensorCalibData, (void* hid, const MDCSSG2CalibrationData* data),     \
    (hid, data))                                                                                  \
  X(EmError, CSSG2H_SendColorSensorCalibData, (void* hid, const MDCSSG2CalibrationData* data),    \
    (hid, data))                                                                                  \
  X(EmError, CSSG2H_GetColorSensorCorrectionData, (void* hid, MDCSSG2CorrectionData* data),       \
    (hid, data))                                                                                  \
  X(EmError, CSSG2H_SetColorSensorCorrectionData, (void* hid, const MDCSSG2CorrectionData* data), \
    (hid, data))                                                                                  \
  X(EmError, CSSG2H_SendColorSensorCorrectionData,                                                \
    (void* hid, const MDCSSG2CorrectionData* data), (hid, data))                                  \
  X(int, CSSG2H_SupportedLuminanceLevelCorrectionParams, (void* hid), (hid))                      \
  X(EmError, CSSG2H_GetLuminanceLevelCorrectionParams,                                            \
    (void* hid, MDCSSG2LuminanceLevelCorrectionParams* params), (hid, params))                    \
  X(EmError, CSSG2H_SetLuminanceLevelCorrectionParams,                                            \
    (void* hid, const MDCSSG2LuminanceLevelCorrectionParams* params), (hid, params))              \
  X(EmError, CSSG2H_R2XCGetNormalizedMeasurementValue, (void* hid, R2XC_ValueRGBK* value),        \
    (hid, value))                                                                                 \
  X(EmError, CSSG2H_R2XCSetNormalizedMeasurementValue, (void* hid, const R2XC_ValueRGBK* value),  \
    (hid, value))                                                                                 \
  X(EmError, CSSG2H_R2XCGetRefParam, (void* hid, R2XC_RefParam* param), (hid, param))             \
  X(EmError, CSSG2H_R2XCSetRefParam, (void* hid, const R2XC_RefParam* param), (hid, param))       \
  X(EmError, CSSG2H_R2XCGetRefToneParam, (void* hid, R2XC_RefToneParam* param), (hid, param))     \
  X(EmError, CSSG2H_R2XCSetRefToneParam, (void* hid, const R2XC_RefToneParam* param),             \
    (hid, param))                                                                                 \
  X(EmError, CSSG2H_R2XCGetToneCorrectionParam, (void* hid, R2XC_ToneCorrectionParam* param),     \
    (hid, param))                                                                                 \
  X(EmError, CSSG2H_R2XCSetToneCorrectionParam,                                                   \
    (void* hid, const R2XC_ToneCorrectionParam* param), (hid, param))

#define QUILBY_SIM_COLOR_SENSOR_OPTIONAL_FUNCTIONS(X)                                             \
  X(EmError, CSSG2H_GetIRValue, (void* hid, double* ir, uint64_t* extra), (hid, ir, extra))

// ---- libhalvex_x64.so ---------------------------------------------------------------------------

#define QUILBY_SIM_USB_ENUMERATION_FUNCTIONS(X)                                                   \
  X(void*, HvxCreateUSBDeviceSnapshot, (void), ())                                                \
  X(void*, HvxEnumUSBDevice, (void* snapshot, uint32_t index), (snapshot, index))                 \
  X(const char*, HvxGetUSBDeviceName, (void* device), (device))                                   \
  X(void, HvxReleaseSnapshot, (void* snapshot), (snapshot))

// ---- libmdcorrector_x64.so ----------------------------------------------------------------------

#define QUILBY_SIM_CORRECTION_FUNCTIONS(X)                                                        \
  X(EmError, MDAddCSSG2CorrelationDataEx,                                                         \
    (const char* monitorSerial, const char* monitorProduct, MDDeviceID referenceDeviceID,         \
     const char* referenceSerial, const MDCSSG2CorrelationDataEx* data, int64_t* id),             \
    (monitorSerial, monitorProduct, referenceDeviceID, referenceSerial, data, id))                \
  X(EmError, MDAddCSSG2CorrelationDataWithDateEx,                                                 \
    (const char* monitorSerial, const char* monitorProduct, MDDeviceID referenceDeviceID,         \
     const char* referenceSerial, const MDCSSG2CorrelationDataEx* data, const MDDate* date,       \
     int64_t* id),                                                                                \
    (monitorSerial, monitorProduct, referenceDeviceID, referenceSerial, data, date, id))          \
  X(EmError, MDGetCSSG2CorrelationDataEx, (int64_t id, MDCSSG2CorrelationDataEx* data),           \
    (id, data))                                                                                   \
  X(EmError, MDAddIFSv3CorrelationData,                                                           \
    (const char* monitorSerial, const char* monitorProduct, MDDeviceID referenceDeviceID,         \
     const char* referenceSerial, const MDIFSv3CorrelationData* data, int64_t* id),               \
    (monitorSerial, monitorProduct, referenceDeviceID, referenceSerial, data, id))                \
  X(EmError, MDGetIFSv3CorrelationData, (int64_t id, MDIFSv3CorrelationData* data), (id, data))   \
  X(EmError, MDAddCorrelationMatrix,                                                              \
    (const char* product, uint16_t panelRevision, MDDeviceID referenceDeviceID,                   \
     const char* referenceSerial, const double* matrix, uint32_t rows, int64_t* id),              \
    (product, panelRevision, referenceDeviceID, referenceSerial, matrix, rows, id))               \
  X(EmError, MDEnumCorrelationInfo,                                                               \
    (uint32_t index, MDDeviceID* referenceDeviceID,                                               \
     char referenceSerial[MD_REFERENCE_SERIAL_SIZE],                                              \
     char monitorProduct[MD_CORRELATION_PRODUCT_SIZE],                                            \
     char monitorSerial[MD_CORRELATION_SERIAL_SIZE], int64_t* id),                                \
    (index, referenceDeviceID, referenceSerial, monitorProduct, monitorSerial, id))               \
  X(EmError, MDEnumCorrelationMatrixInfo,                                                         \
    (const char* product, uint16_t panelRevision, uint32_t index, MDDeviceID* referenceDeviceID,  \
     char referenceSerial[MD_REFERENCE_SERIAL_SIZE], int64_t* id),                                \
    (product, panelRevision, index, referenceDeviceID, referenceSerial, id))                      \
  X(EmError, MDGetCorrelationDataDate, (int64_t id, MDDate* date), (id, date))                    \
  X(EmError, MDGetCorrelationMatrixDate, (int64_t id, MDDate* date), (id, date))                  \
  X(EmError, MDGetLatestCorrelationMatrixID,                                                      \
    (const char* product, uint16_t panelRevision, int64_t* id), (product, panelRevision, id))

// ---- libmirelto2_x64.so -------------------------------------------------------------------------

#define QUILBY_SIM_LOGGING_FUNCTIONS(X)                                                           \
  X(void*, mirelto_get_logger, (void), ())                                                        \
  X(void, mirelto_log, (void* logger, const char* name, MireltoLevel level, const char* text),    \
    (logger, name, level, text))

// ---- Every function ----------------------------------------------------------------------------

#define QUILBY_SIM_ALL_DEVICE_FUNCTIONS(X)                                                        \
  QUILBY_SIM_MEASUREMENT_DEVICE_FUNCTIONS(X)                                                      \
  QUILBY_SIM_MEASUREMENT_DEVICE_OPTIONAL_FUNCTIONS(X)                                             \
  QUILBY_SIM_MONITOR_CONTROL_FUNCTIONS(X)                                                         \
  QUILBY_SIM_MONITOR_CONTROL_OPTIONAL_FUNCTIONS(X)                                                \
  QUILBY_SIM_COLOR_SENSOR_FUNCTIONS(X)                                                            \
  QUILBY_SIM_COLOR_SENSOR_OPTIONAL_FUNCTIONS(X)                                                   \
  QUILBY_SIM_USB_ENUMERATION_FUNCTIONS(X)                                                         \
  QUILBY_SIM_CORRECTION_FUNCTIONS(X)                                                              \
  QUILBY_SIM_LOGGING_FUNCTIONS(X)

#ifdef __cplusplus

// One pointer per device function, typed by the function's declaration in the public headers.
struct QuilbySimDeviceTable {
#define QUILBY_SIM_TABLE_MEMBER(Result, Name, Parameters, Arguments) decltype(&::Name) Name;
  QUILBY_SIM_ALL_DEVICE_FUNCTIONS(QUILBY_SIM_TABLE_MEMBER)
#undef QUILBY_SIM_TABLE_MEMBER
};

extern "C" {
// The implementations of every device function. Exported by libquilbysim.so for the six device
// libraries only; the returned table is static and never NULL.
QUILBY_SIM_EXPORT const QuilbySimDeviceTable* QuilbySimDeviceFunctions(void);
}

// Defines the exported C function `Name` as a call of its implementation. The device libraries
// use it for every entry of their lists.
#define QUILBY_SIM_FORWARD(Result, Name, Parameters, Arguments)                                   \
  extern "C" QUILBY_SIM_EXPORT Result Name Parameters {                                           \
    return QuilbySimDeviceFunctions()->Name Arguments;                                            \
  }

#endif  // __cplusplus

#endif  // QUILBY_SIM_DEVICES_DEVICE_FUNCTIONS_H
