// Watches all clusters that publish on this machine.

#pragma once

#include "Sockets.h"
#include "WatchParts.h"

namespace louddesk {

/// How often live pictures are refreshed when nothing arrives.
constexpr Patience kRefresh{100};

/// Shows one row per cluster that publishes, now or later, and the meter of a cluster that the user
/// opens. Returns when the user ends it. Throws as `Terminal` does.
void WatchAllClusters(const WatchLook& look);

}  // namespace louddesk
