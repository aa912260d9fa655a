// Opening sensors: by device id, by individual id, or as the sensor built into a monitor.
#ifndef QUILBY_RESOURCES_SENSOR_OPENING_H
#define QUILBY_RESOURCES_SENSOR_OPENING_H

#include "bridge/bridge.h"

namespace vesk::bridge {

class DeviceID : public vesk::Bridge {};

class IndividualID : public vesk::Bridge {};

class Monitors : public vesk::Bridge {};

}  // namespace vesk::bridge

#endif  // QUILBY_RESOURCES_SENSOR_OPENING_H
