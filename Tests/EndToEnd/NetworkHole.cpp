// Packets are dropped where they arrive, so that their senders do not notice: a rule for where they
// leave would be reported to them.

#include "NetworkHole.h"

#include <gtest/gtest.h>

#include <cstdio>

#include "Isolation.h"

namespace {

constexpr char kFirewall[] = "PATH=$PATH:/usr/sbin:/sbin nft -f -";
constexpr char kTable[] = "inet loudcalc_hole";

bool Configure(const std::string& commands) {
  std::FILE* firewall = popen(kFirewall, "w");
  if (firewall == nullptr)
    return false;
  std::fputs(commands.c_str(), firewall);
  return pclose(firewall) == 0;
}

std::string RulesFor(const std::string& endpoint) {
  const std::string place = endpoint.substr(endpoint.find("://") + 3);
  const std::string address = place.substr(0, place.find(':'));
  const std::string port = place.substr(place.find(':') + 1);
  return "ip daddr " + address + " tcp dport " + port + " drop\n" +  //
         "ip saddr " + address + " tcp sport " + port + " drop\n";
}

}  // namespace

NetworkHole::NetworkHole(const std::vector<std::string>& endpoints) {
  std::string commands =
      std::string("table ") + kTable + " {\nchain arriving {\ntype filter hook input priority 0;\n";
  for (const std::string& endpoint : endpoints)
    commands += RulesFor(endpoint);
  EXPECT_TRUE(CanBeMade() && Configure(commands + "}\n}\n")) << "nft (package nftables) refuses";
}

NetworkHole::~NetworkHole() {
  EXPECT_TRUE(Configure(std::string("delete table ") + kTable + "\n"));
}

bool NetworkHole::CanBeMade() {
  return HasOwnNamespaces();
}
