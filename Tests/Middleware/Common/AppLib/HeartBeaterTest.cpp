// The client of the process monitor.

#include "HeartBeater.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "CzmqFaults.h"
#include "Emulation.h"
#include "MqTestKit.h"
#include "SignalStorm.h"

namespace {

using faults::Call;
using mqtest::Frames;
using mqtest::Logged;
using mqtest::Occurrences;
using mqtest::Printed;
using testing::HasSubstr;
using testing::Not;

constexpr char kUnit[] = "HeartBeater";
constexpr char kTcpInlet[] = "tcp://127.0.0.1:10000";
constexpr char kIpcInlet[] = "ipc:///run/shm/mq/hbMonPullMq.ipc";
constexpr char kBeat[] = "{\"HbKey\":\"QvOptLuCal1\",\"Version\":\"Telvon8-v1.9.3\",\"State\":1}";
constexpr int kSendMark = 1000;  // messages that a socket queues for an absent peer

// The monitor's end of the connection.
class Monitor {
 public:
  explicit Monitor(const char* endpoint) : socket_(zsock_new(ZMQ_PULL)) {
    EXPECT_NE(-1, zsock_bind(socket_, "%s", endpoint));
  }
  ~Monitor() { zsock_destroy(&socket_); }
  Monitor(const Monitor&) = delete;
  Monitor& operator=(const Monitor&) = delete;

  Frames Next() { return mqtest::Receive(socket_); }
  bool HasMore() { return mqtest::HasMessage(socket_); }

 private:
  zsock_t* socket_;
};

// A client that has neither a socket nor a text. For tests that end the process.
class HeartBeaterDeathTest : public testing::Test {
 protected:
  HeartBeaterDeathTest() {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    mqtest::MakeIpcDirectory();
    mqtest::VerboseLogger();
    client_ = cHeartBeater::GetInstance();
    cHeartBeater::mLogLevel = MsgLevel_Debug;
    faults::Reset();
  }

  ~HeartBeaterDeathTest() override {
    cHeartBeater::DeleteInstance();
    cHeartBeater::mLogLevel = MsgLevel_Warn;
  }

  bool SetBeat() {
    return client_->SetHeartBeatJson("QvOptLuCal1", "Telvon8-v1.9.3", PS_PROCESSING);
  }

  cHeartBeater* client_ = nullptr;
};

// The same fixture with the console captured.
class HeartBeaterTest : public HeartBeaterDeathTest {
 protected:
  mqtest::Console console_;
};

// ----- the instance

TEST(HeartBeaterInstanceTest, NothingExistsBeforeFirstUse) {
  EXPECT_EQ(nullptr, cHeartBeater::mpHeartBeater);
  EXPECT_EQ(30, cHeartBeater::mLogLevel);
}

TEST(HeartBeaterInstanceTest, ProcessStatesHaveTheirValues) {
  EXPECT_EQ(0, PS_NO_SHOW);
  EXPECT_EQ(1, PS_PROCESSING);
  EXPECT_EQ(2, PS_START_TIMEOUT);
  EXPECT_EQ(3, PS_FAULTED);
  EXPECT_EQ(4, PS_WAITING2);
  EXPECT_EQ(5, PS_ERROR);
  EXPECT_EQ(6, PS_NUM_STATUS_STATES);
}

TEST_F(HeartBeaterTest, NewClientHasNoSocketAndNoText) {
  EXPECT_EQ(client_, cHeartBeater::mpHeartBeater);
  EXPECT_EQ(client_, cHeartBeater::GetInstance());
  EXPECT_EQ(Logger::GetInstance(), cHeartBeater::mpLogger);
  EXPECT_EQ(nullptr, client_->pPushSocket);
  EXPECT_FALSE(client_->mbIsValidJson);
  EXPECT_FALSE(client_->mbSysStatusRepubRequired);
  EXPECT_EQ(512u, sizeof client_->ProcessBeat);
  EXPECT_EQ(std::string(512, '\0'), std::string(client_->ProcessBeat, 512));
}

TEST_F(HeartBeaterTest, DeletionClosesTheSocket) {
  client_->ConnectMqOverIpc();
  cHeartBeater::DeleteInstance();
  EXPECT_EQ(nullptr, cHeartBeater::mpHeartBeater);
  EXPECT_EQ(1, faults::Count(Call::SockDestroy));
  EXPECT_THAT(console_.Output(), Printed(kUnit, "\"Heart Beater MQ cleanup!!!\""));
  cHeartBeater::DeleteInstance();
  EXPECT_EQ(1, faults::Count(Call::SockDestroy));
}

TEST_F(HeartBeaterTest, ClientMadeAnewHasNoText) {
  SetBeat();
  cHeartBeater::DeleteInstance();
  client_ = cHeartBeater::GetInstance();
  EXPECT_FALSE(client_->mbIsValidJson);
  EXPECT_STREQ("", client_->ProcessBeat);
}

TEST_F(HeartBeaterDeathTest, ExitWithASocketIsClean) {
  EXPECT_EXIT(
      {
        client_->ConnectMqOverIpc();
        dup2(STDERR_FILENO, STDOUT_FILENO);  // where CZMQ reports sockets that were left open
        std::exit(0);
      },
      testing::ExitedWithCode(0),
      testing::AllOf(HasSubstr("Heart Beater MQ cleanup!!!"), Not(HasSubstr("dangling"))));
}

// ----- the heartbeat text

TEST_F(HeartBeaterTest, TextIsCompactInFixedOrder) {
  EXPECT_TRUE(SetBeat());
  EXPECT_TRUE(client_->mbIsValidJson);
  EXPECT_STREQ(kBeat, client_->ProcessBeat);
  EXPECT_EQ("", console_.Errors());
}

TEST_F(HeartBeaterTest, StateIsASignedNumber) {
  client_->SetHeartBeatJson("k", "v", PS_NO_SHOW);
  EXPECT_STREQ("{\"HbKey\":\"k\",\"Version\":\"v\",\"State\":0}", client_->ProcessBeat);
  client_->SetHeartBeatJson("k", "v", static_cast<ProcessStatus_e>(-3));
  EXPECT_STREQ("{\"HbKey\":\"k\",\"Version\":\"v\",\"State\":-3}", client_->ProcessBeat);
}

TEST_F(HeartBeaterTest, MissingVersionIsUnknownAndWarnedOf) {
  EXPECT_TRUE(client_->SetHeartBeatJson("k", nullptr, PS_PROCESSING));
  EXPECT_STREQ("{\"HbKey\":\"k\",\"Version\":\"Unknown\",\"State\":1}", client_->ProcessBeat);
  const std::string line = "\"HB Version not set by this process.!\"";
  EXPECT_THAT(console_.Errors(), Logged("WARN", kUnit, line));
  EXPECT_EQ(1u, Occurrences(console_.Errors(), line));
}

TEST_F(HeartBeaterTest, EmptyVersionStaysEmptyWithoutAWarning) {
  EXPECT_TRUE(client_->SetHeartBeatJson("k", "", PS_PROCESSING));
  EXPECT_STREQ("{\"HbKey\":\"k\",\"Version\":\"\",\"State\":1}", client_->ProcessBeat);
  EXPECT_EQ("", console_.Errors());
}

TEST_F(HeartBeaterTest, TextsAreEscaped) {
  client_->SetHeartBeatJson("a\"b\\", "%s\n", PS_PROCESSING);
  EXPECT_STREQ("{\"HbKey\":\"a\\\"b\\\\\",\"Version\":\"%s\\n\",\"State\":1}",
               client_->ProcessBeat);
}

TEST_F(HeartBeaterTest, TextIsCutAt510Characters) {
  const std::size_t frame = std::strlen("{\"HbKey\":\"\",\"Version\":\"v\",\"State\":1}");
  for (const std::size_t length : {509u, 510u, 511u, 512u, 2000u}) {
    const std::string key(length - frame, 'k');
    const std::string whole = "{\"HbKey\":\"" + key + "\",\"Version\":\"v\",\"State\":1}";
    ASSERT_EQ(length, whole.size());
    EXPECT_TRUE(client_->SetHeartBeatJson(key.c_str(), "v", PS_PROCESSING));
    EXPECT_TRUE(client_->mbIsValidJson);
    EXPECT_EQ(whole.substr(0, 510), client_->ProcessBeat) << length;
    EXPECT_EQ('\0', client_->ProcessBeat[510]) << length;
    EXPECT_EQ('\0', client_->ProcessBeat[511]) << length;
  }
}

TEST_F(HeartBeaterTest, ShorterTextLeavesNothingOfALongerOne) {
  client_->SetHeartBeatJson(std::string(400, 'k').c_str(), "v", PS_PROCESSING);
  client_->SetHeartBeatJson("k", "v", PS_PROCESSING);
  const std::size_t length = std::strlen(client_->ProcessBeat);
  EXPECT_EQ(std::string(512 - length, '\0'),
            std::string(client_->ProcessBeat + length, 512 - length));
}

TEST_F(HeartBeaterTest, MissingKeyStopsHeartbeatsUntilTheNextText) {
  Monitor monitor(kIpcInlet);
  client_->ConnectMqOverIpc();
  SetBeat();
  EXPECT_FALSE(client_->SetHeartBeatJson(nullptr, "v", PS_PROCESSING));
  EXPECT_FALSE(client_->mbIsValidJson);
  EXPECT_STREQ(kBeat, client_->ProcessBeat);
  EXPECT_FALSE(client_->SendBeat());
  EXPECT_TRUE(client_->SetHeartBeatJson("next", "v", PS_PROCESSING));
  EXPECT_TRUE(client_->SendBeat());
  EXPECT_EQ((Frames{"HbProc", "{\"HbKey\":\"next\",\"Version\":\"v\",\"State\":1}"}),
            monitor.Next());
}

// ----- connecting

TEST_F(HeartBeaterTest, TcpConnectsToThisBoardWithoutAnAddress) {
  Monitor monitor(kTcpInlet);
  SetBeat();
  EXPECT_TRUE(client_->ConnectMqOverTcp(nullptr));
  EXPECT_EQ(ZMQ_PUSH, zsock_type(client_->pPushSocket));
  EXPECT_TRUE(client_->SendBeat());
  EXPECT_EQ((Frames{"HbProc", kBeat}), monitor.Next());
  EXPECT_THAT(console_.Output(),
              Logged("DEBUG", kUnit, "\"Tryig to connect tcp://127.0.0.1:10000\""));
  EXPECT_THAT(console_.Output(), Logged("INFO", kUnit, "\"Connected to tcp://127.0.0.1:10000\""));
}

TEST_F(HeartBeaterTest, TcpConnectsToTheGivenAddress) {
  Monitor monitor("tcp://127.0.0.2:10000");
  SetBeat();
  EXPECT_TRUE(client_->ConnectMqOverTcp("127.0.0.2"));
  client_->SendBeat();
  EXPECT_EQ((Frames{"HbProc", kBeat}), monitor.Next());
}

TEST_F(HeartBeaterTest, IpcConnectsInTheUnitsDirectory) {
  Monitor monitor(kIpcInlet);
  SetBeat();
  EXPECT_TRUE(client_->ConnectMqOverIpc());
  EXPECT_EQ(ZMQ_PUSH, zsock_type(client_->pPushSocket));
  client_->SendBeat();
  EXPECT_EQ((Frames{"HbProc", kBeat}), monitor.Next());
  EXPECT_THAT(console_.Output(),
              Logged("DEBUG", kUnit, std::string("\"Tryig to connect ") + kIpcInlet + "\""));
  EXPECT_THAT(console_.Output(),
              Logged("INFO", kUnit, std::string("\"Connected to ") + kIpcInlet + "\""));
}

TEST_F(HeartBeaterTest, SecondConnectionIsRefusedAndTheFirstKept) {
  Monitor monitor(kTcpInlet);
  SetBeat();
  client_->ConnectMqOverTcp(nullptr);
  const zsock_t* first = client_->pPushSocket;
  EXPECT_FALSE(client_->ConnectMqOverTcp("127.0.0.2"));
  EXPECT_FALSE(client_->ConnectMqOverIpc());
  EXPECT_EQ(first, client_->pPushSocket);
  client_->SendBeat();
  EXPECT_EQ((Frames{"HbProc", kBeat}), monitor.Next());
  const std::string line = "\"Seems this instance already connected to ";
  EXPECT_THAT(console_.Errors(), Logged("ERROR", kUnit, line + "tcp://127.0.0.2:10000\""));
  EXPECT_THAT(console_.Errors(), Logged("ERROR", kUnit, line + kIpcInlet + "\""));
}

TEST_F(HeartBeaterTest, RefusedConnectionLeavesNoSocket) {
  SetBeat();
  EXPECT_FALSE(client_->ConnectMqOverTcp("no address"));
  EXPECT_EQ(nullptr, client_->pPushSocket);
  EXPECT_EQ(1, faults::Count(Call::SockDestroy));
  EXPECT_FALSE(client_->SendBeat());
  faults::Fail(Call::Connect);
  EXPECT_FALSE(client_->ConnectMqOverIpc());
  EXPECT_EQ(nullptr, client_->pPushSocket);
  EXPECT_EQ(2, faults::Count(Call::SockDestroy));
  EXPECT_THAT(console_.Errors(),
              Logged("ERROR", kUnit, "\"Failed to connect to tcp://no address:10000\""));
  EXPECT_THAT(console_.Errors(),
              Logged("ERROR", kUnit, std::string("\"Failed to connect to ") + kIpcInlet + "\""));
}

TEST_F(HeartBeaterTest, SocketThatCannotBeMadeIsNotAConnection) {
  faults::Fail(Call::SockNew);
  EXPECT_FALSE(client_->ConnectMqOverTcp(nullptr));
  faults::Fail(Call::SockNew);
  EXPECT_FALSE(client_->ConnectMqOverIpc());
  EXPECT_EQ(nullptr, client_->pPushSocket);
  EXPECT_EQ("", console_.Output());
}

TEST_F(HeartBeaterTest, ExceptionsEndInTheLogAndLeaveNoSocket) {
  for (const Call call : {Call::SockNew, Call::Connect}) {
    faults::ThrowBadAlloc(call);
    EXPECT_FALSE(client_->ConnectMqOverTcp(nullptr));
    faults::ThrowRuntimeError(call);
    EXPECT_FALSE(client_->ConnectMqOverIpc());
  }
  EXPECT_EQ(nullptr, client_->pPushSocket);
  EXPECT_EQ(2, faults::Count(Call::SockDestroy));  // the sockets whose connect threw
  EXPECT_THAT(console_.Errors(),
              Logged("CRITICAL", kUnit, "\"Exception Bad alloc std::bad_alloc\""));
  EXPECT_THAT(console_.Errors(), Logged("CRITICAL", kUnit, "\"Exception provoked by the test\""));
}

TEST_F(HeartBeaterTest, ClosingKeepsTheText) {
  SetBeat();
  client_->ConnectMqOverIpc();
  client_->CloseMq();
  EXPECT_EQ(nullptr, client_->pPushSocket);
  EXPECT_TRUE(client_->mbIsValidJson);
  EXPECT_STREQ(kBeat, client_->ProcessBeat);
  EXPECT_FALSE(client_->SendBeat());
  client_->CloseMq();
  EXPECT_THAT(console_.Output(), Printed(kUnit, "\"Heart Beater MQ cleanup!!!\""));
  EXPECT_EQ(1u, Occurrences(console_.Output(), "cleanup"));
}

TEST_F(HeartBeaterTest, ClosedClientCanConnectAgain) {
  Monitor monitor(kIpcInlet);
  SetBeat();
  client_->ConnectMqOverTcp(nullptr);
  client_->CloseMq();
  EXPECT_TRUE(client_->ConnectMqOverIpc());
  client_->SendBeat();
  EXPECT_EQ((Frames{"HbProc", kBeat}), monitor.Next());
}

// ----- messages

TEST_F(HeartBeaterTest, NothingIsSentBeforeThereIsAText) {
  Monitor monitor(kIpcInlet);
  client_->ConnectMqOverIpc();
  EXPECT_FALSE(client_->SendBeat());
  client_->RequestRepub();
  EXPECT_EQ("", console_.Errors());
  SetBeat();
  EXPECT_TRUE(client_->SendBeat());
  EXPECT_EQ((Frames{"HbProc", kBeat}), monitor.Next());
  EXPECT_FALSE(monitor.HasMore());
}

TEST_F(HeartBeaterTest, NothingIsSentOrLoggedWithoutASocket) {
  SetBeat();
  EXPECT_FALSE(client_->SendBeat());
  client_->RequestRepub();
  client_->SendRebootCommand();
  client_->SendSwUpgradeCommand();
  EXPECT_EQ(0, faults::Count(Call::SendPart));
  EXPECT_EQ(0, faults::Count(Call::SendLast));
  EXPECT_EQ("", console_.Errors());
}

TEST_F(HeartBeaterTest, CutTextIsSentAllTheSame) {
  Monitor monitor(kIpcInlet);
  client_->ConnectMqOverIpc();
  client_->SetHeartBeatJson(std::string(1000, 'k').c_str(), "v", PS_PROCESSING);
  EXPECT_TRUE(client_->SendBeat());
  EXPECT_EQ((Frames{"HbProc", "{\"HbKey\":\"" + std::string(510 - 10, 'k')}), monitor.Next());
}

TEST_F(HeartBeaterTest, RepublicationRequestIsOneFrame) {
  Monitor monitor(kIpcInlet);
  client_->ConnectMqOverIpc();
  SetBeat();
  client_->RequestRepub();
  EXPECT_EQ(Frames{"HbReqRepubSysStatus"}, monitor.Next());
}

TEST_F(HeartBeaterTest, CommandsAreSentEvenWithoutAText) {
  Monitor monitor(kIpcInlet);
  client_->ConnectMqOverIpc();
  client_->SendRebootCommand();
  client_->SendSwUpgradeCommand();
  EXPECT_EQ((Frames{"HbFwdAppCmd", "{\"Command\":9}"}), monitor.Next());
  EXPECT_EQ((Frames{"HbFwdAppCmd", "{\"Command\":100}"}), monitor.Next());
}

TEST_F(HeartBeaterTest, NoOperationTouchesTheRepublicationFlag) {
  client_->mbSysStatusRepubRequired = true;
  SetBeat();
  client_->ConnectMqOverIpc();
  client_->SendBeat();
  client_->RequestRepub();
  client_->CloseMq();
  EXPECT_TRUE(client_->mbSysStatusRepubRequired);
}

TEST_F(HeartBeaterTest, RefusedFrameIsReportedAndNothingIsSentAfterIt) {
  client_->ConnectMqOverIpc();
  SetBeat();
  struct {
    Call refused;
    void (*send)(cHeartBeater&);
    const char* line;
    int lastFrames;  // attempts to send a final frame
  } const cases[] = {
      {Call::SendPart, [](cHeartBeater& client) { EXPECT_FALSE(client.SendBeat()); },
       "\"Failed to send HB Topic.\"", 0},
      {Call::SendLast, [](cHeartBeater& client) { EXPECT_FALSE(client.SendBeat()); },
       "\"Failed to send HB message.\"", 1},
      {Call::SendLast, [](cHeartBeater& client) { client.RequestRepub(); },
       "\"Failed to send HB Topic.\"", 1},
      {Call::SendPart, [](cHeartBeater& client) { client.SendRebootCommand(); },
       "\"Failed to send App cmd Topic.\"", 0},
      {Call::SendLast, [](cHeartBeater& client) { client.SendSwUpgradeCommand(); },
       "\"Failed to send App cmd message.\"", 1},
  };
  for (const auto& refused : cases) {
    faults::Reset();
    faults::Fail(refused.refused);
    refused.send(*client_);
    EXPECT_EQ(refused.lastFrames, faults::Count(Call::SendLast)) << refused.line;
  }
  for (const auto& refused : cases)
    EXPECT_THAT(console_.Errors(), Logged("ERROR", kUnit, refused.line));
  EXPECT_EQ(sizeof cases / sizeof cases[0], Occurrences(console_.Errors(), "Failed"));
}

TEST_F(HeartBeaterTest, StormOfSignalsLosesNoFrame) {
  Monitor monitor(kIpcInlet);
  SetBeat();
  client_->ConnectMqOverIpc();
  SendUnderStorm(
      client_->pPushSocket, [&] { EXPECT_TRUE(client_->SendBeat()); },
      [&] {
        EXPECT_EQ((Frames{"HbProc", kBeat}), monitor.Next());
      });
}

TEST_F(HeartBeaterTest, SignalAtAnyFrameLosesNone) {
  Monitor monitor(kIpcInlet);
  SetBeat();
  client_->ConnectMqOverIpc();
  for (const Call call : {Call::SendPart, Call::SendLast}) {
    faults::Fail(call, 1, EINTR);
    EXPECT_TRUE(client_->SendBeat());
    EXPECT_EQ((Frames{"HbProc", kBeat}), monitor.Next());
    faults::Fail(call, 1, EINTR);
    client_->SendRebootCommand();
    EXPECT_EQ((Frames{"HbFwdAppCmd", "{\"Command\":9}"}), monitor.Next());
  }
  faults::Fail(Call::SendLast, 1, EINTR);
  client_->RequestRepub();
  EXPECT_EQ((Frames{"HbReqRepubSysStatus"}), monitor.Next());
}

// The monitor is absent; each attempt to connect is an event.
TEST_F(HeartBeaterTest, SendsTakeNoteOfWhatHappensToTheLink) {
  SetBeat();
  ASSERT_TRUE(client_->ConnectMqOverIpc());
  void (*const sends[])(cHeartBeater&) = {
      [](cHeartBeater& client) { client.SendBeat(); },
      [](cHeartBeater& client) { client.RequestRepub(); },
      [](cHeartBeater& client) { client.SendRebootCommand(); },
  };
  for (const auto& send : sends) {
    faults::Reset();
    send(*client_);
    EXPECT_GT(faults::Count(Call::EventReceive), 0);
  }
}

TEST_F(HeartBeaterTest, ExceptionInACommandEndsOnStandardError) {
  client_->ConnectMqOverIpc();
  faults::ThrowRuntimeError(Call::SendPart);
  client_->SendRebootCommand();
  EXPECT_THAT(console_.Errors(), Printed(kUnit, "\"Exception provoked by the test\""));
}

TEST_F(HeartBeaterTest, LinesBelowTheThresholdAreNotWritten) {
  cHeartBeater::mLogLevel = MsgLevel_Critical;
  client_->ConnectMqOverTcp("no address");
  client_->SetHeartBeatJson("k", nullptr, PS_PROCESSING);
  EXPECT_EQ("", console_.Output());
  EXPECT_EQ("", console_.Errors());
}

TEST_F(HeartBeaterTest, NothingIsLoggedWithoutALogger) {
  cHeartBeater::mpLogger = nullptr;
  client_->ConnectMqOverTcp("no address");
  client_->SetHeartBeatJson("k", nullptr, PS_PROCESSING);
  EXPECT_EQ("", console_.Output());
  EXPECT_EQ("", console_.Errors());
}

// ----- absent monitor

TEST_F(HeartBeaterTest, AbsentMonitorNeverKeepsTheSenderWaiting) {
  constexpr int kBeats = 5000;
  using Clock = std::chrono::steady_clock;
  client_->ConnectMqOverTcp(nullptr);
  SetBeat();
  const Clock::time_point start = Clock::now();
  int accepted = 0;
  for (int i = 0; i < kBeats; ++i)
    accepted += client_->SendBeat() ? 1 : 0;
  EXPECT_LT(Clock::now() - start, std::chrono::seconds(5 * kSlowness));
  EXPECT_EQ(kSendMark, accepted);
  EXPECT_EQ(kSendMark, faults::Count(Call::SendLast));
  EXPECT_THAT(console_.Errors(), Logged("ERROR", kUnit, "\"Failed to send HB Topic.\""));
  EXPECT_EQ(static_cast<std::size_t>(kBeats - kSendMark),
            Occurrences(console_.Errors(), "\"Failed to send HB Topic.\"\n"));
}

TEST_F(HeartBeaterTest, HeartbeatsResumeWhenTheMonitorComes) {
  client_->ConnectMqOverIpc();
  SetBeat();
  while (client_->SendBeat()) {
  }
  Monitor monitor(kIpcInlet);
  for (int i = 0; i < kSendMark; ++i)
    ASSERT_EQ((Frames{"HbProc", kBeat}), monitor.Next()) << i;
  client_->SetHeartBeatJson("resumed", "v", PS_PROCESSING);
  EXPECT_TRUE(client_->SendBeat());
  EXPECT_EQ((Frames{"HbProc", "{\"HbKey\":\"resumed\",\"Version\":\"v\",\"State\":1}"}),
            monitor.Next());
}

TEST_F(HeartBeaterTest, SlowMonitorGetsWholeHeartbeatsOnly) {
  constexpr int kReceived = 20000;
  client_->ConnectMqOverIpc();
  SetBeat();
  cHeartBeater::mLogLevel = MsgLevel_None;
  while (client_->SendBeat()) {
  }
  Monitor monitor(kIpcInlet);
  std::atomic<bool> isDone{false};
  int whole = 0;
  // The queue is full most of the time, so the monitor may make room at any point of a send.
  std::thread reader([&] {
    for (int i = 0; i < kReceived; ++i)
      whole += monitor.Next() == Frames{"HbProc", kBeat} ? 1 : 0;
    isDone = true;
  });
  int refused = 0;
  while (!isDone)
    refused += client_->SendBeat() ? 0 : 1;
  reader.join();
  EXPECT_EQ(kReceived, whole);
  EXPECT_GT(refused, 0);
  // Closed before the monitor's socket: libzmq 4.3 aborts if a connection breaks while its socket
  // closes with a partly sent message.
  cHeartBeater::DeleteInstance();
}

// ----- application commands

TEST(HeartBeaterCommandTest, OnlyAnObjectWithAnIntegerCommandIsRead) {
  struct {
    const char* text;
    int command;
  } const cases[] = {
      {"{\"Command\":9}", 9},
      {"{\"Command\":100}", 100},
      {"{\"Command\":0}", 0},
      {"{\"Command\":-7}", -7},
      {" {\"Other\":1, \"Command\" : 9} ", 9},
      {"{\"Command\":9,\"Command\":100}", 9},
      {"{\"Command\":2147483647}", 2147483647},
      {"{\"Command\":-2147483648}", -2147483647 - 1},
      {"{\"Command\":2147483648}", -1},
      {"{\"Command\":\"9\"}", -1},
      {"{\"Command\":9.0}", -1},
      {"{\"Command\":9e0}", -1},
      {"{\"Command\":true}", -1},
      {"{\"Command\":null}", -1},
      {"{\"Command\":[9]}", -1},
      {"{\"command\":9}", -1},
      {"{\"Sub\":{\"Command\":9}}", -1},
      {"{}", -1},
      {"[9]", -1},
      {"9", -1},
      {"", -1},
      {"{\"Command\":9", -1},
      {"{\"Command\":9} x", -1},
  };
  mqtest::Console console;
  for (const auto& [text, command] : cases)
    EXPECT_EQ(command, cHeartBeater::ParseAppCommand(text)) << text;
  EXPECT_EQ(-1, cHeartBeater::ParseAppCommand(nullptr));
  EXPECT_EQ("", console.Output());
  EXPECT_EQ("", console.Errors());
}

TEST(HeartBeaterCommandTest, NestedCommandIsReadAsFarAsItIsTaken) {
  const auto command = [](std::size_t levels) {
    const std::string text =
        "{\"Deep\":" + std::string(levels, '[') + std::string(levels, ']') + ",\"Command\":9}";
    return cHeartBeater::ParseAppCommand(text.c_str());
  };
  EXPECT_EQ(9, command(10));
  EXPECT_EQ(-1, command(1000000));
  EXPECT_EQ(-1, cHeartBeater::ParseAppCommand(std::string(1000000, '[').c_str()));
}

}  // namespace
