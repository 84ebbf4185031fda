// What the record holds of a period, ready to be shown. Stateless.

#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <stdexcept>
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

/// Why there is nothing to tell. The text is one line for the user.
class NoEvidence : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A period as somebody asks for it; times are s since 1970, UTC. `from` or `last` is there.
struct PeriodAsked {
  std::optional<std::int64_t> from = {};
  std::optional<std::int64_t> to = {};    // nothing: where the record ends
  std::optional<std::int64_t> last = {};  // length of the period, s; in the place of `from`
};

/// The period that is meant, up to `now`: what is still to come is not a gap. Throws NoEvidence
/// where it is empty, and StationError.
StationPeriod PeriodMeant(const PeriodAsked& asked, StationReader& reader, std::int64_t now);

/// The cluster that is meant; without one, the only one in the record. Throws NoEvidence where
/// there is no such cluster, and StationError.
StationCluster ClusterMeant(const std::optional<StationCluster>& asked, StationReader& reader);

/// The names of all clusters in the record: "1-1 1-3", "none". Throws StationError.
std::string ClusterNames(StationReader& reader);

/// Called with each second that is read. What it throws ends the reading.
using SecondTaken = std::function<void(const RecordedSecond&)>;

/// Reads the whole period, second by second, and hands each on. Throws NoEvidence where nothing of
/// it is recorded, and StationError.
Evidence EvidenceOf(StationReader& reader, const EvidenceQuestion& question,
                    const SecondTaken& taken = {});

/// "1-3, 2026-11-17 00:00:00 +0100 to 2026-11-18 00:00:00 +0100".
std::string TitleOf(const Evidence& evidence);

/// "1-3".
std::string NameOf(const StationCluster& cluster);

/// The cluster of such a name; nothing for anything else.
std::optional<StationCluster> ClusterNamed(const std::string& name);

}  // namespace louddesk
