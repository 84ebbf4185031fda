#include "ProbeMatrixConf.h"
