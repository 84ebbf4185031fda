// Checks the Host and Origin headers.

#include "RequestGuard.h"

#include <arpa/inet.h>

#include <algorithm>

namespace loudgate {
namespace {

constexpr char kLocalhost[] = "localhost";
constexpr std::size_t kLongestPort = 5;

bool IsPort(const std::string& text) {
  return !text.empty() && text.size() <= kLongestPort &&
         std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

bool IsAddress(int family, const std::string& text) {
  unsigned char address[sizeof(in6_addr)];
  return inet_pton(family, text.c_str(), address) == 1;
}

// The host of "HOST" or "HOST:PORT"; empty if the port is invalid. An IPv6 address has brackets.
std::string WithoutPort(const std::string& host) {
  const std::size_t colon = host.rfind(':');
  const std::size_t bracket = host.rfind(']');
  if (colon == std::string::npos || (bracket != std::string::npos && colon < bracket))
    return host;
  return IsPort(host.substr(colon + 1)) ? host.substr(0, colon) : "";
}

// "HOST:PORT" of an origin "https://HOST:PORT"; empty for "null".
std::string AuthorityOf(const std::string& origin) {
  const std::size_t slashes = origin.find("://");
  return slashes == std::string::npos ? "" : origin.substr(slashes + 3);
}

}  // namespace

std::string LowerCase(std::string text) {
  for (char& c : text)
    c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  return text;
}

RequestGuard::RequestGuard(const std::set<std::string>& names) : mNames{kLocalhost} {
  for (const std::string& name : names)
    mNames.insert(LowerCase(name));
}

bool RequestGuard::IsOwnHost(const std::string& host) const {
  const std::string name = LowerCase(WithoutPort(host));
  if (name.size() > 2 && name.front() == '[' && name.back() == ']')
    return IsAddress(AF_INET6, name.substr(1, name.size() - 2));
  return mNames.count(name) > 0 || IsAddress(AF_INET, name);
}

std::optional<HttpAnswer> RequestGuard::Refusal(const HttpRequest& request) const {
  const std::string host = request.Header("host");
  if (!IsOwnHost(host))
    return HttpAnswer::Plain(kMisdirected, "Requests by this host name are not answered.");
  const auto origin = request.headers.find("origin");
  if (origin == request.headers.end() || LowerCase(AuthorityOf(origin->second)) == LowerCase(host))
    return std::nullopt;
  return HttpAnswer::Plain(kForbidden, "Requests from other sites are refused.");
}

}  // namespace loudgate
