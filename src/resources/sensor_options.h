// Further settings of an opened sensor: exterior light, parameter description, corrections,
// target marker, device options, and the temperature and brightness correction of built-in
// sensors.
#ifndef QUILBY_RESOURCES_SENSOR_OPTIONS_H
#define QUILBY_RESOURCES_SENSOR_OPTIONS_H

#include "bridge/bridge.h"

namespace vesk::bridge {

class SensorExteriorLight : public vesk::Bridge {};

class SensorParameterDescription : public vesk::Bridge {};

class SensorCorrection : public vesk::Bridge {};

class SensorExCorrection : public vesk::Bridge {};

class SensorTargetMarker : public vesk::Bridge {};

class SensorIFSTempCorrectParam : public vesk::Bridge {};

class SensorIFSBrightCorrectParamUpdate : public vesk::Bridge {};

class SensorDeviceOption : public vesk::Bridge {};

}  // namespace vesk::bridge

#endif  // QUILBY_RESOURCES_SENSOR_OPTIONS_H
