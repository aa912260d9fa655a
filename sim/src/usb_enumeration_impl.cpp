// libhalvex_x64.so: snapshots of the USB devices present.
#include "src/implementations.h"
#include "src/handles.h"
#include "src/simulator.h"

namespace quilbysim::impl {

void* HvxCreateUSBDeviceSnapshot(void) {
  Call call("HvxCreateUSBDeviceSnapshot", {});
  return call.value<void*>(nullptr, form::usbSnapshot,
                           [&] { return call.simulator().createSnapshot(); });
}

void* HvxEnumUSBDevice(void* snapshot, uint32_t index) {
  Call call("HvxEnumUSBDevice", {form::usbSnapshot(snapshot), form::integer(index)});
  return call.value<void*>(nullptr, form::usbDevice, [&]() -> void* {
    const UsbSnapshot* taken = call.simulator().findSnapshot(snapshot);
    if (!taken || index >= taken->names.size()) return nullptr;
    return usbDevicePointer(*snapshotNumber(snapshot), index);
  });
}

const char* HvxGetUSBDeviceName(void* device) {
  Call call("HvxGetUSBDeviceName", {form::usbDevice(device)});
  return call.value<const char*>(nullptr, form::text, [&]() -> const char* {
    const auto place = usbDeviceAddress(device);
    if (!place) return nullptr;
    const UsbSnapshot* taken = call.simulator().findSnapshot(snapshotPointer(place->snapshot));
    if (!taken || place->index >= taken->names.size()) return nullptr;
    return taken->names[place->index].c_str();
  });
}

void HvxReleaseSnapshot(void* snapshot) {
  Call call("HvxReleaseSnapshot", {form::usbSnapshot(snapshot)});
  call.action([&] { call.simulator().releaseSnapshot(snapshot); });
}

}  // namespace quilbysim::impl
