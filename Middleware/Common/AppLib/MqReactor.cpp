#include "MqReactor.h"
