// A timer of the event loop that skips late ticks. After a delay of more than a period, for example
// because the process was stopped, the loop itself makes up for all missed ticks one after the
// other. This timer makes only the latest of them and keeps to its original schedule. Reactor
// thread only.

#pragma once

#include <czmq.h>

#include <cstddef>
#include <cstdint>

class MqTimer {
 public:
  using Handler_t = int (*)(zloop_t* loop, int timerId, void* argument);

  /// A timer with a period of `delay` ms that ticks `times` times, or without end if `times` is 0.
  /// A timer without end skips ticks whose successor is already due; one with a number of ticks
  /// makes all of them.
  MqTimer(Handler_t handler, void* argument, std::size_t delay, std::size_t times);

  /// Starts the schedule. Call it once the timer is in its loop: if the loop's own schedule lagged
  /// a period behind this one, every tick would be skipped.
  void Begin();

  /// Counts a tick of the loop. True if it is to be made, false if it is skipped.
  bool Tick();

  /// Whether that was the last one.
  bool IsOver() const { return !mRepeats && mTicksLeft == 0; }

  /// Makes a tick. Returns what the handler returned.
  int Call(zloop_t* loop, int timerId) const { return mHandler(loop, timerId, mArgument); }

 private:
  Handler_t mHandler;      // who is called
  void* mArgument;         // its argument
  std::int64_t mDelay;     // ms; 0: every tick is made
  bool mRepeats;           // without end
  std::size_t mTicksLeft;  // of a timer that does not repeat
  std::int64_t mDue{};     // ms of the monotonic clock, when the next tick is due
};
