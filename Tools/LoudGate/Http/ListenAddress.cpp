// Reads and writes addresses as text.

#include "ListenAddress.h"

#include <arpa/inet.h>

#include <charconv>
#include <cstdint>
#include <cstring>

namespace loudgate {
namespace {

std::optional<std::uint16_t> ReadPort(const std::string& text) {
  std::uint16_t port = 0;
  const char* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, port);
  if (result.ec != std::errc() || result.ptr != end)
    return std::nullopt;
  return port;
}

ListenAddress Ipv4(const in_addr& host, std::uint16_t port) {
  sockaddr_in own{};
  own.sin_family = AF_INET;
  own.sin_addr = host;
  own.sin_port = htons(port);
  ListenAddress result{};
  std::memcpy(&result.address, &own, sizeof own);
  return result;
}

ListenAddress Ipv6(const in6_addr& host, std::uint16_t port) {
  sockaddr_in6 own{};
  own.sin6_family = AF_INET6;
  own.sin6_addr = host;
  own.sin6_port = htons(port);
  ListenAddress result{};
  std::memcpy(&result.address, &own, sizeof own);
  return result;
}

}  // namespace

std::optional<ListenAddress> ReadListenAddress(const std::string& text) {
  const std::size_t colon = text.rfind(':');
  const auto port = colon == std::string::npos ? std::nullopt : ReadPort(text.substr(colon + 1));
  if (!port)
    return std::nullopt;
  const std::string host = text.substr(0, colon);
  in_addr four{};
  if (inet_pton(AF_INET, host.c_str(), &four) == 1)
    return Ipv4(four, *port);
  in6_addr six{};
  if (host.size() > 2 && host.front() == '[' && host.back() == ']' &&
      inet_pton(AF_INET6, host.substr(1, host.size() - 2).c_str(), &six) == 1)
    return Ipv6(six, *port);
  return std::nullopt;
}

ListenAddress ListenAddress::WithPort(unsigned port) const {
  ListenAddress other = *this;
  // The port has the same offset in both kinds of addresses.
  static_assert(offsetof(sockaddr_in, sin_port) == offsetof(sockaddr_in6, sin6_port));
  const in_port_t ordered = htons(static_cast<std::uint16_t>(port));
  std::memcpy(reinterpret_cast<char*>(&other.address) + offsetof(sockaddr_in, sin_port), &ordered,
              sizeof ordered);
  return other;
}

std::string ListenAddress::Text() const {
  char host[INET6_ADDRSTRLEN] = {};
  if (IsIpv6()) {
    sockaddr_in6 own{};
    std::memcpy(&own, &address, sizeof own);
    inet_ntop(AF_INET6, &own.sin6_addr, host, sizeof host);
    return std::string("[") + host + "]:" + std::to_string(ntohs(own.sin6_port));
  }
  sockaddr_in own{};
  std::memcpy(&own, &address, sizeof own);
  inet_ntop(AF_INET, &own.sin_addr, host, sizeof host);
  return std::string(host) + ":" + std::to_string(ntohs(own.sin_port));
}

}  // namespace loudgate
