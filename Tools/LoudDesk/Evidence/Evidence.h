// The figures and events of a recorded period, ready to be shown. Stateless.

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

/// A request for the figures of a period.
struct EvidenceQuestion {
  StationCluster cluster;
  StationPeriod period;  // not empty
  Criteria criteria;
  std::optional<LoudnessAim> aim = {};  // nothing: the aim in force at the time
};

/// At most this many events of a period are listed; the rest are only counted.
constexpr std::size_t kMostEvents = 500;

struct Evidence {
  std::string cluster;  // "1-3"
  PeriodFigures figures;
  Criteria criteria;
  Assessment assessment;
  std::vector<RecordedEvent> events;  // the first kMostEvents, in order of time
  std::size_t eventCount = 0;         // number of all events
};

/// There is nothing to report. The text is one line for the user.
class NoEvidence : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A period as the user requests it; times are s since 1970, UTC. `from` or `last` is set.
struct PeriodAsked {
  std::optional<std::int64_t> from = {};
  std::optional<std::int64_t> to = {};    // nothing: the end of the record
  std::optional<std::int64_t> last = {};  // length of the period, s, instead of `from`
};

/// The requested period. It ends at `now` at the latest, because the future is not a gap. Throws
/// NoEvidence if the period or the record is empty, and StationError.
StationPeriod ResolvePeriod(const PeriodAsked& asked, StationReader& reader, std::int64_t now);

/// The requested cluster; without a request, the only one in the record. Throws NoEvidence if there
/// is no such cluster, and StationError.
StationCluster ResolveCluster(const std::optional<StationCluster>& asked, StationReader& reader);

/// The names of all clusters in the record, such as "1-1 1-3", or "none". Throws StationError.
std::string ClusterNames(StationReader& reader);

/// Called with each second that is read. An exception ends the reading.
using SecondTaken = std::function<void(const RecordedSecond&)>;

/// Reads the whole period and passes every second to `taken`. Throws NoEvidence if nothing of the
/// period is recorded, and StationError.
Evidence EvidenceOf(StationReader& reader, const EvidenceQuestion& question,
                    const SecondTaken& taken = {});

/// "1-3, 2026-11-17 00:00:00 +0100 to 2026-11-18 00:00:00 +0100".
std::string TitleOf(const Evidence& evidence);

/// "1-3".
std::string NameOf(const StationCluster& cluster);

/// The cluster with this name; nothing if the name is not valid.
std::optional<StationCluster> ClusterNamed(const std::string& name);

}  // namespace louddesk
