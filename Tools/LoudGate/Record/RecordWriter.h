// Writes batches into the record on a thread of its own, so that no disk makes anybody wait, and
// keeps the file within its bounds.

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
  std::uint64_t mostBytes = std::uint64_t{2} << 30;  // with SQLite's log, without files set aside
  std::chrono::milliseconds longestWrite{60000};     // one that takes longer hangs
};

/// The state of the record.
struct RecordCounts {
  std::uint64_t bytes = 0;        // of the file and SQLite's log
  std::uint64_t failures = 0;     // attempts to write that failed
  std::uint64_t lostSeconds = 0;  // that will not be recorded, of all clusters
  bool isWorking = false;         // the last attempt went well, and none hangs
};

class RecordWriter {
 public:
  /// Opens, checks and bounds the file at once, on its thread, and tries again with every batch. A
  /// file that another process records in is taken over when that one ends.
  explicit RecordWriter(RecordSettings settings);

  ~RecordWriter() { End(); }

  RecordWriter(const RecordWriter&) = delete;
  RecordWriter& operator=(const RecordWriter&) = delete;

  /// Takes a batch to write. While writing fails, ten minutes of 64 clusters are kept, or what
  /// takes as much memory, and the oldest batches are lost.
  void Put(louddesk::StationBatch batch);

  /// Writes what it still has and closes the file. Nothing may be put afterwards.
  void End();

  /// What an operator should know, a line each, since the last call.
  std::vector<std::string> TakeLines();

  RecordCounts Counts() const;

 private:
  void Run();
  bool Await();
  void WriteTimed();
  void Write();
  void Open();
  void LeaveTakenFile();
  void TakeLock();
  void Check();
  void AppendAll();
  void Trim();
  void TellOfSize(std::uint64_t size);
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
  bool mIsRefused = false;    // the file is not ours to write: nothing is, until the end
  bool mIsLockedOut = false;  // another process has the lock
  // When the record was taken over from another process, ms since 1970, until what comes is later:
  // what lies before is the other one's.
  std::optional<std::int64_t> mTakenOver;
  bool mIsFailureTold = false;    // since it last went well
  bool mIsRepeatTold = false;     // that seconds were recorded already
  bool mIsTooManyTold = false;    // that a cluster has no number
  bool mIsSizeTold = false;       // that the file cannot be made small enough
  std::uint64_t mLostBefore = 0;  // lost seconds when it last went well
  std::atomic<bool> mIsEnding{false};

  mutable std::mutex mMutex;  // guards what follows
  std::condition_variable mChange;
  std::deque<louddesk::StationBatch> mPending;
  bool mIsWoken = true;
  std::vector<std::string> mLines;
  RecordCounts mCounts;
  std::optional<std::chrono::steady_clock::time_point> mWritesSince;

  std::thread mThread;  // the last one: it uses the others
};

}  // namespace loudgate
