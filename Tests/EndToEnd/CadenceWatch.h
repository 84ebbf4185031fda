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
  std::size_t ticks = 0;   // ticks of the 100 ms grid from the first to the last message
  std::size_t onTime = 0;  // messages within 10 ms of a tick
  std::chrono::milliseconds
      longestGap{};  // longest time without a message, to the end of the watch
  std::chrono::milliseconds longestStall{};  // longest time that the machine did not run the watch
};

class CadenceWatch {
 public:
  using Patience = std::chrono::milliseconds;

  /// Subscribes to `file` in the unit's IPC directory, in a separate thread.
  explicit CadenceWatch(std::string file);
  ~CadenceWatch();
  CadenceWatch(const CadenceWatch&) = delete;
  CadenceWatch& operator=(const CadenceWatch&) = delete;

  /// Waits until `messages` messages have arrived. The watch begins with the first one. False if
  /// `patience` ends first.
  bool WaitFor(std::size_t messages, Patience patience);

  /// Ends the watch.
  Cadence Stop();

 private:
  using Clock = std::chrono::steady_clock;

  void Watch(const std::string& file);
  void Add(Clock::time_point time);

  std::mutex mMutex;                      // guards the following members except the thread
  std::condition_variable mChanged;       // a message has arrived
  std::vector<Clock::time_point> mTimes;  // arrival times of the messages
  std::chrono::milliseconds mLongestStall{};
  bool mIsOver = false;
  std::thread mThread;
};
