// Command line, board addresses and the end of the service.

#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>

#include "RunningService.h"

namespace {

using louddesk::Peer;
using testing::HasSubstr;

constexpr char kMainBoardVariable[] = "LOUDCALC_MAIN_BOARD_ADDRESS";
constexpr char kOpticalBoardVariable[] = "LOUDCALC_OPTICAL_BOARD_ADDRESS";
constexpr char kClientUsersVariable[] = "LOUDCALC_CLIENT_USERS";
constexpr char kClientGroupsVariable[] = "LOUDCALC_CLIENT_GROUPS";
constexpr char kClusterMessage[] = "Please provide valid cluster number, 1,2,...,or 8";
constexpr char kIpcDirectory[] = "/run/shm/mq";

std::string UsageText() {
  return std::string("Usage: ") + LOUDCALC_BINARY +
         " -s <slot number>[0], 0-> Mainboard, 1->Slot-1, 2->Slot-2 ,3->Slot-3]\n\t "
         "-i <interface>[eth0], -m <meter set[1], 1, 2, 3, 4>,  -c <cluster no [1], 1, 2,.., or "
         "8>\n";
}

using Arguments = std::vector<std::string>;

/// Runs the service, which must end with status 1 without a signal, and returns what it wrote to
/// standard error.
std::string ErrorsOfRefusedStart(const Arguments& arguments,
                                 const std::map<std::string, std::string>& environment = {}) {
  ServiceProcess service(LOUDCALC_BINARY, arguments, environment);
  const auto report = service.WaitForExit(kPatience);
  EXPECT_TRUE(report) << "still running";
  if (report) {
    EXPECT_EQ(0, report->signal);
    EXPECT_EQ(1, report->status);
  }
  return service.StandardError();
}

TEST(CommandLineTest, NoOptionsEndWithTheClusterMessage) {
  // ServiceProcess adds a line feed to each line; the message itself does not end in one.
  EXPECT_EQ(std::string(kClusterMessage) + "\n", ErrorsOfRefusedStart({}));
}

class InvalidClusterTest : public testing::TestWithParam<const char*> {};

TEST_P(InvalidClusterTest, EndsWithTheClusterMessage) {
  EXPECT_EQ(std::string(kClusterMessage) + "\n",
            ErrorsOfRefusedStart({"-m", "1", "-c", GetParam()}));
}

INSTANTIATE_TEST_SUITE_P(Clusters, InvalidClusterTest,
                         testing::Values("0", "9", "-1", "left", "",
                                         "010",                  // 10, not octal
                                         "4294967297",           // 1 in 32 bits
                                         "-4294967295",          // the same
                                         "18446744073709551617"  // 1 in 64 bits
                                         ));

class InvalidSlotTest : public testing::TestWithParam<const char*> {};

TEST_P(InvalidSlotTest, EndsWithTheUsageText) {
  EXPECT_EQ(UsageText(), ErrorsOfRefusedStart({"-c", "1", "-s", GetParam()}));
}

INSTANTIATE_TEST_SUITE_P(Slots, InvalidSlotTest,
                         testing::Values("2", "3", "-1",
                                         "4294967296",              // 0 in 32 bits
                                         "4294967297",              // 1 in 32 bits
                                         "-4294967296",             // 0 in 32 bits
                                         "18446744073709551616"));  // 0 in 64 bits

TEST(CommandLineTest, OptionWithoutItsValueEndsWithTheUsageText) {
  const std::string errors = ErrorsOfRefusedStart({"-m", "1", "-c"});
  EXPECT_NE(std::string::npos, errors.find(UsageText())) << errors;
}

TEST(CommandLineTest, InvalidSlotStopsBeforeLaterOptionsAreRead) {
  EXPECT_EQ(UsageText(), ErrorsOfRefusedStart({"-s", "2", "-x"}));
}

TEST(CommandLineTest, HelpEndsWithTheUsageText) {
  EXPECT_EQ(UsageText(), ErrorsOfRefusedStart({"-h"}));
}

TEST(CommandLineTest, UnknownOptionEndsWithTheUsageText) {
  EXPECT_THAT(ErrorsOfRefusedStart({"-c", "1", "-x"}), HasSubstr(UsageText()));
}

struct Variable {
  const char* name;
  const char* value;
};

class InvalidVariableTest : public testing::TestWithParam<Variable> {};

TEST_P(InvalidVariableTest, EndsWithALineThatNamesIt) {
  const auto& [name, value] = GetParam();
  const std::string errors = ErrorsOfRefusedStart({"-c", "1"}, {{name, value}});
  EXPECT_THAT(errors, HasSubstr(name));
  EXPECT_THAT(errors, HasSubstr(std::string("\"") + value + "\""));
  EXPECT_EQ(1, std::count(errors.begin(), errors.end(), '\n')) << errors;
}

INSTANTIATE_TEST_SUITE_P(Variables, InvalidVariableTest,
                         testing::Values(Variable{kMainBoardVariable, "mainboard"},
                                         Variable{kMainBoardVariable, ""},
                                         Variable{kMainBoardVariable, "127.0.0"},
                                         Variable{kOpticalBoardVariable, "127.0.0.256"},
                                         Variable{kOpticalBoardVariable, "::1"},
                                         Variable{kClientUsersVariable, "missing"},
                                         Variable{kClientGroupsVariable, ""}));

class StartUpTest : public RunningService {
 protected:
  void StartWith(const Arguments& arguments,
                 const std::map<std::string, std::string>& environment = {}) {
    mService = std::make_unique<ServiceProcess>(LOUDCALC_BINARY, arguments, environment);
  }

  void ExpectLine(const std::string& text) {
    EXPECT_TRUE(mService->WaitForLine(text, kPatience)) << text;
  }

  /// The last step of the wiring.
  void ExpectWired() { ExpectLine("addQVAppserverMq local optkria"); }
};

TEST_F(StartUpTest, LoopbackAddressIsTheDefault) {
  StartWith({"-c", "1"});
  ExpectLine("\"Got IP for lo : 127.0.0.1 @ slot 1\"");
  ExpectWired();
}

TEST_F(StartUpTest, WhatFollowsANumberIsIgnored) {
  StartWith({"-m", "2x", "-c", "1 and more", "-s", "1."});
  ExpectLine("ProbeLc1LoudnessDataPub-m2c1.ipc");
  ExpectLine("slot 1\"");
  ExpectWired();
}

TEST_F(StartUpTest, LinesCarryTheCutNameOfTheLogger) {
  StartWith({"-c", "1"});
  ExpectLine("|HwMana|INFO|Main|");
  ExpectWired();
}

TEST_F(StartUpTest, InterfaceWithoutAddressLeavesTheAddressOfTheSlotsBoard) {
  const std::map<std::string, std::string> boards = {{kMainBoardVariable, "127.1.2.3"},
                                                     {kOpticalBoardVariable, "127.1.2.4"}};
  StartWith({"-c", "1", "-s", "0", "-i", "nosuch0"}, boards);
  ExpectLine("\"Got IP for nosuch0 : 127.1.2.3 @ slot 0\"");
  ExpectWired();
  ExpectCleanEnd(SIGTERM);
  StartWith({"-c", "1", "-s", "1", "-i", "nosuch0"}, boards);
  ExpectLine("\"Got IP for nosuch0 : 127.1.2.4 @ slot 1\"");
  ExpectWired();
}

TEST_F(StartUpTest, ServiceWithInterfaceWithoutAddressMeasures) {
  mUnit.OpenAll();
  StartWith({"-c", "1", "-i", "nosuch0"});
  ASSERT_TRUE(mUnit.WaitUntilSubscribed(kPatience)) << mUnit.MissingSubscriptions();
  StartMeasuring();
  ExpectMeasures(-20);
}

TEST_F(StartUpTest, ServesClientsWhoAreNamed) {
  const std::string own = std::to_string(geteuid());
  ASSERT_NO_FATAL_FAILURE(Start({}, {{{kClientUsersVariable, own}}, {}, {}}));
  StartMeasuring();
}

TEST_F(StartUpTest, ServesNoClientsWhoAreNotNamed) {
  constexpr char kStranger[] = "4294900000";
  mUnit.OpenAll();
  StartProcess({{{kClientUsersVariable, kStranger}}, {}, {}});
  ExpectWired();
  EXPECT_FALSE(mUnit.WaitUntilSubscribed(20 * kPeriod));
  EXPECT_EQ("no publisher of loudness data; no publisher of states", mUnit.MissingSubscriptions());
}

TEST_F(StartUpTest, MakesTheIpcDirectory) {
  std::filesystem::remove_all(kIpcDirectory);
  umask(0);
  StartWith({"-c", "1"});
  ExpectWired();
  const std::filesystem::file_status status = std::filesystem::status(kIpcDirectory);
  EXPECT_EQ(std::filesystem::file_type::directory, status.type());
  // The peers run as other users and put their sockets there.
  EXPECT_EQ(std::filesystem::perms::all, status.permissions());
}

TEST_F(StartUpTest, TerminationEndsCleanly) {
  ASSERT_NO_FATAL_FAILURE(Start());
  ExpectCleanEnd(SIGTERM);
}

TEST_F(StartUpTest, InterruptEndsCleanly) {
  ASSERT_NO_FATAL_FAILURE(Start());
  ExpectCleanEnd(SIGINT);
}

TEST_F(StartUpTest, EndsCleanlyWithoutAnyPeer) {
  StartWith({"-m", "1", "-c", "1"});
  ExpectWired();
  ExpectCleanEnd(SIGTERM);
}

TEST_F(StartUpTest, EndsCleanlyWhileMeasuring) {
  ASSERT_NO_FATAL_FAILURE(Start());
  StartMeasuring();
  ExpectMeasures(-20);
  ExpectCleanEnd(SIGINT);
}

/// A service whose loudness-data publisher cannot bind, because a directory has the file's name.
class FailedPublisherTest : public StartUpTest {
 protected:
  void SetUp() override {
    mUnit.OpenAll();
    std::filesystem::remove(kEndpoint);
    ASSERT_TRUE(std::filesystem::create_directory(kEndpoint));
    StartProcess();
  }

  void TearDown() override {
    StartUpTest::TearDown();
    std::filesystem::remove(kEndpoint);
  }

  static constexpr char kEndpoint[] = "/run/shm/mq/ProbeLc1LoudnessDataPub-m1c1.ipc";
};

TEST_F(FailedPublisherTest, IsReportedAndEndsWithTheExitLineAndStatusZero) {
  ExpectLine("\"Failed to initialize HWM Pubs.\"");
  ExpectWired();
  ExpectCleanEnd(SIGTERM);
}

TEST_F(FailedPublisherTest, StopsByAssertionWhenDataIsToBeSent) {
  ASSERT_TRUE(mUnit.WaitFor(
      [this] {
        return mUnit.SubscriptionsAt(Peer::kMainAppServer).count("AppProbeIOMatrixStream-1") != 0 &&
               mUnit.SubscriptionsAt(Peer::kOpticalAppServer).count("QVProbeOptInputDataCmd") != 0;
      },
      kPatience))
      << mUnit.MissingSubscriptions();
  EnableReporting();
  SendPreset(louddesk::PresetForSpeakers(SurroundSpeakers(), 1).Json());
  ExpectStopByAssertion("__null != mpLuDataPubSocket");
}

}  // namespace
