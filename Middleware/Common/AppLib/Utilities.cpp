#include "Utilities.h"
