#include "JsonParser.h"
