#include "resources/measurements.h"
