#include "resources/sensor_opening.h"
