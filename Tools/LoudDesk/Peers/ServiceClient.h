// Sends messages to a running service in place of the main board's application server, and waits
// for their outcomes.

#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "SentMessage.h"
#include "UnitDocuments.h"
#include "UnitStandIn.h"

namespace louddesk {

/// The service cannot do what was requested. The message is one line for the user.
class ServiceError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class ServiceClient {
 public:
  /// Called with every answer of the service except republished ones.
  using AnswerSink = std::function<void(const ServiceAnswer&)>;

  /// Talks to the service of `unit`. `unit` must outlive the client and have the application server
  /// of the main board open.
  explicit ServiceClient(UnitStandIn& unit, AnswerSink show = {});

  /// Waits until the service has subscribed, and discards what it has published so far. Throws
  /// ServiceError on a timeout or an interrupt.
  void Connect(Patience patience);

  /// Returns the configuration in force, from the next republication; nothing if the service
  /// republishes none (before the first one, or while its source is invalid). Throws ServiceError
  /// if nothing is republished within the longer of `patience` and the republication period, if the
  /// configuration cannot be read, or on an interrupt.
  std::optional<LoudnessConfiguration> ConfigurationInForce(Patience patience);

  /// Each of the next four functions sends one message. Outcomes refer to the last message sent.

  /// Switches reporting. The protocol does not acknowledge this: on is done when loudness data (or
  /// the acknowledgement of a delayed action) comes, off when no more loudness data comes.
  void SwitchReporting(bool isOn);

  /// Sends a preset; done when a start is acknowledged.
  void SendPreset(const std::string& json);

  /// Sends a configuration; done when a start is acknowledged after the service has published the
  /// configuration as the one in force.
  void SendConfiguration(const LoudnessConfiguration& configuration);

  /// Sends a command with a new time stamp; done when it is acknowledged.
  void SendCommand(const std::string& command, unsigned user);

  /// Makes the service measure a new programme, with meter i + 1 for speaker i. Sets the longest
  /// windows, so that the figures cover the whole measurement, and the mode Manual, in which the
  /// service carries out every command. Restarts the measurement even after a stop.
  void Restart(const std::vector<std::string>& speakers);

  /// The user ID of the last restart; different each time.
  unsigned User() const { return mUser; }

  /// Passes on loudness data that the owner of the unit has read.
  void TakeData(const LoudnessMessage& message);

  /// Takes answers until the message is settled or no answer comes for `patience`. Returns the
  /// outcome.
  Outcome TakeAnswers(Patience patience);

  /// Takes answers and loudness data until the message is settled, `patience` ends or the process
  /// is interrupted. Returns the outcome.
  Outcome Await(Patience patience);

 private:
  using Clock = std::chrono::steady_clock;

  void Send(const std::string& topic, const std::string& json, SentMessage message);

  UnitStandIn& mUnit;
  AnswerSink mShow;
  std::vector<std::string> mSpeakers;  // of the last restart; empty: none yet
  unsigned mUser;                      // identifies the service's answers to this client
  unsigned mTimeStamp = 0;             // of the last command
  SentMessage mSent;                   // last message sent
};

}  // namespace louddesk
