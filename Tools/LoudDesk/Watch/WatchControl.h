// Sends commands to a watched service in place of the main board's application server.

#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "ServiceClient.h"

namespace louddesk {

class WatchControl {
 public:
  /// Binds the endpoint of the application server. Throws ServiceError if it is in use.
  WatchControl(unsigned meterSet, unsigned cluster);

  /// Sends a command by its name in messages. Does not send it if the service has not subscribed.
  void Send(const std::string& command);

  /// Reads the service's messages. Returns one line for each news about the commands. This does not
  /// include acknowledgements, which every watch shows anyway.
  std::vector<std::string> TakeNews();

 private:
  using Clock = std::chrono::steady_clock;

  void Conclude(Outcome outcome);

  UnitStandIn mUnit;
  ServiceClient mClient;
  std::string mCommand;                   // last command sent
  std::optional<Clock::time_point> mDue;  // deadline for the acknowledgement; nothing: it has come
  std::vector<std::string> mNews;
};

}  // namespace louddesk
