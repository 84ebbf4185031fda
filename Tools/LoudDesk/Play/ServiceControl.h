// Sends the user's orders to the service and tracks its state from what it publishes.

#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "LiveLine.h"
#include "Orders.h"
#include "ServiceClient.h"
#include "SpeakerLayout.h"

namespace louddesk {

class ServiceControl {
 public:
  /// Shows orders and their results above the live line. Both arguments must outlive the object.
  ServiceControl(UnitStandIn& unit, LiveLine& line);

  /// Waits until the service has subscribed, and switches its reporting on. Throws ServiceError on
  /// a timeout.
  void Connect(Patience patience);

  /// Restarts the measurement for these speakers. Returns false if the service does not answer
  /// within `patience`. Does not wait while reporting is off: the service then starts once the user
  /// switches it on.
  bool Restart(const SpeakerLayout& speakers, Patience patience);

  /// Whether the next order may be sent: the last one is acknowledged or has timed out. An order
  /// sent earlier could replace the last one, which would then never be acknowledged.
  bool IsReady() const { return mAwaited == nullptr; }

  /// Sends a command or switches reporting, and shows the order. REQUIRES: an order of these kinds.
  void Send(const Order& order);

  /// Takes loudness data into account.
  void TakeData(const LoudnessMessage& message);

  /// Takes all other messages that have arrived, and shows acknowledgements. Returns true if the
  /// measurement was reset.
  bool TakeAnswers();

  /// Whether a running service must be publishing loudness data: it does unless it is stopped or
  /// its reporting is off.
  bool IsDataExpected() const;

  /// Whether the service has been silent longer than a running service can be.
  bool IsSilent() const;

  /// A line for the user if the last figures are not current, because the service is paused,
  /// stopped or does not report; otherwise empty.
  std::string Caveat() const;

 private:
  using Clock = std::chrono::steady_clock;

  void TakeAnswer(const ServiceAnswer& answer);
  void CheckAwaited(Outcome outcome);
  void Settle(const std::string& line);

  UnitStandIn& mUnit;
  LiveLine& mLine;
  ServiceClient mClient;
  bool mIsStarting = false;  // answers are hidden meanwhile
  bool mIsReporting = true;  // last setting sent
  bool mHasReset = false;    // since the last call of TakeAnswers
  std::string mDone;         // last command carried out, except resets
  const Order* mAwaited = nullptr;
  Clock::time_point mDue;       // deadline for the answer to mAwaited
  Clock::time_point mLastData;  // when loudness data last came or became due
  Clock::time_point mLastSign;  // when any message last came
};

}  // namespace louddesk
