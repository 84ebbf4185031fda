// Reads the station's record, even while it is being written. The file may come from anywhere and
// is not trusted.

#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "RecordedSecond.h"
#include "SqliteFile.h"

namespace louddesk {

/// A period from `from` to before `to`, s since 1970, UTC.
struct StationPeriod {
  std::int64_t from = 0;
  std::int64_t to = 0;
};

class StationReader {
 public:
  /// Opens the file for reading only, without blocking its writer. Throws StationError.
  explicit StationReader(const std::string& path);

  /// All clusters in the file, ordered by meter set and cluster. This and all other members throw
  /// StationError.
  std::vector<StationCluster> Clusters();

  /// From the first recorded second to the end of the last, of all clusters; nothing if there is
  /// none.
  std::optional<StationPeriod> Extent();

  /// Passes the recorded seconds of a cluster within `period` to `take`, in order of time. Every
  /// `momentary` reading is a valid code or kMissedReading; the seconds of a damaged row are
  /// missing. Stops when `take` returns false.
  void ReadSeconds(const StationCluster& cluster, const StationPeriod& period,
                   const std::function<bool(const RecordedSecond&)>& take);

  /// Returns the same seconds in a vector. A day takes 2.3 MB in the file and 3.5 MB in memory.
  std::vector<RecordedSecond> Seconds(const StationCluster& cluster, const StationPeriod& period);

  /// Passes the events of a cluster and of the gate itself within `period` to `take`, in order of
  /// time. Events of the same millisecond come in the order in which they were recorded.
  void ReadEvents(const StationCluster& cluster, const StationPeriod& period,
                  const std::function<void(const RecordedEvent&)>& take);

  /// Returns the same events in a vector.
  std::vector<RecordedEvent> Events(const StationCluster& cluster, const StationPeriod& period);

  /// The last event of that kind of a cluster before `time` (s since 1970), for example the
  /// configuration in force at the beginning of a period. Nothing if there is none.
  std::optional<RecordedEvent> LastEvent(const StationCluster& cluster, const std::string& kind,
                                         std::int64_t time);

 private:
  StationPeriod ExtentOf(std::int64_t minute);
  std::optional<std::int64_t> NumberOf(const StationCluster& cluster);

  SqliteFile mFile;
};

}  // namespace louddesk
