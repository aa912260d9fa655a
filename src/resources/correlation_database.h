// The stored correlation data and correlation matrices of the correction library.
#ifndef QUILBY_RESOURCES_CORRELATION_DATABASE_H
#define QUILBY_RESOURCES_CORRELATION_DATABASE_H

#include "bridge/bridge.h"

namespace vesk::bridge {

class SensorCorrelationDatabase : public vesk::Bridge {};

class SensorCorrelationMatrixDatabase : public vesk::Bridge {};

}  // namespace vesk::bridge

#endif  // QUILBY_RESOURCES_CORRELATION_DATABASE_H
