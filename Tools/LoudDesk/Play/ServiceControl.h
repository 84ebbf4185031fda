// The user's orders to the service that is played to, and what is known of it by what it sends.

#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "Acknowledgement.h"
#include "LiveLine.h"
#include "Orders.h"
#include "UnitStandIn.h"

namespace louddesk {

class ServiceControl {
 public:
  /// Orders and what comes of them are shown as lines above the live line. Both must outlive it.
  ServiceControl(UnitStandIn& unit, LiveLine& line);

  /// The service has been told to measure anew; the orders are now from `user`.
  void Start(unsigned user);

  /// Whether the next order may go out: the last one is acknowledged, or long enough ago. Sooner it
  /// could take the last one's place, of which nothing would then be heard.
  bool IsReady() const { return !mAwaited; }

  /// Sends a command or switches the reporting; says so. Orders of other kinds are not for it.
  void Send(const Order& order);

  /// Takes note of a message of loudness data.
  void TakeData(const LoudnessMessage& message);

  /// Takes everything else that has come and shows what the service has acknowledged. Returns
  /// whether it has begun to measure from zero.
  bool TakeAnswers();

  /// Whether orders are carried out now.
  bool IsReporting() const { return mIsReporting; }

  /// Whether the service publishes loudness data as long as it lives: it does not when stopped or
  /// with its reporting off.
  bool IsDataExpected() const;

  /// Whether the service has not been heard of for longer than a living one would be.
  bool IsSilent() const;

  /// What is to be known of the last figures that came, a line for the user: the service is paused,
  /// stopped or does not report. Empty when they are of now.
  std::string Caveat() const;

 private:
  using Clock = std::chrono::steady_clock;

  struct Awaited {
    const Order* order;
    unsigned timeStamp;     // of a command, by which its acknowledgements are known
    Clock::time_point due;  // when it is not waited for any longer
  };

  void SendCommand(const Order& order);
  void SwitchReporting(const Order& order);
  void TakeAnswer(const ServiceAnswer& answer);
  void Settle(const std::string& line);
  void CheckAwaited();

  UnitStandIn& mUnit;
  LiveLine& mLine;
  unsigned mUser = 0;
  unsigned mTimeStamp = 0;   // of the last command
  bool mIsReporting = true;  // as last switched
  std::string mDone;         // last command carried out but resets
  std::optional<Awaited> mAwaited;
  Clock::time_point mLastData;  // when the last loudness data came, or was begun to be expected
  Clock::time_point mLastSign;  // when anything last came
};

}  // namespace louddesk
