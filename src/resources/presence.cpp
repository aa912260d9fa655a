#include "resources/presence.h"
