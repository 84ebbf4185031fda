// A place of the network in which packets vanish without a word, as behind a pulled cable.

#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// Local ports of the established connections to an endpoint (tcp://ADDRESS:PORT) of this network.
std::vector<std::uint16_t> PortsConnectedTo(const std::string& endpoint);

class NetworkHole {
 public:
  /// What is lost: everything, or what belongs to connections that are established now.
  enum class Scope { kEverything, kPresentConnections };

  /// From now on every packet from or to the endpoints (tcp://ADDRESS:PORT) vanishes, as far as
  /// `scope` goes. Fails the test when that cannot be done, or when an endpoint has no connection
  /// that could be lost. REQUIRES: nothing speaks against it.
  explicit NetworkHole(const std::vector<std::string>& endpoints, Scope scope = Scope::kEverything);

  /// Lets packets through again.
  ~NetworkHole();

  NetworkHole(const NetworkHole&) = delete;
  NetworkHole& operator=(const NetworkHole&) = delete;

  /// What speaks against holes in this process, in one line; nothing when they can be made.
  static std::string WhyNot();
};
