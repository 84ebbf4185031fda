// Timers that skip late ticks, driven by a real loop.

#include "MqTimer.h"

#include <gtest/gtest.h>

#include <ctime>
#include <vector>

#include "Emulation.h"

namespace {

// Records when it is called and, on the call with number `stallAt`, delays the loop.
struct Recorder {
  std::vector<std::int64_t> ticks;  // ms of the monotonic clock
  zloop_t* loop = nullptr;          // argument of the last call
  int timerId = 0;                  // argument of the last call
  std::size_t stallAt = 0;          // counted from one; 0: never
  std::int64_t stall = 0;           // ms
  std::size_t enough = 0;           // ticks after which the loop ends
};

void HoldUp(std::int64_t milliseconds) {
  const std::int64_t end = zclock_mono() + milliseconds;
  while (zclock_mono() < end) {
  }
}

int Record(zloop_t* loop, int timerId, void* argument) {
  auto* recorder = static_cast<Recorder*>(argument);
  recorder->loop = loop;
  recorder->timerId = timerId;
  recorder->ticks.push_back(zclock_mono());
  if (recorder->ticks.size() == recorder->stallAt)
    HoldUp(recorder->stall);
  return recorder->ticks.size() == recorder->enough ? -1 : 0;
}

int MakeTick(zloop_t* loop, int timerId, void* timer) {
  auto* made = static_cast<MqTimer*>(timer);
  return made->Tick() ? made->Call(loop, timerId) : 0;
}

// Runs a loop with one timer until the recorder has enough ticks. Returns whether the timer is then
// over.
bool RunLoop(Recorder& recorder, std::size_t delay, std::size_t times) {
  zloop_t* loop = zloop_new();
  MqTimer timer(Record, &recorder, delay, times);
  const int timerId = zloop_timer(loop, delay, times, MakeTick, &timer);
  EXPECT_NE(timerId, -1);
  timer.Begin();
  zloop_start(loop);
  EXPECT_EQ(recorder.loop, loop) << "the handler's loop";
  EXPECT_EQ(recorder.timerId, timerId) << "the handler's timer";
  zloop_destroy(&loop);
  return timer.IsOver();
}

// Period in ms. The loop's schedule and the timer's begin one call apart. Delays end half a period
// from any tick, so that this does not matter.
constexpr std::int64_t kPeriod = 20 * kSlowness;

TEST(MqTimerTest, TicksThatTheNextOneHasOvertakenAreLeftOut) {
  Recorder recorder;
  recorder.stallAt = 2;
  recorder.stall = 10 * kPeriod + kPeriod / 2;
  recorder.enough = 5;
  RunLoop(recorder, kPeriod, 0);
  ASSERT_EQ(recorder.ticks.size(), 5u);
  // Ten ticks were due during the delay. The last one comes at once; those before it are skipped.
  EXPECT_GE(recorder.ticks[2] - recorder.ticks[1], recorder.stall);
  EXPECT_GE(recorder.ticks[4] - recorder.ticks[2], kPeriod);
}

TEST(MqTimerTest, GridOutlastsAStall) {
  Recorder recorder;
  recorder.stallAt = 1;
  recorder.stall = 3 * kPeriod + kPeriod / 2;
  recorder.enough = 4;
  const std::int64_t start = zclock_mono();
  RunLoop(recorder, kPeriod, 0);
  ASSERT_EQ(recorder.ticks.size(), 4u);
  // The four ticks are 1, 4 (late), 5 and 6 of the timer's schedule.
  EXPECT_GE(recorder.ticks[3], start + 6 * kPeriod);
}

TEST(MqTimerTest, TimerWithANumberOfTicksMakesAllOfThem) {
  Recorder recorder;
  recorder.stallAt = 1;
  recorder.stall = 5 * kPeriod;
  recorder.enough = 4;
  EXPECT_TRUE(RunLoop(recorder, kPeriod, 4));
  EXPECT_EQ(recorder.ticks.size(), 4u);
}

TEST(MqTimerTest, TimerIsOverWithTheLastOfItsTicksOnly) {
  Recorder recorder;
  recorder.enough = 3;
  EXPECT_FALSE(RunLoop(recorder, 1, 4));
}

TEST(MqTimerTest, TimerWithoutADelayMakesEveryTick) {
  Recorder recorder;
  recorder.enough = 100;
  EXPECT_FALSE(RunLoop(recorder, 0, 0));
  EXPECT_EQ(recorder.ticks.size(), 100u);
}

TEST(MqTimerTest, HandlersResultReachesTheLoop) {
  Recorder recorder;
  recorder.enough = 1;
  RunLoop(recorder, 1, 0);
  EXPECT_EQ(recorder.ticks.size(), 1u);
}

}  // namespace
