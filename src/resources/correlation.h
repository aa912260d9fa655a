// Correlation of a built-in sensor with a reference instrument: corrections, the criterion
// sensor description and the correlation data.
#ifndef QUILBY_RESOURCES_CORRELATION_H
#define QUILBY_RESOURCES_CORRELATION_H

#include "bridge/bridge.h"

namespace vesk::bridge {

class SensorCorrelation : public vesk::Bridge {};

class SensorCorrelation9Points : public vesk::Bridge {};

class SensorCorrelationDescription : public vesk::Bridge {};

class SensorCorrelationData : public vesk::Bridge {};

}  // namespace vesk::bridge

#endif  // QUILBY_RESOURCES_CORRELATION_H
