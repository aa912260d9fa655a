// vesk::device::SerialUSBConnection: the sensors on serial-over-USB links and their device ids.
#ifndef QUILBY_DEVICE_SERIAL_USB_CONNECTION_H
#define QUILBY_DEVICE_SERIAL_USB_CONNECTION_H

#include "json/value.h"
#include "quilby/device_types.h"
#include "util/mutex.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace vesk::device {

// The measurement library does not find serial-USB sensors itself: the web page tells which
// device id each USB device name stands for, and on request a snapshot of the USB devices yields
// the ids of those present. One instance per process.
//
// Locking: update, connectedDeviceIDs, enumerate, operator[] and setDeviceIDMappings take the
// recursive mutex; size and empty do not. The mappings are set from the request thread while
// another host component may be refreshing the list from them, so they are guarded too.
class SerialUSBConnection {
 public:
  static SerialUSBConnection& Instance();

  // Replaces the table of USB device names to device ids. A JSON object maps each member's key
  // to its value as a 32-bit id: an integer truncated, true 1 and false 0, a real number rounded
  // half away from zero (0 beyond the 64-bit range), a string read as an integer in the base its
  // prefix gives (0 unless wholly a number), anything else 0. Any other argument empties the
  // table.
  void setDeviceIDMappings(const cairnjson::Value& mappings);

  // Takes a USB snapshot and keeps, in enumeration order, the ids of the devices whose names are
  // mapped (twice when two devices share a name). Without mappings nothing is enumerated and the
  // list is empty; a failed snapshot leaves it empty. A missing USB enumeration library or
  // function throws its 404 with the lock released; the list then holds the ids found before the
  // failure (none unless the snapshot's release is what is missing). Locks.
  void update();

  // [{"deviceID": id}, ...] of the last update.
  [[nodiscard]] cairnjson::Value connectedDeviceIDs() const;

  // The id at `index` of the last update: EMERR_EXISTS_MORE_DATA (with the id stored unless
  // `deviceID` is null), or EMERR_NO_MORE_DATA past the end (nothing stored).
  [[nodiscard]] EmError enumerate(std::uint64_t index, MDDeviceID* deviceID) const;

  // The id at `index`, without a bounds check.
  MDDeviceID operator[](std::uint64_t index) const;
  // Unlocked: only for a caller that knows no other thread refreshes the list meanwhile.
  [[nodiscard]] std::size_t size() const noexcept QUILBY_NO_THREAD_SAFETY_ANALYSIS { return connected_.size(); }
  [[nodiscard]] bool empty() const noexcept QUILBY_NO_THREAD_SAFETY_ANALYSIS { return connected_.empty(); }

  RecursiveMutex& mutex() const noexcept QUILBY_RETURN_CAPABILITY(mutex_) { return mutex_; }

 private:
  SerialUSBConnection() = default;

  std::map<std::string, MDDeviceID> mappings_ QUILBY_GUARDED_BY(mutex_);
  std::vector<MDDeviceID> connected_ QUILBY_GUARDED_BY(mutex_);
  mutable RecursiveMutex mutex_;
};

}  // namespace vesk::device

#endif  // QUILBY_DEVICE_SERIAL_USB_CONNECTION_H
