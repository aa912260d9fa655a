// The sensors collection: connected and opened sensors, their names, the library path and
// serial mappings, closing every sensor, and the instrument maker's control panel.
#ifndef QUILBY_RESOURCES_SENSORS_COLLECTION_H
#define QUILBY_RESOURCES_SENSORS_COLLECTION_H

#include "bridge/bridge.h"

namespace vesk::bridge {

class Sensors : public vesk::Bridge {};

class SensorsName : public vesk::Bridge {};

class XRiteControlPanel : public vesk::Bridge {};

}  // namespace vesk::bridge

#endif  // QUILBY_RESOURCES_SENSORS_COLLECTION_H
