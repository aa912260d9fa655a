/* quilby/monitor_control.h: the monitor-control library, libemc_x64.so.
 *
 * Identifies the connected monitors (serial number of up to 8 characters, product name of up to
 * 16), gives their HID handles and panel revisions, and guards each monitor with a critical
 * section shared by every program that talks to it: entered by one owner, it is refused to others
 * with EMERR_MONITOR_CRITICAL_SECTION_IS_OWNED and left only by its owner.
 *
 * Every function is looked up by name at run time by the plug-in. Calls may come from any thread.
 */
#ifndef QUILBY_MONITOR_CONTROL_H
#define QUILBY_MONITOR_CONTROL_H

#include "quilby/device_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The serial number and product name of the monitor at `index` (0, 1, ...); a status other than
 * 0 past the last one. */
EmError  EmCtrlGetSerialProduct(uint32_t index, char serial[EMCTRL_SERIAL_SIZE],
                                char product[EMCTRL_PRODUCT_SIZE]);
/* The HID handle of the monitor with this serial number and product name. */
EmError  EmCtrlGetHIDHandle(const char* serial, const char* product, void** hid);
/* The panel revision of the monitor; there is no status. */
uint16_t EmCtrlGetPanelRevision(const char* serial, const char* product);
/* Enter and leave the monitor's critical section. */
EmError  EmCtrlLockMonitor(const char* serial, const char* product);
EmError  EmCtrlUnlockMonitor(const char* serial, const char* product);
/* Non-zero when the monitor has a DUE priority setting. */
int      EmCtrlSupportedDUEPriority(const char* serial, const char* product);
EmError  EmCtrlGetDUEPriority(const char* serial, const char* product,
                              EmCtrlDUEPriority* priority);

#ifdef __cplusplus
}  /* extern "C" */
#endif

#endif  /* QUILBY_MONITOR_CONTROL_H */
