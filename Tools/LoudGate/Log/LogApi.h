// What was sent in a period, from the record: /api/log. A period is read on a thread of its own,
// so that the loop waits for no disk and no calculation.

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

/// Says that there is no record, at /api/log.
void AddNoLog(Routes& routes);

/// What requests may take of the gate.
struct LogLimits {
  std::size_t waiting = 4;  // for the one that is worked on; further ones are refused at once
  std::size_t files = 4;    // tables of seconds on their way, 11 MB each; further ones are refused

  /// From a request to its answer. What would take longer is given up, before the server's patience
  /// ends; the time that a locked file is waited for comes on top.
  std::chrono::milliseconds work{12000};
};

class LogApi {
 public:
  /// Answers /api/log from the record in `file`, which need not exist yet. The routes may be asked
  /// as long as this lives.
  LogApi(Routes& routes, std::string file, LogLimits limits = {});

  /// Ends what is going on.
  ~LogApi();

  LogApi(const LogApi&) = delete;
  LogApi& operator=(const LogApi&) = delete;

  /// Hands over the answers that have been found. To be called ten times a second.
  void Tend();

 private:
  using Time = std::chrono::steady_clock::time_point;
  using Work = std::function<HttpAnswer(const std::function<void()>& check)>;

  // A request on its way.
  struct Job {
    bool makesFile;
    Work work;
    Time due;  // when nobody waits for it any longer
    std::shared_ptr<LateAnswer> late;
    HttpAnswer answer = {};
  };

  HttpAnswer Take(const HttpRequest& request);
  bool HasAllFiles();  // REQUIRES: mMutex is held
  void Run();
  HttpAnswer AnswerOf(const Job& job) const;

  std::string mFile;
  LogLimits mLimits;

  mutable std::mutex mMutex;  // guards what follows
  std::condition_variable mChange;
  bool mIsEnding = false;
  std::deque<Job> mWaiting;
  std::vector<Job> mDone;
  std::vector<std::weak_ptr<const AnswerFile>> mFiles;  // that may still be on their way

  std::thread mThread;  // the last one: it uses the others
};

}  // namespace loudgate
