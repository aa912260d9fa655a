// The table of device functions that libquilbysim.so hands to the six device libraries.
#include "src/implementations.h"

#include <cstdint>
#include <type_traits>

namespace quilbysim {
namespace {

// What a device function returns when it cannot even start (no memory for its journal entry):
// EMERR_FAILED for statuses, NULL for pointers, 0 for truth values and counts. MDGetDeviceID and
// CSSG2H_SetColorSensorDataIndex, whose types this cannot tell apart from a status and a truth
// value, catch everything themselves.
template <class Result>
Result failureResult() {
  if constexpr (std::is_void_v<Result>) {
    return;
  } else if constexpr (std::is_pointer_v<Result>) {
    return nullptr;
  } else if constexpr (std::is_same_v<Result, EmError>) {
    return EMERR_FAILED;
  } else {
    return Result{};
  }
}

#define QUILBY_SIM_GUARD(Result, Name, Parameters, Arguments) \
  Result guarded##Name Parameters noexcept {                  \
    try {                                                     \
      return impl::Name Arguments;                            \
    } catch (...) {                                           \
      return failureResult<Result>();                         \
    }                                                         \
  }
QUILBY_SIM_ALL_DEVICE_FUNCTIONS(QUILBY_SIM_GUARD)
#undef QUILBY_SIM_GUARD

#define QUILBY_SIM_ENTRY(Result, Name, Parameters, Arguments) .Name = &guarded##Name,
constexpr QuilbySimDeviceTable kTable = {QUILBY_SIM_ALL_DEVICE_FUNCTIONS(QUILBY_SIM_ENTRY)};
#undef QUILBY_SIM_ENTRY

}  // namespace
}  // namespace quilbysim

extern "C" const QuilbySimDeviceTable* QuilbySimDeviceFunctions(void) { return &quilbysim::kTable; }
