// Opening sensors: by device id, by individual id, or as the sensor built into a monitor. Each
// successful POST opens the sensor anew through the measurement library and answers a new sensor
// identifier (a JSON string) under which the sensor cache keeps it.
#ifndef QUILBY_RESOURCES_SENSOR_OPENING_H
#define QUILBY_RESOURCES_SENSOR_OPENING_H

#include "bridge/bridge.h"

namespace vesk::bridge {

// POST Sensors/{deviceID}: MDOpen with the device id (the parameter as text, read as an
// unsigned decimal number; its low 32 bits).
class DeviceID : public vesk::Bridge {
 public:
  BridgeResult Post(const BridgeData& data) override;
};

// POST Sensors/Individual/{individualID}: MDOpenWithIndividualID (unsigned 64-bit, decimal).
class IndividualID : public vesk::Bridge {
 public:
  BridgeResult Post(const BridgeData& data) override;
};

// POST Monitors/{serial}/{product}/Sensor: the monitor's HID handle from the monitor-control
// library, then MDOpenWithHIDHandle; the sensor is registered with the monitor's serial and
// product, so that it can be closed and reopened when the monitor's HID handle changes.
class Monitors : public vesk::Bridge {
 public:
  BridgeResult Post(const BridgeData& data) override;
};

}  // namespace vesk::bridge

#endif  // QUILBY_RESOURCES_SENSOR_OPENING_H
