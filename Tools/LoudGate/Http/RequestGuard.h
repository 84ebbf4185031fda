// Which requests are answered at all: those that were meant for this gate. A page of another site
// in a reader's browser must not get at it, neither by a name of its own that it lets point here
// nor by sending something from there. Stateless once made.

#pragma once

#include <optional>
#include <set>
#include <string>

#include "HttpMessage.h"

namespace loudgate {

class RequestGuard {
 public:
  /// `names` are the names by which readers reach the gate, in addition to addresses and
  /// "localhost".
  explicit RequestGuard(const std::set<std::string>& names = {});

  /// What to say instead of an answer; nothing for a request that is to be answered.
  std::optional<HttpAnswer> Refusal(const HttpRequest& request) const;

  /// Whether a Host header names this gate: an address, which nobody can let point elsewhere, or
  /// one of the names; with or without a port.
  bool IsOwnHost(const std::string& host) const;

 private:
  std::set<std::string> mNames;  // in lower case
};

/// `text` with its ASCII letters in lower case.
std::string LowerCase(std::string text);

}  // namespace loudgate
