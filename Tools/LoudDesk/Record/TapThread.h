// Receives on a thread of its own, so that neither the file nor the terminal delays the times of
// messages or the publishers.

#pragma once

#include <atomic>
#include <chrono>
#include <mutex>
#include <string>
#include <thread>

#include "MessageQueue.h"
#include "ServiceTap.h"

namespace louddesk {

class TapThread {
 public:
  using Clock = std::chrono::steady_clock;

  /// Begins to put what `tap` receives into `queue`, with times since `start`. Both must outlive
  /// this object. Nobody else may use `tap` until Stop returns.
  TapThread(ServiceTap& tap, MessageQueue& queue, Clock::time_point start);
  ~TapThread() { Stop(); }

  TapThread(const TapThread&) = delete;
  TapThread& operator=(const TapThread&) = delete;

  /// Reads what has arrived and ends the thread.
  void Stop();

  /// The names of the publishers without a connection, for the user; empty when all are connected.
  std::string MissingText() const;

 private:
  void Run();
  void TakeMessages();

  ServiceTap& mTap;
  MessageQueue& mQueue;
  Clock::time_point mStart;
  mutable std::mutex mMutex;  // guards mMissing
  std::string mMissing;
  std::atomic<bool> mIsEnding{false};
  std::thread mThread;
};

}  // namespace louddesk
