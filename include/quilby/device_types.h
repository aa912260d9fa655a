/* quilby/device_types.h: the types, status codes and records shared by the plug-in, the host and
 * the device libraries (measurement device, monitor control, colour sensor, USB enumeration,
 * correction, logging).
 *
 * Everything here crosses a C boundary between separately built components, so only fixed-width
 * integers, double, char, plain pointers and the records below are used; truth values are int
 * (0 false, anything else true). The record layouts are natural x86-64 System V layouts with no
 * packing; their sizes are asserted at the end of this header.
 */
#ifndef QUILBY_DEVICE_TYPES_H
#define QUILBY_DEVICE_TYPES_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Basic types ------------------------------------------------------------------------ */

typedef uint32_t EmError;            /* status word: success when bit 31 is clear */
typedef uint32_t MDDeviceID;         /* device identifier, copied by value */
typedef struct MDDevice* MDHandle;   /* opaque sensor handle; struct MDDevice is never defined here */
typedef uint32_t EmCtrlDUEPriority;  /* DUE priority code of the monitor-control library */
typedef int32_t  MireltoLevel;       /* log level of the logging library */
/* A monitor's HID handle is a plain void* everywhere; NULL means none. */

#define EMERR_IS_SUCCESS(e) ((((uint32_t)(e)) & 0x80000000u) == 0u)
#define EMERR_IS_FAILURE(e) ((((uint32_t)(e)) & 0x80000000u) != 0u)

/* ---- Status codes (EmError) ---------------------------------------------------------------
 * Success and warnings have bit 31 clear; failures have it set. */
#define EMERR_OK 0x00000000u
#define EMERR_EXISTS_MORE_DATA 0x00000001u
#define EMERR_RUNNING 0x00000002u
#define EMERR_UNCONFIRMED 0x00000003u
#define EMERR_OK_NOT_CORRECTED 0x00000004u
#define EMERR_FAILED 0x80000000u
#define EMERR_INVALID_ARGUMENT 0x80000001u
#define EMERR_INVALID_BUFFER 0x80000002u
#define EMERR_INVALID_BUFFER_SIZE 0x80000003u
#define EMERR_ALREADY_REGISTERED 0x80000004u
#define EMERR_NOT_REGISTERED 0x80000005u
#define EMERR_UNKNOWN 0x80000006u
#define EMERR_UNSUPPORTED 0x80000007u
#define EMERR_STALL 0x80000008u
#define EMERR_UNIMPLEMENTED 0x80000009u
#define EMERR_OUT_OF_RANGE 0x8000000Au
#define EMERR_NO_MORE_DATA 0x8000000Bu
#define EMERR_CANCELED 0x8000000Cu
#define EMERR_OUT_OF_DOMAIN 0x8000000Du
#define EMERR_LONG_PROC_LOCK_IS_WAIT 0x8000000Eu
#define EMERR_SHORT_PROC_LOCK_IS_WAIT 0x8000000Fu
#define EMERR_DLL_NOT_FOUND 0x80000010u
#define EMERR_OVER_LIMIT 0x80000011u
#define EMERR_ALREADY_USED 0x80000012u
#define EMERR_TIMED_OUT 0x80000013u
#define EMERR_DISABLED 0x80000014u
#define EMERR_INVALID_PRECONDITION 0x80000015u
#define EMERR_UNRESOLVED 0x80000016u
#define EMERR_RETRY_COUNT_EXCEEDED 0x80000017u
#define EMERR_ALREADY_CREATED 0x80000018u
#define EMERR_CANNOT_CREATE_FILE 0x80000019u
#define EMERR_INVALID_DATA 0x8000001Au
#define EMERR_INVALID_DATA_SIZE 0x8000001Bu
#define EMERR_INVALID_KEY 0x8000001Cu
#define EMERR_INVALID_KEY_SIZE 0x8000001Du
#define EMERR_DATA_VERIFY_ERROR 0x8000001Eu
#define EMERR_REJECTED_BY_CRITICAL_SECTION 0x8000001Fu
#define EMERR_MONITOR_CONNECTION_ERROR 0x80010001u
#define EMERR_SENSOR_CONNECTION_ERROR 0x80010002u
#define EMERR_MEASURE_ERROR 0x80010003u
#define EMERR_SENSOR_POSITION_ERROR 0x80010004u
#define EMERR_CALCULATION_ERROR 0x80010005u
#define EMERR_CHAMBER_ERROR 0x80010006u
#define EMERR_SIGGENERATOR_ERROR 0x80010007u
#define EMERR_ZERO_CALIBRATION_ERROR 0x80010008u
#define EMERR_CANNOT_ENTER_MONITOR_CRITICAL_SECTION 0x80010009u
#define EMERR_MONITOR_CRITICAL_SECTION_IS_OWNED 0x8001000Au

/* ---- Text buffer sizes ----------------------------------------------------------------------
 * A text out-parameter is a caller buffer of the size given, zero-filled by the caller; the callee
 * writes a NUL-terminated text of at most size-1 bytes and never writes past the buffer. */
#define EMCTRL_SERIAL_SIZE             9   /* monitor serial (monitor-control library): 8 chars + NUL */
#define EMCTRL_PRODUCT_SIZE           17   /* monitor product (monitor-control library): 16 chars + NUL */
#define MD_REFERENCE_SERIAL_SIZE      33   /* reference sensor serial: 32 chars + NUL */
#define MD_CORRELATION_PRODUCT_SIZE   33   /* monitor product listed with a correlation correction */
#define MD_CORRELATION_SERIAL_SIZE    17   /* monitor serial listed with a correlation correction */
#define MD_PARAMETER_DESCRIPTION_SIZE 256  /* parameter description text */

/* ---- Records ------------------------------------------------------------------------------ */

typedef struct MDDate {
    uint16_t year;                   /* 0 */
    uint8_t  month, day, hour, minute;  /* 2, 3, 4, 5 */
} MDDate;                            /* sizeof 6, alignof 2 */

typedef struct MDColor {             /* colour record of the measurement library */
    double X, Y, Z;                  /*  0, 8, 16: tristimulus; Y is the luminance (also of xyY) */
    double x, y;                     /* 24, 32: CIE 1931 chromaticity */
    double u, v;                     /* 40, 48: CIE 1976 u', v' */
    double cyan, magenta, yellow, black;  /* 56, 64, 72, 80 */
} MDColor;                           /* sizeof 88, alignof 8 */

typedef struct MDCSSG2CriterionSensorDescription {
    MDDate  date;                    /*  0; 2 bytes padding */
    int32_t deviceID;                /*  8: reference sensor's device id */
    char    serial[MD_REFERENCE_SERIAL_SIZE];  /* 12: reference sensor's serial */
} MDCSSG2CriterionSensorDescription; /* sizeof 48 (3 bytes tail padding), alignof 4 */

typedef struct KMCAL_G2XYZcnt { double X, Y, Z; } KMCAL_G2XYZcnt; /* 24 */
typedef struct KMCAL_G2RGBems { double R, G, B; } KMCAL_G2RGBems; /* 24 */
typedef struct KMCAL_CALDATA_USERPROOF {
    KMCAL_G2XYZcnt XYZ0, XYZBlack; double a[3][3]; double b[3];
} KMCAL_CALDATA_USERPROOF; /* 144 */
typedef struct KMCAL_MEASDATA_USERPROOF {
    struct { KMCAL_G2XYZcnt reference, XYZ; } red, green, blue, white, black;
} KMCAL_MEASDATA_USERPROOF; /* 240 */
typedef struct KMCAL_CALDATA_CORRECT { KMCAL_G2XYZcnt reference, XYZ; } KMCAL_CALDATA_CORRECT; /* 48 */
typedef struct KMCAL_MEASDATA_CORRECT_GRAY {
    KMCAL_G2XYZcnt reference; KMCAL_G2RGBems RGB;
} KMCAL_MEASDATA_CORRECT_GRAY; /* 48 */
typedef struct MDCSSG2CalibrationData {
    struct { double criterion; } brightness, temperature;
    int32_t coefficientType;                   /* offset 16, 4 bytes padding follow */
    KMCAL_CALDATA_USERPROOF  calibration;      /* offset 24 */
    KMCAL_MEASDATA_USERPROOF measurement;      /* offset 168 */
} MDCSSG2CalibrationData; /* 408 */
typedef struct MDCSSG2CorrectionData {
    double gamma, threshold; double step[8];
    KMCAL_CALDATA_CORRECT correction;          /* offset 80 */
    KMCAL_MEASDATA_CORRECT_GRAY measurement;   /* offset 128 */
} MDCSSG2CorrectionData; /* 176 */
typedef struct MDCSSG2LuminanceLevelCorrectionParams {
    double brightness; int32_t dimmerOut;      /* 4 bytes tail padding */
} MDCSSG2LuminanceLevelCorrectionParams; /* 16 */
typedef struct MDCSSG2CorrelationDataEx {
    MDCSSG2CalibrationData calibrationData;    /* offset 0 */
    MDCSSG2CorrectionData  correctionData;     /* offset 408 */
    MDCSSG2LuminanceLevelCorrectionParams luminanceLevelCorrection;  /* offset 584 */
} MDCSSG2CorrelationDataEx; /* 600 */
typedef struct R2XC_Value { double X, Y, Z, R, G, B; } R2XC_Value; /* 48 */
typedef struct R2XC_ValueRGBK { R2XC_Value red, green, blue, black; } R2XC_ValueRGBK; /* 192 */
typedef struct R2XC_RefParam {
    double ambientTemperature, setTemperature;
    int32_t dimmerOut;                         /* offset 16, 4 bytes padding follow */
    struct { double tone; } red, green, blue;  /* offsets 24, 32, 40 */
} R2XC_RefParam; /* 48 */
typedef struct R2XC_RefToneParam { double tone[3]; double gamma[3]; } R2XC_RefToneParam; /* 48 */
typedef struct R2XC_ToneCorrectionParam { R2XC_Value red, green, blue; } R2XC_ToneCorrectionParam; /* 144 */
typedef struct MDIFSv3CorrelationData {
    R2XC_RefParam            reference;              /* offset 0 */
    R2XC_RefToneParam        referenceTone;          /* offset 48 */
    R2XC_ValueRGBK           normalizedMeasurement;  /* offset 96 */
    R2XC_ToneCorrectionParam toneCorrection;         /* offset 288 */
} MDIFSv3CorrelationData; /* 432 */

/* ---- Layout checks ---------------------------------------------------------------------- */

#ifdef __cplusplus
#define QUILBY_STATIC_ASSERT(condition, message) static_assert(condition, message)
#else
#define QUILBY_STATIC_ASSERT(condition, message) _Static_assert(condition, message)
#endif

QUILBY_STATIC_ASSERT(sizeof(EmError) == 4, "EmError is 32 bits");
QUILBY_STATIC_ASSERT(sizeof(MDDeviceID) == 4, "MDDeviceID is 32 bits");
QUILBY_STATIC_ASSERT(sizeof(MDDate) == 6, "MDDate layout");
QUILBY_STATIC_ASSERT(sizeof(MDColor) == 88, "MDColor layout");
QUILBY_STATIC_ASSERT(sizeof(MDCSSG2CriterionSensorDescription) == 48, "description layout");
QUILBY_STATIC_ASSERT(sizeof(KMCAL_G2XYZcnt) == 24, "KMCAL_G2XYZcnt layout");
QUILBY_STATIC_ASSERT(sizeof(KMCAL_G2RGBems) == 24, "KMCAL_G2RGBems layout");
QUILBY_STATIC_ASSERT(sizeof(KMCAL_CALDATA_USERPROOF) == 144, "KMCAL_CALDATA_USERPROOF layout");
QUILBY_STATIC_ASSERT(sizeof(KMCAL_MEASDATA_USERPROOF) == 240, "KMCAL_MEASDATA_USERPROOF layout");
QUILBY_STATIC_ASSERT(sizeof(KMCAL_CALDATA_CORRECT) == 48, "KMCAL_CALDATA_CORRECT layout");
QUILBY_STATIC_ASSERT(sizeof(KMCAL_MEASDATA_CORRECT_GRAY) == 48, "KMCAL_MEASDATA_CORRECT_GRAY layout");
QUILBY_STATIC_ASSERT(sizeof(MDCSSG2CalibrationData) == 408, "MDCSSG2CalibrationData layout");
QUILBY_STATIC_ASSERT(sizeof(MDCSSG2CorrectionData) == 176, "MDCSSG2CorrectionData layout");
QUILBY_STATIC_ASSERT(sizeof(MDCSSG2LuminanceLevelCorrectionParams) == 16, "luminance params layout");
QUILBY_STATIC_ASSERT(sizeof(MDCSSG2CorrelationDataEx) == 600, "MDCSSG2CorrelationDataEx layout");
QUILBY_STATIC_ASSERT(sizeof(R2XC_Value) == 48, "R2XC_Value layout");
QUILBY_STATIC_ASSERT(sizeof(R2XC_ValueRGBK) == 192, "R2XC_ValueRGBK layout");
QUILBY_STATIC_ASSERT(sizeof(R2XC_RefParam) == 48, "R2XC_RefParam layout");
QUILBY_STATIC_ASSERT(sizeof(R2XC_RefToneParam) == 48, "R2XC_RefToneParam layout");
QUILBY_STATIC_ASSERT(sizeof(R2XC_ToneCorrectionParam) == 144, "R2XC_ToneCorrectionParam layout");
QUILBY_STATIC_ASSERT(sizeof(MDIFSv3CorrelationData) == 432, "MDIFSv3CorrelationData layout");

#ifdef __cplusplus
}  /* extern "C" */
#endif

#endif  /* QUILBY_DEVICE_TYPES_H */
