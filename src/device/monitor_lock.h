// The monitor critical section around work on a monitor's built-in sensor.
#ifndef QUILBY_DEVICE_MONITOR_LOCK_H
#define QUILBY_DEVICE_MONITOR_LOCK_H

#include "quilby/device_types.h"

#include <string>

namespace vesk {

// Fills `serial` (EMCTRL_SERIAL_SIZE bytes) and `product` (EMCTRL_PRODUCT_SIZE bytes) with the
// identity of the monitor whose HID handle is `hid`, walking the monitor-control library's
// monitors by index. When no monitor has that HID handle: throws BridgeResultError(404, "Error",
// "HID handle is not found.") when `failIfNotFound`, else leaves the buffers untouched. A failing
// status of EmCtrlGetHIDHandle (other than 0x80000006, which is skipped like a non-matching
// monitor) throws the library-status error under "Get HID handle.". A missing monitor-control
// library or function throws its 404.
void GetSerialProductWithHIDHandle(void* hid, char* serial, char* product, bool failIfNotFound);

// A scoped guard of the critical section of the monitor with a given HID handle. The guard never
// reports a failure to enter or leave: without the critical section (no such monitor, no
// EmCtrlLockMonitor, a refusal) the work goes on unguarded, and a refusal of the monitor's own
// functions then reaches the page as their status. Not to be shared between threads.
class MonitorLock {
 public:
  explicit MonitorLock(void* hid);
  MonitorLock(const MonitorLock&) = delete;
  MonitorLock& operator=(const MonitorLock&) = delete;
  // Leaves the section if this guard entered it.
  ~MonitorLock();

  // Refreshes the monitor's identity, then enters its section unless this guard holds it already
  // or the monitor is unknown or the library lacks EmCtrlLockMonitor. May throw the lookup's
  // errors (see GetSerialProductWithHIDHandle).
  void lock();
  // Leaves the section if this guard entered it; stays locked when the library refuses.
  void unlock();
  // Reads the monitor's serial number and product name from its HID handle (empty when unknown).
  void get_serial_product();

  [[nodiscard]] bool locked() const noexcept { return locked_; }
  [[nodiscard]] const std::string& serial() const noexcept { return serial_; }
  [[nodiscard]] const std::string& product() const noexcept { return product_; }

 private:
  void* hid_;
  bool locked_ = false;
  std::string serial_;
  std::string product_;
};

}  // namespace vesk

#endif  // QUILBY_DEVICE_MONITOR_LOCK_H
