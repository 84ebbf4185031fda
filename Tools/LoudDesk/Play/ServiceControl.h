// The user's orders to the service that is played to, and what is known of it by what it sends.

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
  /// Orders and what comes of them are shown as lines above the live line. Both must outlive it.
  ServiceControl(UnitStandIn& unit, LiveLine& line);

  /// Waits until the service has subscribed and switches its reporting on. Throws ServiceError when
  /// it does not in time.
  void Connect(Patience patience);

  /// Lets the service measure these speakers anew. With its reporting off it does not answer: it
  /// starts when the user switches that on. False when it should and has not within `patience`.
  bool Restart(const SpeakerLayout& speakers, Patience patience);

  /// Whether the next order may go out: the last one is acknowledged, or long enough ago. Sent
  /// sooner, it could replace the last one, which would then never be acknowledged.
  bool IsReady() const { return mAwaited == nullptr; }

  /// Sends a command or switches the reporting; says so. Orders of other kinds are not for it.
  void Send(const Order& order);

  /// Takes note of a message of loudness data.
  void TakeData(const LoudnessMessage& message);

  /// Takes everything else that has come and shows what the service has acknowledged. Returns
  /// whether it has begun to measure from zero.
  bool TakeAnswers();

  /// Whether the service publishes loudness data as long as it lives: it does not when stopped or
  /// with its reporting off.
  bool IsDataExpected() const;

  /// Whether the service has been silent for longer than a living one ever is.
  bool IsSilent() const;

  /// Why the last figures that came are not current, a line for the user: the service is paused,
  /// stopped or does not report. Empty when they are.
  std::string Caveat() const;

 private:
  using Clock = std::chrono::steady_clock;

  void TakeAnswer(const ServiceAnswer& answer);
  void CheckAwaited(Outcome outcome);
  void Settle(const std::string& line);

  UnitStandIn& mUnit;
  LiveLine& mLine;
  ServiceClient mClient;
  bool mIsStarting = false;  // no answer is shown while it is
  bool mIsReporting = true;  // as last switched
  bool mHasReset = false;    // since the last call of TakeAnswers
  std::string mDone;         // last command carried out but resets
  const Order* mAwaited = nullptr;
  Clock::time_point mDue;       // until when it is waited for
  Clock::time_point mLastData;  // when loudness data last came, or became due
  Clock::time_point mLastSign;  // when anything last came
};

}  // namespace louddesk
