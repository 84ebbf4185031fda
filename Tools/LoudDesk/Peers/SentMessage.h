// What becomes of a message that was sent to a service, judged by what the service says after it.
// Knows no sockets and no clock: times come with the calls.

#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "ServiceMessages.h"

namespace louddesk {

/// What has become of a message.
enum class Outcome {
  kPending,        // nothing yet
  kDone,           // it is acknowledged, or seen in the loudness data
  kOtherStamp,     // a command, acknowledged with the time stamp of another client's
  kInvalidSource,  // the service says instead that it has nothing to measure
};

/// How long people wait for the acknowledgement of a command before they are told that there is
/// none.
constexpr std::chrono::milliseconds kAcknowledgedWithin{5000};

/// Why a service does not acknowledge a command, as far as that can be told from outside.
std::string WhyNotAcknowledged(const std::string& command);

class SentMessage {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// None was sent: its outcome is kDone.
  SentMessage() = default;

  /// A command, done with the acknowledgement that settles it. `timeStamp` is the one in it.
  static SentMessage Command(const std::string& command, unsigned timeStamp);

  /// Reporting switched. The protocol acknowledges it by the loudness data alone: done when some
  /// comes (or an action that has waited is acknowledged), or when none has come for a while.
  static SentMessage Reporting(bool isOn, Time now);

  /// A preset, done with the start that acknowledges it.
  static SentMessage Preset();

  /// A configuration, done with the start after the service has published it as the one in force.
  static SentMessage Configuration(const std::string& json);

  /// Considers loudness data of the service.
  void TakeData(const LoudnessMessage& message, Time now);

  /// Considers an answer of the service. True when it is the one that settles the message.
  /// Republished ones do not count.
  bool TakeAnswer(const ServiceAnswer& answer, Time now);

  /// What has become of it by now.
  Outcome OutcomeAt(Time now);

  /// What has become of it when nobody waits any longer.
  Outcome FinalOutcome();

 private:
  // How well an answer fits the message.
  enum class Fit { kNone, kLikely, kFinal };
  using FitOf = std::function<Fit(const ServiceAnswer&)>;

  // What loudness data says of the message.
  enum class Data { kNothing, kDone, kNotYet };

  SentMessage(FitOf fitOf, Data data);
  void SettleAs(Outcome outcome, Time unlessBetterBy);

  Outcome mOutcome = Outcome::kDone;
  FitOf mFitOf;
  Data mData = Data::kNothing;
  Outcome mFallback = Outcome::kPending;  // what the outcome is when nothing better comes
  std::optional<Time> mDue;               // until then
};

}  // namespace louddesk
