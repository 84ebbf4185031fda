#include "JsonParseLuMessages.h"
