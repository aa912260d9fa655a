// Correlation matrices of a built-in sensor (3x3 and 8x3).
#ifndef QUILBY_RESOURCES_CORRELATION_MATRIX_H
#define QUILBY_RESOURCES_CORRELATION_MATRIX_H

#include "bridge/bridge.h"

namespace vesk::bridge {

class SensorCorrelationMatrix : public vesk::Bridge {};

class SensorCorrelationMatrixData : public vesk::Bridge {};

}  // namespace vesk::bridge

#endif  // QUILBY_RESOURCES_CORRELATION_MATRIX_H
