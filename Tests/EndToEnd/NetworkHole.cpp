// Drops packets on arrival, so that their senders do not notice. A rule for outgoing packets would
// be reported to the senders.

#include "NetworkHole.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "Isolation.h"

namespace {

constexpr char kFirewall[] = "PATH=$PATH:/usr/sbin:/sbin nft";
constexpr char kTable[] = "inet loudcalc_hole";

// Passes the commands as an argument: writing to a pipe would end the test if the firewall program
// is missing.
bool Configure(const std::string& commands) {
  return std::system((std::string(kFirewall) + " '" + commands + "'").c_str()) == 0;
}

struct Place {
  std::string address;
  std::string port;
};

Place PlaceOf(const std::string& endpoint) {
  const std::string place = endpoint.substr(endpoint.find("://") + 3);
  return {place.substr(0, place.find(':')), place.substr(place.find(':') + 1)};
}

// An endpoint in the kernel's notation: the bytes of the address as a number in host byte order,
// then the port, both in hexadecimal digits.
std::string ListedPlace(const Place& place) {
  in_addr address = {};
  inet_pton(AF_INET, place.address.c_str(), &address);
  char text[14] = {};
  std::snprintf(text, sizeof text, "%08X:%04X", address.s_addr,
                static_cast<unsigned>(std::stoul(place.port)));
  return text;
}

// Rules that drop packets to and from the endpoint. `to` and `from` are further conditions.
std::string RulesFor(const std::string& endpoint, const std::string& to, const std::string& from) {
  const Place place = PlaceOf(endpoint);
  return "ip daddr " + place.address + " tcp dport " + place.port + to + " drop\n" +  //
         "ip saddr " + place.address + " tcp sport " + place.port + from + " drop\n";
}

std::string RulesForPresentConnections(const std::string& endpoint) {
  const std::vector<std::uint16_t> ports = PortsConnectedTo(endpoint);
  EXPECT_FALSE(ports.empty()) << "nothing is connected to " << endpoint;
  std::string rules;
  for (const std::uint16_t port : ports)
    rules += RulesFor(endpoint, " tcp sport " + std::to_string(port),
                      " tcp dport " + std::to_string(port));
  return rules;
}

}  // namespace

std::vector<std::uint16_t> PortsConnectedTo(const std::string& endpoint) {
  constexpr char kEstablished[] = "01";
  const std::string wanted = ListedPlace(PlaceOf(endpoint));
  std::vector<std::uint16_t> ports;
  std::ifstream list("/proc/self/net/tcp");
  std::string rest;
  std::getline(list, rest);  // the heading
  for (std::string number, local, remote, state;
       list >> number >> local >> remote >> state && std::getline(list, rest);)
    if (remote == wanted && state == kEstablished)
      ports.push_back(
          static_cast<std::uint16_t>(std::stoul(local.substr(local.find(':') + 1), nullptr, 16)));
  return ports;
}

NetworkHole::NetworkHole(const std::vector<std::string>& endpoints, Scope scope) {
  std::string commands =
      std::string("table ") + kTable + " {\nchain arriving {\ntype filter hook input priority 0;\n";
  for (const std::string& endpoint : endpoints)
    commands += scope == Scope::kEverything ? RulesFor(endpoint, "", "")
                                            : RulesForPresentConnections(endpoint);
  EXPECT_TRUE(HasOwnNamespaces() && Configure(commands + "}\n}\n")) << "nft refuses";
}

NetworkHole::~NetworkHole() {
  EXPECT_TRUE(Configure(std::string("delete table ") + kTable + "\n"));
}

std::string NetworkHole::WhyNot() {
  if (!HasOwnNamespaces())
    return "NOT TESTED: no machine may lose its own network, and this test has no other";
  if (!Configure("list tables"))
    return "NOT TESTED: nft is missing or refuses; install the package nftables";
  return "";
}
