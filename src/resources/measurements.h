// Measurements: XYZ, raw, RGB, IR and uncorrelated XYZ values.
#ifndef QUILBY_RESOURCES_MEASUREMENTS_H
#define QUILBY_RESOURCES_MEASUREMENTS_H

#include "bridge/bridge.h"

namespace vesk::bridge {

class SensorXYZ : public vesk::Bridge {};

class SensorRawData : public vesk::Bridge {};

class SensorRGB : public vesk::Bridge {};

class SensorIR : public vesk::Bridge {};

class SensorXYZWithoutCorrelation : public vesk::Bridge {};

}  // namespace vesk::bridge

#endif  // QUILBY_RESOURCES_MEASUREMENTS_H
