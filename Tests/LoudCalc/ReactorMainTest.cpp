// The wiring: the endpoints, topics and timers of each meter set. Real sockets play the unit.

#include "ReactorMain.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <set>
#include <string>

#include "AllocationCount.h"
#include "BoardAddresses.h"
#include "Emulation.h"
#include "Endpoints.h"
#include "HeartBeater.h"
#include "JsonParser.h"
#include "LcReactor.h"
#include "LoudCalcBase.h"
#include "MqNames.h"
#include "PublishedMessages.h"

namespace {

using testing::HasSubstr;
using testing::SizeIs;

// A publisher of the unit that sees the subscriptions.
class Publisher {
 public:
  explicit Publisher(const std::string& endpoint) : socket_(zsock_new(ZMQ_XPUB)) {
    EXPECT_NE(-1, zsock_bind(socket_, "%s", endpoint.c_str())) << endpoint;
    zsock_set_rcvtimeo(socket_, 10000 * kSlowness);
  }
  ~Publisher() { zsock_destroy(&socket_); }
  Publisher(const Publisher&) = delete;
  Publisher& operator=(const Publisher&) = delete;

  // The next `count` topics that are subscribed to.
  std::set<std::string> Subscriptions(std::size_t count) {
    std::set<std::string> topics;
    while (topics.size() < count) {
      zframe_t* frame = zframe_recv(socket_);
      if (frame == nullptr)
        break;
      const std::string text(reinterpret_cast<const char*>(zframe_data(frame)), zframe_size(frame));
      zframe_destroy(&frame);
      EXPECT_EQ('\1', text.at(0)) << "not a subscription: " << text;
      topics.insert(text.substr(1));
    }
    return topics;
  }

  void Send(const char* topic, const char* payload) {
    zstr_sendm(socket_, topic);
    zstr_send(socket_, payload);
  }

 private:
  zsock_t* socket_;
};

std::string Tcp(const char* address, unsigned port) {
  return std::string("tcp://") + address + ":" + std::to_string(port);
}

std::string Ipc(const std::string& file) {
  return std::string("ipc://") + kIpcDirectory + "/" + file;
}

class ReactorMainTest : public testing::Test {
 protected:
  ReactorMainTest() {
    std::string error;
    EXPECT_TRUE(LoadBoardAddresses(error)) << error;
    EXPECT_EQ(0, do_mkdir(kIpcDirectory, 0777));
  }

  ~ReactorMainTest() override {
    if (cLcReactor::mpReactor != nullptr && cLcReactor::mpReactor->IsValidReactor())
      cleanReactorLoop();
  }

  // Wires the service and returns its output.
  static std::string Start(std::uint32_t meterSet, std::uint32_t cluster = 1) {
    testing::internal::CaptureStdout();
    EXPECT_TRUE(initReactorLoop(1, "127.0.0.1", meterSet, cluster));
    return testing::internal::GetCapturedStdout();
  }
};

const std::set<std::string> kFixedTopics = {kSystemStatusTopic, kApplicationCommandTopic,
                                            kHwmStatusTopic, kAppLoudnessCommandTopic,
                                            kEnableReportingTopic};

std::set<std::string> WithMeterSetTopics(const std::string& meterSet) {
  std::set<std::string> topics = kFixedTopics;
  topics.insert("AppProbeIOMatrixStream-" + meterSet);
  topics.insert("AppProbeSetLuConf-" + meterSet);
  topics.insert("AppIOQVLoudnessCmd-" + meterSet);
  return topics;
}

TEST_F(ReactorMainTest, EveryServerIsAskedForEveryTextTopicOfMeterSetOne) {
  Publisher monitor(Tcp(MainBoardAddress(), 10001));
  Publisher hardware(Tcp(MainBoardAddress(), 2000));
  Publisher mainServer(Tcp(MainBoardAddress(), 7000));
  Publisher opticalServer(Tcp(OpticalBoardAddress(), 7000));
  Start(1);
  const std::set<std::string> expected = WithMeterSetTopics("1");
  for (Publisher* server : {&monitor, &hardware, &mainServer, &opticalServer})
    EXPECT_EQ(expected, server->Subscriptions(expected.size()));
}

TEST_F(ReactorMainTest, MeterSetZeroHasItsOwnTopicsAndRawEndpoint) {
  Publisher mainServer(Tcp(MainBoardAddress(), 7000));
  Publisher raw(Ipc("hwmProg1LoudnessDataPub.ipc"));
  Start(0);
  const std::set<std::string> expected = WithMeterSetTopics("0");
  EXPECT_EQ(expected, mainServer.Subscriptions(expected.size()));
  EXPECT_EQ(std::set<std::string>{"LoudnessDspData"}, raw.Subscriptions(1));
}

TEST_F(ReactorMainTest, MeterSetThreeIsNotSubscribedToPresetConfigurationAndCommands) {
  Publisher mainServer(Tcp(MainBoardAddress(), 7000));
  Publisher raw(Ipc("hwmProbeLuRawDataPub-3.ipc"));
  Start(3);
  // The test's own subscription follows those of the wiring and marks the end of the list.
  cLcReactor::mpReactor->SubscribeTopic("end", 3, false);
  std::set<std::string> expected = kFixedTopics;
  expected.insert("end");
  EXPECT_EQ(expected, mainServer.Subscriptions(expected.size()));
  EXPECT_EQ(std::set<std::string>{"ProbeLuRawData-3"}, raw.Subscriptions(1));
}

TEST_F(ReactorMainTest, HeartbeatNamesTheMeterSet) {
  Start(2);
  EXPECT_STREQ(R"({"HbKey":"QvOptLuCal2","Version":"Telvon8-v1.9.3","State":1})",
               cHeartBeater::mpHeartBeater->ProcessBeat);
}

TEST_F(ReactorMainTest, HeartbeatWithoutAMeterSetIsThePlainName) {
  Start(0);
  EXPECT_STREQ(R"({"HbKey":"QvOptLuCal","Version":"Telvon8-v1.9.3","State":1})",
               cHeartBeater::mpHeartBeater->ProcessBeat);
}

TEST_F(ReactorMainTest, ConsoleTellsTheWiring) {
  const std::string printed = Start(1, 4);
  const std::string board = MainBoardAddress();
  std::size_t from = 0;
  for (const std::string& line :
       {std::string("| \"initReactorLoop 1\"\n"), "| \"addHbMonMq " + board + ":10001\"\n",
        std::string("| \"addHbMonMq 1\"\n"), std::string("| \"addHwmMbForLuDspDataMq 1\"\n"),
        std::string("| \"IPC :: hwmProbeLuRawDataPub-1.ipc\"\n"),
        std::string("| \"Topic :: ProbeLuRawData-1\"\n"),
        std::string("| \"addAppserverMq mainboard app server\"\n"),
        std::string("| \"addAppserverMq 1 1/1\"\n"),
        std::string("| \"addQVAppserverMq local optkria\"\n")}) {
    const std::size_t at = printed.find(line, from);
    ASSERT_NE(std::string::npos, at) << line << " missing in " << printed;
    from = at;
  }
}

TEST_F(ReactorMainTest, NumbersReachEverySingleton) {
  Start(2, 7);
  EXPECT_EQ(1, cLcReactor::mpReactor->GetSlot());
  EXPECT_EQ(2u, cLcReactor::GetMeterSetNo());
  EXPECT_EQ(7u, cLcReactor::GetClusterNo());
  EXPECT_EQ(2u, cJsonParser::GetMeterSetNo());
  EXPECT_EQ(7u, cJsonParser::GetClusterNo());
  EXPECT_EQ(2u, gpLcPubs->GetMeterSetNo());
  EXPECT_EQ(7u, gpLcPubs->GetClusterNo());
  EXPECT_EQ(1, gpLcPubs->GetSlot());
  EXPECT_EQ(gpLogger, Logger::GetInstance());
  EXPECT_EQ(gpJsonParser, cJsonParser::mpJsonParser);
  EXPECT_EQ(gpReactor, cLcReactor::mpReactor);
}

TEST_F(ReactorMainTest, PublisherLogsFromInfoUp) {
  ASSERT_NE(MsgLevel_Info, cPubHandler::mLogLevel);
  Start(1);
  EXPECT_EQ(MsgLevel_Info, cPubHandler::mLogLevel);
}

TEST_F(ReactorMainTest, MissingIpcDirectoryIsMade) {
  ASSERT_EQ(0, std::system((std::string("rm -rf ") + kIpcDirectory).c_str()));
  Start(1);
  EXPECT_EQ(0, if_dir_exists(kIpcDirectory));
}

TEST_F(ReactorMainTest, FailedPublisherBindIsLoggedAndTheWiringGoesOn) {
  ASSERT_EQ(0, std::system((std::string("rm -rf ") + kIpcDirectory + "/*").c_str()));
  ASSERT_EQ(0, do_mkdir((std::string(kIpcDirectory) + "/ProbeLc1LoudnessDataPub-m1c1.ipc").c_str(),
                        0777));
  testing::internal::CaptureStderr();
  Start(1);
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              HasSubstr("|\"Failed to initialize HWM Pubs.\""));
  EXPECT_EQ(nullptr, gpLcPubs->mpLuDataPubSocket);
  EXPECT_NE(nullptr, gpLcPubs->mpLuStatePubSocket);
  EXPECT_NE(-1, oneLuDataTimer);
  ASSERT_EQ(0, std::system((std::string("rm -rf ") + kIpcDirectory).c_str()));
}

TEST_F(ReactorMainTest, ReaderResultMinusOneEndsTheLoopAndCleaningLeavesNothing) {
  Publisher monitor(Tcp(MainBoardAddress(), 10001));
  Start(1);
  const std::set<std::string> expected = WithMeterSetTopics("1");
  monitor.Subscriptions(expected.size());
  monitor.Send("HbAppCmd", "{\"Command\":9}");
  EXPECT_TRUE(startReactorLoop());
  cleanReactorLoop();
  EXPECT_FALSE(cLcReactor::mpReactor->IsValidReactor());
  EXPECT_EQ(nullptr, gpLcPubs->mpLuDataPubSocket);
  EXPECT_EQ(nullptr, gpLcPubs->mpLuStatePubSocket);
}

TEST_F(ReactorMainTest, CleaningFreesTheEngine) {
  Start(1);
  EXPECT_TRUE(IsReleasedBy(pProgramLoud, cleanReactorLoop));
}

TEST_F(ReactorMainTest, StateIsRepublishedOnEveryFifthSecond) {
  Start(1);
  PublishedMessages published(1, 1);
  for (int second = 1; second <= 12; ++second) {
    EXPECT_EQ(0, DoEverySecond(nullptr, 0, nullptr));
    EXPECT_THAT(published.State(), SizeIs(second % 5 == 0 ? 1 : 0)) << second;
  }
}

TEST_F(ReactorMainTest, EverySecondOneHeartbeatGoesOut) {
  zsock_t* monitor = zsock_new(ZMQ_PULL);
  ASSERT_NE(-1, zsock_bind(monitor, "%s", Tcp(MainBoardAddress(), 10000).c_str()));
  zsock_set_rcvtimeo(monitor, 10000 * kSlowness);
  Start(1);
  DoEverySecond(nullptr, 0, nullptr);
  char* topic = zstr_recv(monitor);
  char* beat = zstr_recv(monitor);
  EXPECT_STREQ("HbProc", topic);
  EXPECT_STREQ(R"({"HbKey":"QvOptLuCal1","Version":"Telvon8-v1.9.3","State":1})", beat);
  zstr_free(&topic);
  zstr_free(&beat);
  zsock_destroy(&monitor);
}

}  // namespace
