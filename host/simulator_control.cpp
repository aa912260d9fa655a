#include "simulator_control.h"

#include "src/status_names.h"

#include <dlfcn.h>

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
bool bind(const vesk::LibraryHandle& library, const char* name, Function& function) {
  function = reinterpret_cast<Function>(library.symbol(name));
  return function != nullptr;
}

}  // namespace

std::unique_ptr<SimulatorControl> SimulatorControl::attach() {
  vesk::LibraryHandle library("libquilbysim.so", RTLD_LAZY | RTLD_NOLOAD);
  if (!library) return nullptr;
  std::unique_ptr<SimulatorControl> simulator(new SimulatorControl());
  const bool complete =
      bind(library, "QuilbySimReset", simulator->reset_) &&
      bind(library, "QuilbySimLoadWorld", simulator->loadWorld_) &&
      bind(library, "QuilbySimLastError", simulator->lastError_) &&
      bind(library, "QuilbySimWorld", simulator->world_) &&
      bind(library, "QuilbySimFailNext", simulator->failNext_) &&
      bind(library, "QuilbySimClearFailures", simulator->clearFailures_) &&
      bind(library, "QuilbySimJournal", simulator->journal_) &&
      bind(library, "QuilbySimJournalLast", simulator->journalLast_) &&
      bind(library, "QuilbySimClearJournal", simulator->clearJournal_) &&
      bind(library, "QuilbySimCriticalSections", simulator->criticalSections_) &&
      bind(library, "QuilbySimHoldMonitor", simulator->holdMonitor_) &&
      bind(library, "QuilbySimSetShownColor", simulator->setShownColor_);
  if (!complete) return nullptr;
  simulator->library_ = std::move(library);
  return simulator;
}

SimulatorControl::~SimulatorControl() = default;

int SimulatorControl::reset() const { return reset_(); }

bool SimulatorControl::loadWorld(const std::string& world, std::string& error) const {
  std::string message(1024, '\0');
  if (loadWorld_(world.c_str(), message.data(), static_cast<std::uint32_t>(message.size())) == 0) {
    return true;
  }
  message.resize(message.find('\0'));
  error = message;
  return false;
}

std::string SimulatorControl::lastError() const { return wholeText(lastError_); }
std::string SimulatorControl::world() const { return wholeText(world_); }
std::string SimulatorControl::journal() const { return wholeText(journal_); }
std::string SimulatorControl::journalLast(std::uint32_t count) const {
  return wholeText(
      [&](char* buffer, std::uint32_t size) { return journalLast_(count, buffer, size); });
}
std::string SimulatorControl::criticalSections() const { return wholeText(criticalSections_); }

void SimulatorControl::failNext(const std::string& function, std::uint32_t count,
                         std::uint32_t status) const {
  failNext_(function.c_str(), count, status);
}

void SimulatorControl::clearFailures() const { clearFailures_(); }
void SimulatorControl::clearJournal() const { clearJournal_(); }

int SimulatorControl::holdMonitor(const std::string& serial, const std::string& product,
                           bool held) const {
  return holdMonitor_(serial.c_str(), product.c_str(), held ? 1 : 0);
}

int SimulatorControl::setShownColor(const std::string& serial, const std::string& product, double red,
                             double green, double blue) const {
  return setShownColor_(serial.c_str(), product.c_str(), red, green, blue);
}

bool parseStatus(std::string_view text, std::uint32_t& status) {
  if (const auto named = quilbysim::statusFromName(text)) {
    status = *named;
    return true;
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

}  // namespace quilbyhost
