// The outcome of a message sent to a service, derived from what the service publishes afterwards.
// Has no sockets and no clock: callers pass the time.

#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "ServiceMessages.h"

namespace louddesk {

/// The outcome of a message.
enum class Outcome {
  kPending,        // no result yet
  kDone,           // acknowledged, or visible in the loudness data
  kOtherStamp,     // a command, acknowledged with the time stamp of another client's
  kInvalidSource,  // the service reports an invalid source instead
};

/// How long to wait for the acknowledgement of a command before reporting that there is none.
constexpr std::chrono::milliseconds kAcknowledgedWithin{5000};

/// Possible reasons why a service does not acknowledge a command, as far as a client can know.
std::string WhyNotAcknowledged(const std::string& command);

class SentMessage {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// No message; the outcome is kDone.
  SentMessage() = default;

  /// A command, done when it is acknowledged. `timeStamp` is the one in the command.
  static SentMessage Command(const std::string& command, unsigned timeStamp);

  /// A switch of reporting, which the protocol does not acknowledge. Switching on is done when
  /// loudness data or an acknowledgement of a delayed action comes; switching off is done when no
  /// loudness data has come for a while.
  static SentMessage Reporting(bool isOn, Time now);

  /// A preset, done when a start is acknowledged.
  static SentMessage Preset();

  /// A configuration, done when a start is acknowledged after the service has published the
  /// configuration as the one in force.
  static SentMessage Configuration(const std::string& json);

  /// Takes loudness data of the service into account.
  void TakeData(const LoudnessMessage& message, Time now);

  /// Takes an answer of the service into account. Returns true if it settles the message.
  /// Republished answers do not count.
  bool TakeAnswer(const ServiceAnswer& answer, Time now);

  /// The outcome at the time `now`.
  Outcome OutcomeAt(Time now);

  /// The outcome when the caller stops waiting.
  Outcome FinalOutcome();

 private:
  // How well an answer matches the message.
  enum class Fit { kNone, kLikely, kFinal };
  using FitOf = std::function<Fit(const ServiceAnswer&)>;

  // What loudness data implies for the message.
  enum class Data { kNothing, kDone, kNotYet };

  SentMessage(FitOf fitOf, Data data);
  void SettleAs(Outcome outcome, Time unlessBetterBy);

  Outcome mOutcome = Outcome::kDone;
  FitOf mFitOf;
  Data mData = Data::kNothing;
  Outcome mFallback = Outcome::kPending;  // outcome unless a better answer comes
  std::optional<Time> mDue;               // when the fallback becomes final
};

}  // namespace louddesk
