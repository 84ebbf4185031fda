// Watches the cadence. The socket belongs to the watch's thread.

#include "CadenceWatch.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "DataClient.h"

namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr double kPeriodMs = 100;
constexpr double kOnTimeMs = 10;
constexpr double kTurn = 6.283185307179586;

// Short, to distinguish a stall of the machine from a stall of the service.
constexpr std::chrono::milliseconds kLookPeriod{10};

// Position of the ticks within the period, in ms: the circular mean of the arrival times, which a
// few late messages hardly change.
double PhaseOf(const std::vector<Clock::time_point>& times) {
  double sine = 0;
  double cosine = 0;
  for (const Clock::time_point time : times) {
    const double angle = kTurn * Milliseconds(time - times.front()).count() / kPeriodMs;
    sine += std::sin(angle);
    cosine += std::cos(angle);
  }
  return std::atan2(sine, cosine) / kTurn * kPeriodMs;
}

bool IsOnTime(Clock::time_point time, Clock::time_point first, double phase) {
  const double offset = Milliseconds(time - first).count() - phase;
  return std::abs(std::remainder(offset, kPeriodMs)) <= kOnTimeMs;
}

}  // namespace

CadenceWatch::CadenceWatch(std::string file)
    : mThread([this, file = std::move(file)] { Watch(file); }) {}

CadenceWatch::~CadenceWatch() {
  Stop();
}

bool CadenceWatch::WaitFor(std::size_t messages, Patience patience) {
  std::unique_lock<std::mutex> lock(mMutex);
  return mChanged.wait_for(lock, patience, [&] { return mTimes.size() >= messages; });
}

Cadence CadenceWatch::Stop() {
  {
    const std::lock_guard<std::mutex> lock(mMutex);
    mIsOver = true;
  }
  if (mThread.joinable())
    mThread.join();
  Cadence cadence;
  cadence.messages = mTimes.size();
  cadence.longestStall = mLongestStall;
  if (mTimes.empty())
    return cadence;
  const double phase = PhaseOf(mTimes);
  Clock::time_point last = mTimes.front();
  Clock::duration gap = Clock::now() - mTimes.back();
  for (const Clock::time_point time : mTimes) {
    cadence.onTime += IsOnTime(time, mTimes.front(), phase) ? 1 : 0;
    gap = std::max(gap, time - last);
    last = time;
  }
  cadence.longestGap = std::chrono::duration_cast<std::chrono::milliseconds>(gap);
  const double stretch = Milliseconds(mTimes.back() - mTimes.front()).count();
  cadence.ticks = static_cast<std::size_t>(std::lround(stretch / kPeriodMs)) + 1;
  return cadence;
}

void CadenceWatch::Watch(const std::string& file) {
  louddesk::DataClient client(file);
  for (Clock::time_point before = Clock::now();;) {
    zmq_pollitem_t item{zsock_resolve(client.Socket()), 0, ZMQ_POLLIN, 0};
    zmq_poll(&item, 1, kLookPeriod.count());
    client.ReadPending();
    for (; !client.Messages().empty(); client.Messages().pop_front())
      Add(client.Messages().front().time);
    const Clock::time_point now = Clock::now();
    const std::lock_guard<std::mutex> lock(mMutex);
    mLongestStall =
        std::max(mLongestStall,
                 std::chrono::duration_cast<std::chrono::milliseconds>(now - before - kLookPeriod));
    before = now;
    if (mIsOver)
      return;
  }
}

void CadenceWatch::Add(Clock::time_point time) {
  const std::lock_guard<std::mutex> lock(mMutex);
  mTimes.push_back(time);
  mChanged.notify_all();
}
