#include "JsonParseSources.h"
