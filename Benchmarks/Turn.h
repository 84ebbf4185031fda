// A program in the place of the service, one process for each cluster, with the unit around it:
// every peer, a client of both publishers, reporting on.

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

/// A program and its own words.
using Command = std::vector<std::string>;

/// Time for anything that is waited for.
constexpr louddesk::Patience kPatience{20000};

/// Throws std::runtime_error with the complaint unless it holds.
void Expect(bool holds, const std::string& complaint);

/// Whatever does not happen in time is thrown as std::runtime_error.
class Turn {
 public:
  /// One cluster measures a 5.1 programme, more of them four meters each.
  explicit Turn(Command program, unsigned clusters = 1);

  /// Starts the processes, with the service's command line after their own words.
  void Start();

  void WaitForFirstSubscription();

  /// Starts them and waits until each publishes.
  void StartPublishing();

  /// What `measure()` adds up to while blocks come at the real rate, half-way between two data
  /// messages.
  template <typename Measure>
  auto Feed(std::chrono::milliseconds time, Measure measure) {
    auto due = StartOfFeed();
    const auto end = due + time;
    const auto before = measure();
    while (due < end)
      FeedOne(due);
    return measure() - before;
  }

  /// The cost of all processes from the first block of a flood until the last has been dealt with.
  Cost Flood(unsigned blocks);

  /// Of all processes.
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
