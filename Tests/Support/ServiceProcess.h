// Runs a program under test as a child process and observes its output and its end.

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

/// A line of output without its line feed; the last line may lack one.
struct OutputLine {
  bool isError = false;  // written to the error stream
  std::string text;
};

/// How a process is started.
struct ProcessOptions {
  static constexpr int kClosed = -1;

  /// Signals that are blocked when the program starts. Such a signal stays pending until the
  /// program unblocks it.
  std::set<int> blockedSignals;

  /// Descriptors of the test, or kClosed, for the streams. By default the input is empty and the
  /// output is observed. A stream given here is not observed.
  std::optional<int> input;
  std::optional<int> output;
  std::optional<int> errors;
};

class ServiceProcess {
 public:
  using Patience = std::chrono::milliseconds;

  /// Starts `program` with `arguments` in the environment of the test plus `environment`. The
  /// process dies with the test. If it cannot be started, the test process ends.
  ServiceProcess(const std::string& program, const std::vector<std::string>& arguments,
                 const std::map<std::string, std::string>& environment = {},
                 const ProcessOptions& options = {});

  /// Kills the process if it still runs.
  ~ServiceProcess();

  ServiceProcess(const ServiceProcess&) = delete;
  ServiceProcess& operator=(const ServiceProcess&) = delete;

  /// Waits for a line of either stream that contains `text`. Earlier lines count, except for the
  /// first `skip`. False if `patience` or the output ends first.
  bool WaitForLine(const std::string& text, Patience patience, std::size_t skip = 0);

  /// All lines so far, in the order of their arrival.
  std::vector<OutputLine> Lines() const;
  std::size_t LineCount() const { return Lines().size(); }

  /// All lines so far of one stream, joined by line feeds.
  std::string StandardOutput() const { return Joined(false); }
  std::string StandardError() const { return Joined(true); }

  /// Sends a signal; does nothing if the process has ended.
  void Signal(int signal);

  bool IsRunning() const;

  /// The value of a field of its /proc/PID/status, for example "VmRSS"; empty if there is no such
  /// field.
  std::string StatusOf(const std::string& field) const;

  /// Resident memory of the process in KiB.
  long ResidentKib() const;

  /// Number of files that the process has open.
  long OpenFiles() const;

  /// Waits until the process has ended and its output has been read. Nothing if `patience` ends
  /// first.
  std::optional<ExitReport> WaitForExit(Patience patience);

 private:
  void Observe(int output, int errors);
  void Append(bool isError, std::string text);
  void Reap();
  std::string Joined(bool isError) const;

  pid_t mPid = -1;
  mutable std::mutex mMutex;         // guards the following members
  std::condition_variable mChanged;  // a line came or the process ended
  std::vector<OutputLine> mLines;
  std::optional<ExitReport> mExit;
  std::thread mObserver;  // reads both streams to their ends, then waits for the process
};
