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

/// What is appended at once.
struct StationBatch {
  std::map<StationCluster, std::vector<RecordedSecond>> seconds;
  std::vector<RecordedEvent> events;
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

  /// Appends in one transaction; a second that is recorded already keeps its readings. Returns the
  /// number of such seconds. Throws StationError, and then nothing has been appended.
  /// REQUIRES: times are not negative.
  std::size_t Append(const StationBatch& batch);

  /// Removes the oldest of what lies before `time` (s since 1970), a few thousand rows at most.
  /// Whether there was anything. Throws StationError.
  bool RemoveBefore(std::int64_t time);

  /// Removes the oldest there is, a few thousand rows at most. Whether there was anything. Throws
  /// StationError.
  bool RemoveOldest();

  /// Gives the space of what was removed back to the file system. Throws StationError.
  void ReturnSpace();

  /// Bytes that the file and its log take on the disk.
  std::uint64_t Size() const;

 private:
  void Prepare();
  void CheckKind();
  std::int64_t NumberOf(const StationCluster& cluster);
  std::size_t AppendSeconds(std::int64_t number, const std::vector<RecordedSecond>& seconds);
  void AppendEvent(const RecordedEvent& event);

  std::string mPath;
  SqliteFile mFile;
};

}  // namespace louddesk
