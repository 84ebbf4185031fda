// Requests that were meant for another host or come from another site.

#include "RequestGuard.h"

#include <gtest/gtest.h>

namespace {

using loudgate::HttpRequest;
using loudgate::RequestGuard;

class RequestGuardTest : public testing::Test {
 protected:
  // The status of the refusal; 0 if the request is not refused.
  unsigned StatusOf(std::map<std::string, std::string> headers) const {
    HttpRequest request;
    request.headers = std::move(headers);
    const auto refusal = mGuard.Refusal(request);
    return refusal ? refusal->status : 0;
  }

  const RequestGuard mGuard{{"Station.example"}};
};

TEST_F(RequestGuardTest, OwnHostsAreAddressesLocalhostAndTheNamesGiven) {
  for (const char* host : {"127.0.0.1", "127.0.0.1:8128", "192.0.2.7:1", "[::1]", "[::1]:8128",
                           "localhost", "LOCALHOST:8128", "station.example", "STATION.example:443"})
    EXPECT_TRUE(mGuard.IsOwnHost(host)) << host;
}

TEST_F(RequestGuardTest, AnyOtherNameMayPointHereWithoutBelongingHere) {
  for (const char* host :
       {"", ":8128", "evil.example", "evil.example:8128", "localhost.evil.example",
        "127.0.0.1.evil.example", "station.example.evil.example", "127.0.0.1:", "127.0.0.1:x",
        "127.0.0.1:123456", "::1", "[evil]", "[::1]x", "localhost:1:2", "0x7f.1"})
    EXPECT_FALSE(mGuard.IsOwnHost(host)) << host;
}

TEST_F(RequestGuardTest, RefusesAnotherHostAndNone) {
  EXPECT_EQ(0u, StatusOf({{"host", "localhost:8128"}}));
  EXPECT_EQ(421u, StatusOf({{"host", "evil.example"}}));
  EXPECT_EQ(421u, StatusOf({}));
}

TEST_F(RequestGuardTest, RefusesWhatComesFromAnotherSite) {
  EXPECT_EQ(0u, StatusOf({{"host", "localhost:8128"}, {"origin", "http://localhost:8128"}}));
  EXPECT_EQ(0u, StatusOf({{"host", "Station.example"}, {"origin", "https://station.example"}}));
  for (const char* origin : {"null", "", "http://evil.example", "http://localhost:8129",
                             "http://localhost", "http://localhost:8128.evil.example"})
    EXPECT_EQ(403u, StatusOf({{"host", "localhost:8128"}, {"origin", origin}})) << origin;
}

}  // namespace
