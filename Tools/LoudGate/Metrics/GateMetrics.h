// The metrics for a monitoring system, in the text format of Prometheus. Stateless.

#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Cluster.h"
#include "ClusterBoard.h"
#include "HttpServer.h"
#include "RecordWriter.h"
#include "Routes.h"

namespace loudgate {

/// The media type of the Prometheus text format.
constexpr char kMetricsType[] = "text/plain; version=0.0.4; charset=utf-8";

/// What the gate counts about itself.
struct GateCounts {
  HttpCounts http;
  std::optional<RecordCounts> record;  // nothing when no record is kept
};

/// The metrics of the clusters and of the gate. A figure appears only while its cluster publishes
/// it and it has a reading.
std::string MetricsText(const std::vector<const Cluster*>& clusters, const GateCounts& counts,
                        Moment now);

/// Answers /metrics. Calls `counts` for each request. The board and all that `counts` uses must
/// outlive the routes.
void AddMetrics(Routes& routes, const ClusterBoard& board, std::function<GateCounts()> counts);

}  // namespace loudgate
