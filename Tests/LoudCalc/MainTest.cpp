// The process entry in cases that other tests cannot produce: a wiring that fails, and an interface
// whose address is all zeros. This file replaces the wiring and the system call for the address.

#include <arpa/inet.h>
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "BoardAddresses.h"
#include "ReactorMain.h"

// `main` of the service, renamed when it is compiled for this test.
int MainOfLoudCalc(int argc, char** argv);

namespace {

const char* gInterfaceAddress = nullptr;  // address of every interface; null: the real one
bool gIsWired = false;                    // result of the wiring

}  // namespace

bool initReactorLoop(std::int32_t iSlot_in, const char* cpIp_in, std::uint32_t meter_set,
                     std::uint32_t cluster_no) {
  std::printf("wiring %d %s %u %u\n", iSlot_in, cpIp_in, meter_set, cluster_no);
  return gIsWired;
}

bool startReactorLoop() {
  std::printf("loop\n");
  return true;
}

void cleanReactorLoop() {
  std::printf("cleaning\n");
}

// A function defined in the program replaces the library's function of the same name.
extern "C" int ioctl(int descriptor, unsigned long request, ...) noexcept {
  va_list arguments;
  va_start(arguments, request);
  void* argument = va_arg(arguments, void*);
  va_end(arguments);
  if (request != SIOCGIFADDR || gInterfaceAddress == nullptr) {
    const auto library = reinterpret_cast<decltype(&ioctl)>(dlsym(RTLD_NEXT, "ioctl"));
    return library(descriptor, request, argument);
  }
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  inet_pton(AF_INET, gInterfaceAddress, &address.sin_addr);
  std::memcpy(&static_cast<ifreq*>(argument)->ifr_addr, &address, sizeof address);
  return 0;
}

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class MainDeathTest : public testing::Test {
 protected:
  MainDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

  // Runs the service to its end. Sends both streams to standard error, the only one that the test
  // sees.
  [[noreturn]] static void Run(std::vector<std::string> arguments) {
    dup2(STDERR_FILENO, STDOUT_FILENO);
    std::string name = "LoudCalc";
    std::vector<char*> argv = {name.data()};
    for (std::string& argument : arguments)
      argv.push_back(argument.data());
    argv.push_back(nullptr);
    std::exit(MainOfLoudCalc(static_cast<int>(argv.size()) - 1, argv.data()));
  }
};

TEST_F(MainDeathTest, WiringThatFailsEndsWithTheExitLineAndStatusZero) {
  EXPECT_EXIT(Run({"-c", "3"}), testing::ExitedWithCode(0),
              AllOf(HasSubstr("wiring 1 127.0.0.1 1 3\n"),
                    testing::ContainsRegex("Main\\|[0-9]+\\| \"LoudCalc exiting...\"\n"),
                    Not(HasSubstr("loop\n")), Not(HasSubstr("cleaning\n"))));
}

TEST_F(MainDeathTest, WiringThatSucceedsIsRunAndCleaned) {
  EXPECT_EXIT((gIsWired = true, Run({"-c", "3"})), testing::ExitedWithCode(0),
              testing::ContainsRegex("loop\ncleaning\nMain\\|[0-9]+\\| \"LoudCalc exiting...\"\n"));
}

TEST_F(MainDeathTest, AddressOfAllZerosCountsAsNone) {
  const auto run = [](const char* slot) {
    setenv(kMainBoardVariable, "127.0.0.3", 1);
    setenv(kOpticalBoardVariable, "127.0.0.4", 1);
    gInterfaceAddress = "0.0.0.0";
    Run({"-c", "1", "-s", slot});
  };
  const struct {
    const char* slot;
    const char* board;
  } kCases[] = {{"0", "127.0.0.3"}, {"1", "127.0.0.4"}};
  for (const auto& [slot, board] : kCases)
    EXPECT_EXIT(run(slot), testing::ExitedWithCode(0),
                AllOf(HasSubstr(std::string("\"Got IP for lo : ") + board + " @ slot " + slot),
                      HasSubstr(std::string("wiring ") + slot + " " + board + " 1 1\n")));
}

TEST_F(MainDeathTest, AnyOtherAddressIsTaken) {
  EXPECT_EXIT((gInterfaceAddress = "0.0.0.1", Run({"-c", "1"})), testing::ExitedWithCode(0),
              HasSubstr("wiring 1 0.0.0.1 1 1\n"));
}

}  // namespace
