#include "bridge/em_error.h"

#include "bridge/bridge_result.h"

namespace vesk {

std::string emerror_string(const EmError& error) {
  switch (error) {
    case EMERR_OK: return "OK.";
    case EMERR_EXISTS_MORE_DATA: return "Exists more data.";
    case EMERR_RUNNING: return "Running.";
    case EMERR_UNCONFIRMED: return "Unconfirmed.";
    case EMERR_OK_NOT_CORRECTED: return "OK but data is not corrected.";
    case EMERR_FAILED: return "Failed.";
    case EMERR_INVALID_ARGUMENT: return "Invalid argument.";
    case EMERR_INVALID_BUFFER: return "Invalid buffer.";
    case EMERR_INVALID_BUFFER_SIZE: return "Invalid buffer size.";
    case EMERR_ALREADY_REGISTERED: return "Already registered.";
    case EMERR_NOT_REGISTERED: return "Not registered.";
    case EMERR_UNKNOWN: return "Unknown.";
    case EMERR_UNSUPPORTED: return "Unsupported.";
    case EMERR_STALL: return "Stall.";
    case EMERR_UNIMPLEMENTED: return "Unimplemented.";
    case EMERR_OUT_OF_RANGE: return "Out of range.";
    case EMERR_NO_MORE_DATA: return "No more data.";
    case EMERR_CANCELED: return "Canceled.";
    case EMERR_OUT_OF_DOMAIN: return "Out of domain.";
    case EMERR_LONG_PROC_LOCK_IS_WAIT: return "Long proc lock is wait.";
    case EMERR_SHORT_PROC_LOCK_IS_WAIT: return "Short proc lock is wait.";
    case EMERR_DLL_NOT_FOUND: return "Dll is not found.";
    case EMERR_OVER_LIMIT: return "Over limit.";
    case EMERR_ALREADY_USED: return "Already used.";
    case EMERR_TIMED_OUT: return "Timed out.";
    case EMERR_DISABLED: return "Disabled.";
    case EMERR_INVALID_PRECONDITION: return "Invalid precondition.";
    case EMERR_UNRESOLVED: return "Unresolved.";
    case EMERR_RETRY_COUNT_EXCEEDED: return "Retry count exceeded.";
    case EMERR_ALREADY_CREATED: return "Already created.";
    case EMERR_CANNOT_CREATE_FILE: return "Cannot create file.";
    case EMERR_INVALID_DATA: return "Invalid data.";
    case EMERR_INVALID_DATA_SIZE: return "Invalid data size.";
    case EMERR_INVALID_KEY: return "Invalid key.";
    case EMERR_INVALID_KEY_SIZE: return "Invalid key size.";
    case EMERR_DATA_VERIFY_ERROR: return "Data verify error.";
    case EMERR_REJECTED_BY_CRITICAL_SECTION: return "Rejected by critical section.";
    case EMERR_MONITOR_CONNECTION_ERROR: return "Monitor connection error.";
    case EMERR_SENSOR_CONNECTION_ERROR: return "Sensor connection error.";
    case EMERR_MEASURE_ERROR: return "Measure error.";
    case EMERR_SENSOR_POSITION_ERROR: return "Sensor position error.";
    case EMERR_CALCULATION_ERROR: return "Calculation error.";
    case EMERR_CHAMBER_ERROR: return "Chamber error.";
    case EMERR_SIGGENERATOR_ERROR: return "Siggenerator error.";
    case EMERR_ZERO_CALIBRATION_ERROR: return "Zero calibration error.";
    case EMERR_CANNOT_ENTER_MONITOR_CRITICAL_SECTION: return "Cannot enter monitor critical section.";
    case EMERR_MONITOR_CRITICAL_SECTION_IS_OWNED: return "Monitor critical section is owned.";
    default: return "Undefined error.";
  }
}

void BridgeCheckEmError(const EmError& error, const std::string& reason) {
  if (EMERR_IS_SUCCESS(error) || error == EMERR_UNKNOWN) return;
  BridgeResultError failure(BridgeStatusCode::InternalServerError, "EmError", emerror_string(error));
  failure.error.value["code"].setInteger(static_cast<long long>(error));
  if (!reason.empty()) failure.error.value["reason"].setString(reason);
  throw failure;
}

}  // namespace vesk
