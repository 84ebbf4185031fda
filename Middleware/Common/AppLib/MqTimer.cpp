// Timers that skip late ticks. Owned by the reactor; reactor thread only.

#include "MqTimer.h"

MqTimer::MqTimer(Handler_t handler, void* argument, std::size_t delay, std::size_t times)
    : mHandler(handler),
      mArgument(argument),
      mDelay(times == 0 ? static_cast<std::int64_t>(delay) : 0),
      mRepeats(times == 0),
      mTicksLeft(times) {}

void MqTimer::Begin() {
  mDue = zclock_mono() + mDelay;
}

bool MqTimer::Tick() {
  if (mTicksLeft > 0)
    --mTicksLeft;
  mDue += mDelay;
  const bool isOvertaken = mDelay != 0 && zclock_mono() >= mDue;
  return !isOvertaken;
}
