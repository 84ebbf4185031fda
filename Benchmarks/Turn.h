// Runs a program in place of the service, one process per cluster, in a unit with every peer, a
// client of both publishers, and reporting on.

#pragma once

#include <chrono>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "DataClient.h"
#include "ProcessCost.h"
#include "ServiceProcess.h"
#include "UnitStandIn.h"

/// A program and its first arguments.
using Command = std::vector<std::string>;

/// Longest wait for any event.
constexpr louddesk::Patience kPatience{20000};

/// Throws std::runtime_error with the complaint unless `holds`.
void Expect(bool holds, const std::string& complaint);

/// Every function that waits throws std::runtime_error if the event does not happen in time.
class Turn {
 public:
  /// A single cluster measures a 5.1 programme; several clusters measure four meters each.
  explicit Turn(Command program, unsigned clusters = 1);

  /// Starts the processes, with the service's command line after their first arguments.
  void Start();

  void WaitForFirstSubscription();

  /// Starts the processes and waits until each publishes.
  void StartPublishing();

  /// Sends blocks at the real rate, half-way between two data messages, for `time`, and returns the
  /// increase of `measure()` in that time.
  template <typename Measure>
  auto Feed(std::chrono::milliseconds time, Measure measure) {
    auto due = StartOfFeed();
    const auto end = due + time;
    const auto before = measure();
    while (due < end)
      FeedOne(due);
    return measure() - before;
  }

  /// The cost of all processes from the first block of a flood until the last has been processed.
  Cost Flood(unsigned blocks);

  /// The cost and the private memory of all processes.
  Cost Total() const;
  double TotalPrivateKib() const;

  /// Ends the processes.
  void End();

 private:
  using Clock = std::chrono::steady_clock;

  bool DoAllPublish();
  Clock::time_point StartOfFeed();
  void FeedOne(Clock::time_point& due);
  void PassUntil(Clock::time_point due);
  void AwaitIdle();

  Command mProgram;
  louddesk::UnitStandIn mUnit;
  std::deque<louddesk::DataClient> mClients;  // one for each cluster
  std::vector<std::unique_ptr<ServiceProcess>> mProcesses;
};
