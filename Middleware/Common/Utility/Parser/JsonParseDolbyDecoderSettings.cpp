#include "JsonParseDolbyDecoderSettings.h"
