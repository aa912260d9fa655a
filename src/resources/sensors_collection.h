// The sensors collection: connected and opened sensors, their names, the library path and
// serial mappings, closing every sensor, and the instrument maker's control panel.
#ifndef QUILBY_RESOURCES_SENSORS_COLLECTION_H
#define QUILBY_RESOURCES_SENSORS_COLLECTION_H

#include "bridge/bridge.h"

namespace vesk::bridge {

// Sensors (logged URI "Sensors").
class Sensors : public vesk::Bridge {
 public:
  // One of three lists, chosen by the query key present (its value is never read):
  //   "connected":       [{"deviceID": n, "individualID": "<16 lower-case hex digits>"}, ...]
  //                      from MDEnumConnectedDevices, up to its first failing status (the end
  //                      of the list, not an error);
  //   "serialConnected": [{"deviceID": n}, ...] from a fresh USB snapshot of the serial-USB
  //                      connection list (404 "FunctionNotFoundError" when the USB enumeration
  //                      library lacks a function);
  //   neither:           the identifiers of the opened sensors, in identifier order.
  // "connected" wins when both are present. Holds the sensor cache's lock throughout.
  BridgeResult Get(const BridgeData& data) override;

  // Reads the body as an object. "libraryPath" (as text) goes to
  // MDInitDeviceLibrariesDirectoryPath, whose failure answers the status error "Init device
  // libraries directory path." and skips the rest; then "serialMappings" replaces the serial-USB
  // mapping table (a non-object value empties it). Answers null; takes no lock.
  BridgeResult Put(const BridgeData& data) override;

  // Closes every opened sensor (closing failures ignored), forgets every identifier and answers
  // null. Holds the sensor cache's lock throughout.
  BridgeResult Delete(const BridgeData& data) override;
};

// Sensors/Name (logged URI "Sensors/Name").
class SensorsName : public vesk::Bridge {
 public:
  // Names as an array of strings ("" where the library has none). With the query key
  // "deviceIDs", its text is split at every "," and each piece read as an unsigned decimal
  // device id (an empty or non-numeric piece is 0), named in order by MDGetNameFromDeviceID,
  // without the cache's lock. Otherwise the opened sensors in identifier order, named by
  // MDGetName under the cache's lock.
  BridgeResult Get(const BridgeData& data) override;
};

// XRite/ControlPanel (logged URI "XRite/ControlPanel").
class XRiteControlPanel : public vesk::Bridge {
 public:
  // Asks the measurement library to open the control panel; nothing of the request is read.
  // Answers null, or the status error "Open XRite Control Panel.".
  BridgeResult Put(const BridgeData& data) override;
};

}  // namespace vesk::bridge

#endif  // QUILBY_RESOURCES_SENSORS_COLLECTION_H
