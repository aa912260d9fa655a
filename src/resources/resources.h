// Every resource of the plug-in, one class each, derived from vesk::Bridge: a resource overrides
// the handlers of the methods it implements; the others answer 405 "MethodError".
#ifndef QUILBY_RESOURCES_RESOURCES_H
#define QUILBY_RESOURCES_RESOURCES_H

#include "resources/correlation.h"
#include "resources/correlation_database.h"
#include "resources/correlation_matrix.h"
#include "resources/measurements.h"
#include "resources/presence.h"
#include "resources/sensor_opening.h"
#include "resources/sensor_options.h"
#include "resources/sensor_state.h"
#include "resources/sensors_collection.h"

#endif  // QUILBY_RESOURCES_RESOURCES_H
