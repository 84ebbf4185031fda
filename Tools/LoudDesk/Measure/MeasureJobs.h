// Many files measured at the same time, and handed out in the order given.

#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "MeasuredFile.h"

namespace louddesk {

/// What came of one file: figures, or the line that says why there are none.
struct FileOutcome {
  std::string path;
  std::optional<MeasuredFile> measured;
  std::string failure;
};

/// Called with the share of a file that has been read, 0 ... 1.
using ShareTold = std::function<void(double)>;

/// What is done with one file. Called on several threads at a time.
using FileJob = std::function<FileOutcome(const std::string& path, const ShareTold& told)>;

/// Of the thread that waits for the outcomes.
struct JobWatch {
  std::function<void(FileOutcome&&)> take;  // in the order of the files
  std::function<void(double share)> shown;  // of the bytes of all files that has been read
  std::function<bool()> isInterrupted;
};

/// Measures the files on `jobs` threads, each with a meter of its own. Only a few outcomes are ever
/// held, however many files there are. When `isInterrupted` turns true, what is finished is taken,
/// and the rest is left to threads that nobody waits for: the process is expected to end. Returns
/// the number of files that were taken. REQUIRES: jobs > 0.
std::size_t RunJobs(const std::vector<std::string>& files, std::size_t jobs, const FileJob& job,
                    const JobWatch& watch);

}  // namespace louddesk
