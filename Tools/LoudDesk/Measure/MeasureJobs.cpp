// Threads that measure one file after another. A window limits how far they run ahead of the file
// whose outcome is taken next.

#include "MeasureJobs.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace louddesk {
namespace {

// Maximum delay before an interruption is noticed, and the period of progress updates.
constexpr std::chrono::milliseconds kTick{50};

// Number of finished outcomes per job that may wait for an unfinished one before them.
constexpr std::size_t kReadyPerJob = 4;

// Shared with threads that may outlive the call.
struct Jobs {
  std::vector<std::string> files;
  FileJob job;
  std::size_t window;
  std::unique_ptr<std::atomic<float>[]> shares;  // fraction of each file that has been read
  std::mutex mutex;                              // guards the members below
  std::condition_variable changed;
  std::size_t next = 0;   // next file to start
  std::size_t taken = 0;  // files whose outcomes have been taken
  bool isAbandoned = false;
  std::map<std::size_t, FileOutcome> ready;  // indexed by file
};

// The next file to measure; nothing if this thread is done.
std::optional<std::size_t> NextFile(Jobs& jobs) {
  std::unique_lock<std::mutex> lock(jobs.mutex);
  jobs.changed.wait(lock, [&jobs] {
    return jobs.isAbandoned || jobs.next == jobs.files.size() ||
           jobs.next < jobs.taken + jobs.window;
  });
  if (jobs.isAbandoned || jobs.next == jobs.files.size())
    return std::nullopt;
  return jobs.next++;
}

void Work(const std::shared_ptr<Jobs>& jobs) {
  while (const auto file = NextFile(*jobs)) {
    FileOutcome outcome = jobs->job(
        jobs->files[*file], [&](double share) { jobs->shares[*file] = static_cast<float>(share); });
    jobs->shares[*file] = 1.0F;
    const std::lock_guard<std::mutex> lock(jobs->mutex);
    jobs->ready.emplace(*file, std::move(outcome));
    jobs->changed.notify_all();
  }
}

// The size of each file in bytes; 1 if unknown.
std::vector<double> WeightsOf(const std::vector<std::string>& files) {
  std::vector<double> weights;
  for (const std::string& file : files) {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(file, error);
    weights.push_back(error || size == 0 ? 1.0 : static_cast<double>(size));
  }
  return weights;
}

double ShareOf(const Jobs& jobs, const std::vector<double>& weights) {
  double done = 0.0;
  double all = 0.0;
  for (std::size_t i = 0; i < weights.size(); ++i) {
    done += weights[i] * static_cast<double>(jobs.shares[i].load());
    all += weights[i];
  }
  return done / all;
}

// Takes the outcome of the next file, or of any file if `isAnyTaken`. Returns false if there is
// none.
bool TakeReady(Jobs& jobs, const JobWatch& watch, bool isAnyTaken) {
  FileOutcome outcome;
  {
    const std::lock_guard<std::mutex> lock(jobs.mutex);
    if (jobs.ready.empty() || (!isAnyTaken && jobs.ready.begin()->first != jobs.taken))
      return false;
    outcome = std::move(jobs.ready.begin()->second);
    jobs.ready.erase(jobs.ready.begin());
    ++jobs.taken;
    jobs.changed.notify_all();
  }
  watch.take(std::move(outcome));
  return true;
}

// Returns false if interrupted.
bool TakeAll(Jobs& jobs, const JobWatch& watch) {
  const std::vector<double> weights = WeightsOf(jobs.files);
  while (jobs.taken < jobs.files.size()) {
    if (watch.isInterrupted())
      return false;
    if (TakeReady(jobs, watch, false))
      continue;
    watch.shown(ShareOf(jobs, weights));
    std::unique_lock<std::mutex> lock(jobs.mutex);
    jobs.changed.wait_for(lock, kTick);
  }
  return true;
}

}  // namespace

std::size_t RunJobs(const std::vector<std::string>& files, std::size_t jobs, const FileJob& job,
                    const JobWatch& watch) {
  const auto shared = std::make_shared<Jobs>();
  shared->files = files;
  shared->job = job;
  shared->window = jobs * kReadyPerJob;
  shared->shares = std::make_unique<std::atomic<float>[]>(files.size());
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < std::min(jobs, files.size()); ++i)
    threads.emplace_back(Work, shared);
  const bool isComplete = TakeAll(*shared, watch);
  if (!isComplete) {
    const std::lock_guard<std::mutex> lock(shared->mutex);
    shared->isAbandoned = true;
  }
  while (!isComplete && TakeReady(*shared, watch, true)) {
  }
  for (std::thread& thread : threads)
    isComplete ? thread.join() : thread.detach();
  return shared->taken;
}

}  // namespace louddesk
