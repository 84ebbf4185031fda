#include "PublishLoudness.h"
