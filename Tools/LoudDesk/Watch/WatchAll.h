// The watch of all clusters that publish on this machine.

#pragma once

#include "WatchParts.h"

namespace louddesk {

/// Shows a row for every cluster that publishes, now or later, and the meter of the one that the
/// user opens, until the user ends it. Throws as `Terminal` does.
void WatchAllClusters(const WatchLook& look);

}  // namespace louddesk
