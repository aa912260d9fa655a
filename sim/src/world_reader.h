// Reads a world from its JSON text (format in docs/simulator.md) and checks it whole: kinds,
// ranges, text lengths, unknown keys, and the references between its parts (a sensor's monitor
// and USB device, applied correction ids, unique serials, HID handles and ids).
#ifndef QUILBY_SIM_SRC_WORLD_READER_H
#define QUILBY_SIM_SRC_WORLD_READER_H

#include "src/world.h"

#include <string>

namespace quilbysim {

// The world in `text`. Throws WorldFormatError (records.h) at the first problem, naming its place
// ("sensors[2].monitor: no monitor with serial \"X\"") or "JSON: <parser message>" for text that
// is not JSON.
World readWorld(const std::string& text);

}  // namespace quilbysim

#endif  // QUILBY_SIM_SRC_WORLD_READER_H
