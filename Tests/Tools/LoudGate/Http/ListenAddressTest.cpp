// Addresses to listen at.

#include "ListenAddress.h"

#include <gtest/gtest.h>

namespace {

using loudgate::ReadListenAddress;

TEST(ListenAddressTest, IsAnAddressAndAPort) {
  for (const char* text :
       {"127.0.0.1:8128", "0.0.0.0:1", "192.0.2.7:65535", "[::1]:8128", "[2001:db8::7]:0"}) {
    const auto address = ReadListenAddress(text);
    ASSERT_TRUE(address) << text;
    EXPECT_EQ(text, address->Text());
    EXPECT_EQ(text[0] == '[', address->IsIpv6());
  }
}

TEST(ListenAddressTest, IsNothingElse) {
  for (const char* text :
       {"", "8128", ":8128", "127.0.0.1", "127.0.0.1:", "127.0.0.1:65536", "127.0.0.1:-1",
        "127.0.0.1:8128 ", "localhost:8128", "::1:8128", "[::1]", "[::1:8128", "[127.0.0.1]:8128"})
    EXPECT_FALSE(ReadListenAddress(text)) << text;
}

}  // namespace
