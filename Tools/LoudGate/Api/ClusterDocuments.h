// Clusters as JSON. Stateless.

#pragma once

#include <string>
#include <vector>

#include "Cluster.h"

namespace loudgate {

/// The state and figures of one cluster. Docs/PROTOCOL.md describes the members.
std::string ClusterDocument(const Cluster& cluster, Moment now);

/// The documents of several clusters, with the current time.
std::string ClustersDocument(const std::vector<const Cluster*>& clusters, Moment now);

/// The document of one cluster, with its history, its histogram and its acknowledgements.
std::string ClusterDetailsDocument(const Cluster& cluster, Moment now);

}  // namespace loudgate
