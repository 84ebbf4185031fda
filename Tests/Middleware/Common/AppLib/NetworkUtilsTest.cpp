// IPv4 settings and the texts made of addresses.

#include "NetworkUtils.h"

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <cstring>
#include <functional>
#include <string>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::KilledBySignal;

namespace {

// The text that an action writes to standard output.
std::string OutputOf(const std::function<void()>& action) {
  testing::internal::CaptureStdout();
  action();
  return testing::internal::GetCapturedStdout();
}

std::string MaskOf(std::uint8_t bits) {
  char mask[16] = "untouched";
  GetMaskFromNumBits(mask, bits);
  return mask;
}

struct TcpEndpoint {
  TcpEndpoint(const char* ip, const char* port) {
    std::memset(text, 'x', sizeof text);
    output = OutputOf([&] { CreateTcpSocketStringFromIpAndPort(text, ip, port); });
  }

  char text[32];
  std::string output;
};

}  // namespace

TEST(IpAddrIsValidTest, OnlyDottedQuadsOfDecimalNumbersPass) {
  struct Case {
    const char* ip;
    bool expected;
  };
  const Case cases[] = {
      {"0.0.0.0", true},
      {"192.168.1.10", true},
      {"255.255.255.255", true},
      {"1.2.3", false},
      {"1.2.3.4.5", false},
      {"", false},
      {"...", false},
      {"1.2.3.", false},
      {"1.2..3", false},
      {"256.1.1.1", false},
      {"1.1.1.-1", false},
      {"1.2.3.4 ", false},
      {" 1.2.3.4", false},
      {"0x1.2.3.4", false},
      {"a.b.c.d", false},
      {"::ffff:1.2.3.4", false},
      {"localhost", false},
  };
  for (const Case& row : cases)
    EXPECT_EQ(IpAddrIsValid(row.ip), row.expected) << '"' << row.ip << '"';
  EXPECT_FALSE(IpAddrIsValid(nullptr));
}

TEST(NetmaskIsValidTest, OnesFollowedByZerosPass) {
  for (const char* mask : {"0.0.0.0", "128.0.0.0", "255.0.0.0", "255.254.0.0", "255.255.255.0",
                           "255.255.255.254", "255.255.255.255"})
    EXPECT_TRUE(NetmaskIsValid(mask)) << mask;
}

TEST(NetmaskIsValidTest, EveryPrefixLengthPasses) {
  for (int bits = 0; bits <= 32; ++bits)
    EXPECT_TRUE(NetmaskIsValid(MaskOf(static_cast<std::uint8_t>(bits)).c_str())) << bits;
}

TEST(NetmaskIsValidTest, AZeroBetweenOnesFails) {
  for (const char* mask :
       {"255.255.0.255", "0.255.255.255", "0.0.0.1", "255.0.255.0", "254.255.0.0", "127.0.0.0"})
    EXPECT_FALSE(NetmaskIsValid(mask)) << mask;
}

TEST(NetmaskIsValidTest, WhatIsNotAnAddressFails) {
  for (const char* mask : {"", "255.255.255", "24", "255.255.255.0.0", "ff.ff.ff.0"})
    EXPECT_FALSE(NetmaskIsValid(mask)) << '"' << mask << '"';
  EXPECT_FALSE(NetmaskIsValid(nullptr));
}

TEST(GetUint32FromIpStringTest, FirstNumberIsTheFirstByteInMemory) {
  const std::uint32_t value = GetUint32FromIpString("192.168.1.10");
  std::array<std::uint8_t, 4> bytes = {};
  std::memcpy(bytes.data(), &value, bytes.size());
  EXPECT_THAT(bytes, ElementsAre(192, 168, 1, 10));
}

TEST(GetUint32FromIpStringTest, NotationsOfTheSystemLibraryAreKnown) {
  EXPECT_EQ(GetUint32FromIpString("127.1"), GetUint32FromIpString("127.0.0.1"));
  EXPECT_EQ(GetUint32FromIpString("0x0a.010.0.1"), GetUint32FromIpString("10.8.0.1"));
  EXPECT_EQ(GetUint32FromIpString("255.255.255.255"), 0xffffffffU);
}

TEST(GetUint32FromIpStringTest, WhatIsNotAnAddressIsZero) {
  for (const char* ip : {"", "1.2.3.4.5", "256.0.0.1", "unit"})
    EXPECT_EQ(GetUint32FromIpString(ip), 0U) << '"' << ip << '"';
  EXPECT_EQ(GetUint32FromIpString(nullptr), 0U);
}

TEST(IpAddrAndMaskAreValidTest, HostsAddressesPassInSilence) {
  const char* const cases[][2] = {
      {"192.168.1.10", "255.255.255.0"},  {"169.254.1.10", "255.255.0.0"},
      {"10.0.0.1", "255.0.0.0"},          {"192.168.1.1", "255.255.255.252"},
      {"192.168.1.254", "255.255.255.0"},
  };
  for (const auto& [ip, mask] : cases) {
    const std::string output = OutputOf(
        [ip = ip, mask = mask] { EXPECT_TRUE(IpAddrAndMaskAreValid(ip, mask, true)) << ip; });
    EXPECT_EQ(output, "") << ip;
  }
}

// The printed numbers are in network byte order, read as integers of this machine: the bytes of NOT
// 255.255.255.0 are 00 00 00 ff, those of the mask ff ff ff 00.
TEST(IpAddrAndMaskAreValidTest, FirstRuleThatFailsIsNamed) {
  if (htonl(1) == 1)
    GTEST_SKIP() << "The expected numbers are those of a little-endian machine.";
  struct Case {
    const char* ip;
    const char* mask;
    const char* output;
  };
  const Case cases[] = {
      {"1.2.3", "255.255.255.0", ""},
      {"1.2.3", "255.255.0.255", ""},
      {"192.168.1.10", "255.255.0.255", "NET ERROR : The IP Mask (255.255.0.255) is invalid.\n"},
      {"192.168.1.0", "255.255.0.255", "NET ERROR : The IP Mask (255.255.0.255) is invalid.\n"},
      {"192.168.1.0", "255.255.255.0",
       "NET ERROR : The Host ID cannot be zero.\n"
       " - IP Address 192.168.1.0 and complement of IP Mask 255.255.255.0.\n"},
      {"192.168.1.1", "255.255.255.255",
       "NET ERROR : The Host ID cannot be zero.\n"
       " - IP Address 192.168.1.1 and complement of IP Mask 255.255.255.255.\n"},
      {"0.0.0.0", "255.255.255.0",
       "NET ERROR : The Host ID cannot be zero.\n"
       " - IP Address 0.0.0.0 and complement of IP Mask 255.255.255.0.\n"},
      {"0.0.0.5", "255.255.255.0",
       "NET ERROR : The network prefix cannot be zero. "
       "(IP Address 0.0.0.5 and IP Mask 255.255.255.0.)\n"},
      {"0.0.0.255", "255.255.255.0",
       "NET ERROR : The network prefix cannot be zero. "
       "(IP Address 0.0.0.255 and IP Mask 255.255.255.0.)\n"},
      {"192.168.1.1", "0.0.0.0",
       "NET ERROR : The network prefix cannot be zero. "
       "(IP Address 192.168.1.1 and IP Mask 0.0.0.0.)\n"},
      {"192.168.1.255", "255.255.255.0",
       "NET ERROR : The Host ID cannot be all ones. \n"
       " - IP Address 192.168.1.255 and IP Mask 255.255.255.0 results in 0xff000000.\n"},
      {"255.255.255.255", "255.255.255.0",
       "NET ERROR : The Host ID cannot be all ones. \n"
       " - IP Address 255.255.255.255 and IP Mask 255.255.255.0 results in 0xff000000.\n"},
      {"255.255.255.5", "255.255.255.0",
       "NET ERROR : The network prefix cannot be all ones.\n"
       " - IP Address 255.255.255.5 and IP Mask 255.255.255.0 results in 0x00ffffff.\n"},
  };
  for (const Case& row : cases) {
    const std::string output =
        OutputOf([&] { EXPECT_FALSE(IpAddrAndMaskAreValid(row.ip, row.mask, true)) << row.ip; });
    EXPECT_EQ(output, row.output) << row.ip << ' ' << row.mask;
    const std::string silence =
        OutputOf([&] { EXPECT_FALSE(IpAddrAndMaskAreValid(row.ip, row.mask, false)) << row.ip; });
    EXPECT_EQ(silence, "") << row.ip << ' ' << row.mask;
  }
}

TEST(IpAddrAndMaskAreValidTest, MissingTextsAreInvalid) {
  EXPECT_FALSE(IpAddrAndMaskAreValid(nullptr, "255.255.255.0", false));
  EXPECT_FALSE(IpAddrAndMaskAreValid("192.168.1.10", nullptr, false));
  const std::string output =
      OutputOf([] { EXPECT_FALSE(IpAddrAndMaskAreValid("192.168.1.10", nullptr, true)); });
  EXPECT_EQ(output, "NET ERROR : The IP Mask ((null)) is invalid.\n");
}

TEST(GatewayIsValidTest, AnotherHostOfTheNetworkPassesInSilence) {
  const std::string output = OutputOf([] {
    EXPECT_TRUE(GatewayIsValid("192.168.1.10", "255.255.255.0", "192.168.1.1", true));
    EXPECT_TRUE(GatewayIsValid("192.168.1.10", "255.255.0.0", "192.168.2.1", true));
    EXPECT_TRUE(GatewayIsValid("192.168.1.10", "0.0.0.0", "10.0.0.1", true));
  });
  EXPECT_EQ(output, "");
}

TEST(GatewayIsValidTest, FirstRuleThatFailsIsNamed) {
  struct Case {
    const char* ip;
    const char* mask;
    const char* gateway;
    const char* output;
  };
  const Case cases[] = {
      {"192.168.1.10", "255.255.255.0", "192.168.1",
       "NET ERROR : The gateway address 192.168.1 is invalid.\n"},
      {"192.168.1.10", "255.255.255.0", "", "NET ERROR : The gateway address  is invalid.\n"},
      {"192.168.1.10", "255.255.255.0", "192.168.2.1",
       "NET ERROR : Network prefix does not match IP. "
       "(IP Address 192.168.1.10, Gateway 192.168.2.1.)\n"},
      {"192.168.1.10", "255.255.255.255", "192.168.1.11",
       "NET ERROR : Network prefix does not match IP. "
       "(IP Address 192.168.1.10, Gateway 192.168.1.11.)\n"},
      {"192.168.1.10", "255.255.255.0", "192.168.1.10",
       "NET ERROR : Ip and Gateway cannot have same host ID. "
       "(IP Address 192.168.1.10, Gateway 192.168.1.10.)\n"},
  };
  for (const Case& row : cases) {
    const std::string output = OutputOf(
        [&] { EXPECT_FALSE(GatewayIsValid(row.ip, row.mask, row.gateway, true)) << row.gateway; });
    EXPECT_EQ(output, row.output) << row.gateway;
    const std::string silence = OutputOf(
        [&] { EXPECT_FALSE(GatewayIsValid(row.ip, row.mask, row.gateway, false)) << row.gateway; });
    EXPECT_EQ(silence, "") << row.gateway;
  }
}

TEST(GatewayIsValidTest, MissingGatewayIsInvalid) {
  EXPECT_FALSE(GatewayIsValid("192.168.1.10", "255.255.255.0", nullptr, false));
  const std::string output = OutputOf(
      [] { EXPECT_FALSE(GatewayIsValid("192.168.1.10", "255.255.255.0", nullptr, true)); });
  EXPECT_EQ(output, "NET ERROR : The gateway address (null) is invalid.\n");
}

TEST(GetMaskFromNumBitsTest, MaskHasThatManyLeadingOnes) {
  EXPECT_EQ(MaskOf(1), "128.0.0.0");
  EXPECT_EQ(MaskOf(8), "255.0.0.0");
  EXPECT_EQ(MaskOf(15), "255.254.0.0");
  EXPECT_EQ(MaskOf(24), "255.255.255.0");
  EXPECT_EQ(MaskOf(31), "255.255.255.254");
  EXPECT_EQ(MaskOf(32), "255.255.255.255");
}

TEST(GetMaskFromNumBitsTest, ImpossibleCountsHaveNoOnes) {
  for (const int bits : {0, 33, 64, 255})
    EXPECT_EQ(MaskOf(static_cast<std::uint8_t>(bits)), "0.0.0.0") << bits;
}

TEST(CreateIpStringFromBytesTest, BytesAreWrittenInTheirOrder) {
  char text[16] = {};
  const std::uint8_t bytes[] = {192, 0, 2, 255};
  CreateIpStringFromBytes(text, bytes);
  EXPECT_STREQ(text, "192.0.2.255");
}

TEST(CreateIpStringFromBytesTest, LongestAddressFillsTheBuffer) {
  char text[16] = {};
  const std::uint8_t bytes[] = {255, 254, 253, 252};
  CreateIpStringFromBytes(text, bytes);
  EXPECT_STREQ(text, "255.254.253.252");
}

TEST(GetMacStringFromBytesTest, BytesAreTwoLowerCaseDigitsEach) {
  char text[18] = {};
  const std::uint8_t bytes[] = {0x00, 0x0A, 0xBC, 0xDE, 0xF1, 0xFF};
  GetMacStringFromBytes(text, bytes);
  EXPECT_STREQ(text, "00:0a:bc:de:f1:ff");
}

TEST(GetMacStringFromBytesTest, MissingBufferAborts) {
  const std::uint8_t bytes[6] = {};
  EXPECT_EXIT(GetMacStringFromBytes(nullptr, bytes), KilledBySignal(SIGABRT),
              HasSubstr("Assertion `nullptr != out' failed."));
}

TEST(CreateTcpSocketStringTest, AddressAndPortMakeAnEndpoint) {
  const TcpEndpoint endpoint("169.254.1.10", "9989");
  EXPECT_STREQ(endpoint.text, "tcp://169.254.1.10:9989");
  EXPECT_EQ(endpoint.output, "");
}

TEST(CreateTcpSocketStringTest, BufferIsClearedBehindTheText) {
  const TcpEndpoint endpoint("1.2.3.4", "5");
  // "tcp://1.2.3.4:5" has 15 characters.
  EXPECT_EQ(std::string(endpoint.text + 15, sizeof endpoint.text - 15),
            std::string(sizeof endpoint.text - 15, '\0'));
}

TEST(CreateTcpSocketStringTest, EmptyPartsAreNotAFault) {
  const TcpEndpoint endpoint("", "");
  EXPECT_STREQ(endpoint.text, "tcp://:");
  EXPECT_EQ(endpoint.output, "");
}

// 6 characters of "tcp://", 15 of the address, the colon and 9 of the port: 31.
TEST(CreateTcpSocketStringTest, ThirtyOneCharactersFit) {
  const TcpEndpoint endpoint("192.168.100.200", "123456789");
  EXPECT_STREQ(endpoint.text, "tcp://192.168.100.200:123456789");
  EXPECT_EQ(endpoint.output, "");
}

TEST(CreateTcpSocketStringTest, LongerTextsAreCutAndReported) {
  const TcpEndpoint one("192.168.100.200", "1234567890");
  EXPECT_STREQ(one.text, "tcp://192.168.100.200:123456789");
  EXPECT_EQ(one.output,
            "ERROR:  CreateTcpSocket IP <192.168.100.200>, port <1234567890>, "
            "Result: 32 Max Length: 32\n"
            "        Resultant string: <tcp://192.168.100.200:123456789>\n\n");
  const TcpEndpoint many(std::string(100, 'a').c_str(), "1");
  EXPECT_EQ(many.text, "tcp://" + std::string(25, 'a'));
  // 6 + 100 + 1 + 1 characters.
  EXPECT_THAT(many.output, HasSubstr("Result: 108 Max Length: 32\n"));
}

TEST(CreateTcpSocketStringTest, MissingArgumentAborts) {
  char text[32] = {};
  EXPECT_EXIT(CreateTcpSocketStringFromIpAndPort(nullptr, "1.2.3.4", "5"), KilledBySignal(SIGABRT),
              HasSubstr("Assertion `nullptr != out' failed."));
  EXPECT_EXIT(CreateTcpSocketStringFromIpAndPort(text, nullptr, "5"), KilledBySignal(SIGABRT),
              HasSubstr("Assertion `nullptr != ip' failed."));
  EXPECT_EXIT(CreateTcpSocketStringFromIpAndPort(text, "1.2.3.4", nullptr), KilledBySignal(SIGABRT),
              HasSubstr("Assertion `nullptr != port' failed."));
}
