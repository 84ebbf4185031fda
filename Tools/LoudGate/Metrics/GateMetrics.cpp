// The metrics' names, help texts and values.

#include "GateMetrics.h"

#include <prometheus/metric_family.h>
#include <prometheus/text_serializer.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <utility>

#include "FiguresText.h"
#include "Version.h"

namespace loudgate {

using louddesk::LoudnessOf;
using louddesk::ServiceState;
using louddesk::TruePeakOf;
using prometheus::ClientMetric;
using prometheus::MetricFamily;
using prometheus::MetricType;

namespace {

using Value = std::optional<double>;

double SecondsOf(std::chrono::milliseconds time) {
  return static_cast<double>(time.count()) / 1000.0;
}

Value OrNothing(bool isThere, Value value) {
  return isThere ? value : std::nullopt;
}

struct ClusterMetric {
  const char* name;
  const char* help;
  MetricType type;
  Value (*value)(const Cluster& cluster, Moment now);
};

// A figure of the last loudness message; nothing unless the measurement runs or is paused.
using Code = std::int16_t;
template <Code LoudnessData_t::*code, Value (*decode)(Code)>
Value Figure(const Cluster& cluster, Moment now) {
  const louddesk::WatchModel& model = cluster.Model();
  return OrNothing(model.IsLive(now.steady) && cluster.Last(), decode(model.Data().*code));
}

Value Range(const Cluster& cluster, Moment now) {
  const LoudnessData_t& data = cluster.Model().Data();
  return OrNothing(louddesk::HasRange(data),
                   Figure<&LoudnessData_t::Lra, LoudnessOf>(cluster, now));
}

Value RecentTruePeak(const Cluster& cluster, Moment now) {
  return OrNothing(cluster.Model().IsLive(now.steady), TruePeakOf(cluster.RecentTruePeak()));
}

Value MaxShortTerm(const Cluster& cluster, Moment now) {
  const louddesk::WatchModel& model = cluster.Model();
  return OrNothing(model.IsLive(now.steady), LoudnessOf(model.MaxShortTerm()));
}

Value SourceValid(const Cluster& cluster, Moment) {
  const auto isValid = cluster.Model().IsSourceValid();
  return isValid ? Value(*isValid ? 1 : 0) : std::nullopt;
}

Value Age(const Cluster& cluster, Moment now) {
  const auto age = cluster.Model().Age(now.steady);
  return age ? Value(SecondsOf(*age)) : std::nullopt;
}

Value Unchanged(const Cluster& cluster, Moment now) {
  const auto time = cluster.Model().NoChangeFor(now.steady);
  return OrNothing(cluster.Model().IsLive(now.steady), time ? SecondsOf(*time) : 0);
}

Value Target(const Cluster& cluster, Moment) {
  return cluster.Model().Limits().target;
}

Value Tolerance(const Cluster& cluster, Moment) {
  return cluster.Model().Limits().tolerance;
}

template <std::uint64_t ClusterCounts::*count>
Value Count(const Cluster& cluster, Moment) {
  return static_cast<double>(cluster.Counts().*count);
}

constexpr ClusterMetric kClusterMetrics[] = {
    {"loudcalc_momentary_lufs", "Momentary loudness (400 ms).", MetricType::Gauge,
     Figure<&LoudnessData_t::Momentary, LoudnessOf>},
    {"loudcalc_short_term_lufs", "Short-term loudness (3 s).", MetricType::Gauge,
     Figure<&LoudnessData_t::ShortTerm, LoudnessOf>},
    {"loudcalc_integrated_lufs", "Gated loudness of the configured window.", MetricType::Gauge,
     Figure<&LoudnessData_t::Integrated, LoudnessOf>},
    {"loudcalc_programme_lufs", "Gated loudness since the measurement restarted.",
     MetricType::Gauge, Figure<&LoudnessData_t::Program, LoudnessOf>},
    {"loudcalc_range_lu", "Loudness range of the configured window.", MetricType::Gauge, Range},
    {"loudcalc_true_peak_dbtp", "True peak of the last 100 ms.", MetricType::Gauge,
     Figure<&LoudnessData_t::TruePeak, TruePeakOf>},
    {"loudcalc_recent_true_peak_dbtp",
     "Highest true peak of at least the last 30 s, at most the last 60 s.", MetricType::Gauge,
     RecentTruePeak},
    {"loudcalc_max_momentary_lufs", "Highest momentary loudness since the measurement restarted.",
     MetricType::Gauge, Figure<&LoudnessData_t::MaxMomentary, LoudnessOf>},
    {"loudcalc_max_short_term_lufs",
     "Highest short-term loudness since the measurement restarted or the gate has seen it.",
     MetricType::Gauge, MaxShortTerm},
    {"loudcalc_max_true_peak_dbtp", "Highest true peak since the measurement restarted.",
     MetricType::Gauge, Figure<&LoudnessData_t::MaxTruePeak, TruePeakOf>},
    {"loudcalc_source_valid", "Whether the programme has meters: 1 if so, else 0.",
     MetricType::Gauge, SourceValid},
    {"loudcalc_last_message_age_seconds", "Time since the service published anything.",
     MetricType::Gauge, Age},
    {"loudcalc_unchanged_seconds",
     "How long no figure of a running measurement has changed, except in silence; 0 below 3.",
     MetricType::Gauge, Unchanged},
    {"loudcalc_target_lufs",
     "Target loudness of the configuration in force; without one, that of EBU R 128.",
     MetricType::Gauge, Target},
    {"loudcalc_tolerance_lu",
     "Tolerance of the configuration in force, either side of the target; without one, that of EBU "
     "R 128 for live programmes.",
     MetricType::Gauge, Tolerance},
    {"loudcalc_messages_total", "Loudness messages.", MetricType::Counter,
     Count<&ClusterCounts::messages>},
    {"loudcalc_malformed_messages_total", "Loudness messages of an unknown form that were skipped.",
     MetricType::Counter, Count<&ClusterCounts::malformed>},
    {"loudcalc_gaps_total", "Times that data came late although nothing was acknowledged.",
     MetricType::Counter, Count<&ClusterCounts::gaps>},
    {"loudcalc_restarts_total", "Times that the gate connected to the service again.",
     MetricType::Counter, Count<&ClusterCounts::restarts>},
};

// The states as label values.
constexpr std::pair<ServiceState, const char*> kStates[] = {
    {ServiceState::kAbsent, "absent"},          {ServiceState::kWaiting, "waiting"},
    {ServiceState::kNotStarted, "not_started"}, {ServiceState::kRunning, "running"},
    {ServiceState::kPaused, "paused"},          {ServiceState::kStopped, "stopped"},
    {ServiceState::kSilent, "silent"},          {ServiceState::kDead, "dead"},
};

void SetValue(ClientMetric& metric, MetricType type, double value) {
  if (type == MetricType::Counter)
    metric.counter.value = value;
  else
    metric.gauge.value = value;
}

std::vector<ClientMetric::Label> LabelsOf(const Cluster& cluster) {
  return {{"meter_set", std::to_string(cluster.Place().meterSet)},
          {"cluster", std::to_string(cluster.Place().cluster)}};
}

MetricFamily FamilyOf(const ClusterMetric& metric, const std::vector<const Cluster*>& clusters,
                      Moment now) {
  MetricFamily family{metric.name, metric.help, metric.type, {}};
  for (const Cluster* cluster : clusters)
    if (const Value value = metric.value(*cluster, now)) {
      ClientMetric& own = family.metric.emplace_back();
      own.label = LabelsOf(*cluster);
      SetValue(own, metric.type, *value);
    }
  return family;
}

MetricFamily StateFamily(const std::vector<const Cluster*>& clusters, Moment now) {
  MetricFamily family{"loudcalc_state",
                      "State of the measurement: 1 for the current state, else 0.",
                      MetricType::Gauge,
                      {}};
  for (const Cluster* cluster : clusters)
    for (const auto& [state, name] : kStates) {
      ClientMetric& own = family.metric.emplace_back();
      own.label = LabelsOf(*cluster);
      own.label.push_back({"state", name});
      own.gauge.value = cluster->Model().State(now.steady) == state ? 1 : 0;
    }
  return family;
}

MetricFamily Single(const char* name, const char* help, MetricType type, double value) {
  MetricFamily family{name, help, type, {}};
  SetValue(family.metric.emplace_back(), type, value);
  return family;
}

MetricFamily BuildFamily() {
  MetricFamily family =
      Single("loudgate_build_info", "Version of the gate; always 1.", MetricType::Gauge, 1);
  family.metric.front().label.push_back({"version", louddesk::kVersion});
  return family;
}

void AddRecord(std::vector<MetricFamily>& families, const RecordCounts& counts) {
  families.push_back(Single("loudgate_record_bytes", "Size of the record.", MetricType::Gauge,
                            static_cast<double>(counts.bytes)));
  families.push_back(
      Single("loudgate_record_working",
             "Whether the last write of the record succeeded, within a minute: 1 if so, else 0.",
             MetricType::Gauge, counts.isWorking ? 1 : 0));
  families.push_back(Single("loudgate_record_failures_total",
                            "Attempts to write the record that failed.", MetricType::Counter,
                            static_cast<double>(counts.failures)));
  families.push_back(Single("loudgate_record_lost_seconds_total",
                            "Seconds of clusters that could not be recorded.", MetricType::Counter,
                            static_cast<double>(counts.lostSeconds)));
  families.push_back(Single("loudgate_record_lost_events_total",
                            "Events that could not be recorded.", MetricType::Counter,
                            static_cast<double>(counts.lostEvents)));
}

}  // namespace

std::string MetricsText(const std::vector<const Cluster*>& clusters, const GateCounts& counts,
                        Moment now) {
  std::vector<MetricFamily> families;
  for (const ClusterMetric& metric : kClusterMetrics)
    families.push_back(FamilyOf(metric, clusters, now));
  families.push_back(StateFamily(clusters, now));
  families.push_back(BuildFamily());
  families.push_back(Single("loudgate_clusters", "Clusters that the gate shows.", MetricType::Gauge,
                            static_cast<double>(clusters.size())));
  families.push_back(Single("loudgate_connections", "Connections of clients.", MetricType::Gauge,
                            static_cast<double>(counts.http.connections)));
  families.push_back(Single("loudgate_streams", "Streams of events to clients.", MetricType::Gauge,
                            static_cast<double>(counts.http.streams)));
  families.push_back(Single("loudgate_requests_total", "Requests that were answered or refused.",
                            MetricType::Counter, static_cast<double>(counts.http.requests)));
  families.push_back(Single("loudgate_dropped_connections_total",
                            "Connections of clients that were too slow.", MetricType::Counter,
                            static_cast<double>(counts.http.dropped)));
  if (counts.record)
    AddRecord(families, *counts.record);
  return prometheus::TextSerializer().Serialize(families);
}

void AddMetrics(Routes& routes, const ClusterBoard& board, std::function<GateCounts()> counts) {
  routes.Add(kGet, "/metrics", [&board, counts = std::move(counts)](const HttpRequest&) {
    const Moment now = Moment::Now();
    HttpAnswer answer;
    answer.type = kMetricsType;
    answer.body = MetricsText(board.Clusters(now), counts(), now);
    return answer;
  });
}

}  // namespace loudgate
