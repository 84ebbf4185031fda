// Bounds the queue, and notes what does not fit.

#include "MessageQueue.h"

#include <utility>

namespace louddesk {

void MessageQueue::Put(RecordedMessage message) {
  const std::size_t size = MemoryOf(message);
  const bool isTooLong = !FitsRecording(message.frames);
  const std::lock_guard lock(mMutex);
  mLastTime = message.time;
  if (isTooLong || mBytes + mTakenBytes + size > kMostBytes) {
    ++(isTooLong ? mLost.tooLong : mLost.tooMany);
    if (mUnnoted++ == 0)
      mSince = message.time;
    return;
  }
  AddLossNote(message.time);
  mBytes += size;
  mMessages.push_back(std::move(message));
  mChanged.notify_one();
}

std::deque<RecordedMessage> MessageQueue::Take(std::chrono::milliseconds patience) {
  std::unique_lock lock(mMutex);
  mTakenBytes = 0;
  mChanged.wait_for(lock, patience, [this] { return !mMessages.empty(); });
  AddLossNote(mLastTime);
  mTakenBytes = std::exchange(mBytes, 0);
  return std::exchange(mMessages, {});
}

LostMessages MessageQueue::Lost() const {
  const std::lock_guard lock(mMutex);
  return mLost;
}

void MessageQueue::AddLossNote(std::uint64_t time) {
  if (mUnnoted > 0)
    mMessages.push_back(LossNote(time, std::exchange(mUnnoted, 0), mSince));
}

}  // namespace louddesk
