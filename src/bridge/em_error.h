// The device libraries' status words (EmError) as texts and as request failures.
#ifndef QUILBY_BRIDGE_EM_ERROR_H
#define QUILBY_BRIDGE_EM_ERROR_H

#include "quilby/device_types.h"

#include <string>

namespace vesk {

// The library's text for any status word, success and warning codes included ("OK.",
// "Exists more data.", "Failed.", "Monitor critical section is owned.", ...); "Undefined error."
// for a code outside the table.
[[nodiscard]] std::string emerror_string(const EmError& error);

// Returns when `error` counts as success: bit 31 clear, or exactly 0x80000006 ("Unknown."), which
// is let through on purpose. Otherwise throws BridgeResultError(500, "EmError", text of the code)
// whose error object carries "code" (the code as an unsigned number, so 0x80000001 is 2147483649)
// and, when `reason` is not empty, "reason": the step that failed, e.g. "Open XRite Control
// Panel.".
void BridgeCheckEmError(const EmError& error, const std::string& reason);

}  // namespace vesk

#endif  // QUILBY_BRIDGE_EM_ERROR_H
