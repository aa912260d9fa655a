/* quilby/usb_enumeration.h: the USB enumeration library, libhalvex_x64.so.
 *
 * A snapshot lists the USB devices present when it was taken. Devices and their names belong to
 * the snapshot and stay valid until it is released. Every function is looked up by name at run
 * time by the plug-in.
 */
#ifndef QUILBY_USB_ENUMERATION_H
#define QUILBY_USB_ENUMERATION_H

#include "quilby/device_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A new snapshot of the USB devices; NULL when none could be taken. */
void*       HvxCreateUSBDeviceSnapshot(void);
/* The device at `index` (0, 1, ...) of the snapshot; NULL past the last one. */
void*       HvxEnumUSBDevice(void* snapshot, uint32_t index);
/* The device's name, owned by the snapshot. */
const char* HvxGetUSBDeviceName(void* device);
/* Frees the snapshot and everything it handed out. */
void        HvxReleaseSnapshot(void* snapshot);

#ifdef __cplusplus
}  /* extern "C" */
#endif

#endif  /* QUILBY_USB_ENUMERATION_H */
