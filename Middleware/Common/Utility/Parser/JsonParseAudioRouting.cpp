#include "JsonParseAudioRouting.h"
