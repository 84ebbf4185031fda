// What a monitoring system collects, in the text format of Prometheus. Stateless.

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

/// The media type of the format.
constexpr char kMetricsType[] = "text/plain; version=0.0.4; charset=utf-8";

/// What the gate counts of itself.
struct GateCounts {
  HttpCounts http;
  std::optional<RecordCounts> record;  // nothing where none is kept
};

/// The metrics of the clusters and of the gate. A figure is there only while its cluster publishes
/// it and has a reading.
std::string MetricsText(const std::vector<const Cluster*>& clusters, const GateCounts& counts,
                        Moment now);

/// Answers /metrics. `counts` is asked each time; both must outlive the routes.
void AddMetrics(Routes& routes, const ClusterBoard& board, std::function<GateCounts()> counts);

}  // namespace loudgate
