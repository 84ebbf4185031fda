// Reads a period from the record into the meter.

#include "Evidence.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "TimeText.h"
#include "UnitDocuments.h"
#include "WatchModel.h"

namespace louddesk {
namespace {

constexpr std::size_t kMostDigits = 6;

// Adds the aim of a configuration event if it differs from the one before.
void AddChange(std::vector<AimChange>& changes, const RecordedEvent& event) {
  const auto configuration =
      event.kind == kConfigurationEvent ? ReadConfiguration(event.text) : std::nullopt;
  if (!configuration)
    return;
  const WatchLimits limits = LimitsOf(*configuration);
  const LoudnessAim aim = {limits.target, limits.tolerance};
  if (changes.empty() || changes.back().aim != aim)
    changes.push_back({event.time / kMsPerSecond, aim});
}

// Reads the events of the period: the first kMostEvents to be shown, and all changes of the aim.
void ReadEvents(StationReader& reader, const EvidenceQuestion& question, Evidence& evidence,
                std::vector<AimChange>& changes) {
  const StationCluster& cluster = question.cluster;
  if (const auto before = reader.LastEvent(cluster, kConfigurationEvent, question.period.from))
    AddChange(changes, *before);
  reader.ReadEvents(cluster, question.period, [&](const RecordedEvent& event) {
    AddChange(changes, event);
    if (evidence.eventCount++ < kMostEvents)
      evidence.events.push_back(event);
  });
}

// A whole number without a sign or leading zeros.
std::optional<unsigned> NumberIn(const std::string& text) {
  if (text.empty() || text.size() > kMostDigits || text.front() == '0' ||
      text.find_first_not_of("0123456789") != std::string::npos)
    return std::nullopt;
  return static_cast<unsigned>(std::atoi(text.c_str()));
}

}  // namespace

Evidence EvidenceOf(StationReader& reader, const EvidenceQuestion& question,
                    const SecondTaken& taken) {
  const StationCluster& cluster = question.cluster;
  const StationPeriod& period = question.period;
  Evidence evidence;
  PeriodQuestion asked{period, question.criteria, question.aim, {}};
  ReadEvents(reader, question, evidence, asked.changes);
  PeriodMeter meter(std::move(asked));
  reader.ReadSeconds(cluster, period, [&](const RecordedSecond& second) {
    meter.Take(second);
    if (taken)
      taken(second);
    return true;
  });
  evidence.cluster = NameOf(cluster);
  evidence.figures = meter.Finish();
  if (evidence.figures.gaps.seconds == period.to - period.from)
    throw NoEvidence("nothing is recorded for " + TitleOf(evidence));
  evidence.criteria = question.criteria;
  evidence.assessment = AssessmentOf(evidence.figures.programme.figures, evidence.criteria);
  return evidence;
}

StationPeriod ResolvePeriod(const PeriodAsked& asked, StationReader& reader, std::int64_t now) {
  const auto extent = reader.Extent();
  if (!extent)
    throw NoEvidence("nothing is recorded yet");
  const std::int64_t to = std::min(asked.to.value_or(extent->to), now);
  const std::int64_t from =
      asked.last ? std::max<std::int64_t>(to - *asked.last, 0) : asked.from.value();
  if (from >= to)
    throw NoEvidence("the record ends before the period begins, at " +
                     LocalTimeText(std::min(extent->to, now)));
  return {from, to};
}

StationCluster ResolveCluster(const std::optional<StationCluster>& asked, StationReader& reader) {
  const std::vector<StationCluster> known = reader.Clusters();
  if (!asked && known.size() == 1)
    return known.front();
  if (!asked)
    throw NoEvidence("which cluster? The record has " + ClusterNames(reader));
  if (std::find(known.begin(), known.end(), *asked) == known.end())
    throw NoEvidence("nothing is recorded for cluster " + NameOf(*asked) + "; the record has " +
                     ClusterNames(reader));
  return *asked;
}

std::string ClusterNames(StationReader& reader) {
  std::string names;
  for (const StationCluster& cluster : reader.Clusters())
    names += (names.empty() ? "" : " ") + NameOf(cluster);
  return names.empty() ? "none" : names;
}

std::string TitleOf(const Evidence& evidence) {
  const StationPeriod& period = evidence.figures.period;
  return evidence.cluster + ", " + LocalTimeText(period.from) + " to " + LocalTimeText(period.to);
}

std::string NameOf(const StationCluster& cluster) {
  return std::to_string(cluster.meterSet) + "-" + std::to_string(cluster.cluster);
}

std::optional<StationCluster> ClusterNamed(const std::string& name) {
  const std::size_t dash = name.find('-');
  if (dash == std::string::npos)
    return std::nullopt;
  const auto meterSet = NumberIn(name.substr(0, dash));
  const auto cluster = NumberIn(name.substr(dash + 1));
  if (!meterSet || !cluster)
    return std::nullopt;
  return StationCluster{*meterSet, *cluster};
}

}  // namespace louddesk
