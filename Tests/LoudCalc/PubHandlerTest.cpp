// The publisher of the loudness service: its endpoints, messages and lifetime.

#include "PubHandler.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <limits>

#include "CzmqFaults.h"
#include "MqTestKit.h"
#include "SignalStorm.h"

namespace {

using faults::Call;
using mqtest::Escaped;
using mqtest::Frames;
using mqtest::IpcEndpoint;
using mqtest::Logged;
using mqtest::Printed;
using mqtest::Subscriber;

constexpr char kBaseUnit[] = "MqPubHandler";
constexpr char kUnitDirectory[] = "ipc:///run/shm/mq/";

// A publisher of meter set 2 and cluster 3 that is not bound yet. For tests that end the process.
class PubHandlerDeathTest : public testing::Test {
 protected:
  PubHandlerDeathTest() {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    mqtest::MakeIpcDirectory();
    publisher_ = cPubHandler::GetInstance();
    SetNumbers(2, 3);
    faults::Reset();
  }

  ~PubHandlerDeathTest() override {
    cPubHandler::DeleteInstance();
    SetNumbers(0, 0);
  }

  static void SetNumbers(std::uint32_t meterSet, std::uint32_t cluster) {
    cPubHandler::SetMeterSetNo(meterSet);
    cPubHandler::SetClusterNo(cluster);
  }

  std::string DataEndpoint() { return zsock_endpoint(publisher_->mpLuDataPubSocket); }
  std::string StateEndpoint() { return zsock_endpoint(publisher_->mpLuStatePubSocket); }

  cPubHandler* publisher_ = nullptr;
};

// The same fixture with the console captured.
class PubHandlerTest : public PubHandlerDeathTest {
 protected:
  // A subscriber of the loudness-data message.
  Subscriber SubscribeData() {
    publisher_->BindLuDataPubMq();
    return {publisher_->mpLuDataPubSocket, DataEndpoint()};
  }

  mqtest::Console console_;
};

// The bytes of a value as sent.
std::string Bytes(std::int16_t value) {
  const auto bits = static_cast<std::uint16_t>(value);
  return {static_cast<char>(bits & 0xff), static_cast<char>(bits >> 8)};
}

constexpr LoudnessData_t kResults{-231, -232, -233, -234, 57, -236, -101, -102};

// ----- the instance

TEST(PubHandlerInstanceTest, NothingExistsBeforeFirstUse) {
  EXPECT_EQ(nullptr, cPubHandler::mpPub);
  EXPECT_EQ(nullptr, gpLcPubs);
  EXPECT_EQ(0u, cPubHandler::mlMeterSetNo);
  EXPECT_EQ(0u, cPubHandler::mlClusterNo);
}

TEST_F(PubHandlerTest, NewInstanceIsUnboundAndHasTheLogger) {
  EXPECT_EQ(publisher_, cPubHandler::mpPub);
  EXPECT_EQ(publisher_, cPubHandler::GetInstance());
  EXPECT_EQ(-1, publisher_->miSlot);
  EXPECT_EQ(nullptr, publisher_->mpLuDataPubSocket);
  EXPECT_EQ(nullptr, publisher_->mpLuStatePubSocket);
  EXPECT_EQ(Logger::GetInstance(), cPubHandler::mpLogger);
}

TEST_F(PubHandlerTest, DeletionDestroysDataSocketThenStateSocket) {
  publisher_->Init(nullptr);
  gpLcPubs = publisher_;
  const std::vector<const void*> expected = {publisher_->mpLuDataPubSocket,
                                             publisher_->mpLuStatePubSocket};
  cPubHandler::DeleteInstance();
  EXPECT_EQ(expected, faults::Destroyed());
  EXPECT_EQ(nullptr, cPubHandler::mpPub);
  EXPECT_EQ(nullptr, gpLcPubs);
  cPubHandler::DeleteInstance();
  EXPECT_EQ(expected, faults::Destroyed());
}

TEST_F(PubHandlerTest, InstanceIsMadeAnewAfterDeletion) {
  cPubHandler::DeleteInstance();
  ASSERT_NE(nullptr, cPubHandler::GetInstance());
  EXPECT_EQ(nullptr, cPubHandler::mpPub->mpLuDataPubSocket);
}

TEST_F(PubHandlerTest, NumbersAreKept) {
  cPubHandler::SetLogLevel(MsgLevel_Error);
  publisher_->SetSlot(1);
  EXPECT_EQ(2u, cPubHandler::GetMeterSetNo());
  EXPECT_EQ(3u, cPubHandler::GetClusterNo());
  EXPECT_EQ(MsgLevel_Error, cPubHandler::mLogLevel);
  EXPECT_EQ(1, publisher_->GetSlot());
  cPubHandler::SetLogLevel(MsgLevel_Default);
}

// ----- endpoints

TEST_F(PubHandlerTest, EndpointsCarryMeterSetAndCluster) {
  struct {
    std::uint32_t meterSet;
    std::uint32_t cluster;
    const char* data;
    const char* state;
  } const cases[] = {
      {2, 3, "ProbeLc1LoudnessDataPub-m2c3.ipc", "ProbeLc1LoudnessStatePub-m2c3.ipc"},
      {1, 8, "ProbeLc1LoudnessDataPub-m1c8.ipc", "ProbeLc1LoudnessStatePub-m1c8.ipc"},
      {12, 0, "ProbeLc1LoudnessDataPub-m12c0.ipc", "ProbeLc1LoudnessStatePub-m12c0.ipc"},
      {4294967295U, 1, "ProbeLc1LoudnessDataPub-m-1c1.ipc", "ProbeLc1LoudnessStatePub-m-1c1.ipc"},
      {0, 3, "Lc1LoudnessDataPub.ipc", "Lc1LoudnessDataPub.ipc"},
      {0, 0, "Lc1LoudnessDataPub.ipc", "Lc1LoudnessDataPub.ipc"},
  };
  for (const auto& expected : cases) {
    SCOPED_TRACE(testing::Message() << "m" << expected.meterSet << "c" << expected.cluster);
    SetNumbers(expected.meterSet, expected.cluster);
    EXPECT_TRUE(publisher_->Init("169.254.1.10"));
    EXPECT_EQ(std::string(kUnitDirectory) + expected.data, DataEndpoint());
    EXPECT_EQ(std::string(kUnitDirectory) + expected.state, StateEndpoint());
    publisher_->Cleanup();
  }
}

TEST_F(PubHandlerTest, SocketsAreTwoPublishers) {
  publisher_->BindMq();
  EXPECT_NE(publisher_->mpLuDataPubSocket, publisher_->mpLuStatePubSocket);
  EXPECT_EQ(ZMQ_PUB, zsock_type(publisher_->mpLuDataPubSocket));
  EXPECT_EQ(ZMQ_PUB, zsock_type(publisher_->mpLuStatePubSocket));
}

TEST_F(PubHandlerTest, SecondBindKeepsTheFirst) {
  EXPECT_TRUE(publisher_->BindLuDataPubMq());
  EXPECT_TRUE(publisher_->BindLuStatePubMq());
  const MqSock_t* data = publisher_->mpLuDataPubSocket;
  const MqSock_t* state = publisher_->mpLuStatePubSocket;
  EXPECT_TRUE(publisher_->BindLuDataPubMq());
  EXPECT_TRUE(publisher_->BindLuStatePubMq());
  EXPECT_TRUE(publisher_->Init(nullptr));
  EXPECT_EQ(data, publisher_->mpLuDataPubSocket);
  EXPECT_EQ(state, publisher_->mpLuStatePubSocket);
  EXPECT_EQ(2, faults::Count(Call::Bind));
}

TEST_F(PubHandlerTest, InitTriesTheStateSocketAlthoughTheDataSocketFailed) {
  faults::Fail(Call::Bind, 1);
  EXPECT_FALSE(publisher_->Init(nullptr));
  EXPECT_EQ(nullptr, publisher_->mpLuDataPubSocket);
  EXPECT_NE(nullptr, publisher_->mpLuStatePubSocket);
  EXPECT_THAT(console_.Output(),
              Printed(kBaseUnit,
                      "\"Failed to bind to ipc:///run/shm/mq/ProbeLc1LoudnessDataPub-m2c3.ipc\""));
}

TEST_F(PubHandlerTest, InitReportsAFailedStateSocket) {
  faults::Fail(Call::Bind, 2);
  EXPECT_FALSE(publisher_->Init(nullptr));
  EXPECT_NE(nullptr, publisher_->mpLuDataPubSocket);
  EXPECT_EQ(nullptr, publisher_->mpLuStatePubSocket);
  EXPECT_TRUE(publisher_->Init(nullptr));
}

TEST_F(PubHandlerTest, SocketsAreDestroyedOneByOne) {
  publisher_->Init(nullptr);
  publisher_->DestroyLuDataPubMq();
  EXPECT_EQ(nullptr, publisher_->mpLuDataPubSocket);
  EXPECT_NE(nullptr, publisher_->mpLuStatePubSocket);
  publisher_->DestroyLuStatePubMq();
  EXPECT_EQ(nullptr, publisher_->mpLuStatePubSocket);
  publisher_->DestroyLuDataPubMq();
  publisher_->DestroyLuStatePubMq();
  EXPECT_EQ(2, faults::Count(Call::SockDestroy));
}

// A missing file is noticed at the second check.
void CheckFileTwice(cPubHandler& publisher) {
  publisher.TendFiles();
  publisher.TendFiles();
}

std::string PathOf(const std::string& endpoint) {
  return endpoint.substr(sizeof "ipc://" - 1);
}

TEST_F(PubHandlerTest, FilesThatAreGoneAreMadeAnewAndReported) {
  publisher_->Init(nullptr);
  mqtest::VerboseLogger();
  for (const std::string& endpoint : {DataEndpoint(), StateEndpoint()}) {
    std::filesystem::remove(PathOf(endpoint));
    CheckFileTwice(*publisher_);
    EXPECT_TRUE(std::filesystem::is_socket(PathOf(endpoint)));
  }
  for (const std::string& endpoint : {DataEndpoint(), StateEndpoint()})
    EXPECT_THAT(
        console_.Errors(),
        Logged("WARN", "PubHandler", "\"Bound anew to " + endpoint + ", whose file was gone\""));
}

TEST_F(PubHandlerTest, FileThatCannotBeMadeAnewIsReportedWithTheReason) {
  publisher_->BindLuDataPubMq();
  mqtest::VerboseLogger();
  const std::filesystem::path directory =
      std::filesystem::path(PathOf(DataEndpoint())).parent_path();
  std::filesystem::remove_all(directory);
  CheckFileTwice(*publisher_);
  EXPECT_THAT(console_.Errors(),
              Logged("WARN", "PubHandler",
                     "\"File of " + DataEndpoint() +
                         " is gone and cannot be bound anew: No such file or directory\""));
}

TEST_F(PubHandlerTest, WithoutAMeterSetTheFileIsTheStateSockets) {
  SetNumbers(0, 1);
  publisher_->Init(nullptr);
  mqtest::VerboseLogger();
  CheckFileTwice(*publisher_);
  std::filesystem::remove(PathOf(StateEndpoint()));
  CheckFileTwice(*publisher_);
  CheckFileTwice(*publisher_);
  Subscriber state(publisher_->mpLuStatePubSocket, StateEndpoint());
  EXPECT_TRUE(state.IsConnected());
  EXPECT_EQ(1u, mqtest::Occurrences(console_.Errors(), "|WARN|"));
}

// ----- the loudness-data message

TEST_F(PubHandlerTest, LoudnessDataMessageHasTwelveFramesInOrder) {
  Subscriber subscriber = SubscribeData();
  ASSERT_TRUE(subscriber.IsConnected());
  EXPECT_TRUE(publisher_->SendLoudnessData(kResults, 1, 5, 3));
  const Frames expected = {"LoudnessData", Bytes(-231), Bytes(-232), Bytes(-233),
                           Bytes(-234),    Bytes(57),   Bytes(-236), Bytes(-101),
                           Bytes(-102),    Bytes(1),    Bytes(5),    Bytes(3)};
  EXPECT_EQ(expected, subscriber.Next());
}

TEST_F(PubHandlerTest, StormOfSignalsLosesNoFrameOfLoudnessData) {
  Subscriber subscriber = SubscribeData();
  const LoudnessData_t data{1, 2, 3, 4, 5, 6, 7, 8};
  const Frames expected = {"LoudnessData", Bytes(1), Bytes(2), Bytes(3), Bytes(4),  Bytes(5),
                           Bytes(6),       Bytes(7), Bytes(8), Bytes(9), Bytes(10), Bytes(11)};
  SendUnderStorm(
      publisher_->mpLuDataPubSocket, [&] { publisher_->SendLoudnessData(data, 9, 10, 11); },
      [&] { EXPECT_EQ(expected, subscriber.Next()); });
}

TEST_F(PubHandlerTest, SignalBetweenTwoFramesOfLoudnessDataLosesNone) {
  Subscriber subscriber = SubscribeData();
  for (int frame = 1; frame <= 12; ++frame) {
    faults::Fail(Call::FrameSend, frame, EINTR);
    publisher_->SendLoudnessData(kResults, 1, 5, 3);
    EXPECT_EQ(12u, subscriber.Next().size()) << frame;
  }
}

TEST_F(PubHandlerTest, OnlyTheTwelfthFrameHasNoMoreAfterIt) {
  Subscriber subscriber = SubscribeData();
  publisher_->SendLoudnessData(kResults, 1, 5, 3);
  publisher_->SendLoudnessData(kResults, 1, 5, 3);
  ASSERT_EQ(12u, subscriber.Next().size());
  ASSERT_TRUE(mqtest::AwaitMessage(subscriber.Socket()));
  for (int frameNo = 1; frameNo <= 12; ++frameNo) {
    zframe_t* frame = zframe_recv(subscriber.Socket());
    EXPECT_EQ(frameNo < 12, zframe_more(frame) != 0) << "frame " << frameNo;
    zframe_destroy(&frame);
  }
  EXPECT_FALSE(mqtest::HasMessage(subscriber.Socket()));
}

TEST_F(PubHandlerTest, ValuesTravelAsTwoBytesLowByteFirst) {
  Subscriber subscriber = SubscribeData();
  struct {
    std::int16_t value;
    std::string bytes;
  } const cases[] = {
      {-990, "\x22\xfc"},
      {-9900, "\x54\xd9"},
      {0, std::string("\0\0", 2)},
      {1, std::string("\x01\0", 2)},
      {-1, "\xff\xff"},
      {std::numeric_limits<std::int16_t>::max(), "\xff\x7f"},
      {std::numeric_limits<std::int16_t>::min(), std::string("\0\x80", 2)},
  };
  for (const auto& [value, bytes] : cases) {
    const LoudnessData_t data{value, value, value, value, value, value, value, value};
    publisher_->SendLoudnessData(data, value, value, value);
    const Frames message = subscriber.Next();
    ASSERT_EQ(12u, message.size());
    for (std::size_t i = 1; i < message.size(); ++i)
      EXPECT_EQ(bytes, message[i]) << value << ", frame " << i + 1;
  }
}

TEST(PubHandlerFramesTest, FramesAreNamedInOrder) {
  std::vector<std::string> names;
  for (const LuDataFrame_t& frame : kLuDataFrames)
    names.push_back(frame.name);
  EXPECT_THAT(names,
              testing::ElementsAre("topic", "MaxMomentary", "Momentary", "ShortTerm", "Integrated",
                                   "Lra", "Program", "MaxPeak", "Peak", "ValidSrc", "Cmd", "ClId"));
}

TEST_F(PubHandlerDeathTest, LoudnessDataWithoutSocketStopsTheProcess) {
  publisher_->BindLuStatePubMq();
  EXPECT_DEATH(publisher_->SendLoudnessData(kResults, 1, 5, 3), "`__null != mpLuDataPubSocket'");
}

TEST_F(PubHandlerDeathTest, FrameThatCannotBeMadeStopsTheProcess) {
  const char* const texts[] = {"`__null != pTopicFrame'",      "`__null != pMaxMomentaryFrame'",
                               "`__null != pMomentaryFrame'",  "`__null != pShortTermFrame'",
                               "`__null != pIntegratedFrame'", "`__null != pLraFrame'",
                               "`__null != pProgramFrame'",    "`__null != pMaxPeakFrame'",
                               "`__null != pPeakFrame'",       "`__null != pValidSrcFrame'",
                               "`__null != pCmdFrame'",        "`__null != pClIdFrame'"};
  publisher_->BindLuDataPubMq();
  for (int i = 0; i < 12; ++i) {
    faults::Fail(Call::FrameNew, i + 1);
    EXPECT_DEATH(publisher_->SendLoudnessData(kResults, 1, 5, 3), texts[i]) << "frame " << i + 1;
  }
}

TEST_F(PubHandlerDeathTest, FrameThatCannotBeSentStopsTheProcess) {
  publisher_->BindLuDataPubMq();
  for (const int frameNo : {1, 7, 12}) {
    faults::Fail(Call::FrameSend, frameNo);
    EXPECT_DEATH(publisher_->SendLoudnessData(kResults, 1, 5, 3), "`0 == Result'") << frameNo;
  }
}

TEST_F(PubHandlerDeathTest, AllFramesAreMadeBeforeTheFirstIsSent) {
  publisher_->BindLuDataPubMq();
  faults::Fail(Call::FrameNew, 12);
  faults::Fail(Call::FrameSend, 1);
  EXPECT_DEATH(publisher_->SendLoudnessData(kResults, 1, 5, 3), "`__null != pClIdFrame'");
}

// ----- state messages

TEST_F(PubHandlerTest, JsonGoesOutOnTheStateSocket) {
  publisher_->Init(nullptr);
  Subscriber data(publisher_->mpLuDataPubSocket, DataEndpoint());
  Subscriber state(publisher_->mpLuStatePubSocket, StateEndpoint());
  EXPECT_TRUE(publisher_->SendJson("IOQVHwmLoudnessCmd_2", "{\"Command\":\"START\"}"));
  publisher_->SendLoudnessData(kResults, 1, 5, 3);
  EXPECT_EQ((Frames{"IOQVHwmLoudnessCmd_2", "{\"Command\":\"START\"}"}), state.Next());
  EXPECT_EQ("LoudnessData", data.Next()[0]);
}

TEST_F(PubHandlerTest, JsonWithAnythingMissingIsRefused) {
  publisher_->Init(nullptr);
  EXPECT_FALSE(publisher_->SendJson(nullptr, "{}"));
  EXPECT_FALSE(publisher_->SendJson("Topic", nullptr));
}

TEST_F(PubHandlerTest, RefusedJsonIsReported) {
  publisher_->Init(nullptr);
  faults::Fail(Call::SendPart);
  EXPECT_FALSE(publisher_->SendJson("Topic", "{}"));
  EXPECT_EQ(0, faults::Count(Call::SendLast));
  EXPECT_THAT(console_.Output(), Printed(kBaseUnit, "\"Failed to published: Topic/{}\""));
}

TEST_F(PubHandlerDeathTest, JsonWithoutSocketStopsTheProcess) {
  publisher_->BindLuDataPubMq();
  EXPECT_DEATH(publisher_->SendJson("Topic", "{}"), "`__null != mpLuStatePubSocket'");
}

// ----- exit

TEST_F(PubHandlerDeathTest, ExitWithBoundSocketsIsClean) {
  EXPECT_EXIT(
      {
        publisher_->Init(nullptr);
        dup2(STDERR_FILENO, STDOUT_FILENO);  // where CZMQ reports sockets that were left open
        std::exit(0);
      },
      testing::ExitedWithCode(0), testing::Not(testing::HasSubstr("dangling")));
}

}  // namespace
