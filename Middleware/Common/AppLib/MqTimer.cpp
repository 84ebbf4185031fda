// Timers on their grid. Owned by the reactor; reactor thread only.

#include "MqTimer.h"

MqTimer::MqTimer(Handler_t handler, void* argument, std::size_t delay, bool repeats)
    : mHandler(handler),
      mArgument(argument),
      mDelay(repeats ? static_cast<std::int64_t>(delay) : 0) {}

void MqTimer::Begin() {
  mDue = zclock_mono() + mDelay;
}

int MqTimer::Callback(zloop_t* loop, int timerId, void* timer) {
  auto* self = static_cast<MqTimer*>(timer);
  return self->IsOvertaken() ? 0 : self->mHandler(loop, timerId, self->mArgument);
}

// Whether the tick after this one is due already.
bool MqTimer::IsOvertaken() {
  mDue += mDelay;
  return mDelay != 0 && zclock_mono() >= mDue;
}
