// The addresses of an interface. The tests look up the loopback device and compare the results with
// the system's list of interfaces.

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ifaddrs.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <net/if_arp.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "Isolation.h"
#include "NetworkUtils.h"

using testing::Each;
using testing::HasSubstr;
using testing::KilledBySignal;

namespace {

constexpr char kLoopback[] = "lo";
constexpr char kNoInterface[] = "nosuchdev0";
constexpr char kAliasWithoutAddress[] = "lo:none";

constexpr char kNoAddressText[] = "NET ERROR :  - getting link local IP address.\n";
constexpr char kNoMacText[] = "NET ERROR : Unable to get mac address from ioctl.";

using Mac = std::array<std::uint8_t, 6>;

// The text that an action writes to standard output.
std::string OutputOf(const std::function<void()>& action) {
  testing::internal::CaptureStdout();
  action();
  return testing::internal::GetCapturedStdout();
}

// Calls `use` for every entry of the system's list of interfaces.
void ForEachInterface(const std::function<void(const ifaddrs&)>& use) {
  ifaddrs* list = nullptr;
  ASSERT_EQ(getifaddrs(&list), 0);
  for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
    if (entry->ifa_addr != nullptr)
      use(*entry);
  }
  freeifaddrs(list);
}

// The first IPv4 address of an interface; empty when it has none.
std::string ListedAddress(const std::string& name) {
  std::string result;
  ForEachInterface([&](const ifaddrs& entry) {
    if (!result.empty() || name != entry.ifa_name || entry.ifa_addr->sa_family != AF_INET)
      return;
    sockaddr_in address = {};
    std::memcpy(&address, entry.ifa_addr, sizeof address);
    char text[INET_ADDRSTRLEN] = {};
    result = inet_ntop(AF_INET, &address.sin_addr, text, sizeof text);
  });
  return result;
}

struct ListedMac {
  std::string name;
  Mac mac;
};

// Interfaces with a hardware address of six bytes.
std::vector<ListedMac> ListedMacs() {
  std::vector<ListedMac> result;
  ForEachInterface([&](const ifaddrs& entry) {
    if (entry.ifa_addr->sa_family != AF_PACKET)
      return;
    sockaddr_ll address = {};
    std::memcpy(&address, entry.ifa_addr, sizeof address);
    if (address.sll_halen != std::tuple_size<Mac>::value)
      return;
    Mac mac = {};
    std::copy_n(address.sll_addr, mac.size(), mac.begin());
    result.push_back({entry.ifa_name, mac});
  });
  return result;
}

std::string MacText(const Mac& mac) {
  char text[18] = {};
  std::snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3],
                mac[4], mac[5]);
  return text;
}

bool Configure(unsigned long what, const ifreq& request) {
  const int socketFd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  ifreq copy = request;
  const bool isDone = ioctl(socketFd, what, &copy) == 0;
  close(socketFd);
  return isDone;
}

ifreq RequestFor(const char* name) {
  ifreq request = {};
  std::snprintf(request.ifr_name, sizeof request.ifr_name, "%s", name);
  return request;
}

bool GiveAddress(const char* name, const char* ip) {
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  EXPECT_EQ(inet_pton(AF_INET, ip, &address.sin_addr), 1);
  ifreq request = RequestFor(name);
  std::memcpy(&request.ifr_addr, &address, sizeof address);
  return Configure(SIOCSIFADDR, request);
}

bool GiveMac(const char* name, const Mac& mac) {
  ifreq request = RequestFor(name);
  request.ifr_hwaddr.sa_family = ARPHRD_LOOPBACK;
  std::memcpy(request.ifr_hwaddr.sa_data, mac.data(), mac.size());
  return Configure(SIOCSIFHWADDR, request);
}

// Uses up all file descriptors during its lifetime.
class NoMoreDescriptors {
 public:
  NoMoreDescriptors() {
    getrlimit(RLIMIT_NOFILE, &previous_);
    const rlimit none = {0, previous_.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
  }
  ~NoMoreDescriptors() { setrlimit(RLIMIT_NOFILE, &previous_); }
  NoMoreDescriptors(const NoMoreDescriptors&) = delete;
  NoMoreDescriptors& operator=(const NoMoreDescriptors&) = delete;

 private:
  rlimit previous_ = {};
};

std::ptrdiff_t OpenDescriptors() {
  const std::filesystem::directory_iterator files("/proc/self/fd");
  return std::distance(begin(files), end(files));
}

// One query for the address of an interface and its result.
struct AddressLookUp {
  explicit AddressLookUp(const char* name) {
    std::memset(address, 'x', sizeof address);
    output = OutputOf([&] { result = GetInterfaceAddressFromIoctl(name, address); });
  }

  int result = -1;
  char address[16];
  std::string output;
};

struct MacLookUp {
  explicit MacLookUp(const char* name) {
    mac.fill(0xee);
    std::memset(text, 'x', sizeof text);
    output = OutputOf([&] { result = GetMacBytesFromIoctl(mac.data(), name); });
    textOutput = OutputOf([&] { textResult = GetMacStringFromIoctl(text, name); });
  }

  int result = -1;
  int textResult = -1;
  Mac mac;
  char text[18];
  std::string output;
  std::string textOutput;
};

void ExpectNoAddress(const char* name) {
  const AddressLookUp lookUp(name);
  EXPECT_EQ(lookUp.result, 1);
  EXPECT_EQ(lookUp.output, kNoAddressText);
  EXPECT_THAT(lookUp.address, Each('x'));
}

void ExpectNoMac(const char* name) {
  const MacLookUp lookUp(name);
  EXPECT_EQ(lookUp.result, 1);
  EXPECT_EQ(lookUp.output, kNoMacText);
  EXPECT_THAT(lookUp.mac, Each(0));
  EXPECT_EQ(lookUp.textResult, 1);
  EXPECT_EQ(lookUp.textOutput, kNoMacText);
  EXPECT_THAT(lookUp.text, Each('\0'));
}

}  // namespace

TEST(GetInterfaceAddressFromIoctlTest, AddressOfTheLoopbackDeviceIsTheListedOne) {
  const std::string expected = ListedAddress(kLoopback);
  if (expected.empty()) {
    ExpectNoAddress(kLoopback);
    return;
  }
  const AddressLookUp lookUp(kLoopback);
  EXPECT_EQ(lookUp.result, 0);
  EXPECT_EQ(lookUp.output, "");
  EXPECT_EQ(lookUp.address, expected);
}

TEST(GetInterfaceAddressFromIoctlTest, WholeBufferIsWritten) {
  if (ListedAddress(kLoopback).empty())
    GTEST_SKIP() << "The loopback device has no address here.";
  const AddressLookUp lookUp(kLoopback);
  const std::size_t length = std::strlen(lookUp.address);
  EXPECT_EQ(std::string(lookUp.address + length, sizeof lookUp.address - length),
            std::string(sizeof lookUp.address - length, '\0'));
}

TEST(GetInterfaceAddressFromIoctlTest, FifteenCharactersOfTheNameCount) {
  if (!HasOwnNamespaces())
    GTEST_SKIP() << "Addresses can be added in a network namespace of the test's own only.";
  ASSERT_TRUE(GiveAddress("lo:abcdefghijkl", "127.9.8.7"));
  EXPECT_STREQ(AddressLookUp("lo:abcdefghijkl").address, "127.9.8.7");
  EXPECT_STREQ(AddressLookUp("lo:abcdefghijklmnopqrst").address, "127.9.8.7");
}

TEST(GetInterfaceAddressFromIoctlTest, InterfaceThatLosesItsAddressHasNone) {
  if (!HasOwnNamespaces())
    GTEST_SKIP() << "Addresses can be taken in a network namespace of the test's own only.";
  const std::string address = ListedAddress(kLoopback);
  ASSERT_TRUE(GiveAddress(kLoopback, "0.0.0.0"));
  ExpectNoAddress(kLoopback);
  ASSERT_TRUE(GiveAddress(kLoopback, address.c_str()));
  EXPECT_EQ(AddressLookUp(kLoopback).address, address);
}

TEST(GetInterfaceAddressFromIoctlTest, UnknownInterfaceHasNoAddress) {
  ExpectNoAddress(kNoInterface);
  ExpectNoAddress("");
  ExpectNoAddress(nullptr);
}

TEST(GetInterfaceAddressFromIoctlTest, InterfaceMayBeWithoutAnAddress) {
  ASSERT_EQ(ListedAddress(kAliasWithoutAddress), "");
  ExpectNoAddress(kAliasWithoutAddress);
}

TEST(GetInterfaceAddressFromIoctlTest, WithoutASocketThereIsNoAddress) {
  char address[16] = "untouched";
  int result = -1;
  const std::string output = OutputOf([&] {
    const NoMoreDescriptors noMore;
    result = GetInterfaceAddressFromIoctl(kLoopback, address);
  });
  EXPECT_EQ(result, 1);
  EXPECT_EQ(output, kNoAddressText);
  EXPECT_STREQ(address, "untouched");
}

TEST(GetInterfaceAddressFromIoctlTest, LookUpsLeaveNoSocketBehind) {
  const std::ptrdiff_t before = OpenDescriptors();
  for (const char* name : {kLoopback, kNoInterface}) {
    const AddressLookUp address(name);
    const MacLookUp mac(name);
  }
  EXPECT_EQ(OpenDescriptors(), before);
}

TEST(GetInterfaceAddressFromIoctlTest, MissingBufferAborts) {
  EXPECT_EXIT(GetInterfaceAddressFromIoctl(kLoopback, nullptr), KilledBySignal(SIGABRT),
              HasSubstr("Assertion `nullptr != out' failed."));
}

TEST(GetMacFromIoctlTest, AddressOfEveryInterfaceIsTheListedOne) {
  const Mac mac = {0x02, 0xfc, 0x0a, 0x9b, 0xc1, 0xde};
  // A hardware address for the loopback device, whose usual one is zero.
  ASSERT_TRUE(!HasOwnNamespaces() || GiveMac(kLoopback, mac));
  const std::vector<ListedMac> listed = ListedMacs();
  ASSERT_FALSE(listed.empty());
  for (const ListedMac& row : listed) {
    const MacLookUp lookUp(row.name.c_str());
    EXPECT_EQ(lookUp.result, 0) << row.name;
    EXPECT_EQ(lookUp.mac, row.mac) << row.name;
    EXPECT_EQ(lookUp.output, "") << row.name;
    EXPECT_EQ(lookUp.textResult, 0) << row.name;
    EXPECT_EQ(lookUp.text, MacText(row.mac)) << row.name;
    EXPECT_EQ(lookUp.textOutput, "") << row.name;
  }
}

TEST(GetMacFromIoctlTest, UnknownInterfaceHasNone) {
  ExpectNoMac(kNoInterface);
  ExpectNoMac("");
  ExpectNoMac(nullptr);
}

TEST(GetMacFromIoctlTest, WithoutASocketThereIsNone) {
  Mac mac;
  mac.fill(0xee);
  int result = -1;
  const std::string output = OutputOf([&] {
    const NoMoreDescriptors noMore;
    result = GetMacBytesFromIoctl(mac.data(), kLoopback);
  });
  EXPECT_EQ(result, 1);
  EXPECT_EQ(output, kNoMacText);
  EXPECT_THAT(mac, Each(0));
}

TEST(GetProcessMonitorSocketStringTest, EndpointHasTheInterfacesAddressAndTheMonitorsPort) {
  const std::string address = ListedAddress(kLoopback);
  if (address.empty())
    GTEST_SKIP() << "The loopback device has no address here.";
  char endpoint[32] = {};
  EXPECT_EQ(GetProcessMonitorSocketStringFromIoctl(kLoopback, endpoint), 0);
  EXPECT_EQ(endpoint, "tcp://" + address + ":9989");
}

TEST(GetProcessMonitorSocketStringTest, FailureOfTheLookUpIsPassedOn) {
  char endpoint[32] = "untouched";
  int result = -1;
  const std::string output =
      OutputOf([&] { result = GetProcessMonitorSocketStringFromIoctl(kNoInterface, endpoint); });
  EXPECT_EQ(result, 1);
  EXPECT_EQ(output, kNoAddressText);
  EXPECT_STREQ(endpoint, "untouched");
}

TEST(GetProcessMonitorSocketStringTest, MissingBufferAborts) {
  EXPECT_EXIT(GetProcessMonitorSocketStringFromIoctl(kLoopback, nullptr), KilledBySignal(SIGABRT),
              HasSubstr("Assertion `nullptr != out' failed."));
}
