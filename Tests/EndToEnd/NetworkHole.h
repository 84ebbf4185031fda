// A hole in the network in which packets are lost silently, as behind a pulled cable.

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

  /// From now on every packet from or to the endpoints (tcp://ADDRESS:PORT) is lost, within
  /// `scope`. Fails the test when that cannot be done, or when an endpoint has no connection that
  /// could be lost. REQUIRES: there is no obstacle.
  explicit NetworkHole(const std::vector<std::string>& endpoints, Scope scope = Scope::kEverything);

  /// Lets packets through again.
  ~NetworkHole();

  NetworkHole(const NetworkHole&) = delete;
  NetworkHole& operator=(const NetworkHole&) = delete;

  /// Why this process cannot make such holes, in one line; empty if it can.
  static std::string WhyNot();
};
