// The implementations of the device functions, one per entry of devices/device_functions.h, with
// the prototypes of the public headers. Each runs as one Call (simulator.h). They may throw
// std::bad_alloc; device_table.cpp turns that into the function's failure result.
#ifndef QUILBY_SIM_SRC_IMPLEMENTATIONS_H
#define QUILBY_SIM_SRC_IMPLEMENTATIONS_H

#include "devices/device_functions.h"

namespace quilbysim::impl {

#define QUILBY_SIM_DECLARE(Result, Name, Parameters, Arguments) Result Name Parameters;
QUILBY_SIM_ALL_DEVICE_FUNCTIONS(QUILBY_SIM_DECLARE)
#undef QUILBY_SIM_DECLARE

}  // namespace quilbysim::impl

#endif  // QUILBY_SIM_SRC_IMPLEMENTATIONS_H
