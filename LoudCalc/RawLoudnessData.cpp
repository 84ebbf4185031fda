#include "RawLoudnessData.h"
