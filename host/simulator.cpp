#include "simulator.h"

#include "devices/device_functions.h"
#include "quilby/device_types.h"

#include <dlfcn.h>

#include <algorithm>
#include <charconv>

namespace quilbyhost {

namespace {

// Reads a text of the simulator through its "length first" convention; the loop covers a text
// that grows between the two calls.
template <class Read>
std::string wholeText(Read read) {
  std::string text(256, '\0');
  while (true) {
    const std::uint32_t length = read(text.data(), static_cast<std::uint32_t>(text.size()));
    if (length < text.size()) {
      text.resize(length);
      return text;
    }
    text.assign(static_cast<std::size_t>(length) + 1, '\0');
  }
}

template <class Function>
bool bind(void* library, const char* name, Function& function) {
  function = reinterpret_cast<Function>(dlsym(library, name));
  return function != nullptr;
}

}  // namespace

std::unique_ptr<Simulator> Simulator::attach() {
  void* library = dlopen("libquilbysim.so", RTLD_LAZY | RTLD_NOLOAD);
  if (!library) return nullptr;
  std::unique_ptr<Simulator> simulator(new Simulator());
  simulator->library_ = library;
  const bool complete =
      bind(library, "QuilbySimReset", simulator->reset_) &&
      bind(library, "QuilbySimLoadWorld", simulator->loadWorld_) &&
      bind(library, "QuilbySimLastError", simulator->lastError_) &&
      bind(library, "QuilbySimWorld", simulator->world_) &&
      bind(library, "QuilbySimFailNext", simulator->failNext_) &&
      bind(library, "QuilbySimClearFailures", simulator->clearFailures_) &&
      bind(library, "QuilbySimJournal", simulator->journal_) &&
      bind(library, "QuilbySimClearJournal", simulator->clearJournal_) &&
      bind(library, "QuilbySimCriticalSections", simulator->criticalSections_) &&
      bind(library, "QuilbySimHoldMonitor", simulator->holdMonitor_) &&
      bind(library, "QuilbySimSetShownColor", simulator->setShownColor_);
  if (!complete) return nullptr;
  return simulator;
}

Simulator::~Simulator() {
  if (library_) dlclose(library_);
}

int Simulator::reset() const { return reset_(); }

bool Simulator::loadWorld(const std::string& world, std::string& error) const {
  std::string message(1024, '\0');
  if (loadWorld_(world.c_str(), message.data(), static_cast<std::uint32_t>(message.size())) == 0) {
    return true;
  }
  message.resize(message.find('\0'));
  error = message;
  return false;
}

std::string Simulator::lastError() const { return wholeText(lastError_); }
std::string Simulator::world() const { return wholeText(world_); }
std::string Simulator::journal() const { return wholeText(journal_); }
std::string Simulator::criticalSections() const { return wholeText(criticalSections_); }

void Simulator::failNext(const std::string& function, std::uint32_t count,
                         std::uint32_t status) const {
  failNext_(function.c_str(), count, status);
}

void Simulator::clearFailures() const { clearFailures_(); }
void Simulator::clearJournal() const { clearJournal_(); }

int Simulator::holdMonitor(const std::string& serial, const std::string& product,
                           bool held) const {
  return holdMonitor_(serial.c_str(), product.c_str(), held ? 1 : 0);
}

int Simulator::setShownColor(const std::string& serial, const std::string& product, double red,
                             double green, double blue) const {
  return setShownColor_(serial.c_str(), product.c_str(), red, green, blue);
}

const std::vector<std::pair<std::string, std::uint32_t>>& emErrorCodes() {
#define QUILBY_HOST_CODE(name) {#name, name}
  static const std::vector<std::pair<std::string, std::uint32_t>> codes = {
      QUILBY_HOST_CODE(EMERR_OK),
      QUILBY_HOST_CODE(EMERR_EXISTS_MORE_DATA),
      QUILBY_HOST_CODE(EMERR_RUNNING),
      QUILBY_HOST_CODE(EMERR_UNCONFIRMED),
      QUILBY_HOST_CODE(EMERR_OK_NOT_CORRECTED),
      QUILBY_HOST_CODE(EMERR_FAILED),
      QUILBY_HOST_CODE(EMERR_INVALID_ARGUMENT),
      QUILBY_HOST_CODE(EMERR_INVALID_BUFFER),
      QUILBY_HOST_CODE(EMERR_INVALID_BUFFER_SIZE),
      QUILBY_HOST_CODE(EMERR_ALREADY_REGISTERED),
      QUILBY_HOST_CODE(EMERR_NOT_REGISTERED),
      QUILBY_HOST_CODE(EMERR_UNKNOWN),
      QUILBY_HOST_CODE(EMERR_UNSUPPORTED),
      QUILBY_HOST_CODE(EMERR_STALL),
      QUILBY_HOST_CODE(EMERR_UNIMPLEMENTED),
      QUILBY_HOST_CODE(EMERR_OUT_OF_RANGE),
      QUILBY_HOST_CODE(EMERR_NO_MORE_DATA),
      QUILBY_HOST_CODE(EMERR_CANCELED),
      QUILBY_HOST_CODE(EMERR_OUT_OF_DOMAIN),
      QUILBY_HOST_CODE(EMERR_LONG_PROC_LOCK_IS_WAIT),
      QUILBY_HOST_CODE(EMERR_SHORT_PROC_LOCK_IS_WAIT),
      QUILBY_HOST_CODE(EMERR_DLL_NOT_FOUND),
      QUILBY_HOST_CODE(EMERR_OVER_LIMIT),
      QUILBY_HOST_CODE(EMERR_ALREADY_USED),
      QUILBY_HOST_CODE(EMERR_TIMED_OUT),
      QUILBY_HOST_CODE(EMERR_DISABLED),
      QUILBY_HOST_CODE(EMERR_INVALID_PRECONDITION),
      QUILBY_HOST_CODE(EMERR_UNRESOLVED),
      QUILBY_HOST_CODE(EMERR_RETRY_COUNT_EXCEEDED),
      QUILBY_HOST_CODE(EMERR_ALREADY_CREATED),
      QUILBY_HOST_CODE(EMERR_CANNOT_CREATE_FILE),
      QUILBY_HOST_CODE(EMERR_INVALID_DATA),
      QUILBY_HOST_CODE(EMERR_INVALID_DATA_SIZE),
      QUILBY_HOST_CODE(EMERR_INVALID_KEY),
      QUILBY_HOST_CODE(EMERR_INVALID_KEY_SIZE),
      QUILBY_HOST_CODE(EMERR_DATA_VERIFY_ERROR),
      QUILBY_HOST_CODE(EMERR_REJECTED_BY_CRITICAL_SECTION),
      QUILBY_HOST_CODE(EMERR_MONITOR_CONNECTION_ERROR),
      QUILBY_HOST_CODE(EMERR_SENSOR_CONNECTION_ERROR),
      QUILBY_HOST_CODE(EMERR_MEASURE_ERROR),
      QUILBY_HOST_CODE(EMERR_SENSOR_POSITION_ERROR),
      QUILBY_HOST_CODE(EMERR_CALCULATION_ERROR),
      QUILBY_HOST_CODE(EMERR_CHAMBER_ERROR),
      QUILBY_HOST_CODE(EMERR_SIGGENERATOR_ERROR),
      QUILBY_HOST_CODE(EMERR_ZERO_CALIBRATION_ERROR),
      QUILBY_HOST_CODE(EMERR_CANNOT_ENTER_MONITOR_CRITICAL_SECTION),
      QUILBY_HOST_CODE(EMERR_MONITOR_CRITICAL_SECTION_IS_OWNED),
  };
#undef QUILBY_HOST_CODE
  return codes;
}

bool parseStatus(std::string_view text, std::uint32_t& status) {
  for (const auto& [name, code] : emErrorCodes()) {
    if (text == name) {
      status = code;
      return true;
    }
  }
  int base = 10;
  if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
    text.remove_prefix(2);
    base = 16;
  }
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, status, base);
  return !text.empty() && error == std::errc() && stop == end;
}

const std::vector<std::string>& deviceFunctionNames() {
#define QUILBY_HOST_FUNCTION_NAME(Result, Name, Parameters, Arguments) #Name,
  static const std::vector<std::string> names = [] {
    std::vector<std::string> list = {QUILBY_SIM_ALL_DEVICE_FUNCTIONS(QUILBY_HOST_FUNCTION_NAME)};
    std::sort(list.begin(), list.end());
    return list;
  }();
#undef QUILBY_HOST_FUNCTION_NAME
  return names;
}

}  // namespace quilbyhost
