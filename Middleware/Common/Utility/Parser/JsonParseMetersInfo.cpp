#include "JsonParseMetersInfo.h"
