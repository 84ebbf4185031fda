// A place of the network in which packets vanish without a word, as behind a pulled cable.

#pragma once

#include <string>
#include <vector>

class NetworkHole {
 public:
  /// From now on every packet from or to the endpoints (tcp://ADDRESS:PORT) vanishes. Fails the
  /// test when that cannot be done. REQUIRES: CanBeMade.
  explicit NetworkHole(const std::vector<std::string>& endpoints);

  /// Lets packets through again.
  ~NetworkHole();

  NetworkHole(const NetworkHole&) = delete;
  NetworkHole& operator=(const NetworkHole&) = delete;

  /// Whether this process has a network of its own in which packets may vanish.
  static bool CanBeMade();
};
