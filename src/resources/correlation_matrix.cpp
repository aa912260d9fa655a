#include "resources/correlation_matrix.h"
