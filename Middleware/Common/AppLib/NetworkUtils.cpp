#include "NetworkUtils.h"
