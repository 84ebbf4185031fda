// The address at which the gate listens. Stateless.

#pragma once

#include <netinet/in.h>
#include <sys/socket.h>

#include <optional>
#include <string>

namespace loudgate {

/// An address and a port.
struct ListenAddress {
  sockaddr_storage address;

  /// "127.0.0.1:8128" or "[::1]:8128".
  std::string Text() const;

  bool IsIpv6() const { return address.ss_family == AF_INET6; }

  /// The same address with another port.
  ListenAddress WithPort(unsigned port) const;
};

/// Reads "ADDRESS:PORT", with an IPv6 address in brackets; returns nothing for any other text. Port
/// 0 means any free port.
std::optional<ListenAddress> ReadListenAddress(const std::string& text);

}  // namespace loudgate
