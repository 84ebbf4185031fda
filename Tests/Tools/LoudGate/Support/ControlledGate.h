// A gate that takes commands, beside a running service.

#pragma once

#include "GateProcess.h"
#include "TokenFile.h"

class ControlledGate : public GateTest {
 protected:
  /// Starts service, gate and measurement, in the mode Manual, and waits until the gate sees that
  /// it runs and can send. The gate has the place of the application server of the main board.
  void StartControlled(const std::vector<std::string>& options = {});

  /// What curl gets for a body that it posts for a cluster, with these headers.
  HttpReply Post(const std::string& body, const std::vector<std::string>& headers,
                 const std::string& cluster = "1-1") const;

  /// The same of an order, with the token.
  HttpReply Order(const std::string& command, const std::string& cluster = "1-1") const;

  /// Waits until the gate says that the service is in that state.
  void AwaitState(const std::string& state);

  const std::string kBearer = std::string("Authorization: Bearer ") + kToken;
  const std::string kJson = "Content-Type: application/json";

  TokenFile mToken;

 private:
  void AwaitSubscription();
};
