// The development host's hold on the simulated device world (quilby_sim/control.h).
//
// The host does not link the simulator: it binds to the libquilbysim.so that the plug-in's device
// libraries brought into the process, so that the world it controls is the one the plug-in
// measures. With real device libraries there is none, and the simulator routes say so.
#ifndef QUILBY_HOST_SIMULATOR_CONTROL_H
#define QUILBY_HOST_SIMULATOR_CONTROL_H

#include "quilby_sim/control.h"
#include "util/library_handle.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace quilbyhost {

class SimulatorControl {
 public:
  // Binds to the simulator already loaded in the process (found by its SONAME), so call it after
  // the plug-in is loaded. Null when none is loaded or it lacks a control function.
  static std::unique_ptr<SimulatorControl> attach();
  ~SimulatorControl();
  SimulatorControl(const SimulatorControl&) = delete;
  SimulatorControl& operator=(const SimulatorControl&) = delete;

  // The control functions of quilby_sim/control.h; texts are returned whole.
  int reset() const;
  // False with the simulator's message in `error` when the world is refused.
  bool loadWorld(const std::string& world, std::string& error) const;
  std::string lastError() const;
  std::string world() const;
  void failNext(const std::string& function, std::uint32_t count, std::uint32_t status) const;
  void clearFailures() const;
  std::string journal() const;
  // The last `count` entries only, at their cost rather than the whole journal's.
  std::string journalLast(std::uint32_t count) const;
  void clearJournal() const;
  std::string criticalSections() const;
  int holdMonitor(const std::string& serial, const std::string& product, bool held) const;
  int setShownColor(const std::string& serial, const std::string& product, double red,
                    double green, double blue) const;

 private:
  SimulatorControl() = default;

  vesk::LibraryHandle library_;
  decltype(&QuilbySimReset) reset_ = nullptr;
  decltype(&QuilbySimLoadWorld) loadWorld_ = nullptr;
  decltype(&QuilbySimLastError) lastError_ = nullptr;
  decltype(&QuilbySimWorld) world_ = nullptr;
  decltype(&QuilbySimFailNext) failNext_ = nullptr;
  decltype(&QuilbySimClearFailures) clearFailures_ = nullptr;
  decltype(&QuilbySimJournal) journal_ = nullptr;
  decltype(&QuilbySimJournalLast) journalLast_ = nullptr;
  decltype(&QuilbySimClearJournal) clearJournal_ = nullptr;
  decltype(&QuilbySimCriticalSections) criticalSections_ = nullptr;
  decltype(&QuilbySimHoldMonitor) holdMonitor_ = nullptr;
  decltype(&QuilbySimSetShownColor) setShownColor_ = nullptr;
};

// Reads a status as the world file does: a decimal integer, a "0x" hexadecimal text or an EMERR_
// name. False when it is none of these or does not fit 32 bits.
bool parseStatus(std::string_view text, std::uint32_t& status);

}  // namespace quilbyhost

#endif  // QUILBY_HOST_SIMULATOR_CONTROL_H
