// The presence sensor of a monitor: on or off, and its detection level.
#ifndef QUILBY_RESOURCES_PRESENCE_H
#define QUILBY_RESOURCES_PRESENCE_H

#include "bridge/bridge.h"

namespace vesk::bridge {

class SensorAmbraSense : public vesk::Bridge {};

class SensorAmbraSenseLevel : public vesk::Bridge {};

}  // namespace vesk::bridge

#endif  // QUILBY_RESOURCES_PRESENCE_H
