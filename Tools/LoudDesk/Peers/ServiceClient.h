// Sends messages to a running service in the place of the main board's application server, and
// tells what becomes of them.

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

/// What keeps a service from doing what it is asked for. The text is one line for the user.
class ServiceError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class ServiceClient {
 public:
  /// Called with every answer of the service as it comes, republications aside.
  using AnswerSink = std::function<void(const ServiceAnswer&)>;

  /// Talks to the service of `unit`, which must outlive it and have the application server of the
  /// main board open.
  explicit ServiceClient(UnitStandIn& unit, AnswerSink show = {});

  /// Waits until the service has subscribed, and forgets what it has published so far. Throws
  /// ServiceError when it does not subscribe in time or the process is interrupted.
  void Connect(Patience patience);

  /// The configuration in force, from the next republication; nothing when the service republishes
  /// none, as before the first one or while its source is invalid. Throws ServiceError when it
  /// republishes nothing within `patience` and the period of republications, what it republishes
  /// cannot be read or the process is interrupted.
  std::optional<LoudnessConfiguration> ConfigurationInForce(Patience patience);

  /// Each of these sends one message. Outcomes are those of the message sent last.

  /// The protocol acknowledges it by the loudness data alone: done when some comes (or an action
  /// that has waited is acknowledged), or when none comes any more.
  void SwitchReporting(bool isOn);

  /// Done with the start that acknowledges it.
  void SendPreset(const std::string& json);

  /// Done with the start after the service has published it as the configuration in force.
  void SendConfiguration(const LoudnessConfiguration& configuration);

  /// Done with the acknowledgement that settles it. Each command has another time stamp.
  void SendCommand(const std::string& command, unsigned user);

  /// Hands the service a programme, meter i + 1 for speaker i, with the longest windows that there
  /// are, so that its figures cover everything measured, and in the mode Manual, in which it
  /// carries out every command. It then measures anew, also after a stop.
  void Restart(const std::vector<std::string>& speakers);

  /// The user of the last restart; another one each time.
  unsigned User() const { return mUser; }

  /// Considers loudness data that the owner of the unit has read.
  void TakeData(const LoudnessMessage& message);

  /// Takes the answers that come within `patience` of one another, until the message is settled.
  /// Returns what has become of it.
  Outcome TakeAnswers(Patience patience);

  /// Takes answers and loudness data until the message is settled, `patience` ends or the process
  /// is interrupted.
  Outcome Await(Patience patience);

 private:
  using Clock = std::chrono::steady_clock;

  void Send(const std::string& topic, const std::string& json, SentMessage message);

  UnitStandIn& mUnit;
  AnswerSink mShow;
  std::vector<std::string> mSpeakers;  // of the last restart; empty: none yet
  unsigned mUser;                      // by which the service's answers to this client are known
  unsigned mTimeStamp = 0;             // of the last command
  SentMessage mSent;                   // the last one
};

}  // namespace louddesk
