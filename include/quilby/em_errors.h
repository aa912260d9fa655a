/* quilby/em_errors.h: every EmError code of quilby/device_types.h with its text, listed once.
 *
 * QUILBY_EM_ERRORS(X) expands X(Name, Text) for each code, in the order of device_types.h: Name
 * is the code's macro (EMERR_OK, ...), Text the sentence the libraries give it ("OK."). The
 * plug-in's error texts and the simulator's status names both come from this list. Any other code
 * reads "Undefined error.".
 */
#ifndef QUILBY_EM_ERRORS_H
#define QUILBY_EM_ERRORS_H

#include "quilby/device_types.h"

#define QUILBY_EM_ERRORS(X)                                                                \
  X(EMERR_OK, "OK.")                                                                       \
  X(EMERR_EXISTS_MORE_DATA, "Exists more data.")                                           \
  X(EMERR_RUNNING, "Running.")                                                             \
  X(EMERR_UNCONFIRMED, "Unconfirmed.")                                                     \
  X(EMERR_OK_NOT_CORRECTED, "OK but data is not corrected.")                               \
  X(EMERR_FAILED, "Failed.")                                                               \
  X(EMERR_INVALID_ARGUMENT, "Invalid argument.")                                           \
  X(EMERR_INVALID_BUFFER, "Invalid buffer.")                                               \
  X(EMERR_INVALID_BUFFER_SIZE, "Invalid buffer size.")                                     \
  X(EMERR_ALREADY_REGISTERED, "Already registered.")                                       \
  X(EMERR_NOT_REGISTERED, "Not registered.")                                               \
  X(EMERR_UNKNOWN, "Unknown.")                                                             \
  X(EMERR_UNSUPPORTED, "Unsupported.")                                                     \
  X(EMERR_STALL, "Stall.")                                                                 \
  X(EMERR_UNIMPLEMENTED, "Unimplemented.")                                                 \
  X(EMERR_OUT_OF_RANGE, "Out of range.")                                                   \
  X(EMERR_NO_MORE_DATA, "No more data.")                                                   \
  X(EMERR_CANCELED, "Canceled.")                                                           \
  X(EMERR_OUT_OF_DOMAIN, "Out of domain.")                                                 \
  X(EMERR_LONG_PROC_LOCK_IS_WAIT, "Long proc lock is wait.")                               \
  X(EMERR_SHORT_PROC_LOCK_IS_WAIT, "Short proc lock is wait.")                             \
  X(EMERR_DLL_NOT_FOUND, "Dll is not found.")                                              \
  X(EMERR_OVER_LIMIT, "Over limit.")                                                       \
  X(EMERR_ALREADY_USED, "Already used.")                                                   \
  X(EMERR_TIMED_OUT, "Timed out.")                                                         \
  X(EMERR_DISABLED, "Disabled.")                                                           \
  X(EMERR_INVALID_PRECONDITION, "Invalid precondition.")                                   \
  X(EMERR_UNRESOLVED, "Unresolved.")                                                       \
  X(EMERR_RETRY_COUNT_EXCEEDED, "Retry count exceeded.")                                   \
  X(EMERR_ALREADY_CREATED, "Already created.")                                             \
  X(EMERR_CANNOT_CREATE_FILE, "Cannot create file.")                                       \
  X(EMERR_INVALID_DATA, "Invalid data.")                                                   \
  X(EMERR_INVALID_DATA_SIZE, "Invalid data size.")                                         \
  X(EMERR_INVALID_KEY, "Invalid key.")                                                     \
  X(EMERR_INVALID_KEY_SIZE, "Invalid key size.")                                           \
  X(EMERR_DATA_VERIFY_ERROR, "Data verify error.")                                         \
  X(EMERR_REJECTED_BY_CRITICAL_SECTION, "Rejected by critical section.")                   \
  X(EMERR_MONITOR_CONNECTION_ERROR, "Monitor connection error.")                           \
  X(EMERR_SENSOR_CONNECTION_ERROR, "Sensor connection error.")                             \
  X(EMERR_MEASURE_ERROR, "Measure error.")                                                 \
  X(EMERR_SENSOR_POSITION_ERROR, "Sensor position error.")                                 \
  X(EMERR_CALCULATION_ERROR, "Calculation error.")                                         \
  X(EMERR_CHAMBER_ERROR, "Chamber error.")                                                 \
  X(EMERR_SIGGENERATOR_ERROR, "Siggenerator error.")                                       \
  X(EMERR_ZERO_CALIBRATION_ERROR, "Zero calibration error.")                               \
  X(EMERR_CANNOT_ENTER_MONITOR_CRITICAL_SECTION, "Cannot enter monitor critical section.") \
  X(EMERR_MONITOR_CRITICAL_SECTION_IS_OWNED, "Monitor critical section is owned.")

#endif /* QUILBY_EM_ERRORS_H */
