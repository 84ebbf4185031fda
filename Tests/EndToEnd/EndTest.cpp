// The orderly end of the service, whenever a signal arrives.

#include <csignal>

#include "WatchedService.h"

namespace {

using louddesk::LoudnessConfiguration;
using louddesk::Peer;

/// How and when a service ends.
class EndTest : public WatchedService {
 protected:
  /// Expects the lines of an orderly end, in their order, as the last ones on standard output.
  void ExpectLastLines() {
    std::vector<std::string> output;
    for (const OutputLine& line : mService->Lines())
      if (!line.isError)
        output.push_back(Normalised(line.text));
    const std::vector<std::string> expected = {
        Printed("Main", "\"LoudCalc exiting...\""), Printed("Logger", "\"Logger MQ cleanup!!!\""),
        Printed("HeartBeater", "\"Heart Beater MQ cleanup!!!\"")};
    ASSERT_GE(output.size(), expected.size());
    EXPECT_EQ(expected, std::vector<std::string>(output.end() - 3, output.end()));
  }

  void EndBy(int signal) {
    ExpectCleanEnd(signal);
    ExpectLastLines();
  }
};

TEST_F(EndTest, IsCleanAtAnyMomentAfterTheFirstLine) {
  // The start takes some milliseconds.
  constexpr std::chrono::microseconds kStep{200};
  constexpr int kSteps = 40;
  for (int step = 0; step < kSteps; ++step) {
    SCOPED_TRACE(step);
    StartProcess();
    ASSERT_TRUE(mService->WaitForLine("Tryig to connect", kPatience));
    const auto moment = std::chrono::steady_clock::now() + step * kStep;
    while (std::chrono::steady_clock::now() < moment) {
    }
    ExpectCleanEnd(step % 2 == 0 ? SIGTERM : SIGINT);
  }
}

struct Moment {
  const char* name;
  const char* line;  // the signal is sent after this line
};

void PrintTo(const Moment& moment, std::ostream* stream) {
  *stream << moment.name;
}

class StartingEndTest : public EndTest,
                        public testing::WithParamInterface<std::tuple<Moment, int>> {};

TEST_P(StartingEndTest, IsCleanWithoutAnyPeer) {
  const auto& [moment, signal] = GetParam();
  StartProcess();
  ASSERT_TRUE(mService->WaitForLine(moment.line, kPatience));
  EndBy(signal);
}

const Moment kMoments[] = {
    {"FirstLine", "Tryig to connect ipc:///run/shm/mq/loggerSinkMq.ipc"},
    {"AddressFound", "Got IP for lo"},
    {"WiringBegun", "initReactorLoop"},
    {"HeartbeatConnected", "Connected to tcp"},
    {"PublisherBound", "LoudnessDataPub"},
    {"MonitorConnected", "addHbMonMq 1"},
    {"Wired", "addQVAppserverMq local optkria"},
};

INSTANTIATE_TEST_SUITE_P(Moments, StartingEndTest,
                         testing::Combine(testing::ValuesIn(kMoments),
                                          testing::Values(SIGTERM, SIGINT)),
                         [](const auto& test) {
                           return std::string(std::get<Moment>(test.param).name) +
                                  (std::get<int>(test.param) == SIGTERM ? "Term" : "Int");
                         });

class RunningEndTest : public EndTest, public testing::WithParamInterface<int> {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(StartWatched());
    StartMeasuring();
    ExpectMeasures(-20);
  }
};

TEST_P(RunningEndTest, IsCleanWhileMeasuring) {
  EndBy(GetParam());
}

TEST_P(RunningEndTest, IsCleanWhilePaused) {
  SendCommand("Pause");
  ExpectAcknowledged("Pause");
  EndBy(GetParam());
}

TEST_P(RunningEndTest, IsCleanWhileStopped) {
  LoudnessConfiguration configuration;
  configuration.mode = "Manual";
  SendConfiguration(configuration);
  ExpectAcknowledgement("Start");
  SendCommand("Stop");
  ExpectAcknowledged("Stop");
  EndBy(GetParam());
}

TEST_P(RunningEndTest, IsCleanWithAnInvalidSource) {
  SendPreset(louddesk::PresetForSpeakers({"Left"}, 2).Json());
  Hear();
  EndBy(GetParam());
}

TEST_P(RunningEndTest, IsCleanWithReportingOff) {
  EnableReporting(false);
  EndBy(GetParam());
}

TEST_P(RunningEndTest, IsCleanUnderAFloodOfMessages) {
  for (int i = 0; i < 3000; ++i) {
    Feed(5, -30);
    mUnit.SendText(Peer::kMainAppServer, "HwmStatusOrRequest", std::string(1000, 'x'));
  }
  EndBy(GetParam());
}

TEST_P(RunningEndTest, IsCleanAfterEveryPeerHasGone) {
  for (const Peer peer : louddesk::kAllPeers)
    mUnit.Close(peer);
  EndBy(GetParam());
}

TEST_P(RunningEndTest, IsCleanWhenTheSignalComesTwice) {
  mService->Signal(GetParam());
  EndBy(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Signals, RunningEndTest, testing::Values(SIGTERM, SIGINT),
                         [](const auto& test) { return test.param == SIGTERM ? "Term" : "Int"; });

TEST_F(EndTest, NothingIsSentAfterTheEnd) {
  ASSERT_NO_FATAL_FAILURE(StartWatched());
  StartMeasuring();
  EndBy(SIGTERM);
  Pass(kPeriod);  // messages on their way arrive
  mUnit.DropLoudnessData();
  mUnit.DropStates();
  mUnit.DropHeartbeats();
  EXPECT_FALSE(mUnit.NextLoudnessData(2 * kPeriod));
  EXPECT_FALSE(mUnit.NextState(kPeriod));
  EXPECT_FALSE(mUnit.NextHeartbeat(kPeriod));
}

TEST_F(EndTest, SuspendedServiceGoesOn) {
  ASSERT_NO_FATAL_FAILURE(StartWatched());
  StartMeasuring();
  MarkCadence();
  ASSERT_NO_FATAL_FAILURE(Suspend(*mService));
  Pass(5 * kPeriod);
  mService->Signal(SIGCONT);
  ExpectCadenceKept();
  ExpectMeasures(-20);
  EndBy(SIGTERM);
}

}  // namespace
