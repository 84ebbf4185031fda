#include "Bin.h"
