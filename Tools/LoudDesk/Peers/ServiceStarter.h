// How a measurement is started on a running service: reporting switched on, then programme and
// windows.

#pragma once

#include <string>
#include <vector>

#include "UnitStandIn.h"

namespace louddesk {

class ServiceStarter {
 public:
  /// Starts the service that `unit` plays to; `unit` must be open and outlive it.
  explicit ServiceStarter(UnitStandIn& unit);

  /// Waits until the service has subscribed and switches its reporting on. False when it does not
  /// in time or the process is interrupted.
  bool Connect(Patience patience);

  /// Why Connect was false, as one line for the user.
  std::string WhyNotConnected() const;

  /// Hands the service a programme, meter i + 1 for speaker i, with the longest windows that there
  /// are, so that its figures cover everything measured, and in the mode Manual, in which it obeys
  /// every command. It then measures anew, also after a stop.
  void Restart(const std::vector<std::string>& speakers);

  /// Waits until the service has done what Restart asked last. States that were published before
  /// are dropped. False when it has not in time or the process is interrupted.
  bool AwaitRestart(Patience patience);

  /// By whom the last measurement was started; another user each time.
  unsigned User() const { return mUser; }

 private:
  UnitStandIn& mUnit;
  Patience mPatience{};                // of Connect
  std::vector<std::string> mSpeakers;  // last sent; empty: none yet
  unsigned mUser;                      // by which the service's answers to us are told apart
};

}  // namespace louddesk
