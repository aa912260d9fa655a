// An opened sensor's capabilities, closing, mode, calibration, arm and position.
#ifndef QUILBY_RESOURCES_SENSOR_STATE_H
#define QUILBY_RESOURCES_SENSOR_STATE_H

#include "bridge/bridge.h"

namespace vesk::bridge {

class Sensor : public vesk::Bridge {};

class SensorMode : public vesk::Bridge {};

class SensorCalibration : public vesk::Bridge {};

class SensorArm : public vesk::Bridge {};

class SensorPosition : public vesk::Bridge {};

}  // namespace vesk::bridge

#endif  // QUILBY_RESOURCES_SENSOR_STATE_H
