// Copies events out in parts.

#include "EventQueue.h"

#include <algorithm>
#include <utility>

namespace loudgate {

void EventQueue::Put(Event event, Time now) {
  if (!mNext)
    mNextSince = now;
  mNext = std::move(event);
}

std::size_t EventQueue::Take(char* buffer, std::size_t size, Time now) {
  if (!mSending) {
    mSending = std::exchange(mNext, nullptr);
    mSendingSince = now;
    mSent = 0;
  }
  if (!mSending)
    return 0;
  const std::size_t taken = std::min(size, mSending->size() - mSent);
  mSending->copy(buffer, taken, mSent);
  mSent += taken;
  if (mSent == mSending->size())
    mSending = nullptr;
  return taken;
}

EventQueue::Time EventQueue::BehindSince(Time now) const {
  if (mSending)
    return mSendingSince;
  return mNext ? mNextSince : now;
}

}  // namespace loudgate
