// Writes the station's record. What was appended is safe on the disk; a process that is killed or a
// power cut leaves the file as it was after the last append.

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

/// Times before that, 2020-01-01, are those of a clock that was not set, as at the start of a board
/// whose clock has no battery.
constexpr std::int64_t kClockIsSet = 1577836800;

/// What is appended at once.
struct StationBatch {
  std::map<StationCluster, std::vector<RecordedSecond>> seconds;
  std::vector<RecordedEvent> events;
};

/// What tells a file from another one of its name.
struct FileIdentity {
  std::uint64_t device = 0;
  std::uint64_t number = 0;
};

/// Seconds of a batch that were left out.
struct LeftOut {
  std::size_t repeated = 0;  // recorded already
  std::size_t tooMany = 0;   // of clusters beyond the kClusterNumbers that a file can have
};

class StationRecord {
 public:
  /// Opens the file, which is made if it is missing or empty. Throws StationError: one of another
  /// kind or of a newer format is left as it is.
  explicit StationRecord(const std::string& path);

  /// Checks the file (SQLite's quick_check), which reads all of it. `isToEnd` is asked again and
  /// again, on another thread, whether to give up. Throws StationError when the file is damaged.
  /// Whether the check has come to its end.
  bool Check(const std::function<bool()>& isToEnd);

  /// Whether the file that was opened still has its name.
  bool IsInPlace() const;

  /// Appends in one transaction; a second that is recorded already keeps its readings, and of a
  /// cluster too many for the file nothing is recorded. Returns the number of such seconds. Throws
  /// StationError, and then nothing has been appended. REQUIRES: times are not negative.
  LeftOut Append(const StationBatch& batch);

  /// Removes the oldest of what is more than `days` days older than `now` (s since 1970), a few
  /// thousand rows at most. Whether there was anything. The last `days` days (UTC) of which there
  /// is anything stay whatever `now` says, and so does what a clock that was not set dated before
  /// kClockIsSet. Throws StationError.
  bool RemoveOlderThan(std::int64_t days, std::int64_t now);

  /// Removes the oldest there is, a few thousand rows at most. Whether there was anything. Throws
  /// StationError.
  bool RemoveOldest();

  /// Gives the space of what was removed back to the file system. Throws StationError.
  void ReturnSpace();

  /// Carries SQLite's log over into the file. Throws StationError.
  void CarryOverLog();

  /// Bytes that the file and its log take on the disk.
  std::uint64_t Size() const;

  /// Bytes that the file takes once the log is carried over and ReturnSpace was called. Throws
  /// StationError.
  std::uint64_t UsedBytes();

 private:
  void Prepare();
  void CheckKind();
  std::optional<std::int64_t> NumberOf(const StationCluster& cluster);
  std::size_t AppendSeconds(std::int64_t number, const std::vector<RecordedSecond>& seconds);
  void AppendEvent(const RecordedEvent& event);
  std::int64_t StartOfLastDays(std::int64_t days);
  bool Remove(std::int64_t from, std::int64_t to);

  std::string mPath;
  SqliteFile mFile;
  FileIdentity mIdentity;
};

}  // namespace louddesk
