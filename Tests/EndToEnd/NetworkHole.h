// A hole in the network in which packets are lost silently, as behind a pulled cable.

#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// Local ports of the established connections to an endpoint (tcp://ADDRESS:PORT) of this network.
std::vector<std::uint16_t> PortsConnectedTo(const std::string& endpoint);

class NetworkHole {
 public:
  /// Packets that are lost: all, or only those of the connections that are established now.
  enum class Scope { kEverything, kPresentConnections };

  /// Drops every packet from or to the endpoints (tcp://ADDRESS:PORT), within `scope`. Fails the
  /// test when that cannot be done, or when an endpoint has no connection. REQUIRES: WhyNot() is
  /// empty.
  explicit NetworkHole(const std::vector<std::string>& endpoints, Scope scope = Scope::kEverything);

  /// Lets packets through again.
  ~NetworkHole();

  NetworkHole(const NetworkHole&) = delete;
  NetworkHole& operator=(const NetworkHole&) = delete;

  /// The reason why this process cannot drop packets, in one line; empty if it can.
  static std::string WhyNot();
};
