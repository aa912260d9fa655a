// The control interface of quilby_sim/control.h.
#include "quilby_sim/control.h"

#include "devices/device_functions.h"
#include "src/records.h"
#include "src/simulator.h"
#include "src/status_names.h"
#include "src/world_reader.h"
#include "src/world_writer.h"

#include "json/serializer.h"

#include <cmath>
#include <mutex>
#include <string>

namespace {

using cairnjson::Serializer;
using quilbysim::Simulator;

// Writes `text` into the caller's buffer as control.h describes and returns its whole length.
uint32_t deliver(const std::string& text, char* buffer, uint32_t size) {
  if (buffer && size > 0) quilbysim::copyText(buffer, size, text);
  return static_cast<uint32_t>(text.size());
}

}  // namespace

extern "C" {

QUILBY_SIM_EXPORT int QuilbySimReset(void) {
  try {
    Simulator& simulator = Simulator::Instance();
    std::lock_guard<std::mutex> lock(simulator.mutex());
    return simulator.installFromEnvironment() ? 0 : -1;
  } catch (...) {
    return -1;
  }
}

QUILBY_SIM_EXPORT int QuilbySimLoadWorld(const char* world, char* error, uint32_t errorSize) {
  std::string problem;
  try {
    Simulator& simulator = Simulator::Instance();
    std::lock_guard<std::mutex> lock(simulator.mutex());
    if (!world) {
      problem = "world: NULL text";
    } else {
      try {
        simulator.install(quilbysim::readWorld(world));
        if (error && errorSize > 0) error[0] = '\0';
        return 0;
      } catch (const quilbysim::WorldFormatError& failure) {
        problem = failure.what();
      }
    }
    simulator.setLastError(problem);
  } catch (...) {
    problem = "world: out of memory";
  }
  deliver(problem, error, errorSize);
  return -1;
}

QUILBY_SIM_EXPORT uint32_t QuilbySimLastError(char* buffer, uint32_t size) {
  try {
    Simulator& simulator = Simulator::Instance();
    std::lock_guard<std::mutex> lock(simulator.mutex());
    return deliver(simulator.lastError(), buffer, size);
  } catch (...) {
    return deliver("", buffer, size);
  }
}

QUILBY_SIM_EXPORT uint32_t QuilbySimWorld(char* buffer, uint32_t size) {
  try {
    Simulator& simulator = Simulator::Instance();
    std::lock_guard<std::mutex> lock(simulator.mutex());
    return deliver(Serializer::compact(quilbysim::writeWorld(simulator.world())), buffer, size);
  } catch (...) {
    return deliver("", buffer, size);
  }
}

QUILBY_SIM_EXPORT void QuilbySimFailNext(const char* function, uint32_t count, uint32_t status) {
  try {
    if (!function || !quilbysim::isDeviceFunction(function)) return;
    Simulator& simulator = Simulator::Instance();
    std::lock_guard<std::mutex> lock(simulator.mutex());
    std::vector<quilbysim::Failure>& failures = simulator.world().failures;
    std::erase_if(failures,
                  [&](const quilbysim::Failure& failure) { return failure.function == function; });
    if (count > 0) failures.push_back(quilbysim::Failure{function, 0, count, status});
  } catch (...) {
  }
}

QUILBY_SIM_EXPORT void QuilbySimClearFailures(void) {
  try {
    Simulator& simulator = Simulator::Instance();
    std::lock_guard<std::mutex> lock(simulator.mutex());
    simulator.world().failures.clear();
  } catch (...) {
  }
}

QUILBY_SIM_EXPORT uint32_t QuilbySimJournal(char* buffer, uint32_t size) {
  try {
    Simulator& simulator = Simulator::Instance();
    // The entries share their containers with the journal, whose use counts are not atomic: they
    // are copied, written and dropped under the lock.
    std::lock_guard<std::mutex> lock(simulator.mutex());
    return deliver(Serializer::compact(simulator.journal().toJson()), buffer, size);
  } catch (...) {
    return deliver("", buffer, size);
  }
}

QUILBY_SIM_EXPORT uint32_t QuilbySimJournalLast(uint32_t count, char* buffer, uint32_t size) {
  try {
    Simulator& simulator = Simulator::Instance();
    // Under the lock for the same reason as QuilbySimJournal.
    std::lock_guard<std::mutex> lock(simulator.mutex());
    return deliver(Serializer::compact(simulator.journal().lastToJson(count)), buffer, size);
  } catch (...) {
    return deliver("", buffer, size);
  }
}

QUILBY_SIM_EXPORT void QuilbySimClearJournal(void) {
  try {
    Simulator& simulator = Simulator::Instance();
    std::lock_guard<std::mutex> lock(simulator.mutex());
    simulator.journal().clear();
  } catch (...) {
  }
}

QUILBY_SIM_EXPORT uint32_t QuilbySimCriticalSections(char* buffer, uint32_t size) {
  try {
    Simulator& simulator = Simulator::Instance();
    std::lock_guard<std::mutex> lock(simulator.mutex());
    cairnjson::Value sections(cairnjson::Type::Array);
    for (const quilbysim::Monitor& monitor : simulator.world().monitors) {
      cairnjson::Value section;
      section["serial"] = cairnjson::Value::makeString(monitor.serial);
      section["product"] = cairnjson::Value::makeString(monitor.product);
      section["owner"] = quilbysim::ownerForm(monitor.criticalSection);
      sections.push_back(section);
    }
    return deliver(Serializer::compact(sections), buffer, size);
  } catch (...) {
    return deliver("", buffer, size);
  }
}

QUILBY_SIM_EXPORT int QuilbySimHoldMonitor(const char* serial, const char* product, int held) {
  if (!serial || !product) return -1;
  try {
    Simulator& simulator = Simulator::Instance();
    std::lock_guard<std::mutex> lock(simulator.mutex());
    quilbysim::Monitor* monitor = simulator.world().findMonitor(serial, product);
    if (!monitor || monitor->criticalSection == quilbysim::Owner::Process) return -1;
    monitor->criticalSection = held ? quilbysim::Owner::Other : quilbysim::Owner::None;
    return 0;
  } catch (...) {
    return -1;
  }
}

QUILBY_SIM_EXPORT int QuilbySimSetShownColor(const char* serial, const char* product, double red,
                                             double green, double blue) {
  if (!serial || !product) return -1;
  for (double value : {red, green, blue}) {
    if (!(value >= 0.0 && value <= 1.0)) return -1;
  }
  try {
    Simulator& simulator = Simulator::Instance();
    std::lock_guard<std::mutex> lock(simulator.mutex());
    quilbysim::Monitor* monitor = simulator.world().findMonitor(serial, product);
    if (!monitor) return -1;
    monitor->shownColor = {red, green, blue};
    return 0;
  } catch (...) {
    return -1;
  }
}

}  // extern "C"
