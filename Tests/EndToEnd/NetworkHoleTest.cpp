// Tests of links on a machine without the firewall program: they are skipped and named.

#include "NetworkHole.h"

#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "Isolation.h"

namespace {

namespace fs = std::filesystem;

using testing::HasSubstr;

constexpr char kMissing[] = "NOT TESTED: nft is missing or refuses; install the package nftables";

struct Outcome {
  int status;
  std::string output;  // both streams
};

Outcome OutcomeOf(const std::string& command) {
  std::FILE* pipe = popen((command + " 2>&1").c_str(), "r");
  Outcome outcome{-1, {}};
  std::array<char, 4096> part{};
  for (std::size_t size; (size = fread(part.data(), 1, part.size(), pipe)) > 0;)
    outcome.output.append(part.data(), size);
  outcome.status = WEXITSTATUS(pclose(pipe));
  return outcome;
}

// Hides the firewall program in this process's own mount namespace.
class NetworkHoleTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!HasOwnNamespaces())
      GTEST_SKIP() << "there is no mount namespace in which nft could be hidden";
    std::istringstream directories(std::string(std::getenv("PATH")) + ":/usr/sbin:/sbin");
    for (std::string directory; std::getline(directories, directory, ':');) {
      const fs::path nft = fs::path(directory) / "nft";
      if (fs::is_regular_file(nft)) {
        ASSERT_EQ(0, mount("/dev/null", nft.c_str(), nullptr, MS_BIND, nullptr)) << nft;
      }
    }
  }
};

TEST_F(NetworkHoleTest, WithoutTheFirewallIsAFailureAndEndsNothing) {
  EXPECT_EQ(kMissing, NetworkHole::WhyNot());
  testing::TestPartResultArray failures;
  {
    const testing::ScopedFakeTestPartResultReporter reporter(&failures);
    const NetworkHole hole({"tcp://127.0.0.1:9"});
  }
  ASSERT_EQ(2, failures.size()) << "the hole can be neither made nor closed";
  EXPECT_THAT(failures.GetTestPartResult(0).message(), HasSubstr("nft refuses"));
}

TEST_F(NetworkHoleTest, WithoutTheFirewallTestsAreSkippedAndNamed) {
  const Outcome tests =
      OutcomeOf(BLACK_HOLE_TEST_BINARY " --gtest_filter=*OneSecond:*DeadConnection*");
  EXPECT_EQ(0, tests.status) << tests.output;
  EXPECT_THAT(tests.output, HasSubstr("[  SKIPPED ] 2 tests"));

  const std::string log = testing::TempDir() + "skipped-" + std::to_string(getpid());
  std::ofstream(log) << tests.output;
  const Outcome list = OutcomeOf(TESTS_NOT_RUN " " + log);
  EXPECT_EQ(0, list.status) << list.output;
  EXPECT_EQ("DeadConnectionTest.IsReplacedByOneOther: " + std::string(kMissing) +
                "\nHoles/BlackHoleTest.PeersAreServedAfterIt/OneSecond: " + kMissing + "\n",
            list.output);
  fs::remove(log);
}

}  // namespace
