// The reactor's construction, connections and subscriptions.

#include "MqReactor.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <memory>

#include "CzmqFaults.h"
#include "MqTestKit.h"

namespace {

using faults::Call;
using mqtest::Escaped;
using mqtest::Frames;
using mqtest::Logged;
using mqtest::Occurrences;
using mqtest::Publisher;
using testing::Not;

constexpr char kUnit[] = "MqReactor";
constexpr char kIpcName[] = "mqReactorTest.ipc";
constexpr bool kText = false;
constexpr bool kBinary = true;

using TopicList_t = char[3][128];

// A reactor that logs everything. For tests that end the process.
class MqReactorDeathTest : public testing::Test {
 protected:
  MqReactorDeathTest() {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    mqtest::MakeIpcDirectory();
    MqReactor::mpLogger = mqtest::VerboseLogger();
    MqReactor::SetLogLevel(MsgLevel_Debug);
    reactor_ = std::make_unique<MqReactor>();
    faults::Reset();
  }

  ~MqReactorDeathTest() override {
    MqReactor::mpLogger = nullptr;
    MqReactor::SetLogLevel(MsgLevel_Warn);
  }

  bool ConnectTcp(const Publisher& publisher, const TopicList_t& topics, std::int32_t count,
                  bool binary = kText) {
    return reactor_->AddMqSubsOverTcp("127.0.0.1", publisher.Port(), topics, count, binary);
  }

  bool ConnectIpc(const TopicList_t& topics, std::int32_t count, bool binary = kText) {
    return reactor_->AddMqSubsOverIpc(kIpcName, topics, count, binary);
  }

  // Makes a connection fail at once.
  bool FailToConnect(bool binary) {
    const TopicList_t topics = {"Topic"};
    return reactor_->AddMqSubsOverIpc(mqtest::TooLongIpcName().c_str(), topics, 1, binary);
  }

  std::unique_ptr<MqReactor> reactor_;
};

// The same fixture with the console captured.
class MqReactorTest : public MqReactorDeathTest {
 protected:
  mqtest::Console console_;
};

// Fills a row with `length` letters. The row must be zero beforehand, for the terminator.
void FillTopic(TopicList_t& topics, std::size_t row, std::size_t length) {
  std::memset(topics[row], 'a', length);
}

std::string Letters(std::size_t length) {
  return std::string(length, 'a');
}

// ----- construction and destruction

TEST_F(MqReactorTest, NewReactorIsValidAndEmpty) {
  EXPECT_TRUE(reactor_->IsValidReactor());
  EXPECT_EQ(-1, reactor_->miSlot);
  EXPECT_NE(nullptr, reactor_->mpLoop);
  EXPECT_EQ(ZMQ_SUB, zsock_type(reactor_->mpSock));
  EXPECT_EQ(ZMQ_SUB, zsock_type(reactor_->mpSockBin));
  EXPECT_NE(reactor_->mpSock, reactor_->mpSockBin);
  EXPECT_EQ(0u, reactor_->mlTopics);
  EXPECT_EQ(10u, reactor_->mlMaxTimers);
  EXPECT_EQ(0u, reactor_->mlTimers);
  EXPECT_EQ(nullptr, reactor_->mpReactorReaderCallback);
  EXPECT_EQ(nullptr, reactor_->mpReactorReaderCallbackForBinaryData);
}

TEST(MqReactorDefaultsTest, ClassIsSilentBelowWarnUntilToldOtherwise) {
  EXPECT_EQ(nullptr, MqReactor::mpLogger);
  EXPECT_EQ(MsgLevel_Warn, MqReactor::mLogLevel);
}

TEST(MqReactorDefaultsTest, TypesHaveTheirValues) {
  EXPECT_EQ(1, MQ_DATA_TYPE_STRING);
  EXPECT_EQ(2, MQ_DATA_TYPE_BINARY);
  EXPECT_EQ(3, MQ_DATA_TYPE_STRING_AND_BINARY);
  EXPECT_EQ(4, MQ_DATA_TYPE_STATES);
  EXPECT_EQ(128u, sizeof *mqTopics_t());
}

TEST_F(MqReactorTest, ReactorWithoutLoopOrSocketIsInvalid) {
  struct {
    Call call;
    int nth;
    std::size_t destroyed;  // number of objects made before the fault
  } const cases[] = {{Call::LoopNew, 1, 0}, {Call::SockNew, 1, 2}, {Call::SockNew, 2, 2}};
  for (const auto& broken : cases) {
    SCOPED_TRACE(testing::Message() << static_cast<int>(broken.call) << "/" << broken.nth);
    faults::Reset();
    faults::Fail(broken.call, broken.nth);
    MqReactor reactor;
    EXPECT_FALSE(reactor.IsValidReactor());
    EXPECT_EQ(broken.destroyed, faults::Destroyed().size());
    EXPECT_EQ(-1, reactor.miSlot);
    EXPECT_EQ(nullptr, reactor.mpSock);
    EXPECT_EQ(nullptr, reactor.mpSockBin);
    EXPECT_EQ(nullptr, reactor.mpLoop);
    EXPECT_EQ(10u, reactor.mlMaxTimers);
    EXPECT_FALSE(reactor.SetMqSubsReader(MQ_DATA_TYPE_STRING));
    EXPECT_FALSE(reactor.StartLoop(MQ_DATA_TYPE_STRING));
    EXPECT_EQ(-1, reactor.AddTimer(nullptr, nullptr, 1, 1));
    reactor.EndTimer(1);
    reactor.CloseMq();
  }
}

TEST_F(MqReactorTest, DestructionTakesTextSocketThenBinarySocketThenLoop) {
  const std::vector<const void*> expected = {reactor_->mpSock, reactor_->mpSockBin,
                                             reactor_->mpLoop};
  reactor_.reset();
  EXPECT_EQ(expected, faults::Destroyed());
}

TEST_F(MqReactorTest, CloseTakesTextSocketThenBinarySocketAndInvalidates) {
  const std::vector<const void*> sockets = {reactor_->mpSock, reactor_->mpSockBin};
  reactor_->CloseMq();
  EXPECT_EQ(sockets, faults::Destroyed());
  EXPECT_EQ(nullptr, reactor_->mpSock);
  EXPECT_EQ(nullptr, reactor_->mpSockBin);
  EXPECT_FALSE(reactor_->IsValidReactor());
  reactor_->CloseMq();
  EXPECT_EQ(sockets, faults::Destroyed());
  reactor_.reset();
  EXPECT_EQ(3u, faults::Destroyed().size());
}

TEST_F(MqReactorTest, NumbersAreKept) {
  reactor_->SetSlot(1);
  reactor_->SetProbeId(-7);
  reactor_->SetMaxTimers(3);
  EXPECT_EQ(1, reactor_->GetSlot());
  EXPECT_EQ(1, reactor_->miSlot);
  EXPECT_EQ(-7, reactor_->GetProbeId());
  EXPECT_EQ(-7, reactor_->miProbeId);
  EXPECT_EQ(3u, reactor_->mlMaxTimers);
}

// ----- connecting

TEST_F(MqReactorTest, TcpConnectionSubscribesEveryTopicInOrder) {
  Publisher publisher(nullptr);
  const TopicList_t topics = {"First", "Second", "Third"};
  EXPECT_TRUE(ConnectTcp(publisher, topics, 3));
  EXPECT_EQ("+First", publisher.NextChange());
  EXPECT_EQ("+Second", publisher.NextChange());
  EXPECT_EQ("+Third", publisher.NextChange());
  EXPECT_EQ(3u, reactor_->mlTopics);
}

TEST_F(MqReactorTest, TcpConnectionIsLogged) {
  Publisher publisher(nullptr);
  const TopicList_t topics = {"First", "Second"};
  const std::string endpoint = "tcp://127.0.0.1:" + std::to_string(publisher.Port());
  ConnectTcp(publisher, topics, 2);
  EXPECT_THAT(console_.Output(), Logged("DEBUG", kUnit, "\"Tryig to connect " + endpoint + "\""));
  EXPECT_THAT(console_.Output(), Logged("INFO", kUnit, "\"Connected to " + endpoint + "\""));
  EXPECT_THAT(console_.Output(), Logged("DEBUG", kUnit, "\"1: Subscribed First\""));
  EXPECT_THAT(console_.Output(), Logged("DEBUG", kUnit, "\"2: Subscribed Second\""));
  EXPECT_EQ("", console_.Errors());
}

TEST_F(MqReactorTest, IpcConnectionSubscribesEveryTopicInOrder) {
  Publisher publisher(kIpcName);
  const TopicList_t topics = {"First", "Second", "Third"};
  EXPECT_TRUE(ConnectIpc(topics, 3));
  EXPECT_EQ("+First", publisher.NextChange());
  EXPECT_EQ("+Second", publisher.NextChange());
  EXPECT_EQ("+Third", publisher.NextChange());
  EXPECT_EQ(3u, reactor_->mlTopics);
}

TEST_F(MqReactorTest, IpcConnectionIsLoggedWithTheIndexOfEachTopic) {
  const TopicList_t topics = {"First", "Second"};
  reactor_->mlTopics = 5;
  ConnectIpc(topics, 2);
  EXPECT_THAT(console_.Output(),
              Logged("DEBUG", kUnit, "\"Tryig to connect ipc:///run/shm/mq/mqReactorTest.ipc\""));
  EXPECT_THAT(console_.Output(),
              Logged("INFO", kUnit, "\"Connected to ipc:///run/shm/mq/mqReactorTest.ipc\""));
  EXPECT_THAT(console_.Output(), Logged("DEBUG", kUnit, "\"6: Subscribed 0: First\""));
  EXPECT_THAT(console_.Output(), Logged("DEBUG", kUnit, "\"7: Subscribed 1: Second\""));
}

TEST_F(MqReactorTest, OnlyTheGivenNumberOfTopicsIsSubscribed) {
  const TopicList_t topics = {"First", "Second", "Third"};
  ConnectIpc(topics, 1);
  EXPECT_EQ(1, faults::Count(Call::Subscribe));
  EXPECT_EQ(1u, reactor_->mlTopics);
}

TEST_F(MqReactorTest, BinaryFlagChoosesTheSocket) {
  Publisher publisher(kIpcName);
  const TopicList_t binaryTopic = {"Binary"};
  const TopicList_t textTopic = {"Text"};
  ConnectIpc(binaryTopic, 1, kBinary);
  ASSERT_EQ("+Binary", publisher.NextChange());
  ConnectIpc(textTopic, 1, kText);
  ASSERT_EQ("+Text", publisher.NextChange());
  publisher.Publish({"Binary"});
  publisher.Publish({"Text"});
  EXPECT_EQ(Frames{"Binary"}, mqtest::Receive(reactor_->mpSockBin));
  EXPECT_EQ(Frames{"Text"}, mqtest::Receive(reactor_->mpSock));
  EXPECT_FALSE(mqtest::HasMessage(reactor_->mpSockBin));
}

TEST_F(MqReactorTest, OneSocketServesSeveralPublishers) {
  Publisher near(kIpcName);
  Publisher far(nullptr);
  const TopicList_t topics = {"Topic"};
  ConnectIpc(topics, 1);
  ConnectTcp(far, topics, 1);
  ASSERT_EQ("+Topic", near.NextChange());
  ASSERT_EQ("+Topic", far.NextChange());
  near.Publish({"Topic", "near"});
  EXPECT_EQ((Frames{"Topic", "near"}), mqtest::Receive(reactor_->mpSock));
  far.Publish({"Topic", "far"});
  EXPECT_EQ((Frames{"Topic", "far"}), mqtest::Receive(reactor_->mpSock));
}

TEST_F(MqReactorTest, PublisherMayComeLater) {
  const TopicList_t topics = {"Topic"};
  EXPECT_TRUE(ConnectIpc(topics, 1));
  Publisher publisher(kIpcName);
  EXPECT_EQ("+Topic", publisher.NextChange());
}

TEST_F(MqReactorTest, EndpointIsNotAFormat) {
  constexpr char kName[] = "mqReactorTest%s%d%n.ipc";
  Publisher publisher(kName);
  const TopicList_t topics = {"%s%n"};
  EXPECT_TRUE(reactor_->AddMqSubsOverIpc(kName, topics, 1, kText));
  EXPECT_EQ("+%s%n", publisher.NextChange());
}

TEST_F(MqReactorTest, RefusedConnectionIsReported) {
  const std::string endpoint = mqtest::IpcEndpoint(mqtest::TooLongIpcName());
  EXPECT_FALSE(FailToConnect(kText));
  EXPECT_THAT(console_.Output(), Logged("DEBUG", kUnit, "\"Tryig to connect " + endpoint + "\""));
  EXPECT_THAT(console_.Output(), Not(testing::HasSubstr("Connected")));
  EXPECT_THAT(console_.Errors(),
              Logged("ERROR", kUnit, "\"Failed to connect to " + endpoint + "\""));
  EXPECT_EQ(0, faults::Count(Call::Subscribe));
  EXPECT_EQ(0u, reactor_->mlTopics);
}

TEST_F(MqReactorTest, RefusedTcpConnectionIsReported) {
  const TopicList_t topics = {"Topic"};
  EXPECT_FALSE(reactor_->AddMqSubsOverTcp("no address", 7000, topics, 1, kText));
  EXPECT_THAT(console_.Errors(),
              Logged("ERROR", kUnit, "\"Failed to connect to tcp://no address:7000\""));
}

TEST_F(MqReactorTest, RefusedConnectionDestroysTheSocketOnce) {
  for (const bool binary : {kText, kBinary}) {
    SCOPED_TRACE(binary);
    MqReactor reactor;
    faults::Reset();
    const void* socket = binary ? reactor.mpSockBin : reactor.mpSock;
    const void* other = binary ? reactor.mpSock : reactor.mpSockBin;
    const TopicList_t topics = {"Topic"};
    reactor.AddMqSubsOverIpc(mqtest::TooLongIpcName().c_str(), topics, 1, binary);
    EXPECT_EQ(std::vector<const void*>{socket}, faults::Destroyed());
    EXPECT_EQ(socket, binary ? reactor.mpSockBin : reactor.mpSock);
    EXPECT_TRUE(reactor.IsValidReactor());
    reactor.CloseMq();
    EXPECT_EQ((std::vector<const void*>{socket, other}), faults::Destroyed());
    EXPECT_EQ(nullptr, reactor.mpSock);
    EXPECT_EQ(nullptr, reactor.mpSockBin);
  }
}

TEST_F(MqReactorTest, AfterARefusedConnectionOnlyTheOtherSocketServes) {
  FailToConnect(kText);
  Publisher publisher(kIpcName);
  const TopicList_t topics = {"Topic"};
  EXPECT_FALSE(ConnectIpc(topics, 1, kText));
  EXPECT_FALSE(ConnectTcp(publisher, topics, 1, kText));
  EXPECT_FALSE(reactor_->SubscribeTopic("Topic", 5, kText));
  EXPECT_FALSE(reactor_->UnsubscribeTopics(topics, 1, kText));
  EXPECT_TRUE(ConnectIpc(topics, 1, kBinary));
  EXPECT_EQ("+Topic", publisher.NextChange());
}

TEST_F(MqReactorTest, EmptySocketServesNothing) {
  zsock_destroy(&reactor_->mpSockBin);
  Publisher publisher(kIpcName);
  const TopicList_t topics = {"Topic"};
  EXPECT_FALSE(ConnectIpc(topics, 1, kBinary));
  EXPECT_FALSE(ConnectTcp(publisher, topics, 1, kBinary));
  EXPECT_FALSE(reactor_->SubscribeTopic("Topic", 5, kBinary));
  EXPECT_FALSE(reactor_->UnsubscribeTopics(topics, 1, kBinary));
  reactor_->TendLinks();
  EXPECT_EQ("", console_.Output());
  EXPECT_EQ("", console_.Errors());
}

// ----- topic lengths

TEST_F(MqReactorTest, TopicOf128CharactersIsSkippedOverIpc) {
  Publisher publisher(kIpcName);
  TopicList_t topics = {"First", "", "Last"};
  FillTopic(topics, 1, 128);
  EXPECT_TRUE(ConnectIpc(topics, 3));
  EXPECT_THAT(console_.Errors(),
              Logged("ERROR", kUnit, "\"Failed to subscribed 1: " + Letters(128) + "\""));
  EXPECT_THAT(console_.Output(), Logged("DEBUG", kUnit, "\"2: Subscribed 2: Last\""));
  EXPECT_EQ("+First", publisher.NextChange());
  EXPECT_EQ("+Last", publisher.NextChange());
  EXPECT_EQ(2u, reactor_->mlTopics);
}

TEST_F(MqReactorTest, TopicOf128CharactersIsSubscribedOverTcp) {
  Publisher publisher(nullptr);
  TopicList_t topics = {"First", "", "Last"};
  FillTopic(topics, 1, 128);
  EXPECT_TRUE(ConnectTcp(publisher, topics, 3));
  EXPECT_EQ("+First", publisher.NextChange());
  EXPECT_EQ("+" + Letters(128), publisher.NextChange());
  EXPECT_EQ("+Last", publisher.NextChange());
  EXPECT_EQ(3u, reactor_->mlTopics);
}

TEST_F(MqReactorTest, TopicOf127CharactersIsSubscribedOverBoth) {
  Publisher near(kIpcName);
  Publisher far(nullptr);
  TopicList_t topics = {};
  FillTopic(topics, 0, 127);
  ConnectIpc(topics, 1, kText);
  ConnectTcp(far, topics, 1, kBinary);
  EXPECT_EQ("+" + Letters(127), near.NextChange());
  EXPECT_EQ("+" + Letters(127), far.NextChange());
}

TEST_F(MqReactorTest, EmptyTopicSubscribesEverything) {
  Publisher publisher(kIpcName);
  const TopicList_t topics = {};
  EXPECT_TRUE(ConnectIpc(topics, 1));
  EXPECT_EQ("+", publisher.NextChange());
}

// ----- single topics

TEST_F(MqReactorTest, SubscribedTopicIsCountedAndLogged) {
  Publisher publisher(kIpcName);
  const TopicList_t topics = {"First"};
  ConnectIpc(topics, 1);
  EXPECT_TRUE(reactor_->SubscribeTopic("Second", 6, kText));
  EXPECT_EQ("+First", publisher.NextChange());
  EXPECT_EQ("+Second", publisher.NextChange());
  EXPECT_EQ(2u, reactor_->mlTopics);
  EXPECT_THAT(console_.Output(), Logged("DEBUG", kUnit, "\"2: Subscribed Second\""));
}

TEST_F(MqReactorTest, SubscribedTopicGoesToTheChosenSocket) {
  Publisher publisher(kIpcName);
  const TopicList_t topics = {"First"};
  ConnectIpc(topics, 1, kBinary);
  reactor_->SubscribeTopic("Elsewhere", 9, kText);
  reactor_->SubscribeTopic("Second", 6, kBinary);
  EXPECT_EQ("+First", publisher.NextChange());
  EXPECT_EQ("+Second", publisher.NextChange());
}

TEST_F(MqReactorTest, LengthsFrom1To127AreTaken) {
  EXPECT_TRUE(reactor_->SubscribeTopic("a", 1, kText));
  EXPECT_TRUE(reactor_->SubscribeTopic(Letters(127).c_str(), 127, kText));
}

TEST_F(MqReactorTest, UnsubscribedTopicsAreTakenBackButStillCounted) {
  Publisher publisher(kIpcName);
  const TopicList_t topics = {"First", "Second", "Third"};
  ConnectIpc(topics, 3);
  EXPECT_TRUE(reactor_->UnsubscribeTopics(topics, 2, kText));
  for (const char* change : {"+First", "+Second", "+Third", "-First", "-Second"})
    EXPECT_EQ(change, publisher.NextChange());
  EXPECT_EQ(2, faults::Count(Call::Unsubscribe));
  EXPECT_EQ(3u, reactor_->mlTopics);
  EXPECT_THAT(console_.Output(), Logged("DEBUG", kUnit, "\"3: Unsubscribed First\""));
  EXPECT_THAT(console_.Output(), Logged("DEBUG", kUnit, "\"3: Unsubscribed Second\""));
}

// ----- failures

TEST_F(MqReactorTest, ExceptionsEndInTheLogAndInFalse) {
  const TopicList_t topics = {"Topic"};
  struct {
    const char* name;
    Call call;
    std::function<bool()> operation;
  } const cases[] = {
      {"tcp connect", Call::Connect,
       [&] { return reactor_->AddMqSubsOverTcp("127.0.0.1", 1, topics, 1, kText); }},
      {"ipc connect", Call::Connect, [&] { return ConnectIpc(topics, 1); }},
      {"tcp subscribe", Call::Subscribe,
       [&] { return reactor_->AddMqSubsOverTcp("127.0.0.1", 1, topics, 1, kText); }},
      {"ipc subscribe", Call::Subscribe, [&] { return ConnectIpc(topics, 1); }},
      {"subscribe", Call::Subscribe, [&] { return reactor_->SubscribeTopic("Topic", 5, kText); }},
      {"unsubscribe", Call::Unsubscribe,
       [&] { return reactor_->UnsubscribeTopics(topics, 1, kText); }},
  };
  for (const auto& thrown : cases) {
    faults::ThrowBadAlloc(thrown.call);
    EXPECT_FALSE(thrown.operation()) << thrown.name;
    faults::ThrowRuntimeError(thrown.call);
    EXPECT_FALSE(thrown.operation()) << thrown.name;
  }
  const std::size_t expected = sizeof cases / sizeof cases[0];
  EXPECT_THAT(console_.Errors(),
              Logged("CRITICAL", kUnit, "\"Exception Bad alloc std::bad_alloc\""));
  EXPECT_EQ(expected, Occurrences(console_.Errors(), "\"Exception Bad alloc std::bad_alloc\"\n"));
  EXPECT_THAT(console_.Errors(), Logged("CRITICAL", kUnit, "\"Exception provoked by the test\""));
  EXPECT_EQ(expected, Occurrences(console_.Errors(), "\"Exception provoked by the test\"\n"));
}

TEST_F(MqReactorTest, LinesBelowTheThresholdAreNotWritten) {
  MqReactor::SetLogLevel(MsgLevel_Error);
  const TopicList_t topics = {"Topic"};
  ConnectIpc(topics, 1);
  FailToConnect(kText);
  EXPECT_EQ("", console_.Output());
  EXPECT_THAT(console_.Errors(), testing::HasSubstr("Failed to connect"));
}

TEST_F(MqReactorTest, NothingIsLoggedWithoutALogger) {
  MqReactor::mpLogger = nullptr;
  FailToConnect(kText);
  EXPECT_EQ("", console_.Output());
  EXPECT_EQ("", console_.Errors());
}

TEST_F(MqReactorDeathTest, MissingArgumentsStopTheProcess) {
  const std::string tcp =
      Escaped("IsValidReactor() && cpIp_in != nullptr && topics != nullptr && noTopics > 0");
  const std::string ipc =
      Escaped("IsValidReactor() && cpIpc_in != nullptr && topics != nullptr && noTopics > 0");
  const std::string list = Escaped("`IsValidReactor() && topics != nullptr && noTopics > 0'");
  const TopicList_t topics = {"Topic"};
  EXPECT_DEATH(reactor_->AddMqSubsOverTcp(nullptr, 1, topics, 1, kText), tcp);
  EXPECT_DEATH(reactor_->AddMqSubsOverTcp("127.0.0.1", 1, nullptr, 1, kText), tcp);
  EXPECT_DEATH(reactor_->AddMqSubsOverTcp("127.0.0.1", 1, topics, 0, kText), tcp);
  EXPECT_DEATH(reactor_->AddMqSubsOverIpc(nullptr, topics, 1, kText), ipc);
  EXPECT_DEATH(reactor_->AddMqSubsOverIpc(kIpcName, nullptr, 1, kText), ipc);
  EXPECT_DEATH(reactor_->AddMqSubsOverIpc(kIpcName, topics, 0, kText), ipc);
  EXPECT_DEATH(reactor_->UnsubscribeTopics(nullptr, 1, kText), list);
  EXPECT_DEATH(reactor_->UnsubscribeTopics(topics, 0, kText), list);
}

TEST_F(MqReactorDeathTest, ClosedReactorStopsTheProcess) {
  const TopicList_t topics = {"Topic"};
  reactor_->CloseMq();
  EXPECT_DEATH(reactor_->AddMqSubsOverTcp("127.0.0.1", 1, topics, 1, kText), "cpIp_in");
  EXPECT_DEATH(reactor_->AddMqSubsOverIpc(kIpcName, topics, 1, kText), "cpIpc_in");
  EXPECT_DEATH(reactor_->SubscribeTopic("Topic", 5, kText), "len < 128");
  EXPECT_DEATH(reactor_->UnsubscribeTopics(topics, 1, kText), "noTopics > 0");
}

TEST_F(MqReactorDeathTest, TopicLengthOutside1To127StopsTheProcess) {
  const std::string text =
      Escaped("`IsValidReactor() && topic != nullptr && len > 0 && len < 128'");
  EXPECT_DEATH(reactor_->SubscribeTopic("Topic", 0, kText), text);
  EXPECT_DEATH(reactor_->SubscribeTopic(Letters(128).c_str(), 128, kText), text);
  EXPECT_DEATH(reactor_->SubscribeTopic("Topic", -1, kText), text);
  EXPECT_DEATH(reactor_->SubscribeTopic(nullptr, 5, kText), text);
}

}  // namespace
