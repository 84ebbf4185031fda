// Reads the station's record, while it is written too, from files that anybody may have made.

#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "RecordedSecond.h"
#include "SqliteFile.h"

namespace louddesk {

/// From `from`, before `to`, s since 1970, UTC.
struct StationPeriod {
  std::int64_t from = 0;
  std::int64_t to = 0;
};

class StationReader {
 public:
  /// Opens the file for reading only; whoever writes it is not kept from it. Throws StationError.
  explicit StationReader(const std::string& path);

  /// Those that the file has ever held anything of, in the order of their numbers. Throws
  /// StationError, as all of these.
  std::vector<StationCluster> Clusters();

  /// From the first second that there is of the whole record to the end of the last; nothing while
  /// there is none.
  std::optional<StationPeriod> Extent();

  /// Hands on the recorded seconds of a cluster within `period`, in the order of time. Each has a
  /// code or kMissedReading in `momentary`; a damaged row's seconds are missing. Ends early when
  /// `take` returns false.
  void ReadSeconds(const StationCluster& cluster, const StationPeriod& period,
                   const std::function<bool(const RecordedSecond&)>& take);

  /// The same at once. 2.3 MB a day in the file are 3.5 MB in memory.
  std::vector<RecordedSecond> Seconds(const StationCluster& cluster, const StationPeriod& period);

  /// Hands on the events of a cluster and of the gate itself within `period`, in the order of time,
  /// and those of the same millisecond in the order in which they came.
  void ReadEvents(const StationCluster& cluster, const StationPeriod& period,
                  const std::function<void(const RecordedEvent&)>& take);

  /// The same at once.
  std::vector<RecordedEvent> Events(const StationCluster& cluster, const StationPeriod& period);

  /// The last event of a cluster of that kind before `time` (s since 1970): the configuration in
  /// force at the beginning of a period, for example. Nothing if there is none.
  std::optional<RecordedEvent> LastEvent(const StationCluster& cluster, const std::string& kind,
                                         std::int64_t time);

 private:
  StationPeriod ExtentOf(std::int64_t minute);
  std::optional<std::int64_t> NumberOf(const StationCluster& cluster);

  SqliteFile mFile;
};

}  // namespace louddesk
