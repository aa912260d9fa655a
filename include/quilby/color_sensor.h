/* quilby/color_sensor.h: the colour-sensor library of sensors built into monitors,
 * libmSensor_x64.so.
 *
 * Every function takes the monitor's HID handle. Callers hold the monitor's critical section
 * (monitor_control.h) around these calls. Every function is looked up by name at run time by the
 * plug-in. Calls may come from any thread.
 */
#ifndef QUILBY_COLOR_SENSOR_H
#define QUILBY_COLOR_SENSOR_H

#include "quilby/device_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Measurements ---------------------------------------------------------------------------- */

EmError CSSG2H_MeasureRGB(void* hid, double* R, double* G, double* B);
/* The infrared reading and one further value of the library's own. */
EmError CSSG2H_GetIRValue(void* hid, double* ir, uint64_t* extra);
/* XYZ counts before the correlation correction is applied. */
EmError CSSG2H_MeasureNotCorrelatedXYZCount(void* hid, double* X, double* Y, double* Z);

/* ---- Data index ------------------------------------------------------------------------------ */

/* Selects the sensor's data index; a negative result means it was not accepted. `reserved` is 0. */
int32_t CSSG2H_SetColorSensorDataIndex(void* hid, uint32_t index, uint32_t reserved);
/* The same by flags: `invertedFlag` and `priorityIs2` are 0 or 1. */
EmError CSSG2H_SetColorSensorDataIndex2(void* hid, uint32_t invertedFlag,
                                        uint32_t priorityIs2);

/* ---- Criterion sensor description ------------------------------------------------------------ */

/* Fills `*description` and stores the same device id through `deviceID`. */
EmError CSSG2H_GetCriterionSensorDescription(void* hid,
            MDCSSG2CriterionSensorDescription* description, int32_t* deviceID);
EmError CSSG2H_SetCriterionSensorDescription(void* hid,
            const MDCSSG2CriterionSensorDescription* description);

/* ---- Presence detection ---------------------------------------------------------------------- */

EmError CSSG2H_GetHumanDetectOnOff(void* hid, uint8_t* onOff);
EmError CSSG2H_SetHumanDetectOnOff(void* hid, uint8_t onOff);        /* 0 off, 1 on */
EmError CSSG2H_GetHumanDetectMode(void* hid, uint32_t* mode);
EmError CSSG2H_SetHumanDetectMode(void* hid, uint32_t mode);

/* ---- Correlation matrices -------------------------------------------------------------------- */

/* Non-zero when the sensor takes an 8x3 matrix besides the 3x3 one. */
int     CSSG2H_SupportedXYZCorrectionMatrix8DXT(void* hid);
EmError CSSG2H_GetXYZCorrectionMatrix(void* hid, double matrix[9]);       /* row-major 3x3 */
EmError CSSG2H_SetXYZCorrectionMatrix(void* hid, const double matrix[9]);
EmError CSSG2H_GetXYZCorrectionMatrix8DXT(void* hid, double matrix[24]);  /* row-major 8x3 */
EmError CSSG2H_SetXYZCorrectionMatrix8DXT(void* hid, const double matrix[24]);

/* ---- Calibration and correlation records ----------------------------------------------------- */

EmError CSSG2H_GetColorSensorCalibData(void* hid, MDCSSG2CalibrationData* data);
EmError CSSG2H_SetColorSensorCalibData(void* hid, const MDCSSG2CalibrationData* data);
EmError CSSG2H_SendColorSensorCalibData(void* hid, const MDCSSG2CalibrationData* data);
EmError CSSG2H_GetColorSensorCorrectionData(void* hid, MDCSSG2CorrectionData* data);
EmError CSSG2H_SetColorSensorCorrectionData(void* hid, const MDCSSG2CorrectionData* data);
EmError CSSG2H_SendColorSensorCorrectionData(void* hid, const MDCSSG2CorrectionData* data);
int     CSSG2H_SupportedLuminanceLevelCorrectionParams(void* hid);
EmError CSSG2H_GetLuminanceLevelCorrectionParams(void* hid,
            MDCSSG2LuminanceLevelCorrectionParams* params);
EmError CSSG2H_SetLuminanceLevelCorrectionParams(void* hid,
            const MDCSSG2LuminanceLevelCorrectionParams* params);
EmError CSSG2H_R2XCGetNormalizedMeasurementValue(void* hid, R2XC_ValueRGBK* value);
EmError CSSG2H_R2XCSetNormalizedMeasurementValue(void* hid, const R2XC_ValueRGBK* value);
EmError CSSG2H_R2XCGetRefParam(void* hid, R2XC_RefParam* param);
EmError CSSG2H_R2XCSetRefParam(void* hid, const R2XC_RefParam* param);
EmError CSSG2H_R2XCGetRefToneParam(void* hid, R2XC_RefToneParam* param);
EmError CSSG2H_R2XCSetRefToneParam(void* hid, const R2XC_RefToneParam* param);
EmError CSSG2H_R2XCGetToneCorrectionParam(void* hid, R2XC_ToneCorrectionParam* param);
EmError CSSG2H_R2XCSetToneCorrectionParam(void* hid, const R2XC_ToneCorrectionParam* param);

#ifdef __cplusplus
}  /* extern "C" */
#endif

#endif  /* QUILBY_COLOR_SENSOR_H */
