// The transactions.

#include "StationRecord.h"

#include <sqlite3.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <limits>
#include <mutex>
#include <thread>

#include "StationFormat.h"

namespace louddesk {
namespace {

using Fault = StationError::Fault;

constexpr std::int64_t kSecondsPerDay = 86400;

// Page size and auto_vacuum only take effect before the first table is created. In WAL mode a
// transaction is written once, to the log, and is safe after one flush. The log is copied into the
// file when it reaches 1 MiB; otherwise a flash disk would rewrite the page at the end of the table
// far more often. The page cache is limited to 256 KiB.
constexpr char kSettings[] =
    "PRAGMA page_size = 8192;"
    "PRAGMA auto_vacuum = INCREMENTAL;"
    "PRAGMA journal_mode = WAL;"
    "PRAGMA synchronous = FULL;"
    "PRAGMA wal_autocheckpoint = 128;"
    "PRAGMA journal_size_limit = 1048576;"
    "PRAGMA cache_size = -256;";

// Rows of each table that one transaction removes at most: 7 MB of minutes.
constexpr std::int64_t kRowsAtOnce = 4096;

// Pages that one transaction moves at most to return space: 8 MiB.
constexpr int kPagesAtOnce = 1024;

// Times from the file are limited to 10,000 years from 1970, so that calculations cannot overflow.
constexpr std::int64_t kFurthest = kSecondsPerDay * 365 * 10000;

// How often a check asks whether to stop.
constexpr std::chrono::milliseconds kAskEvery{20};

std::uint64_t SizeOf(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

FileIdentity IdentityOf(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 ? FileIdentity{status.st_dev, status.st_ino}
                                          : FileIdentity{};
}

bool operator==(const FileIdentity& left, const FileIdentity& right) {
  return left.device == right.device && left.number == right.number;
}

// Interrupts the current statement of a database from a separate thread when `isToEnd` returns
// true.
class Interrupter {
 public:
  Interrupter(sqlite3* database, const std::function<bool()>& isToEnd)
      : mThread([this, database, &isToEnd] { Run(database, isToEnd); }) {}

  ~Interrupter() {
    {
      const std::lock_guard lock(mMutex);
      mIsDone = true;
    }
    mChange.notify_one();
    mThread.join();
  }

  Interrupter(const Interrupter&) = delete;
  Interrupter& operator=(const Interrupter&) = delete;

 private:
  // An interrupt has no effect on a statement that has not started yet, so it is repeated.
  void Run(sqlite3* database, const std::function<bool()>& isToEnd) {
    std::unique_lock lock(mMutex);
    while (!mIsDone) {
      if (isToEnd())
        sqlite3_interrupt(database);
      mChange.wait_for(lock, kAskEvery, [this] { return mIsDone; });
    }
  }

  std::mutex mMutex;
  std::condition_variable mChange;
  bool mIsDone = false;
  std::thread mThread;  // last member, because the thread uses the others
};

}  // namespace

StationRecord::StationRecord(const std::string& path)
    : mPath(path), mFile(path, SqliteMode::kReadWrite), mIdentity(IdentityOf(path)) {
  CheckKind();
  Prepare();
}

// Checks that the file is a record or empty before anything in it is changed.
void StationRecord::CheckKind() {
  const std::int64_t application = mFile.Number("PRAGMA application_id");
  const bool isEmpty = mFile.Number("SELECT count(*) FROM sqlite_schema") == 0;
  if (application != kStationApplication && !(application == 0 && isEmpty))
    throw StationError(Fault::kForeign, mPath + ": not a record of LoudGate");
  const std::int64_t format = mFile.Number("PRAGMA user_version");
  if (format > kStationFormat)
    throw StationError(Fault::kNewer, mPath + ": a record of a newer version (format " +
                                          std::to_string(format) + ", this one knows " +
                                          std::to_string(kStationFormat) + ")");
}

void StationRecord::Prepare() {
  mFile.Execute(kSettings);
  SqliteTransaction transaction(mFile);
  if (mFile.Number("SELECT count(*) FROM sqlite_schema") == 0)
    mFile.Execute(std::string(kStationSchema) +
                  "PRAGMA application_id = " + std::to_string(kStationApplication) +
                  ";PRAGMA user_version = " + std::to_string(kStationFormat));
  transaction.Commit();
}

bool StationRecord::Check(const std::function<bool()>& isToEnd) {
  if (isToEnd())
    return false;
  const Interrupter interrupter(mFile.Handle(), isToEnd);
  SqliteStatement check(mFile, "PRAGMA quick_check(1)");
  try {
    std::string result = check.Step() ? check.Bytes(0) : "no result";
    std::replace(result.begin(), result.end(), '\n', ' ');
    if (result != "ok" && !isToEnd())
      throw StationError(Fault::kDamaged, mPath + ": " + result);
    return result == "ok";
  } catch (const StationError&) {
    if (sqlite3_errcode(mFile.Handle()) != SQLITE_INTERRUPT)
      throw;
    return false;
  }
}

bool StationRecord::IsInPlace() const {
  return IdentityOf(mPath) == mIdentity;
}

LeftOut StationRecord::Append(const StationBatch& batch) {
  SqliteTransaction transaction(mFile);
  LeftOut leftOut;
  for (const auto& [cluster, seconds] : batch.seconds)
    if (const auto number = NumberOf(cluster))
      leftOut.repeated += AppendSeconds(*number, seconds);
    else
      leftOut.seconds += seconds.size();
  for (const RecordedEvent& event : batch.events)
    leftOut.events += AppendEvent(event) ? 0 : 1;
  transaction.Commit();
  return leftOut;
}

// The number of a cluster. A new cluster gets the next number; nothing if there is none left.
std::optional<std::int64_t> StationRecord::NumberOf(const StationCluster& cluster) {
  SqliteStatement known(mFile, "SELECT number FROM clusters WHERE meter_set = ? AND cluster = ?");
  known.Bind(1, cluster.meterSet).Bind(2, cluster.cluster);
  if (known.Step())
    return known.Number(0);
  const std::int64_t number = mFile.Number("SELECT count(*) FROM clusters") == 0
                                  ? 0
                                  : mFile.Number("SELECT max(number) FROM clusters") + 1;
  if (number >= kClusterNumbers)
    return std::nullopt;
  SqliteStatement added(mFile,
                        "INSERT INTO clusters (number, meter_set, cluster) VALUES (?, ?, ?)");
  added.Bind(1, number).Bind(2, cluster.meterSet).Bind(3, cluster.cluster).Run();
  return number;
}

std::size_t StationRecord::AppendSeconds(std::int64_t number,
                                         const std::vector<RecordedSecond>& seconds) {
  std::map<std::int64_t, std::vector<const RecordedSecond*>> minutes;
  for (const RecordedSecond& second : seconds)
    minutes[second.time / kSecondsPerMinute].push_back(&second);
  SqliteStatement known(mFile, "SELECT seconds FROM minutes WHERE id = ?");
  SqliteStatement written(mFile, "INSERT OR REPLACE INTO minutes (id, seconds) VALUES (?, ?)");
  std::size_t kept = 0;
  for (const auto& [minute, own] : minutes) {
    const std::int64_t id = minute * kClusterNumbers + number;
    known.Bind(1, id);
    MinuteOfSeconds whole = DecodeMinute(minute, known.Step() ? known.Bytes(0) : "");
    known.Reset();
    for (const RecordedSecond* second : own) {
      auto& place = whole[static_cast<std::size_t>(second->time % kSecondsPerMinute)];
      kept += place ? 1 : 0;
      if (!place)
        place = *second;
    }
    written.Bind(1, id).BindBlob(2, EncodeMinute(whole)).Run();
  }
  return kept;
}

// Returns false if the event's cluster got no number.
bool StationRecord::AppendEvent(const RecordedEvent& event) {
  const auto number = event.cluster ? NumberOf(*event.cluster) : std::nullopt;
  if (event.cluster && !number)
    return false;
  SqliteStatement written(mFile,
                          "INSERT INTO events (time, cluster, kind, text) VALUES (?, ?, ?, ?)");
  written.Bind(1, event.time).BindText(3, event.kind).BindText(4, event.text);
  if (number)
    written.Bind(2, *number);
  else
    written.BindNull(2);
  written.Run();
  return true;
}

bool StationRecord::RemoveOlderThan(std::int64_t days, std::int64_t now) {
  const std::int64_t end = std::min(now - days * kSecondsPerDay, StartOfLastDays(days));
  return end > kClockIsSet && Remove(kClockIsSet, end);
}

// A clock that was far in the future for an hour has added one day to the record, so it only counts
// as one day. The rows are in order of time, so each day takes one query.
std::int64_t StationRecord::StartOfLastDays(std::int64_t days) {
  constexpr std::int64_t kIdsPerDay = kSecondsPerDay / kSecondsPerMinute * kClusterNumbers;
  SqliteStatement last(mFile, "SELECT id FROM minutes WHERE id < ? ORDER BY id DESC LIMIT 1");
  std::int64_t day = std::numeric_limits<std::int64_t>::max() / kIdsPerDay;
  for (std::int64_t count = 0; count < days; ++count) {
    last.Bind(1, day * kIdsPerDay);
    if (!last.Step())
      return 0;
    day = last.Number(0) / kIdsPerDay;
    last.Reset();
  }
  return day * kSecondsPerDay;
}

// Removes whole minutes from `from` to before `to`.
bool StationRecord::Remove(std::int64_t from, std::int64_t to) {
  SqliteTransaction transaction(mFile);
  SqliteStatement minutes(mFile,
                          "DELETE FROM minutes WHERE id IN"
                          " (SELECT id FROM minutes WHERE id >= ? AND id < ? ORDER BY id LIMIT ?)");
  minutes.Bind(1, from / kSecondsPerMinute * kClusterNumbers);
  minutes.Bind(2, to / kSecondsPerMinute * kClusterNumbers).Bind(3, kRowsAtOnce).Run();
  std::int64_t removed = sqlite3_changes64(mFile.Handle());
  SqliteStatement events(
      mFile,
      "DELETE FROM events WHERE id IN"
      " (SELECT id FROM events WHERE time >= ? AND time < ? ORDER BY time LIMIT ?)");
  events.Bind(1, from * kMsPerSecond).Bind(2, to * kMsPerSecond).Bind(3, kRowsAtOnce).Run();
  removed += sqlite3_changes64(mFile.Handle());
  transaction.Commit();
  return removed > 0;
}

// Removes rows of any table up to an hour after the oldest.
bool StationRecord::RemoveOldest() {
  constexpr std::int64_t kHour = 3600;
  SqliteStatement minute(mFile, "SELECT min(id) FROM minutes");
  SqliteStatement event(mFile, "SELECT min(time) FROM events");
  minute.Step();
  event.Step();
  std::optional<std::int64_t> oldest;
  if (!minute.IsNull(0))
    oldest = minute.Number(0) / kClusterNumbers * kSecondsPerMinute;
  if (!event.IsNull(0))
    oldest =
        std::min(oldest.value_or(event.Number(0) / kMsPerSecond), event.Number(0) / kMsPerSecond);
  minute.Reset();
  event.Reset();
  return oldest && Remove(-kFurthest, std::min(*oldest, kFurthest) + kHour);
}

// Moves the last pages into free ones, a few at a time, and truncates the file. With a log that
// cannot be emptied, the moved pages would only make the log longer.
void StationRecord::ReturnSpace() {
  if (!CarryOverLog())
    return;
  for (std::int64_t left = mFile.Number("PRAGMA freelist_count"); left > 0;) {
    SqliteStatement(mFile, "PRAGMA incremental_vacuum(" + std::to_string(kPagesAtOnce) + ")").Run();
    const std::int64_t before = left;
    left = mFile.Number("PRAGMA freelist_count");
    if (left >= before)
      break;
  }
  CarryOverLog();
}

// The first column of the result is 1 if another connection is in the way.
bool StationRecord::CarryOverLog() {
  return mFile.Number("PRAGMA wal_checkpoint(TRUNCATE)") == 0;
}

std::uint64_t StationRecord::Size() const {
  return SizeOf(mPath) + SizeOf(mPath + "-wal");
}

std::uint64_t StationRecord::UsedBytes() {
  const std::int64_t pages =
      mFile.Number("PRAGMA page_count") - mFile.Number("PRAGMA freelist_count");
  return static_cast<std::uint64_t>(pages * mFile.Number("PRAGMA page_size"));
}

}  // namespace louddesk
