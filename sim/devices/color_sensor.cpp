// libmSensor_x64.so: each function forwards to the one device world in libquilbysim.so.
#include "devices/device_functions.h"

QUILBY_SIM_COLOR_SENSOR_FUNCTIONS(QUILBY_SIM_FORWARD)

// The variant build lacks the functions the plug-in treats as optional.
#ifndef QUILBY_SIM_VARIANT
QUILBY_SIM_COLOR_SENSOR_OPTIONAL_FUNCTIONS(QUILBY_SIM_FORWARD)
#endif
