#include "JsonCreateLuMessages.h"
