// One message to a running service, from the place of the main board's application server, and the
// wait for what the service does about it.

#pragma once

#include <ostream>
#include <string>

#include "ServiceClient.h"

namespace louddesk {

class ServiceSender {
 public:
  /// Takes the place of the application server and waits until the service has subscribed. What the
  /// service answers goes to `out`, a line each. `patience` is for the service to subscribe and
  /// again for its acknowledgement. Throws ServiceError when another has the place or the service
  /// does not subscribe in time.
  ServiceSender(unsigned meterSet, unsigned cluster, Patience patience, std::ostream& out);

  /// Each sends one message as ServiceClient does and waits until it is done; throws ServiceError
  /// when it is not in time.
  void Enable();

  /// When no loudness data came before either, that is said: nothing then shows that the service
  /// has taken the message.
  void Disable();

  void SendPreset(const std::string& json);
  void SendConfiguration(const LoudnessConfiguration& configuration);
  void SendCommand(const std::string& command, unsigned user);

 private:
  Outcome AwaitAcknowledgement(const std::string& hint);
  std::string InTime() const;

  UnitStandIn mUnit;
  ServiceClient mClient;
  Patience mPatience;
  std::ostream& mOut;
};

}  // namespace louddesk
