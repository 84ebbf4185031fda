// A timer of the event loop that skips late ticks. After a delay of more than a period, for example
// because the process was stopped, the loop itself fires all missed ticks one after the other. This
// timer acts only on the latest of them and keeps its original schedule. Reactor thread only.

#pragma once

#include <czmq.h>

#include <cstddef>
#include <cstdint>

class MqTimer {
 public:
  using Handler_t = int (*)(zloop_t* loop, int timerId, void* argument);

  /// A timer with a period of `delay` ms that ticks `times` times, or without end if `times` is 0.
  /// An endless timer skips ticks whose successor is already due. A timer with a number of ticks
  /// skips none.
  MqTimer(Handler_t handler, void* argument, std::size_t delay, std::size_t times);

  /// Starts the schedule. Call it once the timer is in its loop: if the loop's own schedule lagged
  /// a period behind this one, every tick would be skipped.
  void Begin();

  /// Counts a tick of the loop. True if the handler must be called, false if the tick is skipped.
  bool Tick();

  /// Whether the last tick has been counted. Never true for an endless timer.
  bool IsOver() const { return !mRepeats && mTicksLeft == 0; }

  /// Calls the handler and returns its result.
  int Call(zloop_t* loop, int timerId) const { return mHandler(loop, timerId, mArgument); }

 private:
  Handler_t mHandler;      // called on each tick
  void* mArgument;         // passed to the handler
  std::int64_t mDelay;     // period in ms; 0: no tick is skipped
  bool mRepeats;           // ticks without end
  std::size_t mTicksLeft;  // remaining ticks; unused if the timer is endless
  std::int64_t mDue{};     // when the next tick is due, ms of the monotonic clock
};
