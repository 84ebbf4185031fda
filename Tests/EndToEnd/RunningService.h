// The shipped service as a process with the stand-in for the unit around it.

#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "Emulation.h"
#include "LuEnumerations.h"
#include "SecondComputation.h"
#include "ServiceProcess.h"
#include "UnitDocuments.h"
#include "UnitStandIn.h"

/// Long enough for a machine that builds at the same time. Only failures take this long.
constexpr std::chrono::milliseconds kPatience{20000 * kSlowness};

/// Period of the loudness data.
constexpr std::chrono::milliseconds kPeriod{100};

/// Speakers of a 5.1 programme on meters 1 to 6.
const std::vector<std::string>& SurroundSpeakers();

/// How a service is started, apart from its command line.
struct ServiceStart {
  std::map<std::string, std::string> environment;  // in addition to the test's
  ProcessOptions options;
  std::vector<std::string> runner;  // program and arguments that run the service; empty: none
};

class RunningService : public testing::Test {
 protected:
  /// Prepares for a service of one meter set and cluster. Starts nothing.
  explicit RunningService(unsigned meterSet = 1, unsigned cluster = 1);

  /// Ends a service that still runs and expects an orderly end with status 0 and without error
  /// messages.
  void TearDown() override;

  /// Opens the unit's peers except `absent`, starts the service and waits until it has subscribed
  /// to all open peers. Fails the test otherwise: use with ASSERT_NO_FATAL_FAILURE.
  void Start(const std::set<louddesk::Peer>& absent = {}, const ServiceStart& start = {});

  /// Starts the service alone.
  void StartProcess(const ServiceStart& start = {});

  /// Starts the service again after the previous one has ended and every peer and client has
  /// noticed that. Waits like Start, so that messages then reach the new service. Drops the data
  /// and the states of the previous one.
  void StartAgain(const ServiceStart& start = {});

  /// Waits for `time` and reads everything that arrives.
  void Pass(std::chrono::milliseconds time);

  /// Stops a process and waits until it is stopped.
  void Suspend(ServiceProcess& process);

  /// Switches reporting on or off and waits until the service has handled that.
  void EnableReporting(bool enable = true);

  /// Publish a preset, a configuration or a command as the application server.
  void SendPreset(const std::string& json);
  void SendConfiguration(const louddesk::LoudnessConfiguration& configuration);
  void SendCommand(const std::string& command);

  /// Waits for an acknowledgement of `command` and drops earlier states.
  void ExpectAcknowledgement(const std::string& command);

  /// The next message of the state publisher that is not a republication, or that is one.
  /// Republications come every fifth second between other messages. Messages of the other kind
  /// before it are dropped.
  std::optional<louddesk::StateMessage> NextAnswer(louddesk::Patience patience);
  std::optional<louddesk::StateMessage> NextRepublication(louddesk::Patience patience);

  /// Reads the heartbeats that have arrived and returns their number.
  int TakeHeartbeats();

  /// Enables reporting, sends a 5.1 preset and waits until data flows.
  void StartMeasuring();

  /// Publishes `count` blocks in which every meter of a 5.1 programme has `lkfs` and the peak.
  void Feed(unsigned count, double lkfs, std::uint32_t peak = 1000);

  /// Waits for a message for which `condition` holds; fails with the last message otherwise.
  void ExpectData(const std::function<bool(const louddesk::LoudnessMessage&)>& condition,
                  const std::string& what);

  /// Expects that from now on a message comes every 100 ms.
  void ExpectCadence();

  /// The same for a period of any length with disturbances, between the two calls. No loudness data
  /// may be read in between. A busy machine may skip a few ticks; a service that publishes nothing
  /// for over a second fails.
  void MarkCadence();
  void ExpectCadenceKept();

  /// Expects that no message comes for several periods.
  void ExpectNoData();

  /// The same when publishing has just ended: messages on their way are dropped.
  void ExpectDataEnded();

  /// Feeds blocks of a new level and expects that the service publishes it.
  void ExpectMeasures(double lkfs);

  /// Waits for a line at the log sink that contains `text`; earlier lines are dropped.
  void ExpectLogLine(const std::string& text);

  /// Ends the service with `signal` and expects status 0, the exit line and no complaint.
  void ExpectCleanEnd(int signal);

  /// Expects that the service stops by an assertion with exactly this text.
  void ExpectStopByAssertion(const std::string& text);

  /// The output of the service, for failure messages.
  std::string Output() const;

  louddesk::UnitStandIn mUnit;
  std::unique_ptr<ServiceProcess> mService;

 private:
  std::optional<louddesk::StateMessage> NextStateOf(bool isRepublished,
                                                    louddesk::Patience patience);

  std::chrono::steady_clock::time_point mMark;  // arrival of the message that begins the count
};
