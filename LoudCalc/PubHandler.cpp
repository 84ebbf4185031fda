#include "PubHandler.h"
