// libmirelto2_x64.so: each function forwards to the one device world in libquilbysim.so.
#include "devices/device_functions.h"

QUILBY_SIM_LOGGING_FUNCTIONS(QUILBY_SIM_FORWARD)
