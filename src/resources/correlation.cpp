#include "resources/correlation.h"
