#include "resources/correlation_database.h"
