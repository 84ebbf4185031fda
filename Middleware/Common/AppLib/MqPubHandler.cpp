#include "MqPubHandler.h"
