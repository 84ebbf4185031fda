// The isolation of every test process.

#include "Isolation.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "BoardAddresses.h"

namespace {

constexpr std::uint16_t kAnyFixedPort = 7000;

/// A listening socket, or -1.
int Listen(const char* address, std::uint16_t port) {
  const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const int yes = 1;  // connections of an earlier test may still be winding down
  setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes));
  sockaddr_in name{};
  name.sin_family = AF_INET;
  name.sin_port = htons(port);
  EXPECT_EQ(1, inet_pton(AF_INET, address, &name.sin_addr)) << address;
  if (bind(listener, reinterpret_cast<sockaddr*>(&name), sizeof(name)) == 0 &&
      listen(listener, 1) == 0)
    return listener;
  close(listener);
  return -1;
}

class IsolationTest : public testing::Test {
 protected:
  void SetUp() override {
    std::string error;
    ASSERT_TRUE(LoadBoardAddresses(error)) << error;
  }
};

TEST_F(IsolationTest, BothBoardAddressesCanBeListenedOn) {
  for (const char* address : {MainBoardAddress(), OpticalBoardAddress()}) {
    const int listener = Listen(address, kAnyFixedPort);
    EXPECT_GE(listener, 0) << address;
    close(listener);
  }
}

TEST_F(IsolationTest, AddressesAreTheShippedOnesExactlyInNamespaces) {
  EXPECT_EQ(HasOwnNamespaces(), std::getenv(kMainBoardVariable) == nullptr);
  EXPECT_EQ(HasOwnNamespaces(), std::getenv(kOpticalBoardVariable) == nullptr);
  EXPECT_STRNE(MainBoardAddress(), OpticalBoardAddress());
}

TEST_F(IsolationTest, SharedMemoryDirectoryTakesFiles) {
  const std::filesystem::path probe = "/run/shm/isolation-test-probe";
  if (HasOwnNamespaces()) {
    EXPECT_TRUE(std::filesystem::is_empty("/run/shm"));
  }
  EXPECT_TRUE(static_cast<bool>(std::ofstream(probe) << "probe"));
  std::filesystem::remove(probe);
}

TEST(IsolationDeathTest, ChildOfADeathTestListensWhereItsParentDoes) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  std::string error;
  ASSERT_TRUE(LoadBoardAddresses(error)) << error;
  const int listener = Listen(MainBoardAddress(), kAnyFixedPort);
  ASSERT_GE(listener, 0);
  // The child runs this test again up to here, while the parent still listens.
  EXPECT_EXIT(std::_Exit(7), testing::ExitedWithCode(7), "");
  close(listener);
}

}  // namespace
