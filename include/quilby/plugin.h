/* quilby/plugin.h: the exports of the plug-in, libquilby.so.
 *
 * Resource entry points. The host forwards each request of its web page to the function of the
 * resource it names, with four texts: the request description (a JSON object whose "method" is
 * GET, PUT, POST or DELETE), the path parameters (a JSON object; "id" names an opened sensor),
 * the query keys (a JSON object) and the body (any JSON text, or raw text). All four are
 * non-NULL ("" when absent). The function takes a promise id from BridgeHelperCreatePromiseID,
 * runs the request on the calling thread, delivers the answer with BridgeHelperSetResponse
 * (status 200, 400, 404, 405 or 500 and the envelope {"error": ..., "value": ...}) and returns
 * the promise id. It never throws to the host.
 *
 * Lifecycle. The host calls Setup once after loading the library and TearDown once before
 * unloading it.
 *
 * Sensor-handle interface. Other components of the host may share the sensors the page opened:
 * look up their measurement-device handles, remove them from the plug-in's registry, refresh the
 * handles of built-in sensors around a change of the monitor's HID handle, list the connected
 * serial-USB sensors and hold the registry's lock across several calls. These functions may be
 * called on any thread; they return EmError codes (device_types.h) unless stated otherwise.
 */
#ifndef QUILBY_PLUGIN_H
#define QUILBY_PLUGIN_H

#include "quilby/device_types.h"
#include "quilby/resource_list.h"

#ifdef __cplusplus
extern "C" {
#endif

#define QUILBY_EXPORT __attribute__((visibility("default")))

/* Resource entry point: returns the promise id. All four texts are non-NULL ("" when absent).
 * One per resource of quilby/resource_list.h, which gives each one's methods and path. */
#define QUILBY_RESOURCE(Name) \
    QUILBY_EXPORT int Name(const char* request, const char* parameters, \
                           const char* query, const char* data)
#define QUILBY_DECLARE_RESOURCE(Name, Methods, Path) QUILBY_RESOURCE(Name);
QUILBY_RESOURCES(QUILBY_DECLARE_RESOURCE)
#undef QUILBY_DECLARE_RESOURCE

/* Initialises the device libraries' directory and, when the devices listed in the web page's
 * "did.json" want it, launches the measurement subprocess. */
QUILBY_EXPORT void    Setup(void);
/* Closes every sensor still open and quits the measurement subprocess if "did.json" wants it. */
QUILBY_EXPORT void    TearDown(void);

/* Whether the sensor identifier `id` names an opened sensor; its handle (NULL when unknown) is
 * stored through `handle` unless `handle` is NULL. Returns exactly 1 (found) or 0. */
QUILBY_EXPORT int     SensorControlGetHandleForID(const char* id, MDHandle* handle /* may be NULL */);
/* The handle of the first opened sensor built into the monitor with HID handle `hid`, stored
 * through `handle`, which must not be NULL: EMERR_OK, EMERR_NOT_REGISTERED when none (or `hid` is
 * NULL), EMERR_FAILED when the registry could not be searched. Takes the registry's lock. */
QUILBY_EXPORT EmError QuilbyGetHandleForHIDHandle(void* hid, MDHandle* handle);
/* The handle of the first opened sensor with device id `deviceID` (0 is refused), stored through
 * `handle`, which must not be NULL: EMERR_OK, EMERR_NOT_REGISTERED, or EMERR_FAILED as above. */
QUILBY_EXPORT EmError QuilbyGetHandleForDeviceID(MDDeviceID deviceID, MDHandle* handle);
/* Drops `handle` from the registry without closing it; the caller owns it from then on.
 * EMERR_OK, EMERR_NOT_REGISTERED for an unknown or NULL handle, EMERR_FAILED on an internal
 * failure. Finds and drops it under one hold of the registry's lock, after any page request
 * using the handle has answered (it may wait for one): on return nothing else uses the handle.
 * To find a handle and remove it as one step, hold QuilbyLockSensors around both calls. */
QUILBY_EXPORT EmError QuilbyRemoveSensor(MDHandle handle);
/* Before the HID handle of the monitor (serial, product) changes: closes the built-in sensors
 * opened through it, keeping their identifiers. A sensor a page request is using is closed once
 * that request has answered. Returns the monitor-control library's status when
 * it finds no HID handle, EMERR_FAILED on an internal failure, else EMERR_OK. */
QUILBY_EXPORT EmError QuilbyPreUpdateBuiltInSensorHandle(const char* serial, const char* product);
/* After the change: reopens those sensors under their old identifiers. Status as above. */
QUILBY_EXPORT EmError QuilbyUpdateBuiltInSensorHandle(const char* serial, const char* product);
/* The device id of the connected serial-USB sensor at `index`: EMERR_EXISTS_MORE_DATA with the id
 * stored (unless `deviceID` is NULL), EMERR_NO_MORE_DATA past the end, EMERR_FAILED when the USB
 * snapshot fails. Index 0 takes a new snapshot. */
QUILBY_EXPORT EmError QuilbyEnumConnectedSerialSensors(uint32_t index,
                                                       MDDeviceID* deviceID /* may be NULL */);
/* Take and release the registry's lock (recursive) across several calls. QuilbyLockSensors may
 * throw std::system_error when the lock fails. */
QUILBY_EXPORT void    QuilbyLockSensors(void);
QUILBY_EXPORT void    QuilbyUnlockSensors(void);

#ifdef __cplusplus
}  /* extern "C" */
#endif

#endif  /* QUILBY_PLUGIN_H */
