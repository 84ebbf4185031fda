// The gate's acceptance of requests, the orders in their bodies and the periods in their queries.
//
// Input: a Host header, an Origin header and a listening address, each with a zero after it, then a
// text that is used as the body and as each of the parameters of a period.

#include <string>

#include "ControlOrder.h"
#include "FuzzTarget.h"
#include "ListenAddress.h"
#include "LogRequest.h"
#include "RequestGuard.h"

namespace {

bool HasOnly(const std::string& text, const char* allowed) {
  return text.find_first_not_of(allowed) == std::string::npos;
}

// Whether the host is localhost or an address. Another name would have a letter outside of
// brackets.
bool IsNoNameOfOthers(const std::string& host) {
  const std::string lower = loudgate::LowerCase(host);
  return lower.rfind("localhost", 0) == 0 ? HasOnly(lower.substr(9), ":0123456789")
         : lower.rfind('[', 0) == 0       ? HasOnly(lower, "[]:.0123456789abcdef")
                                          : HasOnly(lower, ":.0123456789");
}

void ReadAsParameter(const char* name, const std::string& value) {
  constexpr std::int64_t kNow = 1718011999;
  loudgate::HttpRequest request;
  request.query = {{name, value}};
  request.query.emplace("last", "1h");
  try {
    const loudgate::LogRequest read = loudgate::ReadLogRequest(request, kNow);
    FUZZ_PROPERTY(read.period.last.value_or(1) > 0, "a period has a length");
    FUZZ_PROPERTY(!read.cluster || louddesk::NameOf(*read.cluster) == value,
                  "a cluster is named in one way");
  } catch (const loudgate::BadLogRequest&) {
    return;
  }
}

}  // namespace

void fuzz::TestOneInput(Input input) {
  const Text host = input.TakeTerminatedText();
  const Text origin = input.TakeTerminatedText();
  loudgate::HttpRequest request;
  request.headers = {{"host", host.c_str()}, {"origin", origin.c_str()}};
  const loudgate::RequestGuard guard;
  if (!guard.Refusal(request)) {
    FUZZ_PROPERTY(IsNoNameOfOthers(host.c_str()), "no other name is answered");
    const std::string end = "://" + loudgate::LowerCase(host.c_str());
    const std::string from = loudgate::LowerCase(origin.c_str());
    FUZZ_PROPERTY(
        from.size() >= end.size() && from.compare(from.size() - end.size(), end.size(), end) == 0,
        "no other site is answered");
  }
  const Text listen = input.TakeTerminatedText();
  if (const auto address = loudgate::ReadListenAddress(listen.c_str())) {
    const auto again = loudgate::ReadListenAddress(address->Text());
    FUZZ_PROPERTY(again && again->Text() == address->Text(), "an address is read as it is written");
  }
  const Text body = input.TakeRest();
  if (const auto* const order = loudgate::ReadControlOrder(body.c_str()))
    FUZZ_PROPERTY(std::string(body.c_str()).find('{') != std::string::npos &&
                      loudgate::ControlOrderNames().find(order->name) != std::string::npos,
                  "an order is one of those that are listed, in an object");
  for (const char* name : {"cluster", "from", "to", "last", "format", "profile"})
    ReadAsParameter(name, body.c_str());
}
