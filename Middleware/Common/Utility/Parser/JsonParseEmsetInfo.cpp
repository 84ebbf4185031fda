#include "JsonParseEmsetInfo.h"
