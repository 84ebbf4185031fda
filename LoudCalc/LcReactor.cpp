#include "LcReactor.h"
