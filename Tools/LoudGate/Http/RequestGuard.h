// Decides which requests are answered at all: those meant for this gate. A page of another site in
// a reader's browser must not reach the gate, neither through a host name that it points here (DNS
// rebinding) nor by a cross-site request. Immutable.

#pragma once

#include <optional>
#include <set>
#include <string>

#include "HttpMessage.h"

namespace loudgate {

class RequestGuard {
 public:
  /// `names` are the host names of the gate, in addition to addresses and "localhost".
  explicit RequestGuard(const std::set<std::string>& names = {});

  /// The refusal of a request; nothing if the request may be answered.
  std::optional<HttpAnswer> Refusal(const HttpRequest& request) const;

  /// Whether a Host header, with or without a port, names this gate: by an address, which no site
  /// can redirect, or by one of the names.
  bool IsOwnHost(const std::string& host) const;

 private:
  std::set<std::string> mNames;  // in lower case
};

/// `text` with its ASCII letters in lower case.
std::string LowerCase(std::string text);

}  // namespace loudgate
