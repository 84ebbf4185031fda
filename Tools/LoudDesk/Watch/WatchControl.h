// Commands to a watched service, in the place of the main board's application server.

#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "ServiceClient.h"

namespace louddesk {

class WatchControl {
 public:
  /// Takes the place of the application server. Throws ServiceError when it is taken.
  WatchControl(unsigned meterSet, unsigned cluster);

  /// Sends a command, as messages call it. It is not sent where the service has not subscribed.
  void Send(const std::string& command);

  /// Reads what the service has sent. Returns what is new about the commands, a line each; their
  /// acknowledgements, which every watch sees, are not among it.
  std::vector<std::string> TakeNews();

 private:
  using Clock = std::chrono::steady_clock;

  void Conclude(Outcome outcome);

  UnitStandIn mUnit;
  ServiceClient mClient;
  std::string mCommand;                   // that was sent last
  std::optional<Clock::time_point> mDue;  // until when it should be acknowledged; nothing: it was
  std::vector<std::string> mNews;
};

}  // namespace louddesk
