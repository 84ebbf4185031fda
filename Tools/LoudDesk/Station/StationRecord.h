// Writes the station's record. Appended data is safe on the disk: after a crash or a power cut the
// file is as it was after the last append.

#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "RecordedSecond.h"
#include "SqliteFile.h"

namespace louddesk {

/// Earlier times, before 2020-01-01, come from a clock that was not set, for example at the start
/// of a board whose clock has no battery.
constexpr std::int64_t kClockIsSet = 1577836800;

/// The data of one append.
struct StationBatch {
  std::map<StationCluster, std::vector<RecordedSecond>> seconds;
  std::vector<RecordedEvent> events;
};

/// Distinguishes a file from another one with the same name.
struct FileIdentity {
  std::uint64_t device = 0;
  std::uint64_t number = 0;
};

/// The numbers of seconds and events that were not appended.
struct LeftOut {
  std::size_t repeated = 0;  // seconds that are already recorded
  // Of clusters that got no number: a file holds at most kClusterNumbers clusters.
  std::size_t seconds = 0;
  std::size_t events = 0;
};

class StationRecord {
 public:
  /// Opens the file, and creates it if it is missing or empty. Throws StationError. Files of
  /// another kind or of a newer format are not changed.
  explicit StationRecord(const std::string& path);

  /// Checks the whole file with SQLite's quick_check. Another thread calls `isToEnd` repeatedly and
  /// stops the check when it returns true. Returns whether the check was completed. Throws
  /// StationError if the file is damaged.
  bool Check(const std::function<bool()>& isToEnd);

  /// Whether the path still leads to the file that was opened.
  bool IsInPlace() const;

  /// Appends in one transaction. A second that is already recorded keeps its readings. Nothing is
  /// recorded of a cluster for which the file has no number left. Returns what was left out. Throws
  /// StationError, and then nothing has been appended. REQUIRES: times are not negative.
  LeftOut Append(const StationBatch& batch);

  /// Removes the oldest data that is more than `days` days older than `now` (s since 1970), at most
  /// a few thousand rows. Returns whether anything was removed. The last `days` days (UTC) that
  /// have data are kept regardless of `now`, and so is data from before kClockIsSet, when the clock
  /// was not set. Throws StationError.
  bool RemoveOlderThan(std::int64_t days, std::int64_t now);

  /// Removes the oldest data, at most a few thousand rows. Returns whether anything was removed.
  /// Throws StationError.
  bool RemoveOldest();

  /// Returns the space of removed data to the file system, unless the log cannot be emptied. Throws
  /// StationError.
  void ReturnSpace();

  /// Copies SQLite's log into the file and empties the log. Returns whether it is empty: while
  /// another program has a read transaction open, the log keeps growing. Throws StationError.
  bool CarryOverLog();

  /// Bytes of the file and its log on the disk.
  std::uint64_t Size() const;

  /// Bytes that the file will have after CarryOverLog and ReturnSpace. Throws StationError.
  std::uint64_t UsedBytes();

 private:
  void Prepare();
  void CheckKind();
  std::optional<std::int64_t> NumberOf(const StationCluster& cluster);
  std::size_t AppendSeconds(std::int64_t number, const std::vector<RecordedSecond>& seconds);
  bool AppendEvent(const RecordedEvent& event);
  std::int64_t StartOfLastDays(std::int64_t days);
  bool Remove(std::int64_t from, std::int64_t to);

  std::string mPath;
  SqliteFile mFile;
  FileIdentity mIdentity;
};

}  // namespace louddesk
