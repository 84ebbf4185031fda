// Writes batches into the record on a separate thread, so that the event loop never waits for the
// disk, and keeps the file within its size and age limits.

#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "RecordLock.h"
#include "StationRecord.h"

namespace loudgate {

struct RecordSettings {
  std::string file;
  std::int64_t days = 90;

  /// With SQLite's log, without files set aside. While another program keeps the log from being
  /// emptied, an eighth more is used before the record pauses.
  std::uint64_t mostBytes = std::uint64_t{2} << 30;

  std::chrono::milliseconds longestWrite{60000};  // a write that takes longer counts as hanging
};

/// The state of the record, for the metrics.
struct RecordCounts {
  std::uint64_t bytes = 0;        // of the file and SQLite's log on disk
  std::uint64_t failures = 0;     // failed attempts to write
  std::uint64_t lostSeconds = 0;  // seconds that will never be recorded, summed over all clusters
  std::uint64_t lostEvents = 0;   // events that will never be recorded
  bool isWorking = false;         // the last attempt succeeded, and no write hangs
};

class RecordWriter {
 public:
  /// Opens, checks and trims the file at once, on the writer's thread. If that fails, tries again
  /// with every batch. While another process records in the file, waits until that process ends and
  /// then takes over.
  explicit RecordWriter(RecordSettings settings);

  ~RecordWriter() { End(); }

  RecordWriter(const RecordWriter&) = delete;
  RecordWriter& operator=(const RecordWriter&) = delete;

  /// Queues a batch for writing. While writing fails, up to ten minutes of 64 clusters, or as much
  /// memory in events, are kept; beyond that the oldest batches are lost.
  void Put(louddesk::StationBatch batch);

  /// Writes the queued batches and closes the file. Put must not be called afterwards.
  void End();

  /// Messages for the operator since the last call, one line each.
  std::vector<std::string> TakeLines();

  RecordCounts Counts() const;

 private:
  void Run();
  bool Await();
  void WriteTimed();
  void Write();
  void Open();
  void LeaveRemovedFile();
  void TakeLock();
  void Check();
  void RequireRoom();
  void AppendAll();
  void Trim();
  std::uint64_t NoteSize();
  void TellOfSize();
  void Keep(const louddesk::StationError& error);
  void SetAside(const std::string& reason);
  void TellOfLeftOut(const louddesk::LeftOut& leftOut);
  void TellOfRecovery();
  std::optional<louddesk::StationBatch> TakeNext();
  void BoundPending(std::size_t most);
  void Tell(const std::string& line);

  RecordSettings mSettings;
  RecordLock mLock;
  std::unique_ptr<louddesk::StationRecord> mRecord;  // null while it cannot be opened
  bool mIsRefused = false;    // the file is of another kind or a newer format; never written to
  bool mIsLockedOut = false;  // another process holds the lock
  // When the record was taken over from another process, ms since 1970. The other process recorded
  // everything before. Reset once a batch with later seconds is written.
  std::optional<std::int64_t> mTakenOver;
  bool mIsFailureTold = false;    // since the last success
  bool mIsRepeatTold = false;     // seconds were recorded already
  bool mIsTooManyTold = false;    // a cluster has no number left
  bool mIsSizeTold = false;       // the file cannot be made small enough
  std::uint64_t mLostBefore = 0;  // lostSeconds at the last success
  std::atomic<bool> mIsEnding{false};

  mutable std::mutex mMutex;  // guards the members up to mWritesSince
  std::condition_variable mChange;
  std::deque<louddesk::StationBatch> mPending;
  bool mIsWoken = true;
  std::vector<std::string> mLines;
  RecordCounts mCounts;
  std::optional<std::chrono::steady_clock::time_point> mWritesSince;

  std::thread mThread;  // last, because it uses the members above
};

}  // namespace loudgate
