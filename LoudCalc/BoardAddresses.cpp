#include "BoardAddresses.h"
