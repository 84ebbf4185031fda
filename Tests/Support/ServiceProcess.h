// A program under test as a child process, with its output and its end observed.

#pragma once

#include <sys/types.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

/// How a process ended.
struct ExitReport {
  int status = 0;  // exit status; meaningless when a signal ended the process
  int signal = 0;  // the signal that ended it, or 0
};

/// A line of output without its line feed; the last one may have had none.
struct OutputLine {
  bool isError = false;  // written to the error stream
  std::string text;
};

/// What a process finds at its start.
struct ProcessOptions {
  static constexpr int kClosed = -1;

  /// Blocked from before its first instruction on: one that is sent waits until the program itself
  /// lets it through.
  std::set<int> blockedSignals;

  /// Descriptors of the test, or kClosed, in the place of the streams. Without one the input is
  /// empty and the output is observed; of a stream given here no line is seen.
  std::optional<int> input;
  std::optional<int> output;
  std::optional<int> errors;
};

class ServiceProcess {
 public:
  using Patience = std::chrono::milliseconds;

  /// Starts `program` with `arguments` in the environment of the test with `environment` on top.
  /// The process dies with the test. Ends the test process when it cannot be started.
  ServiceProcess(const std::string& program, const std::vector<std::string>& arguments,
                 const std::map<std::string, std::string>& environment = {},
                 const ProcessOptions& options = {});

  /// Kills the process when it still runs.
  ~ServiceProcess();

  ServiceProcess(const ServiceProcess&) = delete;
  ServiceProcess& operator=(const ServiceProcess&) = delete;

  /// Waits for a line, of either stream, that contains `text` and is not among the first `skip`
  /// lines. Every line since the start counts. False when `patience` or the output ends first.
  bool WaitForLine(const std::string& text, Patience patience, std::size_t skip = 0);

  /// Lines so far, in the order of arrival.
  std::vector<OutputLine> Lines() const;
  std::size_t LineCount() const { return Lines().size(); }

  /// One stream so far, its lines joined by line feeds.
  std::string StandardOutput() const { return Joined(false); }
  std::string StandardError() const { return Joined(true); }

  /// Sends a signal; nothing happens when the process has ended.
  void Signal(int signal);

  bool IsRunning() const;

  /// Its value of a field of /proc/PID/status, for example "VmRSS"; empty when there is none.
  std::string StatusOf(const std::string& field) const;

  /// Memory that it occupies, in KiB.
  long ResidentKib() const;

  /// Number of files that it has open.
  long OpenFiles() const;

  /// Waits for the end of the process and of its output. None when `patience` ends first.
  std::optional<ExitReport> WaitForExit(Patience patience);

 private:
  void Observe(int output, int errors);
  void Append(bool isError, std::string text);
  void Reap();
  std::string Joined(bool isError) const;

  pid_t mPid = -1;
  mutable std::mutex mMutex;         // guards what follows
  std::condition_variable mChanged;  // a line came or the process ended
  std::vector<OutputLine> mLines;
  std::optional<ExitReport> mExit;
  std::thread mObserver;  // reads both streams to their ends, then waits for the process
};
