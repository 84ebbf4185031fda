// What can be asked of a service. Stateless.

#pragma once

#include <string>

namespace loudgate {

struct ControlOrder {
  const char* name;          // as requests call it: "Pause"
  const char* command;       // as messages call it; null: reporting is switched
  bool isReporting = false;  // whether it is switched on
};

/// The order in the body of a request, a JSON object whose "Command" names it; null when there is
/// none.
const ControlOrder* ReadControlOrder(const std::string& body);

/// "Start, Pause, Play", ..., for people.
std::string ControlOrderNames();

}  // namespace loudgate
