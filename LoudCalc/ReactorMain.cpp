#include "ReactorMain.h"
