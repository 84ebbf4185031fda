// The example command sender beside the shipped service.

#include <chrono>
#include <csignal>
#include <fstream>
#include <iterator>
#include <string>

#include "Endpoints.h"
#include "ExampleProcess.h"
#include "RunningService.h"

namespace {

using louddesk::Peer;
/// Whether a process listens on TCP port 7000.
bool IsPortTaken() {
  std::ifstream table("/proc/net/tcp");
  const std::string text{std::istreambuf_iterator<char>(table), {}};
  return text.find(":1B58 00000000:0000 0A ") != std::string::npos;
}

class CommandSenderTest : public RunningService, public testing::WithParamInterface<Language> {
 protected:
  /// Starts a service that measures, without the main board's application server.
  void StartMeasured() {
    ASSERT_NO_FATAL_FAILURE(Start({Peer::kMainAppServer}));
    EnableReporting();
    mUnit.SendText(Peer::kOpticalAppServer, louddesk::TopicFor(kPresetTopicPrefix, 1),
                   louddesk::PresetForSpeakers(SurroundSpeakers(), 1).Json());
    ExpectAcknowledgement("Start");
    mUnit.DropStates();
  }

  /// Runs the sender to its end and reads everything that arrives at the unit meanwhile.
  void Send(const std::vector<std::string>& arguments) {
    mSender = StartExample(GetParam(), arguments);
    const auto end = std::chrono::steady_clock::now() + 2 * kPatience;
    while (mSender->IsRunning() && std::chrono::steady_clock::now() < end)
      Pass(std::chrono::milliseconds{10});
    const auto report = mSender->WaitForExit(std::chrono::milliseconds{0});
    ASSERT_TRUE(report);
    EXPECT_EQ(0, report->signal);
    mStatus = report->status;
  }

  void ExpectSent(const std::string& word, const std::string& printed) {
    ASSERT_NO_FATAL_FAILURE(Send({word}));
    EXPECT_EQ(0, mStatus) << mSender->StandardError();
    EXPECT_EQ(printed, mSender->StandardOutput());
  }

  void ExpectFailed(const std::vector<std::string>& arguments, const std::string& line) {
    ASSERT_NO_FATAL_FAILURE(Send(arguments));
    EXPECT_EQ(1, mStatus);
    EXPECT_EQ("", mSender->StandardOutput());
    EXPECT_THAT(mSender->StandardError(), testing::StartsWith(line));
  }

  std::unique_ptr<ServiceProcess> mSender;
  int mStatus = -1;
};

INSTANTIATE_TEST_SUITE_P(Languages, CommandSenderTest,
                         testing::ValuesIn(LanguagesOf("command_sender.py")),
                         [](const auto& language) { return language.param.name; });

TEST_P(CommandSenderTest, CommandsAreCarriedOutAndAcknowledged) {
  ASSERT_NO_FATAL_FAILURE(StartMeasured());
  ExpectSent("pause", "Pause acknowledged\n");
  ExpectData([](const auto& message) { return message.command == LU_CMD_PAUSE; }, "a pause");
  ExpectSent("play", "Play acknowledged\n");
  ExpectData([](const auto& message) { return message.command == LU_CMD_PLAY; }, "a play");
  ExpectSent("start", "Reset acknowledged\nStart acknowledged\n");
}

TEST_P(CommandSenderTest, StopIsAcknowledgedInTheModeManualOnly) {
  ASSERT_NO_FATAL_FAILURE(StartMeasured());
  ExpectFailed({"stop"}, "not acknowledged: ");
  louddesk::LoudnessConfiguration manual;
  manual.mode = "Manual";
  mUnit.SendText(Peer::kOpticalAppServer, louddesk::TopicFor(kConfigurationTopicPrefix, 1),
                 manual.Json());
  ExpectAcknowledgement("Start");
  ExpectSent("stop", "Stop acknowledged\n");
  ExpectDataEnded();
  // While stopped, a pause is acknowledged as a stop.
  ExpectSent("pause", "Stop acknowledged\n");
}

TEST_P(CommandSenderTest, SaysThatReportingIsOffAndTheCommandIsCarriedOutLater) {
  ASSERT_NO_FATAL_FAILURE(StartMeasured());
  EnableReporting(false);
  ExpectFailed({"pause"}, "not acknowledged: reporting is off");
  mUnit.DropStates();
  EnableReporting();
  ExpectAcknowledgement("Pause");
}

TEST_P(CommandSenderTest, SaysThatThePlaceIsTaken) {
  ASSERT_NO_FATAL_FAILURE(Start());
  ExpectFailed({"pause"}, "port 7000 of ");
}

TEST_P(CommandSenderTest, SaysThatThereIsNoService) {
  ExpectFailed({"pause"}, "no service of meter set 1 has subscribed");
}

TEST_P(CommandSenderTest, SaysThatTheServiceIsThatOfAnotherCluster) {
  ASSERT_NO_FATAL_FAILURE(StartMeasured());
  ExpectFailed({"pause", "2"}, "nothing comes from the service of cluster 2");
}

TEST_P(CommandSenderTest, ASignalEndsTheWait) {
  mSender = StartExample(GetParam(), {"pause"});
  const auto end = std::chrono::steady_clock::now() + kPatience;
  while (!IsPortTaken() && std::chrono::steady_clock::now() < end)
    Pass(std::chrono::milliseconds{10});
  mSender->Signal(SIGTERM);
  const auto report = mSender->WaitForExit(kPatience);
  ASSERT_TRUE(report);
  EXPECT_EQ(0, report->signal);
  EXPECT_EQ(1, report->status);
  EXPECT_EQ("interrupted\n", mSender->StandardError());
}

TEST_P(CommandSenderTest, WrongArgumentsAreRefused) {
  for (const std::vector<std::string>& arguments : {std::vector<std::string>{},
                                                    {"print"},
                                                    {"pause", "9"},
                                                    {"pause", "0"},
                                                    {"pause", "1", "1"}}) {
    ASSERT_NO_FATAL_FAILURE(Send(arguments));
    EXPECT_EQ(2, mStatus);
    EXPECT_THAT(mSender->StandardError(), testing::StartsWith("usage: "));
  }
}

}  // namespace
