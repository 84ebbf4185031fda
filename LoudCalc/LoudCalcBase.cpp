#include "LoudCalcBase.h"
