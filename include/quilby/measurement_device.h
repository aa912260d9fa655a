/* quilby/measurement_device.h: the measurement-device library, libmeasurementdevice_x64.so.
 *
 * Opens sensors (by device id, through a monitor's HID handle, or by individual id), reports
 * their capabilities, switches their mode, calibrates, drives the arm and measures. Every
 * function that returns EmError reports failure with bit 31 set (see device_types.h); a
 * function given a NULL handle writes nothing and returns NULL, 0 or EMERR_INVALID_ARGUMENT.
 * Returned texts belong to the library: valid until the next call of the same function or the
 * close of the handle they describe; NULL means "no text". Calls may come from any thread.
 *
 * Linking: the functions of the first group are linked at load time by the plug-in; those marked
 * "looked up" are resolved by name at run time, so that the plug-in loads without them.
 */
#ifndef QUILBY_MEASUREMENT_DEVICE_H
#define QUILBY_MEASUREMENT_DEVICE_H

#include "quilby/device_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Start-up and the measurement subprocess (linked) --------------------------------------- */

/* Tells the library the directory holding its device libraries. */
EmError     MDInitDeviceLibrariesDirectoryPath(const char* directory);
/* Starts the measurement subprocess from `executablePath` on behalf of `applicationName`. */
EmError     MDLaunchSubprocess(const char* executablePath, const char* applicationName);
/* Stops the measurement subprocess. */
EmError     MDQuitSubprocess(void);
/* Non-zero when any of the `count` devices at `ids` needs the subprocess (NULL, 0 when empty). */
int         MDSupportsSubprocess(const MDDeviceID* ids, uint32_t count);

/* ---- Enumeration and opening (linked) ------------------------------------------------------- */

/* The connected device at `index` (0, 1, ...): its device id and individual id. Returns
 * EMERR_NO_MORE_DATA past the last one. */
EmError     MDEnumConnectedDevices(uint32_t index, MDDeviceID* deviceID, uint64_t* individualID);
/* The product name of a device id, or NULL. */
const char* MDGetNameFromDeviceID(MDDeviceID deviceID);
/* Opens the instrument maker's control panel. */
EmError     MDOpenXRiteControlPanel(void);

/* Open a sensor; on success `*handle` holds it until MDClose. */
EmError     MDOpen(MDDeviceID deviceID, MDHandle* handle);
EmError     MDOpenWithHIDHandle(void* hid, MDHandle* handle);
EmError     MDOpenWithIndividualID(uint64_t individualID, MDHandle* handle);
/* Closes `*handle`; it is invalid afterwards (and may be set to NULL). A pointer to a NULL
 * handle gives EMERR_INVALID_ARGUMENT. */
EmError     MDClose(MDHandle* handle);

/* ---- Identity and capabilities (linked) ----------------------------------------------------- */

void*       MDGetHIDHandle(MDHandle handle);           /* NULL: not built into a monitor */
MDDeviceID  MDGetDeviceID(MDHandle handle);
const char* MDGetName(MDHandle handle);
const char* MDGetSerialNumber(MDHandle handle);
int         MDIsValidConnection(MDHandle handle);
int         MDIsCalibrationNecessary(MDHandle handle);
int         MDSupportsAmbient(MDHandle handle);
int         MDSupportsReflectance(MDHandle handle);
int         MDHasArm(MDHandle handle);
int         MDHasMultipleSensorPosition(MDHandle handle);
/* The spectral range in nanometres: first and last wavelength, band width and band count. */
EmError     MDSpectralRadianceFixedData(MDHandle handle, uint64_t* min, uint64_t* max,
                                        uint64_t* bandWidth, uint64_t* count);

/* ---- Configuration and measurement (linked) ------------------------------------------------- */

EmError     MDSetMode(MDHandle handle, uint32_t mode, uint32_t observerKey);
EmError     MDCalibrate(MDHandle handle);
EmError     MDTakeOutArm(MDHandle handle);
EmError     MDTakeInArm(MDHandle handle);
EmError     MDGetSensorPosition(MDHandle handle, uint32_t* position);
/* One measurement: the raw record and the record after the applied corrections. */
EmError     MDMeasureXYZ2(MDHandle handle, MDColor* raw, MDColor* corrected);

/* ---- Correlation corrections (linked) ------------------------------------------------------- */

/* The stored correlation correction at `index` that suits this sensor's monitor; returns
 * EMERR_NO_MORE_DATA past the last one. */
EmError     MDEnumCorrelationCorrection(MDHandle handle, uint32_t index,
                MDDeviceID* referenceDeviceID,
                char referenceSerial[MD_REFERENCE_SERIAL_SIZE],
                char monitorProduct[MD_CORRELATION_PRODUCT_SIZE],
                char monitorSerial[MD_CORRELATION_SERIAL_SIZE],
                int64_t* id);
EmError     MDApplyCorrelationCorrection(MDHandle handle, uint64_t id);
/* Applies a correction and recalculates the luminance-level correction for a target white
 * (a zeroed record with x, y and Y set). */
EmError     MDApplyCorrelationCorrectionWithRecalcLuminanceLevelCorrection(
                MDHandle handle, uint64_t id, MDColor targetWhite);
EmError     MDReleaseCorrelationCorrection(MDHandle handle);
EmError     MDClear9PointsCorrelationCorrection(MDHandle handle);

/* ---- Corrections of the open resources (linked) --------------------------------------------- */

EmError MDSetCorrection(MDHandle handle, const double matrix[9]);   /* row-major 3x3 */
EmError MDClearCorrection(MDHandle handle);
EmError MDGetExCorrection(MDHandle handle, double matrix[9]);       /* row-major 3x3 */
EmError MDSetExCorrection(MDHandle handle, const double matrix[9]);

/* ---- Looked up at run time ------------------------------------------------------------------- */

/* One uncorrected reading: three raw channel values. */
EmError MDMeasureRaw(MDHandle handle, double raw[3]);
int     MDHasTargetMarker(MDHandle handle);
/* The stored correlation matrix at `index` for a monitor product (17-byte buffer) and panel
 * revision; EMERR_NO_MORE_DATA past the last one. */
EmError MDEnumCorrelationMatrix(MDHandle handle, const char* product,
            uint16_t panelRevision, uint32_t index, MDDeviceID* referenceDeviceID,
            char referenceSerial[MD_REFERENCE_SERIAL_SIZE], int64_t* id);
EmError MDApplyCorrelationMatrix(MDHandle handle, uint64_t id);
EmError MDReleaseCorrelationMatrix(MDHandle handle);

int     MDHasExteriorLight(MDHandle handle);
EmError MDGetExteriorLightingState(MDHandle handle, uint32_t* state);     /* 0 off, else on */
EmError MDSetExteriorLightingState(MDHandle handle, uint32_t state);
EmError MDGetParameterDescription(MDHandle handle,
            char description[MD_PARAMETER_DESCRIPTION_SIZE]);
EmError MDSetParameterDescription(MDHandle handle, const char* description); /* <= 255 bytes */
EmError MDGetTargetMarker(MDHandle handle, uint32_t* on);                  /* 0 off, else on */
EmError MDSetTargetMarker(MDHandle handle, uint32_t on);
EmError MDGetDeviceOptionValue(MDHandle handle, uint32_t option, int32_t* value);
EmError MDSetDeviceOptionValue(MDHandle handle, uint32_t option, int32_t value);
EmError MDGetIFSBrightCorrectParamUpdateEnabled(MDHandle handle, uint32_t* enabled);
EmError MDSetIFSBrightCorrectParamUpdateEnabled(MDHandle handle, uint32_t enabled);
EmError MDCalcIFSTempCorrectParam(MDHandle handle);

#ifdef __cplusplus
}  /* extern "C" */
#endif

#endif  /* QUILBY_MEASUREMENT_DEVICE_H */
