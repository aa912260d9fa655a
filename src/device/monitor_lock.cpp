#include "device/monitor_lock.h"

#include "bridge/em_error.h"
#include "loader/loaders.h"
#include "quilby/monitor_control.h"

#include <cstring>

namespace vesk {

void GetSerialProductWithHIDHandle(void* hid, char* serial, char* product, bool failIfNotFound) {
  libemcLoader& library = libemcLoader::loader();
  for (std::uint32_t index = 0;; ++index) {
    char monitorSerial[EMCTRL_SERIAL_SIZE] = {};
    char monitorProduct[EMCTRL_PRODUCT_SIZE] = {};
    const EmError listed = library.call(QUILBY_DEVICE_FUNCTION(EmCtrlGetSerialProduct), index,
                                        monitorSerial, monitorProduct);
    if (listed != EMERR_OK) {
      if (failIfNotFound) {
        throw BridgeResultError(BridgeStatusCode::NotFound, "Error", "HID handle is not found.");
      }
      return;
    }
    void* monitorHid = nullptr;
    const EmError found = library.call(QUILBY_DEVICE_FUNCTION(EmCtrlGetHIDHandle), monitorSerial,
                                       monitorProduct, &monitorHid);
    if (EMERR_IS_FAILURE(found) && found != EMERR_UNKNOWN) BridgeCheckEmError(found, "Get HID handle.");
    if (monitorHid == hid) {
      std::memcpy(serial, monitorSerial, EMCTRL_SERIAL_SIZE);
      std::memcpy(product, monitorProduct, EMCTRL_PRODUCT_SIZE);
      return;
    }
  }
}

MonitorLock::MonitorLock(void* hid) : hid_(hid) {}

MonitorLock::~MonitorLock() {
  try {
    unlock();
  } catch (...) {
    // The monitor-control library vanished mid-request; nothing is left to leave.
  }
}

void MonitorLock::get_serial_product() {
  char serial[EMCTRL_SERIAL_SIZE] = {};
  char product[EMCTRL_PRODUCT_SIZE] = {};
  GetSerialProductWithHIDHandle(hid_, serial, product, false);
  serial_ = serial;
  product_ = product;
}

void MonitorLock::lock() {
  get_serial_product();
  if (locked_ || serial_.empty() || product_.empty()) return;
  // The critical section is optional: a library without it just leaves the work unguarded.
  libemcLoader& library = libemcLoader::loader();
  if (!library.lookup(QUILBY_DEVICE_FUNCTION(EmCtrlLockMonitor))) return;
  const EmError status =
      library.call(QUILBY_DEVICE_FUNCTION(EmCtrlLockMonitor), serial_.c_str(), product_.c_str());
  if (EMERR_IS_SUCCESS(status)) locked_ = true;
}

void MonitorLock::unlock() {
  if (!locked_) return;
  const EmError status = libemcLoader::loader().call(QUILBY_DEVICE_FUNCTION(EmCtrlUnlockMonitor),
                                                     serial_.c_str(), product_.c_str());
  if (EMERR_IS_SUCCESS(status)) locked_ = false;
}

}  // namespace vesk
