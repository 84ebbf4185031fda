// Measures many files in parallel and delivers the outcomes in the given order.

#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "MeasuredFile.h"

namespace louddesk {

/// The outcome of one file: figures, or one line with the reason why there are none.
struct FileOutcome {
  std::string path;
  std::optional<MeasuredFile> measured;
  std::string failure;
};

/// Called with the fraction of a file that has been read, 0 ... 1.
using ShareTold = std::function<void(double)>;

/// Measures one file. Called on several threads concurrently.
using FileJob = std::function<FileOutcome(const std::string& path, const ShareTold& told)>;

/// Callbacks on the thread that waits for the outcomes.
struct JobWatch {
  std::function<void(FileOutcome&&)> take;  // in the order of the files
  std::function<void(double share)> shown;  // fraction of all bytes that has been read
  std::function<bool()> isInterrupted;
};

/// Measures the files on `jobs` threads. Holds only a few outcomes at a time, regardless of the
/// number of files. When `isInterrupted` returns true, takes what is finished and detaches the
/// threads: the process is expected to end. Returns the number of outcomes taken. REQUIRES: jobs >
/// 0.
std::size_t RunJobs(const std::vector<std::string>& files, std::size_t jobs, const FileJob& job,
                    const JobWatch& watch);

}  // namespace louddesk
