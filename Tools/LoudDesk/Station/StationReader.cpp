// The queries.

#include "StationReader.h"

#include <unistd.h>

#include <algorithm>
#include <limits>

#include "StationFormat.h"

namespace louddesk {
namespace {

using Fault = StationError::Fault;

// Limit of the times in queries. As milliseconds and as row numbers, they fit the type.
constexpr std::int64_t kLastTime =
    std::numeric_limits<std::int64_t>::max() / kClusterNumbers / kMsPerSecond;

std::int64_t Bounded(std::int64_t time) {
  return std::clamp<std::int64_t>(time, 0, kLastTime);
}

// A writer has a log beside the file. A file without a log is read without locks. Locks need files
// beside the database, which the reader may not be allowed to create, or which it would leave to a
// writer that may not use them.
SqliteMode ModeFor(const std::string& path) {
  const bool isAtRest = access((path + "-wal").c_str(), F_OK) != 0;
  return isAtRest ? SqliteMode::kReadUnchanging : SqliteMode::kReadOnly;
}

// A malicious file could have views with the names of the tables that take forever to read.
void CheckKind(SqliteFile& file, const std::string& path) {
  if (file.Number("PRAGMA application_id") != kStationApplication ||
      file.Number("SELECT count(*) FROM sqlite_schema WHERE type NOT IN ('table', 'index')") != 0)
    throw StationError(Fault::kForeign, path + ": not a record of LoudGate");
  if (file.Number("PRAGMA user_version") > kStationFormat)
    throw StationError(Fault::kNewer, path + ": a record of a newer version");
}

RecordedEvent EventOf(const SqliteStatement& row, const StationCluster& cluster) {
  RecordedEvent event;
  event.time = row.Number(0);
  if (!row.IsNull(1))
    event.cluster = cluster;
  event.kind = row.Bytes(2);
  event.text = row.Bytes(3);
  return event;
}

}  // namespace

StationReader::StationReader(const std::string& path) : mFile(path, ModeFor(path)) {
  CheckKind(mFile, path);
}

std::vector<StationCluster> StationReader::Clusters() {
  std::vector<StationCluster> clusters;
  SqliteStatement rows(mFile, "SELECT meter_set, cluster FROM clusters");
  while (rows.Step())
    clusters.push_back(
        {static_cast<unsigned>(rows.Number(0)), static_cast<unsigned>(rows.Number(1))});
  std::sort(clusters.begin(), clusters.end());
  return clusters;
}

std::optional<StationPeriod> StationReader::Extent() {
  constexpr std::int64_t kEnd = kLastTime / kSecondsPerMinute * kClusterNumbers;
  SqliteStatement first(mFile, "SELECT id FROM minutes WHERE id BETWEEN 0 AND ? ORDER BY id");
  SqliteStatement last(mFile, "SELECT id FROM minutes WHERE id BETWEEN 0 AND ? ORDER BY id DESC");
  first.Bind(1, kEnd);
  last.Bind(1, kEnd);
  if (!first.Step() || !last.Step())
    return std::nullopt;
  return StationPeriod{ExtentOf(first.Number(0) / kClusterNumbers).from,
                       ExtentOf(last.Number(0) / kClusterNumbers).to};
}

// From the first to the last recorded second of a minute, in any cluster; the whole minute if its
// rows are damaged.
StationPeriod StationReader::ExtentOf(std::int64_t minute) {
  const StationPeriod whole = {minute * kSecondsPerMinute, (minute + 1) * kSecondsPerMinute};
  StationPeriod extent = {whole.to, whole.from};
  SqliteStatement rows(mFile, "SELECT seconds FROM minutes WHERE id >= ? AND id < ?");
  rows.Bind(1, minute * kClusterNumbers).Bind(2, (minute + 1) * kClusterNumbers);
  while (rows.Step())
    for (const auto& second : DecodeMinute(minute, rows.Bytes(0)))
      if (second)
        extent = {std::min(extent.from, second->time), std::max(extent.to, second->time + 1)};
  return extent.from < extent.to ? extent : whole;
}

std::optional<std::int64_t> StationReader::NumberOf(const StationCluster& cluster) {
  SqliteStatement row(mFile, "SELECT number FROM clusters WHERE meter_set = ? AND cluster = ?");
  row.Bind(1, cluster.meterSet).Bind(2, cluster.cluster);
  return row.Step() ? std::optional(row.Number(0)) : std::nullopt;
}

// Goes from one row of the cluster to the next, and skips the rows of other clusters without
// reading their contents.
void StationReader::ReadSeconds(const StationCluster& cluster, const StationPeriod& period,
                                const std::function<bool(const RecordedSecond&)>& take) {
  const auto number = NumberOf(cluster);
  if (!number || *number < 0 || *number >= kClusterNumbers)
    return;
  const std::int64_t to = Bounded(period.to);
  std::int64_t minute = Bounded(period.from) / kSecondsPerMinute;
  const std::int64_t end = (to + kSecondsPerMinute - 1) / kSecondsPerMinute * kClusterNumbers;
  SqliteStatement next(
      mFile, "SELECT id, seconds FROM minutes WHERE id >= ? AND id < ? ORDER BY id LIMIT 1");
  for (;;) {
    next.Bind(1, minute * kClusterNumbers + *number).Bind(2, end);
    if (!next.Step())
      return;
    const std::int64_t found = next.Number(0) / kClusterNumbers;
    const std::int64_t owner = next.Number(0) % kClusterNumbers;
    if (owner == *number)
      for (const auto& second : DecodeMinute(found, next.Bytes(1)))
        if (second && second->time >= period.from && second->time < to && !take(*second))
          return;
    minute = owner < *number ? found : found + 1;
    next.Reset();
  }
}

std::vector<RecordedSecond> StationReader::Seconds(const StationCluster& cluster,
                                                   const StationPeriod& period) {
  std::vector<RecordedSecond> seconds;
  ReadSeconds(cluster, period, [&seconds](const RecordedSecond& second) {
    seconds.push_back(second);
    return true;
  });
  return seconds;
}

void StationReader::ReadEvents(const StationCluster& cluster, const StationPeriod& period,
                               const std::function<void(const RecordedEvent&)>& take) {
  SqliteStatement rows(mFile,
                       "SELECT time, cluster, kind, text FROM events WHERE time >= ? AND time < ?"
                       " AND (cluster IS NULL OR cluster = ?) ORDER BY time, id");
  rows.Bind(1, Bounded(period.from) * kMsPerSecond).Bind(2, Bounded(period.to) * kMsPerSecond);
  rows.Bind(3, NumberOf(cluster).value_or(-1));
  while (rows.Step())
    take(EventOf(rows, cluster));
}

std::vector<RecordedEvent> StationReader::Events(const StationCluster& cluster,
                                                 const StationPeriod& period) {
  std::vector<RecordedEvent> events;
  ReadEvents(cluster, period, [&events](const RecordedEvent& event) { events.push_back(event); });
  return events;
}

std::optional<RecordedEvent> StationReader::LastEvent(const StationCluster& cluster,
                                                      const std::string& kind, std::int64_t time) {
  SqliteStatement row(mFile,
                      "SELECT time, cluster, kind, text FROM events WHERE time < ?"
                      " AND cluster = ? AND kind = ? ORDER BY time DESC, id DESC LIMIT 1");
  row.Bind(1, Bounded(time) * kMsPerSecond).Bind(2, NumberOf(cluster).value_or(-1));
  row.BindText(3, kind);
  return row.Step() ? std::optional(EventOf(row, cluster)) : std::nullopt;
}

}  // namespace louddesk
