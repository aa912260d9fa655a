// vesk::device::SensorCache: the registry of the sensors the web page has opened.
#ifndef QUILBY_DEVICE_SENSOR_CACHE_H
#define QUILBY_DEVICE_SENSOR_CACHE_H

#include "quilby/device_types.h"

#include <map>
#include <mutex>
#include <string>

namespace vesk::device {

// One opened sensor: the measurement library's handle (null after it was closed in place around
// a change of the monitor's HID handle) and, for a sensor built into a monitor, that monitor's
// serial number and product name (empty otherwise). The entry owns its strings, never the handle.
struct SensorHandle {
  MDHandle handle = nullptr;
  std::string serial;
  std::string product;
};

// Every opened sensor under a fresh identifier (a lower-case UUID text, 36 characters) that the
// page uses in its per-sensor requests. One instance per process.
//
// Locking: `handle`, `idForHandle` and the destructor take the recursive mutex themselves; every
// other operation must be called with mutex() held whenever another thread may touch the cache.
class SensorCache {
 public:
  using Entries = std::map<std::string, SensorHandle>;

  // The one cache, made empty on first use; its destructor (at process exit) closes every sensor.
  static SensorCache& Instance();

  // Registers an opened sensor under a new identifier and returns it. Registering a handle that
  // is already registered gives it a second identifier.
  std::string registerHandle(MDHandle handle);
  std::string registerHandle(MDHandle handle, const std::string& serial,
                             const std::string& product);

  // Forgets the identifier (an unknown one is ignored). The sensor is not closed.
  void unregisterHandle(const std::string& id);

  // The handle registered under `id`, or null. Locks.
  MDHandle handle(const std::string& id) const;

  // The first identifier (in byte order) holding `handle`, or "". Locks.
  std::string idForHandle(MDHandle handle) const;

  bool containsHandle(MDHandle handle) const;
  bool containsHandle(const std::string& id) const;

  // The entries themselves, for walks and for changing handles in place.
  Entries& handles() noexcept { return entries_; }
  const Entries& handles() const noexcept { return entries_; }

  // The recursive mutex guarding the entries.
  std::recursive_mutex& mutex() const noexcept { return mutex_; }

  // Closes every registered sensor (MDClose on a copy of each handle, results ignored, also for
  // handles closed in place) and forgets them all.
  void clear();

 private:
  SensorCache() = default;
  ~SensorCache();

  Entries entries_;
  mutable std::recursive_mutex mutex_;
};

}  // namespace vesk::device

#endif  // QUILBY_DEVICE_SENSOR_CACHE_H
