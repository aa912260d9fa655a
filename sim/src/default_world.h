// The world the simulator starts with when QUILBY_SIM_WORLD names none. docs/simulator.md shows
// it in full.
#ifndef QUILBY_SIM_SRC_DEFAULT_WORLD_H
#define QUILBY_SIM_SRC_DEFAULT_WORLD_H

namespace quilbysim {

// The JSON text of the built-in world; static, never NULL.
const char* defaultWorldText();

}  // namespace quilbysim

#endif  // QUILBY_SIM_SRC_DEFAULT_WORLD_H
