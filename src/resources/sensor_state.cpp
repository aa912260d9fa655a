#include "resources/sensor_state.h"
