#include "resources/resources.h"
