/* quilby/correction.h: the correction library, libmdcorrector_x64.so.
 *
 * Stores correlation data (built-in sensor against a reference instrument) and correlation
 * matrices per monitor, each under a signed 64-bit id. Input texts are NUL-terminated: monitor
 * serial up to 16 characters, product and reference serial up to 32. Every function is looked up
 * by name at run time by the plug-in.
 */
#ifndef QUILBY_CORRECTION_H
#define QUILBY_CORRECTION_H

#include "quilby/device_types.h"

#ifdef __cplusplus
extern "C" {
#endif

EmError MDAddCSSG2CorrelationDataEx(const char* monitorSerial, const char* monitorProduct,
            MDDeviceID referenceDeviceID, const char* referenceSerial,
            const MDCSSG2CorrelationDataEx* data, int64_t* id);
EmError MDAddCSSG2CorrelationDataWithDateEx(const char* monitorSerial, const char* monitorProduct,
            MDDeviceID referenceDeviceID, const char* referenceSerial,
            const MDCSSG2CorrelationDataEx* data, const MDDate* date, int64_t* id);
EmError MDGetCSSG2CorrelationDataEx(int64_t id, MDCSSG2CorrelationDataEx* data);
EmError MDAddIFSv3CorrelationData(const char* monitorSerial, const char* monitorProduct,
            MDDeviceID referenceDeviceID, const char* referenceSerial,
            const MDIFSv3CorrelationData* data, int64_t* id);
EmError MDGetIFSv3CorrelationData(int64_t id, MDIFSv3CorrelationData* data);
/* Stores a matrix of `rows` (3 or 8) rows of 3 doubles, row-major. */
EmError MDAddCorrelationMatrix(const char* product, uint16_t panelRevision,
            MDDeviceID referenceDeviceID, const char* referenceSerial,
            const double* matrix, uint32_t rows, int64_t* id);
/* The stored correlation data at `index`; EMERR_NO_MORE_DATA past the last one. */
EmError MDEnumCorrelationInfo(uint32_t index, MDDeviceID* referenceDeviceID,
            char referenceSerial[MD_REFERENCE_SERIAL_SIZE],
            char monitorProduct[MD_CORRELATION_PRODUCT_SIZE],
            char monitorSerial[MD_CORRELATION_SERIAL_SIZE], int64_t* id);
/* The stored matrix at `index` for a product and panel revision; EMERR_NO_MORE_DATA past the
 * last one. */
EmError MDEnumCorrelationMatrixInfo(const char* product, uint16_t panelRevision, uint32_t index,
            MDDeviceID* referenceDeviceID,
            char referenceSerial[MD_REFERENCE_SERIAL_SIZE], int64_t* id);
EmError MDGetCorrelationDataDate(int64_t id, MDDate* date);
EmError MDGetCorrelationMatrixDate(int64_t id, MDDate* date);
EmError MDGetLatestCorrelationMatrixID(const char* product, uint16_t panelRevision, int64_t* id);

#ifdef __cplusplus
}  /* extern "C" */
#endif

#endif  /* QUILBY_CORRECTION_H */
