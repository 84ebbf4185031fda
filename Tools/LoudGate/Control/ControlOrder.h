// The orders that can be given to a service. Stateless.

#pragma once

#include <string>

namespace loudgate {

struct ControlOrder {
  const char* name;          // in requests: "Pause"
  const char* command;       // in messages; null for an order that switches the reporting
  bool isReporting = false;  // whether that order switches it on
};

/// Reads the order that "Command" names in the body of a request, a JSON object. Returns null if
/// there is none.
const ControlOrder* ReadControlOrder(const std::string& body);

/// "Start, Pause, Play", ..., for display.
std::string ControlOrderNames();

}  // namespace loudgate
