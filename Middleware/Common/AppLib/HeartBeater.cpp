#include "HeartBeater.h"
