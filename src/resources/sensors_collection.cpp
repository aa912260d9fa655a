#include "resources/sensors_collection.h"
