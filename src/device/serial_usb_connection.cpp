#include "device/serial_usb_connection.h"

#include "loader/loaders.h"
#include "quilby/usb_enumeration.h"

namespace vesk::device {

SerialUSBConnection& SerialUSBConnection::Instance() {
  static SerialUSBConnection connection;
  return connection;
}

void SerialUSBConnection::setDeviceIDMappings(const cairnjson::Value& mappings) {
  const MutexLock<RecursiveMutex> lock(mutex_);
  mappings_.clear();
  for (const auto& [name, id] : mappings.members()) {
    // Every rule of the table is the 64-bit conversion followed by truncation to 32 bits.
    mappings_[name] = static_cast<MDDeviceID>(static_cast<std::uint64_t>(id.toLLong(0)));
  }
}

void SerialUSBConnection::update() {
  const MutexLock<RecursiveMutex> lock(mutex_);
  connected_.clear();
  if (mappings_.empty()) return;
  // Each function is resolved right before its call, so the library is opened on first need.
  halvexLoader& library = halvexLoader::loader();
  void* snapshot = library.call(QUILBY_DEVICE_FUNCTION(HvxCreateUSBDeviceSnapshot));
  if (!snapshot) return;
  for (std::uint32_t index = 0;; ++index) {
    void* device =
        halvexLoader::loader().call(QUILBY_DEVICE_FUNCTION(HvxEnumUSBDevice), snapshot, index);
    if (!device) break;
    const char* name =
        halvexLoader::loader().call(QUILBY_DEVICE_FUNCTION(HvxGetUSBDeviceName), device);
    const auto mapped = mappings_.find(name ? name : "");
    if (mapped != mappings_.end()) connected_.push_back(mapped->second);
  }
  halvexLoader::loader().call(QUILBY_DEVICE_FUNCTION(HvxReleaseSnapshot), snapshot);
}

cairnjson::Value SerialUSBConnection::connectedDeviceIDs() const {
  cairnjson::Value list(cairnjson::Type::Array);
  const MutexLock<RecursiveMutex> lock(mutex_);
  for (const MDDeviceID id : connected_) {
    cairnjson::Value entry;
    entry["deviceID"].setInteger(id);
    list.push_back(entry);
  }
  return list;
}

EmError SerialUSBConnection::enumerate(std::uint64_t index, MDDeviceID* deviceID) const {
  const MutexLock<RecursiveMutex> lock(mutex_);
  if (index >= connected_.size()) return EMERR_NO_MORE_DATA;
  if (deviceID) *deviceID = connected_[index];
  return EMERR_EXISTS_MORE_DATA;
}

MDDeviceID SerialUSBConnection::operator[](std::uint64_t index) const {
  const MutexLock<RecursiveMutex> lock(mutex_);
  return connected_[index];
}

}  // namespace vesk::device
