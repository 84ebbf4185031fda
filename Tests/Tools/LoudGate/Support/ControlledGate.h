// A gate that takes commands, beside a running service.

#pragma once

#include "GateProcess.h"
#include "TokenFile.h"

class ControlledGate : public GateTest {
 protected:
  /// Starts service, gate and measurement, in the mode Manual, and waits until the gate shows that
  /// the measurement runs and can send commands. The gate takes the place of the main board's
  /// application server.
  void StartControlled(const std::vector<std::string>& options = {});

  /// Posts a body for a cluster with these headers and returns the reply.
  HttpReply Post(const std::string& body, const std::vector<std::string>& headers,
                 const std::string& cluster = "1-1") const;

  /// Posts an order with the token and returns the reply.
  HttpReply Order(const std::string& command, const std::string& cluster = "1-1") const;

  /// Waits until the gate shows this state of the service.
  void AwaitState(const std::string& state);

  const std::string kBearer = std::string("Authorization: Bearer ") + kToken;
  const std::string kJson = "Content-Type: application/json";

  TokenFile mToken;

 private:
  void AwaitSubscription();
};
