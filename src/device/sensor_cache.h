// vesk::device::SensorCache: the registry of the sensors the web page has opened.
#ifndef QUILBY_DEVICE_SENSOR_CACHE_H
#define QUILBY_DEVICE_SENSOR_CACHE_H

#include "quilby/device_types.h"
#include "util/mutex.h"

#include <condition_variable>
#include <map>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace vesk::device {

// One opened sensor: the measurement library's handle (null after it was closed in place around
// a change of the monitor's HID handle) and, for a sensor built into a monitor, that monitor's
// serial number and product name (empty otherwise). The entry owns its strings, never the handle.
struct SensorHandle {
  MDHandle handle = nullptr;
  std::string serial;
  std::string product;
};

class SensorCache;

// A page request's use of one opened sensor, from the lookup until the request has answered.
// While any SensorInUse holds a handle, the cache's operations that would close it or hand it to
// another owner (closing in place before a HID change, removing, clearing) wait. Converts to the
// handle it holds, but only as a named object: a temporary would end its use before the handle
// is used, so that conversion does not compile.
class SensorInUse {
 public:
  SensorInUse() = default;
  ~SensorInUse();
  SensorInUse(SensorInUse&& other) noexcept;
  SensorInUse& operator=(SensorInUse&&) = delete;
  SensorInUse(const SensorInUse&) = delete;
  SensorInUse& operator=(const SensorInUse&) = delete;

  // The handle in use, or null when the lookup found none.
  [[nodiscard]] MDHandle get() const noexcept { return handle_; }
  operator MDHandle() const& noexcept { return handle_; }
  operator MDHandle() const&& = delete;

 private:
  friend class SensorCache;
  SensorInUse(SensorCache* cache, MDHandle handle) noexcept : cache_(cache), handle_(handle) {}

  SensorCache* cache_ = nullptr;
  MDHandle handle_ = nullptr;
};

// Every opened sensor under a fresh identifier (a lower-case UUID text, 36 characters) that the
// page uses in its per-sensor requests. One instance per process.
//
// Locking: `handle`, `use`, `idForHandle` and the destructor take the recursive mutex
// themselves; every other operation must be called with mutex() held (the compiler checks this
// with clang's thread-safety analysis). Other host components may hold the mutex across several
// calls of the sensor-handle interface, so it is recursive.
//
// Sensors in use: the page's per-sensor requests run on the host's request thread without the
// mutex, from their lookup (`use`) until they answer. The operations that end the request
// thread's right to a handle, on whatever thread they run, first wait under the mutex until no
// request uses that handle any more; since lookups need the mutex, no new use can begin
// meanwhile. A request never takes the mutex while it uses a sensor, so the wait always ends.
class SensorCache {
 public:
  // Ordered by byte-wise comparison of the identifiers; found by any string-like key.
  using Entries = std::map<std::string, SensorHandle, std::less<>>;

  // The one cache, made empty on first use; its destructor (at process exit) closes every sensor.
  static SensorCache& Instance();

  // Registers an opened sensor under a new identifier and returns it. Registering a handle that
  // is already registered gives it a second identifier.
  [[nodiscard]] std::string registerHandle(MDHandle handle) QUILBY_REQUIRES(mutex_);
  [[nodiscard]] std::string registerHandle(MDHandle handle, const std::string& serial,
                             const std::string& product) QUILBY_REQUIRES(mutex_);

  // Forgets the identifier (an unknown one is ignored). The sensor is not closed.
  void unregisterHandle(const std::string& id) QUILBY_REQUIRES(mutex_);

  // The handle registered under `id`, or null. Locks.
  [[nodiscard]] MDHandle handle(const std::string& id) const;

  // The handle registered under `id`, in use by the caller until the result is destroyed; holds
  // no handle when the identifier is unknown or its sensor is closed in place. Locks.
  SensorInUse use(std::string_view id);

  // The first identifier (in byte order) holding `handle`, or "". Locks.
  [[nodiscard]] std::string idForHandle(MDHandle handle) const;

  // The entries themselves, for walks and for changing handles in place.
  Entries& handles() noexcept QUILBY_REQUIRES(mutex_) { return entries_; }
  const Entries& handles() const noexcept QUILBY_REQUIRES(mutex_) { return entries_; }

  // The recursive mutex guarding the entries.
  RecursiveMutex& mutex() const noexcept QUILBY_RETURN_CAPABILITY(mutex_) { return mutex_; }

  // Blocks until no request uses `handle` (returns at once for null). Called before the handle is
  // closed or handed to another owner.
  void waitUntilUnused(MDHandle handle) QUILBY_REQUIRES(mutex_);

  // Closes every registered sensor (MDClose on a copy of each handle, results ignored, also for
  // handles closed in place) and forgets them all, once no request uses any of them.
  void clear() QUILBY_REQUIRES(mutex_);

  // clear() for the host's teardown, which calls it without the mutex: by then no other
  // component uses the plug-in, and a component that kept the mutex must not hang the host's
  // shutdown.
  void clearAtTeardown() QUILBY_NO_THREAD_SAFETY_ANALYSIS { clear(); }

 private:
  friend class SensorInUse;

  SensorCache() = default;
  ~SensorCache();

  void release(MDHandle handle);
  [[nodiscard]] bool isInUse(MDHandle handle) const QUILBY_REQUIRES(usersMutex_);

  Entries entries_ QUILBY_GUARDED_BY(mutex_);
  mutable RecursiveMutex mutex_;

  // The handles page requests use right now, one element per use. Guarded by a mutex of its own
  // because requests give up their use without the cache's mutex.
  std::vector<MDHandle> inUse_ QUILBY_GUARDED_BY(usersMutex_);
  Mutex usersMutex_;
  std::condition_variable usersReleased_;
};

}  // namespace vesk::device

#endif  // QUILBY_DEVICE_SENSOR_CACHE_H
