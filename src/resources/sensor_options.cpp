#include "resources/sensor_options.h"
