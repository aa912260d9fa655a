#include "src/status_names.h"

#include "devices/device_functions.h"
#include "quilby/em_errors.h"

#include <iterator>

namespace quilbysim {
namespace {

#define QUILBY_SIM_NAMED_STATUS(Name, Text) NamedStatus{#Name, Name},
constexpr NamedStatus kStatuses[] = {QUILBY_EM_ERRORS(QUILBY_SIM_NAMED_STATUS)};
#undef QUILBY_SIM_NAMED_STATUS

#define QUILBY_SIM_FUNCTION_NAME(Result, Name, Parameters, Arguments) #Name,
constexpr const char* kFunctions[] = {QUILBY_SIM_ALL_DEVICE_FUNCTIONS(QUILBY_SIM_FUNCTION_NAME)};
#undef QUILBY_SIM_FUNCTION_NAME

}  // namespace

std::span<const NamedStatus> namedStatuses() { return kStatuses; }

std::span<const char* const> deviceFunctions() { return kFunctions; }

const char* statusName(EmError status) {
  for (const NamedStatus& entry : kStatuses) {
    if (entry.status == status) return entry.name;
  }
  return nullptr;
}

std::optional<EmError> statusFromName(std::string_view name) {
  for (const NamedStatus& entry : kStatuses) {
    if (name == entry.name) return entry.status;
  }
  return std::nullopt;
}

bool isDeviceFunction(std::string_view name) {
  for (const char* function : kFunctions) {
    if (name == function) return true;
  }
  return false;
}

}  // namespace quilbysim
