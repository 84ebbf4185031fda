// The writer's thread, and how it handles faults of the disk and the file.

#include "RecordWriter.h"

#include <pthread.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <utility>

namespace loudgate {

using louddesk::StationBatch;
using louddesk::StationError;
using louddesk::StationRecord;
using Clock = std::chrono::steady_clock;

namespace {

// Limit of the pending batches, counted in seconds of one cluster: ten minutes of 64 clusters,
// about 2.5 MB.
constexpr std::size_t kMostPending = std::size_t{64} * 600;

// The check reads the whole file, so it stops after this time. Damage in the unread part shows when
// that part is used.
constexpr std::chrono::seconds kCheckFor{60};

// The share of the allowed size that is reserved for SQLite's log.
constexpr std::uint64_t kLogBytes = std::uint64_t{2} << 20;

// How often to retry the lock while another process holds it.
constexpr std::chrono::seconds kTryLockEvery{1};

std::size_t SecondsOf(const StationBatch& batch) {
  std::size_t count = 0;
  for (const auto& [cluster, seconds] : batch.seconds)
    count += seconds.size();
  return count;
}

// The memory that a batch takes, in units of one recorded second. Even an empty batch counts.
std::size_t WeightOf(const StationBatch& batch) {
  std::size_t bytes = sizeof batch;
  for (const louddesk::RecordedEvent& event : batch.events)
    bytes += louddesk::SizeOf(event);
  return SecondsOf(batch) + 1 + bytes / sizeof(louddesk::RecordedSecond);
}

std::int64_t NowMs() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(
             std::chrono::system_clock::now().time_since_epoch())
      .count();
}

// Removes the events before `ms` and the seconds that began before it. Returns whether any seconds
// are left.
bool BeginAt(StationBatch& batch, std::int64_t ms) {
  bool isLeft = false;
  for (auto& [cluster, seconds] : batch.seconds) {
    seconds.erase(std::remove_if(seconds.begin(), seconds.end(),
                                 [ms](const auto& second) {
                                   return second.time * louddesk::kMsPerSecond < ms;
                                 }),
                  seconds.end());
    isLeft = isLeft || !seconds.empty();
  }
  batch.events.erase(std::remove_if(batch.events.begin(), batch.events.end(),
                                    [ms](const auto& event) { return event.time < ms; }),
                     batch.events.end());
  return isLeft;
}

std::string Stamp() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  gmtime_r(&now, &parts);
  std::array<char, 32> text{};
  std::strftime(text.data(), text.size(), "%Y%m%dT%H%M%SZ", &parts);
  return text.data();
}

bool Exists(const std::string& path) {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0;
}

// A file name that is not in use.
std::string NameAside(const std::string& file) {
  const std::string name = file + ".damaged-" + Stamp();
  std::string free = name;
  for (int i = 2; Exists(free); ++i)
    free = name + "-" + std::to_string(i);
  return free;
}

}  // namespace

RecordWriter::RecordWriter(RecordSettings settings)
    : mSettings(std::move(settings)), mLock(mSettings.file), mThread([this] { Run(); }) {}

void RecordWriter::End() {
  {
    const std::lock_guard lock(mMutex);
    mIsEnding = true;
  }
  mChange.notify_one();
  if (mThread.joinable())
    mThread.join();
}

void RecordWriter::Put(StationBatch batch) {
  {
    const std::lock_guard lock(mMutex);
    mPending.push_back(std::move(batch));
    BoundPending(kMostPending);
    mIsWoken = true;
  }
  mChange.notify_one();
}

std::vector<std::string> RecordWriter::TakeLines() {
  const std::lock_guard lock(mMutex);
  return std::exchange(mLines, {});
}

RecordCounts RecordWriter::Counts() const {
  const std::lock_guard lock(mMutex);
  RecordCounts counts = mCounts;
  const bool hangs = mWritesSince && Clock::now() - *mWritesSince > mSettings.longestWrite;
  counts.isWorking = counts.isWorking && !hangs;
  return counts;
}

void RecordWriter::Tell(const std::string& line) {
  const std::lock_guard lock(mMutex);
  mLines.push_back(line);
}

void RecordWriter::Run() {
  pthread_setname_np(pthread_self(), "record");
  while (Await())
    WriteTimed();
  WriteTimed();
  mRecord.reset();
  mLock.Release();
}

// Waits for a batch, or for the time to retry the lock. Returns false when the writer ends.
bool RecordWriter::Await() {
  const auto isDue = [this] { return mIsWoken || mIsEnding; };
  std::unique_lock lock(mMutex);
  if (mIsLockedOut)
    mChange.wait_for(lock, kTryLockEvery, isDue);
  else
    mChange.wait(lock, isDue);
  mIsWoken = false;
  return !mIsEnding;
}

// Notes when the write began: a failing disk may block the thread without any error.
void RecordWriter::WriteTimed() {
  const auto take = [this](std::optional<Clock::time_point> since) {
    const std::lock_guard lock(mMutex);
    mWritesSince = since;
  };
  take(Clock::now());
  Write();
  take(std::nullopt);
}

// Sets a damaged file aside once and starts a new one. If that cannot be written either, the
// batches wait for the next attempt.
void RecordWriter::Write() {
  for (int attempts = 0; attempts < 2 && !mIsRefused; ++attempts) {
    try {
      Open();
      RequireRoom();
      AppendAll();
      Trim();
      break;
    } catch (const StationError& error) {
      if (error.Why() == StationError::Fault::kDamaged)
        SetAside(error.what());
      else
        attempts = 2;
      Keep(error);
    }
  }
  const std::lock_guard lock(mMutex);
  if (mIsLockedOut)
    mPending.clear();  // the other process records them
  BoundPending(mIsRefused ? 0 : kMostPending);
}

void RecordWriter::Open() {
  if (mRecord && !mRecord->IsInPlace())
    LeaveRemovedFile();
  if (mRecord)
    return;
  TakeLock();
  mRecord = std::make_unique<StationRecord>(mSettings.file);
  Check();
}

// Carries the log over before closing: SQLite drops the log of a moved file, because the log still
// has the old name.
void RecordWriter::LeaveRemovedFile() {
  Tell(mSettings.file + ": the file was removed; a new one begins");
  const auto record = std::move(mRecord);
  record->CarryOverLog();
}

void RecordWriter::TakeLock() {
  const bool wasLockedOut = std::exchange(mIsLockedOut, !mLock.Take());
  if (mIsLockedOut)
    throw StationError(StationError::Fault::kUnavailable,
                       mSettings.file + ": another LoudGate is recording in it");
  if (!wasLockedOut)
    return;
  mTakenOver = NowMs();
  const std::lock_guard lock(mMutex);
  mPending.push_front({{}, {{*mTakenOver, std::nullopt, louddesk::kGateEvent, "started"}}});
}

void RecordWriter::Check() {
  const auto end = Clock::now() + kCheckFor;
  if (!mRecord->Check([this, end] { return mIsEnding || Clock::now() >= end; }) && !mIsEnding)
    Tell(mSettings.file + ": only a part of it was checked, because checking takes longer than " +
         std::to_string(kCheckFor.count()) + " s");
}

// While another program has a read transaction open, SQLite cannot empty its log, and every write
// makes the log longer.
void RecordWriter::RequireRoom() {
  const std::uint64_t bound = mSettings.mostBytes + mSettings.mostBytes / 8;
  if (mRecord->Size() <= bound || mRecord->CarryOverLog())
    return;
  NoteSize();
  throw StationError(
      StationError::Fault::kUnavailable,
      mSettings.file +
          ": an eighth larger than --max-size, because another program has the record open");
}

void RecordWriter::AppendAll() {
  while (std::optional<StationBatch> batch = TakeNext())
    try {
      const bool isBeyond = mTakenOver && BeginAt(*batch, *mTakenOver);
      TellOfLeftOut(mRecord->Append(*batch));
      if (isBeyond)
        mTakenOver.reset();
    } catch (const StationError&) {
      const std::lock_guard lock(mMutex);
      mPending.push_front(std::move(*batch));
      throw;
    }
  TellOfRecovery();
}

std::optional<StationBatch> RecordWriter::TakeNext() {
  const std::lock_guard lock(mMutex);
  if (mPending.empty())
    return std::nullopt;
  StationBatch next = std::move(mPending.front());
  mPending.pop_front();
  return next;
}

void RecordWriter::TellOfLeftOut(const louddesk::LeftOut& leftOut) {
  if (leftOut.repeated > 0 && !mIsRepeatTold)
    Tell(mSettings.file + ": seconds that are already recorded keep their readings; the " +
         "clock was set back");
  const bool isTooMany = leftOut.seconds > 0 || leftOut.events > 0;
  if (isTooMany && !mIsTooManyTold)
    Tell(mSettings.file + ": it has no number left for a new cluster, which is not recorded; " +
         "use another file");
  mIsRepeatTold = leftOut.repeated > 0;
  mIsTooManyTold = isTooMany;
  const std::lock_guard lock(mMutex);
  mCounts.lostSeconds += leftOut.seconds;
  mCounts.lostEvents += leftOut.events;
}

void RecordWriter::TellOfRecovery() {
  std::uint64_t lost = 0;
  {
    const std::lock_guard lock(mMutex);
    mCounts.isWorking = true;
    lost = mCounts.lostSeconds - mLostBefore;
    mLostBefore = mCounts.lostSeconds;
  }
  if (!std::exchange(mIsFailureTold, false))
    return;
  const std::string text = std::to_string(lost) + " seconds of clusters are missing";
  Tell(mSettings.file + ": the record goes on; " + text);
  if (lost > 0)
    mRecord->Append({{}, {{NowMs(), std::nullopt, louddesk::kGapEvent, text}}});
}

// Removes one step by age, and by size until the rest fits. The file on disk can stay larger: while
// another program holds a read transaction, removing rows does not shrink it.
void RecordWriter::Trim() {
  const std::uint64_t most = mSettings.mostBytes - std::min(kLogBytes, mSettings.mostBytes / 8);
  bool isRemoved = mRecord->RemoveOlderThan(mSettings.days, std::time(nullptr));
  while (!mIsEnding && mRecord->UsedBytes() > most && mRecord->RemoveOldest())
    isRemoved = true;
  if (!mIsEnding && (isRemoved || mRecord->Size() > mSettings.mostBytes))
    mRecord->ReturnSpace();
  TellOfSize();
}

std::uint64_t RecordWriter::NoteSize() {
  const std::uint64_t size = mRecord->Size();
  const std::lock_guard lock(mMutex);
  mCounts.bytes = size;
  return size;
}

void RecordWriter::TellOfSize() {
  const bool isTooLarge = NoteSize() > mSettings.mostBytes;
  if (isTooLarge && !std::exchange(mIsSizeTold, true))
    Tell(mSettings.file + ": larger than --max-size, because another program has the record " +
         "open and prevents it from being cut");
  mIsSizeTold = isTooLarge;
}

// Records the failure. The batches stay until the next attempt, unless the file is refused.
void RecordWriter::Keep(const StationError& error) {
  using Fault = StationError::Fault;
  mIsRefused = error.Why() == Fault::kForeign || error.Why() == Fault::kNewer;
  if (mIsRefused)
    mRecord.reset();
  if (mIsRefused || (error.Why() == Fault::kUnavailable && !std::exchange(mIsFailureTold, true)))
    Tell(std::string(error.what()) + (mIsRefused
                                          ? "; the file is left as it is, and nothing is recorded"
                                          : "; nothing is recorded until this is resolved"));
  const std::lock_guard lock(mMutex);
  mCounts.failures += mIsLockedOut ? 0 : 1;
  mCounts.isWorking = false;
}

// SQLite's log is moved together with its file.
void RecordWriter::SetAside(const std::string& reason) {
  mRecord.reset();
  const std::string aside = NameAside(mSettings.file);
  std::rename((mSettings.file + "-wal").c_str(), (aside + "-wal").c_str());
  std::remove((mSettings.file + "-shm").c_str());
  if (std::rename(mSettings.file.c_str(), aside.c_str()) == 0)
    Tell(reason + "; the damaged file is kept as " + aside + ", a new one begins");
  else
    Tell(reason + "; the damaged file cannot be set aside: " + std::strerror(errno));
}

// Drops the oldest batches. REQUIRES: mMutex is held.
void RecordWriter::BoundPending(std::size_t most) {
  std::size_t weight = 0;
  for (const StationBatch& batch : mPending)
    weight += WeightOf(batch);
  while (weight > most) {
    weight -= WeightOf(mPending.front());
    mCounts.lostSeconds += SecondsOf(mPending.front());
    mCounts.lostEvents += mPending.front().events.size();
    mPending.pop_front();
  }
}

}  // namespace loudgate
