// The sensor-handle interface: how other components of the host share the sensors the page
// opened. Every function may run on any host thread, so each walk over the sensor cache holds its
// recursive mutex, and nothing but QuilbyLockSensors' std::system_error reaches the caller: any
// other failure (a lock that cannot be taken, lack of memory) becomes the function's documented
// "not found" or EMERR_FAILED answer.
//
// The page's requests use their sensor's handle without the mutex (see SensorCache). Closing a
// built-in sensor before a HID change and removing a sensor end the request thread's right to the
// handle, so both first wait, under the mutex, until no request uses it.
#include "quilby/plugin.h"

#include "bridge/logger.h"
#include "device/sensor_cache.h"
#include "device/serial_usb_connection.h"
#include "loader/loaders.h"
#include "quilby/measurement_device.h"
#include "quilby/monitor_control.h"

#include "util/mutex.h"

#include <string>
#include <system_error>

namespace {

using vesk::device::SensorCache;
using CacheLock = vesk::MutexLock<vesk::RecursiveMutex>;

// The first entry, in identifier order, whose handle `matches`; EMERR_NOT_REGISTERED when none.
template <class Predicate>
EmError findHandle(MDHandle* handle, Predicate matches) {
  SensorCache& cache = SensorCache::Instance();
  const CacheLock lock(cache.mutex());
  for (const auto& entry : cache.handles()) {
    if (matches(entry.second.handle)) {
      *handle = entry.second.handle;
      return EMERR_OK;
    }
  }
  return EMERR_NOT_REGISTERED;
}

// Only sensors opened through a monitor carry its serial and product, so those opened by device
// or individual id never match a real monitor. A NULL text names no monitor.
bool isBuiltInto(const vesk::device::SensorHandle& entry, const char* serial, const char* product) {
  return serial && product && entry.serial == serial && entry.product == product;
}

// The monitor-control library's status for the monitor's current HID handle, stored in `hid`
// (left null when the library gives none).
EmError monitorHIDHandle(const char* serial, const char* product, void*& hid) {
  hid = nullptr;
  return vesk::libemcLoader::loader().call(QUILBY_DEVICE_FUNCTION(EmCtrlGetHIDHandle), serial,
                                           product, &hid);
}

void logLine(MireltoLevel level, const char* text) {
  vesk::QuilbyLogger::Instance().log(level, text);
}

// Before the monitor's HID handle changes: closes the sensor, keeping its entry and identifier so
// that the page's requests survive the change. A handle that would not close stays in place until
// the update replaces it.
void closeInPlace(SensorCache& cache, vesk::device::SensorHandle& sensor, void* /*hid*/)
    QUILBY_REQUIRES(cache.mutex()) {
  cache.waitUntilUnused(sensor.handle);
  if (EMERR_IS_FAILURE(MDClose(&sensor.handle))) {
    logLine(vesk::kLogFailure, "Failed to close sensor on pre update built-in sensor handle.");
  } else {
    sensor.handle = nullptr;
    logLine(vesk::kLogInformation, "Close sensor on pre update built-in sensor handle.");
  }
}

// After the change: opens the sensor anew through the monitor's new HID handle.
void reopenInPlace(SensorCache& /*cache*/, vesk::device::SensorHandle& sensor, void* hid) {
  MDHandle reopened = nullptr;
  if (EMERR_IS_FAILURE(MDOpenWithHIDHandle(hid, &reopened))) {
    logLine(vesk::kLogFailure, "Failed to open sensor on update built-in sensor handle.");
  } else {
    sensor.handle = reopened;
    logLine(vesk::kLogInformation, "Reopen sensor on update built-in sensor handle.");
  }
}

// Runs `refresh` on every registered sensor built into the monitor (serial, product), under the
// cache's lock, once the monitor-control library reports the monitor's HID handle. Without one,
// its status is handed back unchanged: a success that found no HID handle does nothing and
// succeeds.
EmError refreshBuiltInSensors(const char* serial, const char* product,
                              void (*refresh)(SensorCache&, vesk::device::SensorHandle&, void*)) {
  void* hid = nullptr;
  const EmError status = monitorHIDHandle(serial, product, hid);
  if (EMERR_IS_FAILURE(status) || !hid) return status;
  SensorCache& cache = SensorCache::Instance();
  const CacheLock lock(cache.mutex());
  for (auto& entry : cache.handles()) {
    if (isBuiltInto(entry.second, serial, product)) refresh(cache, entry.second, hid);
  }
  return EMERR_OK;
}

}  // namespace

QUILBY_EXPORT int SensorControlGetHandleForID(const char* id, MDHandle* handle) {
  if (!id) return 0;
  try {
    const MDHandle found = SensorCache::Instance().handle(id);
    if (handle) *handle = found;
    return found ? 1 : 0;
  } catch (...) {
    return 0;
  }
}

QUILBY_EXPORT EmError QuilbyGetHandleForHIDHandle(void* hid, MDHandle* handle) {
  if (!hid) return EMERR_NOT_REGISTERED;
  try {
    return findHandle(handle, [hid](MDHandle candidate) { return MDGetHIDHandle(candidate) == hid; });
  } catch (...) {
    return EMERR_FAILED;
  }
}

QUILBY_EXPORT EmError QuilbyGetHandleForDeviceID(MDDeviceID deviceID, MDHandle* handle) {
  // Refused before locking: 0 is no device.
  if (deviceID == 0) return EMERR_NOT_REGISTERED;
  try {
    return findHandle(handle, [deviceID](MDHandle candidate) {
      return MDGetDeviceID(candidate) == deviceID;
    });
  } catch (...) {
    return EMERR_FAILED;
  }
}

QUILBY_EXPORT EmError QuilbyRemoveSensor(MDHandle handle) {
  if (!handle) return EMERR_NOT_REGISTERED;
  try {
    SensorCache& cache = SensorCache::Instance();
    // Finding and removing under one hold of the lock, so that the page's own DELETE cannot
    // come between them and close the handle this caller is about to own. The request thread
    // may still be using the handle: the caller owns it, and may close it, only once it is done.
    const CacheLock lock(cache.mutex());
    const std::string id = cache.idForHandle(handle);
    if (id.empty()) return EMERR_NOT_REGISTERED;
    cache.waitUntilUnused(handle);
    cache.unregisterHandle(id);
    return EMERR_OK;
  } catch (...) {
    return EMERR_FAILED;
  }
}

QUILBY_EXPORT EmError QuilbyPreUpdateBuiltInSensorHandle(const char* serial, const char* product) {
  try {
    return refreshBuiltInSensors(serial, product, closeInPlace);
  } catch (...) {
    return EMERR_FAILED;
  }
}

QUILBY_EXPORT EmError QuilbyUpdateBuiltInSensorHandle(const char* serial, const char* product) {
  try {
    return refreshBuiltInSensors(serial, product, reopenInPlace);
  } catch (...) {
    return EMERR_FAILED;
  }
}

QUILBY_EXPORT EmError QuilbyEnumConnectedSerialSensors(uint32_t index, MDDeviceID* deviceID) {
  try {
    vesk::device::SerialUSBConnection& connection = vesk::device::SerialUSBConnection::Instance();
    // Only index 0 takes a new USB snapshot; later indexes read the list it left.
    if (index == 0) connection.update();
    return connection.enumerate(index, deviceID);
  } catch (...) {
    return EMERR_FAILED;
  }
}

// The lock taken here is released by QuilbyUnlockSensors, a later call: beyond what the
// compiler's per-function analysis can follow.
QUILBY_EXPORT void QuilbyLockSensors(void) QUILBY_NO_THREAD_SAFETY_ANALYSIS {
  try {
    SensorCache::Instance().mutex().lock();
  } catch (const std::system_error&) {
    // The one exception allowed out: the caller must not go on as if it held the lock.
    throw;
  } catch (...) {
  }
}

QUILBY_EXPORT void QuilbyUnlockSensors(void) QUILBY_NO_THREAD_SAFETY_ANALYSIS {
  try {
    SensorCache::Instance().mutex().unlock();
  } catch (...) {
  }
}
