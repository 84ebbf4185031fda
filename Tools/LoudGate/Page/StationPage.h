// What a browser shows of the board. Stateless.

#pragma once

#include <string>
#include <vector>

#include "Cluster.h"
#include "ClusterBoard.h"
#include "Routes.h"

namespace loudgate {

/// The page of all clusters, as they are now.
std::string StationPage(const std::vector<const Cluster*>& clusters, Moment now);

/// Answers / and the files of the page. The board must outlive the routes.
void AddPage(Routes& routes, const ClusterBoard& board);

}  // namespace loudgate
