// A timer of the event loop that keeps to its grid. When the loop was held up for longer than a
// period, for example because the process was stopped, it makes up for the missed ticks back to
// back; a cadence is better served by the latest one alone. Reactor thread only.

#pragma once

#include <czmq.h>

#include <cstddef>
#include <cstdint>

class MqTimer {
 public:
  using Handler_t = int (*)(zloop_t* loop, int timerId, void* argument);

  /// A timer with a period of `delay` ms that ticks `times` times or, with 0, for ever. One of the
  /// latter kind leaves out the ticks that the next one has overtaken; one with a number of ticks
  /// makes all of them.
  MqTimer(Handler_t handler, void* argument, std::size_t delay, std::size_t times);

  /// Lays the grid. To be called once the timer is in its loop: the loop's own grid must not be the
  /// later one by a period, or every tick would count as overtaken.
  void Begin();

  /// Counts a tick of the loop. Whether it is to be made; false for one that is left out.
  bool Tick();

  /// Whether that was the last one.
  bool IsOver() const { return !mRepeats && mTicksLeft == 0; }

  /// Makes a tick. Returns what the handler returned.
  int Call(zloop_t* loop, int timerId) const { return mHandler(loop, timerId, mArgument); }

 private:
  Handler_t mHandler;      // who is called
  void* mArgument;         // its argument
  std::int64_t mDelay;     // ms; 0: every tick is made
  bool mRepeats;           // for ever
  std::size_t mTicksLeft;  // of a timer that does not
  std::int64_t mDue{};     // ms of the monotonic clock, when the next tick is due
};
