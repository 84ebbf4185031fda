// The endpoints and topics of the service.

#include "RunningService.h"

namespace {

using louddesk::Frames;
using louddesk::Peer;
using testing::ElementsAre;
using testing::Optional;

using Topics = std::set<std::string>;

/// The topics of every text peer, spelled out. `meterSet` matters only if it has separate topics.
Topics TextTopicsOf(unsigned meterSet) {
  Topics topics = {"HbSysStatusEvent", "HbAppCmd", "HwmStatusOrRequest", "AppLoudnessCmd",
                   "QVProbeOptInputDataCmd"};
  if (meterSet > 1)
    return topics;
  const std::string number = std::to_string(meterSet);
  topics.insert("AppProbeIOMatrixStream-" + number);
  topics.insert("AppProbeSetLuConf-" + number);
  topics.insert("AppIOQVLoudnessCmd-" + number);
  return topics;
}

class WiringTest : public RunningService {
 protected:
  using RunningService::RunningService;

  void ExpectTextTopics(const Topics& topics) {
    for (const Peer peer : {Peer::kProcessMonitor, Peer::kHardwareManager, Peer::kMainAppServer,
                            Peer::kOpticalAppServer})
      EXPECT_EQ(topics, mUnit.SubscriptionsAt(peer)) << mUnit.EndpointOf(peer);
  }

  void ExpectHeartbeat(const std::string& json) {
    EXPECT_THAT(mUnit.NextHeartbeat(kPatience), Optional(ElementsAre("HbProc", json)));
  }
};

class MeterSetZeroTest : public WiringTest {
 protected:
  MeterSetZeroTest() : WiringTest(0, 1) {}
};

class MeterSetOneTest : public WiringTest {};

class MeterSetTwoTest : public WiringTest {
 protected:
  MeterSetTwoTest() : WiringTest(2, 3) {}
};

class MeterSetThreeTest : public WiringTest {
 protected:
  MeterSetThreeTest() : WiringTest(3, 8) {}
};

TEST_F(MeterSetZeroTest, UsesTheEndpointsWithoutNumber) {
  ASSERT_NO_FATAL_FAILURE(Start());
  EXPECT_EQ("ipc:///run/shm/mq/hwmProg1LoudnessDataPub.ipc",
            mUnit.EndpointOf(Peer::kSignalProcessor));
  EXPECT_EQ(Topics{"LoudnessDspData"}, mUnit.SubscriptionsAt(Peer::kSignalProcessor));
  ExpectTextTopics(TextTopicsOf(0));
  ExpectHeartbeat(R"({"HbKey":"QvOptLuCal","Version":"Telvon8-v1.9.3","State":1})");
}

TEST_F(MeterSetZeroTest, DoesNotHandleItsRawData) {
  ASSERT_NO_FATAL_FAILURE(Start());
  mUnit.SendRaw({});
  ExpectLogLine("\"Topic LoudnessDspData not handled\"");
}

TEST_F(MeterSetOneTest, UsesItsEndpointsAndTopics) {
  ASSERT_NO_FATAL_FAILURE(Start());
  EXPECT_EQ("ipc:///run/shm/mq/hwmProbeLuRawDataPub-1.ipc",
            mUnit.EndpointOf(Peer::kSignalProcessor));
  EXPECT_EQ(Topics{"ProbeLuRawData-1"}, mUnit.SubscriptionsAt(Peer::kSignalProcessor));
  ExpectTextTopics(TextTopicsOf(1));
  ExpectHeartbeat(R"({"HbKey":"QvOptLuCal1","Version":"Telvon8-v1.9.3","State":1})");
}

TEST_F(MeterSetTwoTest, SubscribesToNoPresetsConfigurationsAndCommands) {
  ASSERT_NO_FATAL_FAILURE(Start());
  EXPECT_EQ(Topics{"ProbeLuRawData-2"}, mUnit.SubscriptionsAt(Peer::kSignalProcessor));
  ExpectTextTopics(TextTopicsOf(2));
  ExpectHeartbeat(R"({"HbKey":"QvOptLuCal2","Version":"Telvon8-v1.9.3","State":1})");
}

TEST_F(MeterSetThreeTest, SubscribesToNoPresetsConfigurationsAndCommands) {
  ASSERT_NO_FATAL_FAILURE(Start());
  EXPECT_EQ(Topics{"ProbeLuRawData-3"}, mUnit.SubscriptionsAt(Peer::kSignalProcessor));
  ExpectTextTopics(TextTopicsOf(3));
  ExpectHeartbeat(R"({"HbKey":"QvOptLuCal3","Version":"Telvon8-v1.9.3","State":1})");
}

TEST_F(MeterSetOneTest, BeatsOnceASecond) {
  ASSERT_NO_FATAL_FAILURE(Start());
  mUnit.DropHeartbeats();
  ASSERT_TRUE(mUnit.NextHeartbeat(kPatience));
  const auto first = std::chrono::steady_clock::now();
  ASSERT_TRUE(mUnit.NextHeartbeat(kPatience));
  ASSERT_TRUE(mUnit.NextHeartbeat(kPatience));
  const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - first;
  EXPECT_NEAR(2.0, elapsed.count(), 0.9);  // three periods would take 3.0, two of half a second 1.0
}

TEST_F(MeterSetOneTest, MeasuresWithoutLogSinkAndProcessMonitor) {
  ASSERT_NO_FATAL_FAILURE(Start(
      {Peer::kLogSink, Peer::kProcessMonitor, Peer::kHeartbeatReceiver, Peer::kHardwareManager}));
  StartMeasuring();
  // More lines than the queue for the absent sink holds.
  for (int i = 0; i < 5000; ++i)
    mUnit.SendText(Peer::kMainAppServer, "AppLoudnessCmd", std::string("{}"));
  ExpectCadence();
  ExpectMeasures(-20);
}

}  // namespace
