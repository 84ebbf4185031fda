// Watches all clusters that publish on this machine.

#pragma once

#include "WatchParts.h"

namespace louddesk {

/// Shows one row per cluster that publishes, now or later, and the meter of a cluster that the user
/// opens. Returns when the user ends it. Throws as `Terminal` does.
void WatchAllClusters(const WatchLook& look);

}  // namespace louddesk
