#include "JsonParseHbMonMessages.h"
