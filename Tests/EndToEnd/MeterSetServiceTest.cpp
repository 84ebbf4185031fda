// Services of the meter sets 0, 1, 2 and above: their endpoints and what they ignore.

#include <filesystem>
#include <fstream>

#include "WatchedService.h"

namespace {

using louddesk::LoudnessConfiguration;
using louddesk::Peer;

constexpr char kDirectory[] = "/run/shm/mq/";

/// Number of sockets that listen on the file in the unit's IPC directory.
int ListenersOn(const std::string& file) {
  const std::string path = kDirectory + file;
  std::ifstream table("/proc/net/unix");
  int count = 0;
  for (std::string line; std::getline(table, line);)
    // Only listening sockets count, not the accepted ones with the same path.
    if (line.find(" 00010000 ") != std::string::npos && line.size() > path.size() &&
        line.compare(line.size() - path.size(), path.size(), path) == 0)
      ++count;
  return count;
}

/// A separate client of a publisher.
class Client {
 public:
  Client(louddesk::UnitStandIn& unit, const std::string& file) : mUnit(unit), mClient(file) {}

  bool WaitUntilConnected() {
    return mUnit.WaitFor(
        [this] {
          mClient.ReadPending();
          return mClient.IsConnected();
        },
        kPatience);
  }

  /// The next message; no frames if none comes.
  louddesk::Frames Next() {
    const auto hasMessage = [this] {
      mClient.ReadPending();
      return !mClient.Messages().empty();
    };
    if (!mUnit.WaitFor(hasMessage, kPatience))
      return {};
    const louddesk::Frames frames = mClient.Messages().front().frames;
    mClient.Messages().pop_front();
    return frames;
  }

  /// The next message that is not a republication; those come at any time.
  louddesk::Frames NextAnswer() {
    louddesk::Frames frames = Next();
    while (!frames.empty() && frames.front().find("_Repub_") != std::string::npos)
      frames = Next();
    return frames;
  }

 private:
  louddesk::UnitStandIn& mUnit;
  louddesk::DataClient mClient;
};

class MeterSetServiceTest : public WatchedService {
 protected:
  using WatchedService::WatchedService;

  void SetUp() override { ASSERT_NO_FATAL_FAILURE(Start()); }

  /// Publishes a configuration under a topic that every service receives and that contains the
  /// configuration topic.
  void SendConfigurationAside(unsigned number) {
    mUnit.SendText(Peer::kMainAppServer,
                   "AppLoudnessCmd AppProbeSetLuConf-" + std::to_string(number),
                   LoudnessConfiguration().Json());
  }
};

class MeterSetZeroServiceTest : public MeterSetServiceTest {
 protected:
  MeterSetZeroServiceTest() : MeterSetServiceTest(0, 3) {}
};

class MeterSetOneServiceTest : public MeterSetServiceTest {
 protected:
  MeterSetOneServiceTest() : MeterSetServiceTest(1, 8) {}
};

class MeterSetTwoServiceTest : public MeterSetServiceTest {
 protected:
  MeterSetTwoServiceTest() : MeterSetServiceTest(2, 3) {}
};

class MeterSetThreeServiceTest : public MeterSetServiceTest {
 protected:
  MeterSetThreeServiceTest() : MeterSetServiceTest(3, 1) {}
};

class MeterSetTwelveServiceTest : public MeterSetServiceTest {
 protected:
  MeterSetTwelveServiceTest() : MeterSetServiceTest(12, 2) {}
};

// ---- Endpoints ----

TEST_F(MeterSetZeroServiceTest, BothPublishersListenOnOneFile) {
  EXPECT_EQ(2, ListenersOn("Lc1LoudnessDataPub.ipc"));
}

TEST_F(MeterSetOneServiceTest, PublishersListenOnFilesOfMeterSetAndCluster) {
  EXPECT_EQ(1, ListenersOn("ProbeLc1LoudnessDataPub-m1c8.ipc"));
  EXPECT_EQ(1, ListenersOn("ProbeLc1LoudnessStatePub-m1c8.ipc"));
  EXPECT_EQ(0, ListenersOn("Lc1LoudnessDataPub.ipc"));
}

TEST_F(MeterSetTwoServiceTest, PublishersListenOnFilesOfMeterSetAndCluster) {
  EXPECT_EQ(1, ListenersOn("ProbeLc1LoudnessDataPub-m2c3.ipc"));
  EXPECT_EQ(1, ListenersOn("ProbeLc1LoudnessStatePub-m2c3.ipc"));
}

TEST_F(MeterSetThreeServiceTest, PublishersListenOnFilesOfMeterSetAndCluster) {
  EXPECT_EQ(1, ListenersOn("ProbeLc1LoudnessDataPub-m3c1.ipc"));
  EXPECT_EQ(1, ListenersOn("ProbeLc1LoudnessStatePub-m3c1.ipc"));
}

TEST_F(MeterSetTwelveServiceTest, HasNumbersOfTwoDigitsEverywhere) {
  EXPECT_EQ(1, ListenersOn("ProbeLc1LoudnessDataPub-m12c2.ipc"));
  EXPECT_EQ(1, ListenersOn("ProbeLc1LoudnessStatePub-m12c2.ipc"));
  EXPECT_EQ("ipc:///run/shm/mq/hwmProbeLuRawDataPub-12.ipc",
            mUnit.EndpointOf(Peer::kSignalProcessor));
  EXPECT_EQ(std::set<std::string>{"ProbeLuRawData-12"},
            mUnit.SubscriptionsAt(Peer::kSignalProcessor));
  const auto beat = mUnit.NextHeartbeat(kPatience);
  ASSERT_TRUE(beat);
  EXPECT_EQ(R"({"HbKey":"QvOptLuCal12","Version":"Telvon8-v1.9.3","State":1})", beat->back());
}

// ---- Meter set 0 ----

TEST_F(MeterSetZeroServiceTest, ClientsOfTheSharedFileGetTheStates) {
  Client client(mUnit, "Lc1LoudnessDataPub.ipc");
  ASSERT_TRUE(client.WaitUntilConnected());
  EnableReporting();
  SendPreset(louddesk::PresetForSpeakers(SurroundSpeakers(), 3).Json());
  ExpectTransitions({"0x103 --> 0x101", "0x101 --> 0x100"});
  // Acknowledgements without a meter set name neither cluster nor user.
  EXPECT_THAT(
      client.NextAnswer(),
      testing::ElementsAre("IOQVHwmLoudnessCmd_0", R"({"Command":"Reset","OriginFromFp":false})"));
  EXPECT_THAT(
      client.NextAnswer(),
      testing::ElementsAre("IOQVHwmLoudnessCmd_0", R"({"Command":"Start","OriginFromFp":false})"));
  // The next message is the next state, not loudness data.
  EXPECT_THAT(client.Next(), testing::ElementsAre("IOQVHwmLoudnessCmd_Repub_0",
                                                  R"({"Command":"Start","OriginFromFp":false})"));
}

TEST_F(MeterSetZeroServiceTest, TakesPresetsAndCommandsButNoConfiguration) {
  Hear();
  EnableReporting();
  SendPreset(louddesk::PresetForSpeakers({"Left"}, 3).Json());
  ExpectTransitions({"0x103 --> 0x101", "0x101 --> 0x100"});
  SendCommand("Pause");
  ExpectTransitions({"0x108 --> 0x100"});
  Hear();
  for (const char* topic :
       {"AppProbeSetLuConf-0", "AppProbeSetLuConf-01", "AppLoudnessCmd AppProbeSetLuConf-1"})
    EXPECT_EQ(Speech{}, SayTo(topic, LoudnessConfiguration().Json())) << topic;
  ExpectNoTransition();
}

TEST_F(MeterSetZeroServiceTest, RawDataIsNotHandled) {
  EnableReporting();
  SendPreset(louddesk::PresetForSpeakers({"Left"}, 3).Json());
  Hear();
  mUnit.SendRaw({});
  EXPECT_TRUE(mService->WaitForLine("not handled", kPatience));
  EXPECT_EQ((Speech{{}, {Warned("JsonParser", "\"Topic LoudnessDspData not handled\"")}}), Hear());
}

// ---- Meter set 2 and those above ----

TEST_F(MeterSetTwoServiceTest, TakesAConfigurationUnderEveryOtherTopic) {
  EnableReporting();
  for (const unsigned number : {1u, 2u, 7u, 12u}) {
    SendConfigurationAside(number);
    ExpectAcknowledged("Reset");
    ExpectAnswer("IOQVHwmSetLoudnessConfiguration_2", Envelope(LoudnessConfiguration().Json(), 0));
    ExpectAcknowledged("Start");
  }
}

TEST_F(MeterSetTwoServiceTest, PublishesItsClusterAndNoReadings) {
  EnableReporting();
  SendConfigurationAside(2);
  MessageRun reset;
  reset.figures = kNoFigures;
  reset.cluster = 3;
  MessageRun running = reset;
  running.command = LU_CMD_START;
  Feed(8, -20);  // there is no programme
  const std::vector<MessageRun> runs = RunsUntil(running);
  ASSERT_EQ(2u, runs.size()) << testing::PrintToString(runs);
  EXPECT_EQ(reset, runs[0]);
  EXPECT_TRUE(IsSameKind(running, runs[1]));
  EXPECT_EQ("", mService->StandardError());
}

TEST_F(MeterSetTwoServiceTest, DoesNotReceivePresetsAndCommands) {
  EnableReporting();
  mUnit.SendText(Peer::kMainAppServer, "AppProbeIOMatrixStream-2",
                 louddesk::PresetForSpeakers({"Left"}, 3).Json());
  SendCommand("Start");
  SendConfiguration(LoudnessConfiguration());
  ExpectNoData();
  ExpectNoAnswer();
  int lines = 0;
  for (const OutputLine& line : mService->Lines())
    lines += line.text.find("JsonParser|") != std::string::npos ? 1 : 0;
  EXPECT_EQ(1, lines) << "besides the one about reporting";
}

TEST_F(MeterSetThreeServiceTest, NeverTakesAConfiguration) {
  EnableReporting();
  for (const unsigned number : {1u, 2u, 3u})
    SendConfigurationAside(number);
  ExpectNoAnswer();
  ExpectNoData();
  ExpectNoTransition();
}

TEST_F(MeterSetThreeServiceTest, RepublishesItsCommandAlone) {
  const auto first = NextRepublication(kPatience);
  ASSERT_TRUE(first);
  EXPECT_EQ("IOQVHwmLoudnessCmd_Repub_3", first->topic);
  EXPECT_EQ(Acknowledgement("None"), first->json);
  EXPECT_FALSE(mUnit.NextState(4 * kPeriod));
}

}  // namespace
