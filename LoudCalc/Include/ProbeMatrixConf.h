// The preset of the probe's input/output matrix. One object, owned by the dispatcher, used from the
// reactor thread only.

#pragma once

#include "JsonParseMetersInfo.h"

class cProbeMatrixConf : public cPresetParser {
 public:
  /// A preset for `maxMeters` meters and as many clusters, in the reset state.
  explicit cProbeMatrixConf(int maxMeters);
};
