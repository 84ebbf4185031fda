// The reactor's readers, timers and loop.

#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstring>
#include <deque>
#include <memory>
#include <thread>

#include "AllocationCount.h"
#include "CzmqFaults.h"
#include "MqReactor.h"
#include "MqTestKit.h"

namespace {

using faults::Call;
using mqtest::Frames;
using mqtest::Logged;
using mqtest::Publisher;
using testing::ElementsAre;

constexpr char kUnit[] = "MqReactor";
constexpr char kIpcName[] = "mqReactorLoopTest.ipc";
constexpr char kMissing[] = "(null)";
constexpr bool kText = false;
constexpr bool kBinary = true;

// The messages that the handlers received, and the results that they return; 0 if there is none.
std::vector<Frames> gMessages;
std::deque<int> gResults;

int NextResult() {
  if (gResults.empty())
    return 0;
  const int result = gResults.front();
  gResults.pop_front();
  return result;
}

int HandleText(const char* topic, const char* data) {
  gMessages.push_back({topic, data != nullptr ? data : kMissing});
  return NextResult();
}

int HandleBinary(const char* topic, zmsg_t* message) {
  Frames frames = {topic};
  for (zframe_t* frame = zmsg_first(message); frame != nullptr; frame = zmsg_next(message))
    frames.emplace_back(reinterpret_cast<const char*>(zframe_data(frame)), zframe_size(frame));
  gMessages.push_back(frames);
  return NextResult();
}

// Counts its calls in the int that the argument points to. The third call ends the loop.
int EndAtThirdCall(zloop_t*, int, void* argument) {
  int& calls = *static_cast<int*>(argument);
  return ++calls == 3 ? -1 : 0;
}

zloop_t* gLoopToEnd = nullptr;  // the loop under test, for a handler that ends it

int CountCall(zloop_t*, int, void* argument) {
  ++*static_cast<int*>(argument);
  return 0;
}

int EndLoop(zloop_t*, int, void*) {
  return -1;
}

int Interrupt(zloop_t*, int, void*) {
  std::raise(SIGTERM);
  return 0;
}

// A reactor connected to a publisher with both sockets. For tests that end the process.
class MqReactorLoopDeathTest : public testing::Test {
 protected:
  MqReactorLoopDeathTest() {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    mqtest::MakeIpcDirectory();
    MqReactor::mpLogger = mqtest::VerboseLogger();
    MqReactor::SetLogLevel(MsgLevel_Debug);
    publisher_ = std::make_unique<Publisher>(kIpcName);
    reactor_ = std::make_unique<MqReactor>();
    reactor_->SetReactorReader(HandleText);
    reactor_->SetReactorReaderForBinaryData(HandleBinary);
    Connect("Text", kText);
    Connect("Binary", kBinary);
    gMessages.clear();
    gResults.clear();
    faults::Reset();
  }

  ~MqReactorLoopDeathTest() override {
    zsys_interrupted = 0;
    MqReactor::mpLogger = nullptr;
    MqReactor::SetLogLevel(MsgLevel_Warn);
  }

  void Connect(const char* topic, bool binary) {
    char topics[1][128] = {};
    std::snprintf(topics[0], sizeof topics[0], "%s", topic);
    ASSERT_TRUE(reactor_->AddMqSubsOverIpc(kIpcName, topics, 1, binary));
    ASSERT_EQ(std::string("+") + topic, publisher_->NextChange());
  }

  // Publishes and waits until the message is there to be read.
  void Deliver(const Frames& message, zsock_t* socket) {
    publisher_->Publish(message);
    ASSERT_TRUE(mqtest::AwaitMessage(socket));
  }
  void DeliverText(const Frames& message) { Deliver(message, reactor_->mpSock); }
  void DeliverBinary(const Frames& message) { Deliver(message, reactor_->mpSockBin); }

  int ReadText() {
    return MqReactor::ReaderCallback(reactor_->mpLoop, reactor_->mpSock, reactor_.get());
  }
  int ReadBinary() {
    return MqReactor::ReaderCallbackForBinaryData(reactor_->mpLoop, reactor_->mpSockBin,
                                                  reactor_.get());
  }

  bool Run() { return reactor_->StartLoop(MQ_DATA_TYPE_STRING_AND_BINARY); }
  bool RunDisturbedBy(int signal);

  std::unique_ptr<Publisher> publisher_;
  std::unique_ptr<MqReactor> reactor_;
};

// The same fixture with the console captured.
class MqReactorLoopTest : public MqReactorLoopDeathTest {
 protected:
  mqtest::Console console_;
};

// ----- readers

TEST_F(MqReactorLoopTest, TextReaderHandsOverTopicAndData) {
  DeliverText({"Text-1", "data"});
  EXPECT_EQ(0, ReadText());
  EXPECT_THAT(gMessages, ElementsAre(Frames{"Text-1", "data"}));
}

TEST_F(MqReactorLoopTest, TextMessageOfOneFrameHasNoData) {
  DeliverText({"Text"});
  EXPECT_EQ(0, ReadText());
  EXPECT_THAT(gMessages, ElementsAre(Frames{"Text", kMissing}));
}

TEST_F(MqReactorLoopTest, EmptyDataIsNotMissing) {
  DeliverText({"Text", ""});
  ReadText();
  EXPECT_THAT(gMessages, ElementsAre(Frames{"Text", ""}));
}

TEST_F(MqReactorLoopTest, FurtherFramesOfATextMessageAreDropped) {
  DeliverText({"Text", "data", "more", "and more"});
  ReadText();
  DeliverText({"Text", "next"});
  ReadText();
  EXPECT_THAT(gMessages, ElementsAre(Frames{"Text", "data"}, Frames{"Text", "next"}));
}

TEST_F(MqReactorLoopTest, FramesOfAnEndlessMessageAreDroppedALittleAtATime) {
  Frames message(10000, "x");
  message[0] = "Text";
  DeliverText(message);
  ReadText();
  EXPECT_THAT(gMessages, ElementsAre(Frames{"Text", "x"}));
  DeliverText({"Text", "next"});
  int calls = 1;
  while (gMessages.size() == 1 && mqtest::AwaitMessage(reactor_->mpSock)) {
    EXPECT_EQ(0, ReadText());
    ++calls;
  }
  EXPECT_THAT(gMessages, ElementsAre(Frames{"Text", "x"}, Frames{"Text", "next"}));
  EXPECT_GE(calls, 10);
}

TEST_F(MqReactorLoopTest, FramesBeyondThoseThatAnyMessageHasAreDropped) {
  Frames message(100, "x");
  message[0] = "Binary";
  DeliverBinary(message);
  ReadBinary();
  ReadBinary();
  ASSERT_EQ(1u, gMessages.size());
  EXPECT_EQ(64u, gMessages[0].size());
  DeliverBinary({"Binary", "next"});
  ReadBinary();
  EXPECT_EQ((Frames{"Binary", "next"}), gMessages.back());
}

TEST_F(MqReactorLoopTest, MessageWithATopicOverTheLongestIsDroppedWithALogLine) {
  constexpr std::size_t kLongestTopic = 4096;
  for (const std::size_t size : {kLongestTopic, kLongestTopic + 1}) {
    DeliverText({"Text" + std::string(size - std::strlen("Text"), 'x'), "data"});
    EXPECT_EQ(0, ReadText());
    DeliverBinary({"Binary" + std::string(size - std::strlen("Binary"), 'x'), "data"});
    EXPECT_EQ(0, ReadBinary());
  }
  std::vector<std::size_t> topics;
  for (const Frames& message : gMessages)
    topics.push_back(message.front().size());
  EXPECT_THAT(topics, ElementsAre(kLongestTopic, kLongestTopic));
  const std::string line = "\"Message dropped: topic of 4097 bytes\"";
  EXPECT_THAT(console_.Errors(), Logged("WARN", kUnit, line));
  EXPECT_EQ(2u, mqtest::Occurrences(console_.Errors(), line));
}

TEST_F(MqReactorLoopTest, BinaryReaderHandsOverTopicAndTheOtherFrames) {
  const std::string bytes("\0\xff\0\x01", 4);
  DeliverBinary({"Binary-1", bytes, "", "last"});
  EXPECT_EQ(0, ReadBinary());
  EXPECT_THAT(gMessages, ElementsAre(Frames{"Binary-1", bytes, "", "last"}));
}

TEST_F(MqReactorLoopTest, BinaryMessageOfOneFrameHasNoOtherFrames) {
  DeliverBinary({"Binary"});
  EXPECT_EQ(0, ReadBinary());
  EXPECT_THAT(gMessages, ElementsAre(Frames{"Binary"}));
}

TEST_F(MqReactorLoopTest, OneCallReadsOneMessage) {
  publisher_->Publish({"Text", "first"});
  publisher_->Publish({"Text", "second"});
  ASSERT_TRUE(mqtest::AwaitMessage(reactor_->mpSock));
  ReadText();
  EXPECT_THAT(gMessages, ElementsAre(Frames{"Text", "first"}));
  EXPECT_EQ((Frames{"Text", "second"}), mqtest::Receive(reactor_->mpSock));
}

TEST_F(MqReactorLoopTest, MessageIsLeftUnreadWithoutAHandler) {
  reactor_->SetReactorReader(nullptr);
  reactor_->SetReactorReaderForBinaryData(nullptr);
  DeliverText({"Text", "data"});
  DeliverBinary({"Binary", "data"});
  EXPECT_EQ(0, ReadText());
  EXPECT_EQ(0, ReadBinary());
  zsys_interrupted = 1;
  EXPECT_EQ(-1, ReadText());
  EXPECT_EQ(-1, ReadBinary());
  zsys_interrupted = 0;
  EXPECT_EQ((Frames{"Text", "data"}), mqtest::Receive(reactor_->mpSock));
  EXPECT_EQ((Frames{"Binary", "data"}), mqtest::Receive(reactor_->mpSockBin));
}

MqReactor* gReactorToClose = nullptr;

TEST_F(MqReactorLoopTest, HandlerMayCloseTheSockets) {
  gReactorToClose = reactor_.get();
  reactor_->SetReactorReader([](const char*, const char*) {
    gReactorToClose->CloseMq();
    return -1;
  });
  DeliverText({"Text", "data"});
  EXPECT_EQ(-1, ReadText());
  EXPECT_FALSE(reactor_->IsValidReactor());
}

// There must be no error message and no poll of a destroyed socket.
TEST_F(MqReactorLoopTest, HandlerMayCloseTheSocketsAndGoOn) {
  gReactorToClose = reactor_.get();
  reactor_->SetReactorReader([](const char*, const char*) {
    gReactorToClose->CloseMq();
    return 0;
  });
  int calls = 0;
  reactor_->AddTimer(EndAtThirdCall, &calls, 50, 0);
  DeliverText({"Text", "data"});
  EXPECT_TRUE(Run());
  EXPECT_FALSE(reactor_->IsValidReactor());
  EXPECT_EQ(3, calls);
  EXPECT_EQ(1, faults::Count(Call::LoopStart));
}

TEST_F(MqReactorLoopTest, MessageIsLeftUnreadWithoutAReactor) {
  DeliverText({"Text", "data"});
  EXPECT_EQ(0, MqReactor::ReaderCallback(reactor_->mpLoop, reactor_->mpSock, nullptr));
  EXPECT_EQ(0, MqReactor::ReaderCallbackForBinaryData(reactor_->mpLoop, reactor_->mpSock, nullptr));
  zsys_interrupted = 1;
  EXPECT_EQ(-1, MqReactor::ReaderCallback(reactor_->mpLoop, reactor_->mpSock, nullptr));
  EXPECT_EQ(-1,
            MqReactor::ReaderCallbackForBinaryData(reactor_->mpLoop, reactor_->mpSock, nullptr));
  EXPECT_TRUE(mqtest::HasMessage(reactor_->mpSock));
}

TEST_F(MqReactorLoopTest, OnlyMinusOneEndsTheLoopAndIsLogged) {
  struct {
    int handlerResult;
    int readerResult;
  } const cases[] = {{0, 0}, {1, 0}, {-2, 0}, {-1, -1}};
  for (const auto& [handlerResult, readerResult] : cases) {
    gResults = {handlerResult, handlerResult};
    DeliverText({"Text", "data"});
    EXPECT_EQ(readerResult, ReadText()) << handlerResult;
    DeliverBinary({"Binary", "data"});
    EXPECT_EQ(readerResult, ReadBinary()) << handlerResult;
  }
  const std::string line = "\"Got rv = -1. Exiting from reactor loop ...\"";
  EXPECT_THAT(console_.Errors(), Logged("ERROR", kUnit, line));
  EXPECT_EQ(2u, mqtest::Occurrences(console_.Errors(), "Got rv"));
}

TEST_F(MqReactorLoopTest, InterruptEndsTheLoopAfterTheMessage) {
  DeliverText({"Text", "data"});
  DeliverBinary({"Binary", "data"});
  zsys_interrupted = 1;
  EXPECT_EQ(-1, ReadText());
  EXPECT_EQ(-1, ReadBinary());
  EXPECT_EQ(2u, gMessages.size());
  EXPECT_EQ("", console_.Errors());
}

TEST_F(MqReactorLoopTest, SignalWhileReadingLosesNoMessage) {
  DeliverText({"Text", "data"});
  faults::Fail(Call::FrameReceive, 1, EINTR);
  EXPECT_EQ(0, ReadText());
  EXPECT_THAT(gMessages, ElementsAre(Frames{"Text", "data"}));
}

TEST_F(MqReactorLoopDeathTest, ReaderWithoutMessageStopsTheProcess) {
  EXPECT_DEATH(ReadText(), "`nullptr != pMessage'");
  EXPECT_DEATH(ReadBinary(), "`nullptr != pMessage'");
}

TEST_F(MqReactorLoopDeathTest, MessageWithoutTopicStopsTheProcess) {
  DeliverText({"Text", "data"});
  DeliverBinary({"Binary", "data"});
  faults::Fail(Call::PopText);
  EXPECT_DEATH(ReadText(), "`nullptr != cpTopic'");
  EXPECT_DEATH(ReadBinary(), "`nullptr != cpTopic'");
}

// ----- registration

TEST_F(MqReactorLoopTest, ReadersAreRegisteredByType) {
  struct {
    int type;
    bool result;
    int readers;
  } const cases[] = {
      {MQ_DATA_TYPE_STRING, true, 1},
      {MQ_DATA_TYPE_BINARY, true, 1},
      {MQ_DATA_TYPE_STRING_AND_BINARY, true, 2},
      {MQ_DATA_TYPE_STATES, false, 0},
      {0, false, 0},
  };
  for (const auto& [type, result, readers] : cases) {
    faults::Reset();
    EXPECT_EQ(result, reactor_->SetMqSubsReader(static_cast<MqDataType_e>(type))) << type;
    EXPECT_EQ(readers, faults::Count(Call::LoopReader)) << type;
    EXPECT_EQ(readers, faults::Count(Call::LoopTolerant)) << type;
  }
  EXPECT_THAT(console_.Output(), Logged("DEBUG", kUnit, "\"Reacter reader registered\""));
  EXPECT_EQ(4u, mqtest::Occurrences(console_.Output(), "\"Reacter reader registered\"\n"));
}

TEST_F(MqReactorLoopTest, ClosedReactorNeitherRegistersNorRuns) {
  reactor_->CloseMq();
  EXPECT_FALSE(reactor_->SetMqSubsReader(MQ_DATA_TYPE_STRING));
  EXPECT_FALSE(Run());
  EXPECT_EQ(-1, reactor_->AddTimer(EndLoop, nullptr, 1, 1));
  EXPECT_EQ(0u, reactor_->mlTimers);
}

TEST_F(MqReactorLoopDeathTest, RefusedRegistrationStopsTheProcess) {
  faults::Fail(Call::LoopReader);
  EXPECT_DEATH(reactor_->SetMqSubsReader(MQ_DATA_TYPE_STRING), "`rc != -1'");
  EXPECT_DEATH(reactor_->SetMqSubsReader(MQ_DATA_TYPE_BINARY), "`rc != -1'");
  faults::Fail(Call::LoopTimer);
  EXPECT_DEATH(reactor_->AddTimer(EndLoop, nullptr, 1, 1), "`rc != -1'");
}

TEST_F(MqReactorLoopDeathTest, SocketLostByARefusedConnectionCannotBeRead) {
  const char topics[1][128] = {"Topic"};
  reactor_->AddMqSubsOverIpc(mqtest::TooLongIpcName().c_str(), topics, 1, kText);
  EXPECT_DEATH(Run(), "`rc != -1'");
}

// ----- clients of publishers

// Whether the library has pending work that it does only when the socket is used.
bool IsAnythingWaiting(zsock_t* socket, int milliseconds = 0) {
  zmq_pollitem_t item{nullptr, static_cast<int>(zsock_fd(socket)), ZMQ_POLLIN, 0};
  return zmq_poll(&item, 1, milliseconds) > 0;
}

// A publisher that sends nothing, and a client of it.
class PublisherInLoopTest : public MqReactorLoopTest {
 protected:
  PublisherInLoopTest() : silent_(zsock_new(ZMQ_PUB)), client_(zsock_new(ZMQ_SUB)) {
    zsock_bind(silent_, "%s", endpoint_.c_str());
    zsock_events(silent_);  // does the work that the bind left pending
  }

  ~PublisherInLoopTest() override {
    zsock_destroy(&client_);
    zsock_destroy(&silent_);
  }

  // Connects the client and waits until the publisher has pending work. The reactor must already
  // watch the publisher: it does pending work when it begins to watch.
  void Connect() {
    zsock_connect(client_, "%s", endpoint_.c_str());
    ASSERT_TRUE(IsAnythingWaiting(silent_, mqtest::kDeadlineMs));
  }

  // Ends the loop once the publisher has no pending work, or after a time limit. Stores the result,
  // because the client's library may send more at any time.
  static int EndWhenNothingWaits(zloop_t*, int, void* argument) {
    auto& test = *static_cast<PublisherInLoopTest*>(argument);
    test.isDealtWith_ = !IsAnythingWaiting(test.silent_);
    return test.isDealtWith_ || zclock_mono() > test.end_ ? -1 : 0;
  }

  const std::string endpoint_ = mqtest::IpcEndpoint("mqReactorLoopTestSilent.ipc");
  zsock_t* silent_;
  zsock_t* client_;
  bool isDealtWith_ = false;
  const std::int64_t end_ = zclock_mono() + 2 * mqtest::kDeadlineMs;
};

TEST_F(PublisherInLoopTest, ClientIsDealtWithAlthoughNothingIsSent) {
  reactor_->WatchClients(silent_);
  ASSERT_NO_FATAL_FAILURE(Connect());
  reactor_->AddTimer(EndWhenNothingWaits, this, 10, 0);
  Run();
  EXPECT_TRUE(isDealtWith_);
  reactor_->UnwatchClients(silent_);
}

TEST_F(PublisherInLoopTest, PublisherThatIsNoLongerWatchedMayBeDestroyed) {
  reactor_->WatchClients(silent_);
  ASSERT_NO_FATAL_FAILURE(Connect());
  reactor_->UnwatchClients(silent_);
  reactor_->UnwatchClients(nullptr);
  zsock_destroy(&silent_);
  int calls = 0;
  reactor_->AddTimer(EndAtThirdCall, &calls, 1, 0);
  EXPECT_TRUE(Run());
  EXPECT_EQ(3, calls);
}

TEST_F(MqReactorLoopDeathTest, PublisherThatCannotBeWatchedStopsTheProcess) {
  EXPECT_DEATH(reactor_->WatchClients(nullptr), "`IsValidReactor\\(\\) && publisher != nullptr'");
  faults::Fail(Call::LoopPoller);
  EXPECT_DEATH(reactor_->WatchClients(reactor_->mpSock), "`rc != -1'");
}

// ----- timers

TEST_F(MqReactorLoopTest, TimersAreCountedAndTold) {
  const std::int32_t first = reactor_->AddTimer(EndLoop, nullptr, 1, 1);
  const std::int32_t second = reactor_->AddTimer(EndLoop, nullptr, 1, 1);
  EXPECT_NE(-1, first);
  EXPECT_NE(-1, second);
  EXPECT_NE(first, second);
  EXPECT_EQ(2u, reactor_->mlTimers);
}

TEST_F(MqReactorLoopTest, TimerRunsUntilItReturnsMinusOne) {
  int calls = 0;
  reactor_->AddTimer(EndAtThirdCall, &calls, 1, 0);
  EXPECT_TRUE(Run());
  EXPECT_EQ(3, calls);
}

TEST_F(MqReactorLoopTest, TimerKeepsItsDelay) {
  using Clock = std::chrono::steady_clock;
  int calls = 0;
  reactor_->AddTimer(EndAtThirdCall, &calls, 20, 0);
  const Clock::time_point start = Clock::now();
  Run();
  // Times are whole milliseconds, so that either end may be off by one.
  EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(3 * 20 - 2));
}

TEST_F(MqReactorLoopTest, TimerThatTheLoopGotLateTicksAllTheSame) {
  constexpr int kDelay = 10;
  int calls = 0;
  faults::HoldUp(Call::LoopTimer, 3 * kDelay);
  reactor_->AddTimer(EndAtThirdCall, &calls, kDelay, 0);
  reactor_->AddTimer(EndLoop, nullptr, mqtest::kDeadlineMs, 1);
  Run();
  EXPECT_EQ(3, calls);
}

TEST_F(MqReactorLoopTest, TimerFiresAsOftenAsAskedFor) {
  int counted = 0;
  int calls = 0;
  reactor_->AddTimer(CountCall, &counted, 1, 2);
  reactor_->AddTimer(EndAtThirdCall, &calls, 20, 0);
  Run();
  EXPECT_EQ(2, counted);
}

TEST_F(MqReactorLoopTest, EndedTimerDoesNotFire) {
  int counted = 0;
  int calls = 0;
  const std::int32_t ended = reactor_->AddTimer(CountCall, &counted, 5, 0);
  reactor_->AddTimer(EndAtThirdCall, &calls, 5, 0);
  Run();
  const int before = counted;
  EXPECT_GT(before, 0);
  reactor_->EndTimer(ended);
  calls = 0;
  Run();
  EXPECT_EQ(before, counted);
}

// Ends a timer, possibly the one that calls it, and counts its calls.
struct TimerEnder {
  MqReactor* reactor = nullptr;
  std::int32_t timer = -1;
  int calls = 0;
  bool isTakenOutAtOnce = false;  // removed from the loop at once, perhaps while the loop uses it
};

int EndTimer(zloop_t*, int, void* argument) {
  auto& ender = *static_cast<TimerEnder*>(argument);
  faults::Reset();
  ender.reactor->EndTimer(ender.timer);
  ender.isTakenOutAtOnce = !faults::EndedTimers().empty();
  ++ender.calls;
  return 0;
}

TEST_F(MqReactorLoopTest, TimerEndedBeforeTheLoopStartsDoesNotFire) {
  int counted = 0;
  int calls = 0;
  reactor_->EndTimer(reactor_->AddTimer(CountCall, &counted, 0, 0));
  reactor_->AddTimer(EndAtThirdCall, &calls, 5, 0);
  Run();
  EXPECT_EQ(0, counted);
}

TEST_F(MqReactorLoopTest, HandlerMayEndItsOwnTimer) {
  // The second round is in a restarted loop.
  for (int start = 0; start < 2; ++start) {
    int calls = 0;
    TimerEnder ender{reactor_.get()};
    ender.timer = reactor_->AddTimer(EndTimer, &ender, 1, 0);
    const std::int32_t end = reactor_->AddTimer(EndAtThirdCall, &calls, 10, 0);
    Run();
    EXPECT_EQ(1, ender.calls);
    EXPECT_FALSE(ender.isTakenOutAtOnce);
    EXPECT_THAT(faults::EndedTimers(), ElementsAre(ender.timer));
    reactor_->EndTimer(end);
  }
}

TEST_F(MqReactorLoopTest, HandlerMayEndAnotherTimerThatIsDue) {
  for (int start = 0; start < 2; ++start) {
    int counted = 0;
    int calls = 0;
    TimerEnder ender{reactor_.get()};
    // Both are due in the first round, in this order.
    const std::int32_t ending = reactor_->AddTimer(EndTimer, &ender, 0, 1);
    ender.timer = reactor_->AddTimer(CountCall, &counted, 0, 0);
    const std::int32_t end = reactor_->AddTimer(EndAtThirdCall, &calls, 10, 0);
    Run();
    EXPECT_EQ(1, ender.calls);
    EXPECT_EQ(0, counted);
    EXPECT_FALSE(ender.isTakenOutAtOnce);
    EXPECT_THAT(faults::EndedTimers(), ElementsAre(ender.timer));
    reactor_->EndTimer(ending);  // over
    reactor_->EndTimer(end);
  }
}

// Adds two timers: one that is over after its last tick, and one that this handler ends. Both make
// room for the next two.
int AddTwoTimers(zloop_t*, int, void* argument) {
  auto& ender = *static_cast<TimerEnder*>(argument);
  ender.reactor->AddTimer(CountCall, &ender.calls, 0, 1);
  ender.reactor->EndTimer(ender.timer);
  ender.timer = ender.reactor->AddTimer(CountCall, &ender.calls, 0, 0);
  return 0;
}

TEST_F(MqReactorLoopTest, TimersThatAreOverTakeNoMemory) {
  constexpr std::size_t kRounds = 2000;
  TimerEnder ender{reactor_.get()};
  reactor_->SetMaxTimers(kRounds);  // half of all timers; more at a time would stop the process
  reactor_->AddTimer(AddTwoTimers, &ender, 1, kRounds);
  reactor_->AddTimer(EndLoop, nullptr, kRounds + 100, 1);
  const std::uint64_t before = AllocationsSoFar() - ReleasesSoFar();
  Run();
  EXPECT_LE(AllocationsSoFar() - ReleasesSoFar() - before, 10u);
  EXPECT_EQ(2 + 2 * kRounds, reactor_->mlTimers);
}

TEST_F(MqReactorLoopTest, WithTimersTheLimitIsHandedToTheLoop) {
  reactor_->SetMaxTimers(2);
  reactor_->AddTimer(EndLoop, nullptr, 1, 0);
  Run();
  EXPECT_NE(-1, zloop_timer(reactor_->mpLoop, 1, 1, EndLoop, nullptr));
  EXPECT_EQ(-1, zloop_timer(reactor_->mpLoop, 1, 1, EndLoop, nullptr));
}

TEST_F(MqReactorLoopTest, WithoutTimersTheLimitIsLeftAlone) {
  reactor_->SetMaxTimers(1);
  gResults = {-1};
  DeliverText({"Text", "data"});
  Run();
  EXPECT_NE(-1, reactor_->AddTimer(EndLoop, nullptr, 1, 1));
  EXPECT_NE(-1, reactor_->AddTimer(EndLoop, nullptr, 1, 1));
}

// ----- links without calls of TendLinks

// Ends the loop when it has read enough events.
int EndAfterEvents(zloop_t*, int, void*) {
  return faults::Count(Call::EventReceive) > 100 ? -1 : 0;
}

class MqReactorNoteTest : public MqReactorLoopTest, public testing::WithParamInterface<bool> {};

TEST_P(MqReactorNoteTest, LoopTakesNoteOfWhatHappensToItsLinks) {
  constexpr std::uint32_t kClosedPort = 9;
  const char topics[1][128] = {"Topic"};
  zsock_set_reconnect_ivl(GetParam() ? reactor_->mpSockBin : reactor_->mpSock, 1);
  ASSERT_TRUE(reactor_->AddMqSubsOverTcp("127.0.0.1", kClosedPort, topics, 1, GetParam()));
  reactor_->AddTimer(EndAfterEvents, nullptr, 10, 0);
  reactor_->AddTimer(EndLoop, nullptr, mqtest::kDeadlineMs, 1);
  for (int start = 0; start < 2; ++start) {
    faults::Reset();
    Run();
    EXPECT_GT(faults::Count(Call::EventReceive), 100);
  }
}

INSTANTIATE_TEST_SUITE_P(BothSockets, MqReactorNoteTest, testing::Values(kText, kBinary));

// ----- loop

TEST_F(MqReactorLoopTest, HandlerResultMinusOneEndsTheLoopAndMinusTwoDoesNot) {
  gResults = {-2, -1};
  publisher_->Publish({"Text", "first"});
  publisher_->Publish({"Text", "second"});
  publisher_->Publish({"Text", "third"});
  EXPECT_TRUE(Run());
  EXPECT_THAT(gMessages, ElementsAre(Frames{"Text", "first"}, Frames{"Text", "second"}));
}

TEST_F(MqReactorLoopTest, BinaryHandlerEndsTheLoopToo) {
  gResults = {-2, -1};
  publisher_->Publish({"Binary", "first"});
  publisher_->Publish({"Binary", "second"});
  EXPECT_TRUE(Run());
  EXPECT_EQ(2u, gMessages.size());
}

TEST_F(MqReactorLoopTest, BothSocketsAreServedInOneLoop) {
  gResults = {0, -1};
  publisher_->Publish({"Text", "text"});
  publisher_->Publish({"Binary", "binary"});
  Run();
  EXPECT_THAT(gMessages,
              testing::UnorderedElementsAre(Frames{"Text", "text"}, Frames{"Binary", "binary"}));
}

TEST_F(MqReactorLoopTest, SocketThatWasNotAskedForIsNotRead) {
  gResults = {-1};
  DeliverBinary({"Binary", "unread"});
  publisher_->Publish({"Text", "read"});
  reactor_->StartLoop(MQ_DATA_TYPE_STRING);
  EXPECT_THAT(gMessages, ElementsAre(Frames{"Text", "read"}));
  EXPECT_TRUE(mqtest::HasMessage(reactor_->mpSockBin));
}

TEST_F(MqReactorLoopTest, LoopCanRunAgain) {
  for (const char* data : {"first", "second"}) {
    gResults = {-1};
    DeliverText({"Text", data});
    EXPECT_TRUE(Run());
  }
  EXPECT_THAT(gMessages, ElementsAre(Frames{"Text", "first"}, Frames{"Text", "second"}));
}

TEST_F(MqReactorLoopTest, ReaderRegisteredAgainIsCalledOnceForAMessage) {
  int calls = 0;
  reactor_->SetMqSubsReader(MQ_DATA_TYPE_STRING_AND_BINARY);
  reactor_->AddTimer(EndAtThirdCall, &calls, 5, 0);
  DeliverText({"Text", "data"});
  DeliverBinary({"Binary", "data"});
  Run();
  EXPECT_EQ(2u, gMessages.size());
}

TEST_F(MqReactorLoopTest, FloodOfMessagesDoesNotKeepTimersWaiting) {
  constexpr int kMessages = 500;  // fewer than a socket queues
  for (int i = 0; i < kMessages; ++i)
    publisher_->Publish({"Text", "data"});
  ASSERT_TRUE(mqtest::AwaitMessage(reactor_->mpSock));
  // The timer is due as soon as the first message has been read. A reader that did not return would
  // read them all.
  reactor_->SetReactorReader([](const char* topic, const char* data) {
    if (gMessages.empty())
      zloop_timer(gLoopToEnd, 0, 1, EndLoop, nullptr);
    return HandleText(topic, data);
  });
  gLoopToEnd = reactor_->mpLoop;
  Run();
  EXPECT_GE(gMessages.size(), 1u);
  EXPECT_LE(gMessages.size(), 2u);
}

TEST_F(MqReactorLoopTest, InterruptEndsTheLoop) {
  reactor_->AddTimer(Interrupt, nullptr, 1, 1);
  EXPECT_TRUE(Run());
  EXPECT_EQ(1, zsys_interrupted);
  EXPECT_EQ(1, faults::Count(Call::LoopStart));
}

// Runs the loop while another thread sends a signal to it every millisecond.
bool MqReactorLoopDeathTest::RunDisturbedBy(int signal) {
  std::atomic<bool> isRunning{true};
  std::thread disturber([&isRunning, signal, loopThread = pthread_self()] {
    for (int i = 0; isRunning && i < mqtest::kDeadlineMs; ++i) {
      if (faults::Count(Call::LoopStart) > 0)
        pthread_kill(loopThread, signal);
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  });
  const bool result = Run();
  isRunning = false;
  disturber.join();
  return result;
}

TEST_F(MqReactorLoopTest, InterruptEndsAWaitingLoop) {
  EXPECT_TRUE(RunDisturbedBy(SIGTERM));
  EXPECT_EQ(1, zsys_interrupted);
  EXPECT_EQ(1, faults::Count(Call::LoopStart));
}

TEST_F(MqReactorLoopTest, InterruptBeforeTheLoopEndsItAtOnce) {
  int calls = 0;
  reactor_->AddTimer(CountCall, &calls, 0, 0);
  zsys_interrupted = 1;
  EXPECT_TRUE(Run());
  EXPECT_EQ(0, calls);
}

std::atomic<int> gSignals{0};

void CountSignal(int) {
  ++gSignals;
}

// Ends the loop once signals have ended CZMQ's own loop a few times.
int EndAfterRestarts(zloop_t*, int, void*) {
  constexpr int kStarts = 4;
  return faults::Count(Call::LoopStart) >= kStarts ? -1 : 0;
}

TEST_F(MqReactorLoopTest, StraySignalsDoNotEndTheLoop) {
  std::signal(SIGUSR1, CountSignal);
  reactor_->AddTimer(EndAfterRestarts, nullptr, 1, 0);
  EXPECT_TRUE(RunDisturbedBy(SIGUSR1));
  std::signal(SIGUSR1, SIG_DFL);
  EXPECT_GE(faults::Count(Call::LoopStart), 4);
  EXPECT_GE(gSignals, 3);
  EXPECT_EQ(0, zsys_interrupted);
}

TEST_F(MqReactorLoopTest, LoopWhoseSocketsAreGoneEnds) {
  // If CZMQ's loop returns for a reason other than a signal, ours must not spin.
  faults::Fail(Call::LoopStart, 1, ETERM);
  EXPECT_TRUE(Run());
  EXPECT_EQ(1, faults::Count(Call::LoopStart));
}

TEST_F(MqReactorLoopDeathTest, LoopWithoutReadersStopsTheProcess) {
  EXPECT_DEATH(reactor_->StartLoop(MQ_DATA_TYPE_STATES), "`ret == true'");
}

}  // namespace
