// `quilby-host measure`: the common job without writing requests. Opens a sensor (by monitor,
// device id or individual id), sets its mode when asked, calibrates when it says it needs it,
// takes its arm out when it has one, takes the readings (showing each colour in turn on the
// simulated monitor), prints them with the derived values and statistics, writes CSV and CGATS,
// and closes the sensor again, also when something failed.
#ifndef QUILBY_HOST_MEASURE_H
#define QUILBY_HOST_MEASURE_H

#include "frontend.h"
#include "options.h"

#include <atomic>
#include <cstdio>
#include <string>

namespace quilbyhost {

// What can be checked before the plug-in is loaded: that the files to write can be created. False
// with a sentence in `error`.
bool checkMeasureFiles(const MeasureOptions& options, std::string& error);

// Runs the measurement through `frontend` (the same routes as scripts). The table goes to `out`;
// progress ("taking the arm out") to `errors` unless `quiet`, failures always, naming the
// operation and the plug-in's error. `simulator` says whether the simulated device libraries are
// loaded (--colours needs them). `stop` set from another thread ends the readings early. Returns
// the exit status: 0, or 1 when anything failed or it was stopped.
int runMeasure(Frontend& frontend, bool simulator, const MeasureOptions& options, bool quiet,
               std::FILE* out, std::FILE* errors, const std::atomic<bool>& stop);

}  // namespace quilbyhost

#endif  // QUILBY_HOST_MEASURE_H
