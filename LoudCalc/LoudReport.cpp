#include "LoudReport.h"
