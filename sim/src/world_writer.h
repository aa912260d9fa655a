// Writes a world as JSON in the form world_reader.h reads, with every setting spelled out, so
// that writing, reading and writing again gives the same text.
#ifndef QUILBY_SIM_SRC_WORLD_WRITER_H
#define QUILBY_SIM_SRC_WORLD_WRITER_H

#include "src/world.h"

#include "json/value.h"

namespace quilbysim {

cairnjson::Value writeWorld(const World& world);

// The owner of a monitor's critical section as the world and QuilbySimCriticalSections write it:
// null, "process" or "other".
cairnjson::Value ownerForm(Owner owner);

}  // namespace quilbysim

#endif  // QUILBY_SIM_SRC_WORLD_WRITER_H
