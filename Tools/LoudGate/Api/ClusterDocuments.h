// Clusters as JSON. Stateless.

#pragma once

#include <string>
#include <vector>

#include "Cluster.h"

namespace loudgate {

/// All that is shown of one cluster ten times a second, as Docs/PROTOCOL.md describes it.
std::string ClusterDocument(const Cluster& cluster, Moment now);

/// The same of several, and the moment.
std::string ClustersDocument(const std::vector<const Cluster*>& clusters, Moment now);

/// The same of one, with its history and its acknowledgements.
std::string ClusterDetailsDocument(const Cluster& cluster, Moment now);

}  // namespace loudgate
