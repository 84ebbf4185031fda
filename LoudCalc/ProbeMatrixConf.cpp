// The preset of the probe's input/output matrix. Owned by the dispatcher; reactor thread only.

#include "ProbeMatrixConf.h"

cProbeMatrixConf::cProbeMatrixConf(int maxMeters) : cPresetParser(maxMeters) {}
