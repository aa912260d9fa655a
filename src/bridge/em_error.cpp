#include "bridge/em_error.h"

#include "bridge/bridge_result.h"
#include "quilby/em_errors.h"

namespace vesk {

std::string emerror_string(const EmError& error) {
  switch (error) {
#define QUILBY_EM_ERROR_CASE(Name, Text) \
  case Name:                             \
    return Text;
    QUILBY_EM_ERRORS(QUILBY_EM_ERROR_CASE)
#undef QUILBY_EM_ERROR_CASE
    default:
      return "Undefined error.";
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
