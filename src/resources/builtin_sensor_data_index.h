// The data index of a monitor's built-in sensor: which of the sensor's sets of correlation and
// calibration data the colour-sensor library's later record and matrix calls work on.
#ifndef QUILBY_RESOURCES_BUILTIN_SENSOR_DATA_INDEX_H
#define QUILBY_RESOURCES_BUILTIN_SENSOR_DATA_INDEX_H

#include "quilby/device_types.h"

namespace vesk::bridge {

// Selects the data set of the built-in sensor of the monitor whose HID handle is `hid` before its
// correlation data is read or written. `flag` false selects the user set (index 3); `flag` true
// the factory set, which on a monitor with the DUE priority setting is index 1 for priority 2 and
// index 0 for any other priority, and index 0 on a monitor without that setting. When
// CSSG2H_SetColorSensorDataIndex refuses the index (a negative result, as older firmware always
// answers), the same choice is made by flags through CSSG2H_SetColorSensorDataIndex2.
//
// `priorityOut` may be null; otherwise it receives the monitor's DUE priority when the monitor
// has that setting and is left untouched when it has none.
//
// Failures, all thrown as BridgeResultError:
//   - no monitor has `hid`: 404 "Error" "HID handle is not found."; a failing EmCtrlGetHIDHandle
//     during that lookup: the library-status error under "Get HID handle.";
//   - EmCtrlGetDUEPriority failing: the library-status error (500 "EmError") under
//     "Get DUE priority.";
//   - the fallback CSSG2H_SetColorSensorDataIndex2 failing: the library-status error under
//     "Set color sensor data index." (the result of the first call is never reported);
//   - a missing library or function: 404 "FunctionNotFoundError".
//
// Enters the monitor's critical section (when it can) around the colour-sensor calls only, and
// has always left it on return, failures included; the monitor-control calls are made outside it.
void ApplyBuiltinSensorDataIndex(void* hid, EmCtrlDUEPriority* priorityOut, bool flag);

}  // namespace vesk::bridge

#endif  // QUILBY_RESOURCES_BUILTIN_SENSOR_DATA_INDEX_H
