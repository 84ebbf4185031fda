// The messages between the thread that receives them and the one that writes them. Any thread may
// call its functions.
//
// The queue is bounded: if the output stalls, messages are dropped and counted, and a note in their
// place tells how many. Everything else goes on: the publishers do not notice a stalled recorder.

#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>

#include "RecordedMessage.h"

namespace louddesk {

/// Messages that the recording does not have, by reason.
struct LostMessages {
  unsigned long tooLong = 0;  // the format has no room for them
  unsigned long tooMany = 0;  // the output was too slow
};

class MessageQueue {
 public:
  /// Limit of the memory for messages, including those last taken.
  static constexpr std::size_t kMostBytes = 16 << 20;

  /// Adds a message, or counts it as lost. REQUIRES: times never decrease.
  void Put(RecordedMessage message);

  /// Waits until there is a message or `patience` is over. Takes all of them, with notes in place
  /// of lost ones. The messages taken before must be gone by now.
  std::deque<RecordedMessage> Take(std::chrono::milliseconds patience);

  LostMessages Lost() const;

 private:
  void AddLossNote(std::uint64_t time);

  mutable std::mutex mMutex;  // guards the following members
  std::condition_variable mChanged;
  std::deque<RecordedMessage> mMessages;
  std::size_t mBytes = 0;       // of the messages that wait
  std::size_t mTakenBytes = 0;  // of those last taken
  LostMessages mLost;
  unsigned long mUnnoted = 0;   // lost, and without a note so far
  std::uint64_t mSince = 0;     // time of the first of them
  std::uint64_t mLastTime = 0;  // of the last message, kept or lost
};

}  // namespace louddesk
