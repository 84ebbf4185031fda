// What the record holds of a period, ready to be shown. Stateless.

#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Assessment.h"
#include "PeriodMeter.h"
#include "StationReader.h"

namespace louddesk {

/// What somebody wants to know.
struct EvidenceQuestion {
  StationCluster cluster;
  StationPeriod period;  // not empty
  Criteria criteria;
  std::optional<LoudnessAim> aim = {};  // nothing: that of the configuration in force at the time
};

/// Of the events of a period so many are told.
constexpr std::size_t kMostEvents = 500;

struct Evidence {
  std::string cluster;  // "1-3"
  PeriodFigures figures;
  Criteria criteria;
  Assessment assessment;
  std::vector<RecordedEvent> events;  // the first kMostEvents, in time
  std::size_t eventCount = 0;         // of all
};

/// Called with each second that is read.
using SecondTaken = std::function<void(const RecordedSecond&)>;

/// Reads the whole period, second by second, and hands each on. Throws StationError.
Evidence EvidenceOf(StationReader& reader, const EvidenceQuestion& question,
                    const SecondTaken& taken = {});

/// "1-3".
std::string NameOf(const StationCluster& cluster);

/// The cluster of such a name; nothing for anything else.
std::optional<StationCluster> ClusterNamed(const std::string& name);

}  // namespace louddesk
