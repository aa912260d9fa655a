// The values the simulated libraries hand out as opaque pointers: sensor handles, USB snapshots
// and USB devices. Each is a tag in the high bits and a number below, never a real address, so a
// caller that dereferences one crashes at once, and a stale or foreign value is recognised by
// looking its number up in the Simulator's tables instead of by trusting the pointer.
#ifndef QUILBY_SIM_SRC_HANDLES_H
#define QUILBY_SIM_SRC_HANDLES_H

#include "quilby/device_types.h"

#include <cstdint>
#include <optional>

namespace quilbysim {

inline constexpr uintptr_t kTagMask = 0xFFFF000000000000ULL;
inline constexpr uintptr_t kSensorTag = 0x5153000000000000ULL;    // sensor handle number
inline constexpr uintptr_t kSnapshotTag = 0x5155000000000000ULL;  // USB snapshot number
inline constexpr uintptr_t kDeviceTag = 0x5144000000000000ULL;    // snapshot << 20 | index + 1
inline constexpr int kDeviceIndexBits = 20;

inline MDHandle sensorHandle(uint64_t number) {
  return reinterpret_cast<MDHandle>(kSensorTag | static_cast<uintptr_t>(number));
}
// The number of a sensor handle value, whether or not it is still open.
inline std::optional<uint64_t> sensorHandleNumber(const void* handle) {
  const auto value = reinterpret_cast<uintptr_t>(handle);
  if ((value & kTagMask) != kSensorTag || (value & ~kTagMask) == 0) return std::nullopt;
  return value & ~kTagMask;
}

inline void* snapshotPointer(uint64_t number) {
  return reinterpret_cast<void*>(kSnapshotTag | static_cast<uintptr_t>(number));
}
inline std::optional<uint64_t> snapshotNumber(const void* snapshot) {
  const auto value = reinterpret_cast<uintptr_t>(snapshot);
  if ((value & kTagMask) != kSnapshotTag || (value & ~kTagMask) == 0) return std::nullopt;
  return value & ~kTagMask;
}

struct UsbDeviceAddress {
  uint64_t snapshot;
  uint32_t index;
};
inline void* usbDevicePointer(uint64_t snapshot, uint32_t index) {
  return reinterpret_cast<void*>(kDeviceTag | static_cast<uintptr_t>(snapshot) << kDeviceIndexBits |
                                 (static_cast<uintptr_t>(index) + 1));
}
inline std::optional<UsbDeviceAddress> usbDeviceAddress(const void* device) {
  const auto value = reinterpret_cast<uintptr_t>(device);
  const uintptr_t indexPlusOne = value & ((uintptr_t{1} << kDeviceIndexBits) - 1);
  if ((value & kTagMask) != kDeviceTag || indexPlusOne == 0) return std::nullopt;
  return UsbDeviceAddress{(value & ~kTagMask) >> kDeviceIndexBits,
                          static_cast<uint32_t>(indexPlusOne - 1)};
}

}  // namespace quilbysim

#endif  // QUILBY_SIM_SRC_HANDLES_H
