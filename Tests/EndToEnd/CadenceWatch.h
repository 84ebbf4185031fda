// A client of the loudness data that only records arrival times.

#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

/// How regularly the loudness data arrived.
struct Cadence {
  std::size_t messages = 0;
  std::size_t ticks = 0;                   // of the 100 ms grid; one per message if none is missing
  std::size_t onTime = 0;                  // messages within 10 ms of a tick
  std::chrono::milliseconds longestGap{};  // without a message, up to the end of the watch
  std::chrono::milliseconds longestStall{};  // during which the machine did not run the watch
};

class CadenceWatch {
 public:
  using Patience = std::chrono::milliseconds;

  /// Subscribes to `file` in the unit's IPC directory, in its own thread.
  explicit CadenceWatch(std::string file);
  ~CadenceWatch();
  CadenceWatch(const CadenceWatch&) = delete;
  CadenceWatch& operator=(const CadenceWatch&) = delete;

  /// Waits until so many messages have come; the watch begins with the first. False if `patience`
  /// ends first.
  bool WaitFor(std::size_t messages, Patience patience);

  /// Ends the watch.
  Cadence Stop();

 private:
  using Clock = std::chrono::steady_clock;

  void Watch(const std::string& file);
  void Add(Clock::time_point time);

  std::mutex mMutex;                      // guards what follows, up to the thread
  std::condition_variable mChanged;       // a message has come
  std::vector<Clock::time_point> mTimes;  // of the messages
  std::chrono::milliseconds mLongestStall{};
  bool mIsOver = false;
  std::thread mThread;
};
