// The presence sensor of a monitor with a built-in sensor: detection on or off, and its level.
//
// Both resources reach the monitor through its HID handle and the colour-sensor library, inside
// the monitor's critical section (entered when it can be, and always left before the answer goes
// out). The sensor is named by the "id" path parameter (400 "URI is invalid." / 404 "Not found."
// first); a sensor without a HID handle fails with the library-status error 0x80000000 under
// "Get HID handle.". A PUT body is checked before the critical section is entered and before the
// colour-sensor library is opened. A failing library status ends the request with the
// library-status error (500 "EmError") under the handler's step text; a missing colour-sensor
// function answers 404 "FunctionNotFoundError".
#ifndef QUILBY_RESOURCES_PRESENCE_H
#define QUILBY_RESOURCES_PRESENCE_H

#include "bridge/bridge.h"

namespace vesk::bridge {

// Sensors/{id}/AmbraSense
class SensorAmbraSense : public vesk::Bridge {
 public:
  // Whether detection is on, as the monitor's byte (integer; 0 off). Step text "Get human detect
  // on off.".
  BridgeResult Get(const BridgeData& data) override;
  // Body: a boolean, or a number meaning on when not zero; anything else is 400 "data must be
  // number or boolean.". Step text "Set human detect on off."; answers null.
  BridgeResult Put(const BridgeData& data) override;
};

// Sensors/{id}/AmbraSense/Level
class SensorAmbraSenseLevel : public vesk::Bridge {
 public:
  // The detection mode (integer). Step text "Get human detect mode.".
  BridgeResult Get(const BridgeData& data) override;
  // Body: a number (floating ones rounded half away from zero), passed through as the monitor's
  // mode code; anything else, booleans included, is 400 "data must be number.". Step text "Set
  // human detect mode."; answers null.
  BridgeResult Put(const BridgeData& data) override;
};

}  // namespace vesk::bridge

#endif  // QUILBY_RESOURCES_PRESENCE_H
