// Hands requests to the thread, and answers back to the loop.

#include "LogApi.h"

#include <algorithm>
#include <ctime>
#include <stdexcept>
#include <utility>

#include "LogRequest.h"

namespace loudgate {
namespace {

constexpr char kLogPath[] = "/api/log";

HttpAnswer Busy() {
  return HttpAnswer::Plain(kUnavailable, "There are too many such requests; try again later.");
}

// Thrown when the work takes too long or the gate ends.
class GivenUp : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace

void AddNoLog(Routes& routes) {
  routes.Add(kGet, kLogPath, [](const HttpRequest&) {
    return HttpAnswer::Plain(kUnavailable, "This gate keeps no record.");
  });
}

LogApi::LogApi(Routes& routes, std::string file, LogLimits limits)
    : mFile(std::move(file)), mLimits(limits), mThread([this] { Run(); }) {
  routes.Add(kGet, kLogPath, [this](const HttpRequest& request) { return Take(request); });
}

LogApi::~LogApi() {
  {
    const std::lock_guard<std::mutex> lock(mMutex);
    mIsEnding = true;
  }
  mChange.notify_one();
  mThread.join();
}

HttpAnswer LogApi::Take(const HttpRequest& request) {
  const std::int64_t now = std::time(nullptr);
  LogRequest read;
  try {
    read = ReadLogRequest(request, now);
  } catch (const BadLogRequest& error) {
    return HttpAnswer::Plain(kBadRequest, error.what());
  }
  const auto late = std::make_shared<LateAnswer>();
  const bool makesFile = read.style == LogStyle::kCsv;
  const std::lock_guard<std::mutex> lock(mMutex);
  if (mWaiting.size() >= mLimits.waiting || (makesFile && HasAllFiles()))
    return Busy();
  mWaiting.push_back({makesFile,
                      [this, read = std::move(read), now](const auto& check) {
                        return AnswerFrom(mFile, read, now, check);
                      },
                      std::chrono::steady_clock::now() + mLimits.work, late});
  mChange.notify_one();
  return HttpAnswer::Later(late);
}

bool LogApi::HasAllFiles() {
  mFiles.erase(
      std::remove_if(mFiles.begin(), mFiles.end(), [](const auto& file) { return file.expired(); }),
      mFiles.end());
  return mFiles.size() >= mLimits.files;
}

void LogApi::Tend() {
  std::vector<Job> done;
  {
    const std::lock_guard<std::mutex> lock(mMutex);
    done.swap(mDone);
  }
  for (Job& job : done)
    job.late->answer = std::move(job.answer);
}

void LogApi::Run() {
  std::unique_lock<std::mutex> lock(mMutex);
  for (;;) {
    mChange.wait(lock, [this] { return mIsEnding || !mWaiting.empty(); });
    if (mIsEnding)
      return;
    Job job = std::move(mWaiting.front());
    mWaiting.pop_front();
    const bool isRefused = job.makesFile && HasAllFiles();  // files made while it waited
    lock.unlock();
    job.answer = isRefused ? Busy() : AnswerOf(job);
    lock.lock();
    if (job.answer.file)
      mFiles.push_back(job.answer.file);
    mDone.push_back(std::move(job));
  }
}

HttpAnswer LogApi::AnswerOf(const Job& job) const {
  const auto check = [this, &job] {
    if (std::chrono::steady_clock::now() > job.due)
      throw GivenUp("This takes too long; ask for a shorter period, or use LoudDesk log.");
    const std::lock_guard<std::mutex> lock(mMutex);
    if (mIsEnding)
      throw GivenUp("The gate is stopping.");
  };
  try {
    check();
    return job.work(check);
  } catch (const GivenUp& error) {
    return HttpAnswer::Plain(kUnavailable, error.what());
  } catch (const std::exception&) {
    return HttpAnswer::Plain(kServerError, "The request has failed.");
  }
}

}  // namespace loudgate
