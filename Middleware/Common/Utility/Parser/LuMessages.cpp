#include "LuMessages.h"
