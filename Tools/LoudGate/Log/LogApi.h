// /api/log: the recorded figures of a period. A separate thread reads the period, so that the event
// loop never waits for the disk or for a calculation.

#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "HttpMessage.h"
#include "Routes.h"

namespace loudgate {

/// Makes /api/log answer that the gate keeps no record.
void AddNoLog(Routes& routes);

/// Limits on what requests can take.
struct LogLimits {
  std::size_t waiting = 4;  // requests besides the one in progress; further ones are refused
  std::size_t files = 4;    // CSV files being sent, up to 11 MB each; further ones are refused

  /// Longest time from a request to its answer, shorter than the server's patience. Longer work is
  /// given up. Waiting for a locked file adds to this time.
  std::chrono::milliseconds work{12000};
};

class LogApi {
 public:
  /// Answers /api/log from the record in `file`, which need not exist yet. Must outlive the last
  /// use of the routes.
  LogApi(Routes& routes, std::string file, LogLimits limits = {});

  /// Gives up work in progress and ends the thread.
  ~LogApi();

  LogApi(const LogApi&) = delete;
  LogApi& operator=(const LogApi&) = delete;

  /// Delivers the answers that are ready. Call it ten times a second.
  void Tend();

 private:
  using Time = std::chrono::steady_clock::time_point;
  using Work = std::function<HttpAnswer(const std::function<void()>& check)>;

  // A request that has not been answered yet.
  struct Job {
    bool makesFile;
    Work work;
    Time due;  // when the work is given up
    std::shared_ptr<LateAnswer> late;
    HttpAnswer answer = {};
  };

  HttpAnswer Take(const HttpRequest& request);
  bool HasAllFiles();  // REQUIRES: mMutex is held
  void Run();
  HttpAnswer AnswerOf(const Job& job) const;

  std::string mFile;
  LogLimits mLimits;

  mutable std::mutex mMutex;  // guards the members up to mFiles
  std::condition_variable mChange;
  bool mIsEnding = false;
  std::deque<Job> mWaiting;
  std::vector<Job> mDone;
  std::vector<std::weak_ptr<const AnswerFile>> mFiles;  // sent ones may be gone already

  std::thread mThread;  // last, because it uses the members above
};

}  // namespace loudgate
