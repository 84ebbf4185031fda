// Shared parts of the tests of broken links.

#include "LinkTest.h"

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <utility>
#include <vector>

#include "Endpoints.h"
#include "MqNames.h"

using louddesk::Peer;

namespace {

constexpr std::chrono::milliseconds kProbePeriod{50};
constexpr std::chrono::milliseconds kPollPeriod{10};

// Long enough to see a second connection, if there is one.
constexpr std::chrono::milliseconds kSettlingTime{1000};

struct PeerRow {
  Peer peer;
  const char* name;
  int type;
};

constexpr PeerRow kPeerRows[] = {
    {Peer::kHeartbeatReceiver, "HeartbeatReceiver", ZMQ_PULL},
    {Peer::kProcessMonitor, "ProcessMonitor", ZMQ_XPUB},
    {Peer::kHardwareManager, "HardwareManager", ZMQ_XPUB},
    {Peer::kMainAppServer, "MainAppServer", ZMQ_XPUB},
    {Peer::kOpticalAppServer, "OpticalAppServer", ZMQ_XPUB},
    {Peer::kSignalProcessor, "SignalProcessor", ZMQ_XPUB},
    {Peer::kLogSink, "LogSink", ZMQ_PULL},
};

const PeerRow& RowOf(Peer peer) {
  const PeerRow* row = kPeerRows;
  while (row->peer != peer)
    ++row;
  return *row;
}

bool IsCollector(Peer peer) {
  return RowOf(peer).type == ZMQ_PULL;
}

// A message that the service does not handle. Its log line shows that it was received.
std::string ProbeTopic(Peer peer, int number) {
  return std::string(kAppLoudnessCommandTopic) + "-" + NameOf(peer) + "-" + std::to_string(number) +
         ".";
}

// The subscriptions that a service of meter set 1 must make at one peer, each once.
std::map<std::string, int> SubscriptionsDue(Peer peer, const louddesk::UnitStandIn& unit) {
  if (IsCollector(peer))
    return {};
  if (peer == Peer::kSignalProcessor)
    return {{unit.RawTopic(), 1}};
  std::map<std::string, int> due = {{kSystemStatusTopic, 1},
                                    {kApplicationCommandTopic, 1},
                                    {kHwmStatusTopic, 1},
                                    {kAppLoudnessCommandTopic, 1},
                                    {kEnableReportingTopic, 1}};
  for (const char* prefix : kMeterSetTopicPrefixes)
    due[louddesk::TopicFor(prefix, unit.MeterSet())] = 1;
  return due;
}

}  // namespace

const char* NameOf(Peer peer) {
  return RowOf(peer).name;
}

const LinkTest::Peers LinkTest::kEveryPeer(louddesk::kAllPeers.begin(), louddesk::kAllPeers.end());
const LinkTest::Peers LinkTest::kTcpPeers = {Peer::kHeartbeatReceiver, Peer::kProcessMonitor,
                                             Peer::kHardwareManager, Peer::kMainAppServer,
                                             Peer::kOpticalAppServer};

void LinkTest::StartLinked() {
  OpenPeers(kEveryPeer);
  StartProcess();
  AwaitEveryPeer();
  ASSERT_FALSE(HasFatalFailure());
  StartReporting();
}

void LinkTest::AwaitEveryPeer() {
  const auto isConnected = [this](Peer peer) { return IsConnected(peer); };
  const auto areConnected = [&] {
    return std::all_of(kEveryPeer.begin(), kEveryPeer.end(), isConnected);
  };
  EXPECT_TRUE(PollUntil(areConnected, kPatience)) << "a peer is not connected to";
  ASSERT_TRUE(mUnit.WaitUntilSubscribed(kPatience)) << mUnit.MissingSubscriptions();
}

void LinkTest::StartReporting() {
  Say(Peer::kOpticalAppServer, kEnableReportingTopic, louddesk::EnableReportingJson(true));
  ASSERT_TRUE(mService->WaitForLine("enable true", kPatience));
  Say(Peer::kMainAppServer, louddesk::TopicFor(kPresetTopicPrefix, mUnit.MeterSet()),
      louddesk::PresetForSpeakers(SurroundSpeakers(), mUnit.Cluster()).Json());
  ExpectAcknowledgement("Start");
  mUnit.DropLoudnessData();
}

void LinkTest::OpenPeers(const Peers& peers) {
  std::filesystem::create_directories(kIpcDirectory);
  for (const Peer peer : peers)
    mPeers[peer] = std::make_unique<CountedPeer>(RowOf(peer).type, mUnit.EndpointOf(peer));
}

void LinkTest::ClosePeers(const Peers& peers) {
  for (const Peer peer : peers)
    mPeers.erase(peer);
}

bool LinkTest::PollUntil(const std::function<bool()>& condition,
                         std::chrono::milliseconds patience) {
  const auto end = Clock::now() + patience;
  for (;;) {
    std::vector<zmq_pollitem_t> items;
    for (const auto& [peer, socket] : mPeers) {
      socket->ReadPending();
      items.push_back({zsock_resolve(socket->Socket()), 0, ZMQ_POLLIN, 0});
    }
    if (condition())
      return true;
    if (Clock::now() >= end)
      return false;
    zmq_poll(items.data(), static_cast<int>(items.size()), kPollPeriod.count());
  }
}

void LinkTest::ExpectServed(const Peers& peers, Clock::time_point since, const std::string& what,
                            std::chrono::milliseconds limit) {
  mFirstProbe = mNextProbe;
  const std::size_t firstLine = mService->LineCount();
  for (const Peer peer : peers)
    At(peer).Messages().clear();
  Peers waiting = peers;
  auto nextProbe = Clock::now();
  PollUntil(
      [&] {
        for (auto peer = waiting.begin(); peer != waiting.end();)
          if (IsServed(*peer, firstLine)) {
            const auto waited =
                std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - since);
            std::cout << what << ": " << NameOf(*peer) << " served after " << waited.count()
                      << " ms\n";
            RecordProperty(std::string(NameOf(*peer)) + "Ms", std::to_string(waited.count()));
            EXPECT_LE(waited, limit) << NameOf(*peer);
            peer = waiting.erase(peer);
          } else {
            ++peer;
          }
        if (Clock::now() >= nextProbe) {
          for (const Peer peer : waiting)
            Probe(peer);
          ++mNextProbe;
          nextProbe = Clock::now() + kProbePeriod;
        }
        return waiting.empty();
      },
      kPatience);
  for (const Peer peer : waiting)
    ADD_FAILURE() << NameOf(peer) << " is not served";
}

void LinkTest::ExpectOneConnectionEach(const Peers& peers) {
  const auto isMoreThanOne = [this](Peer peer) {
    return At(peer).Connections() > 1 || At(peer).Losses() > 0;
  };
  PollUntil([&] { return std::any_of(peers.begin(), peers.end(), isMoreThanOne); }, kSettlingTime);
  for (const Peer peer : peers) {
    SCOPED_TRACE(NameOf(peer));
    EXPECT_EQ(1, At(peer).Connections());
    EXPECT_EQ(0, At(peer).Losses());
    EXPECT_EQ(SubscriptionsDue(peer, mUnit), At(peer).Subscriptions());
  }
}

void LinkTest::ExpectEachSubscriptionOncePerConnection() {
  for (const Peer peer : kTcpPeers)
    for (const auto& [topic, times] : At(peer).Subscriptions())
      EXPECT_EQ(At(peer).Connections(), times) << topic << " at the " << NameOf(peer);
}

void LinkTest::ExpectOneAnswer() {
  const std::size_t firstLine = mService->LineCount();
  mUnit.DropStates();
  louddesk::LoudnessCommand command;
  command.command = "Play";
  command.timeStamp = ++mCommands;
  Say(Peer::kMainAppServer, louddesk::TopicFor(kCommandTopicPrefix, mUnit.MeterSet()),
      command.Json());
  ExpectAcknowledgement("Play");
  while (const auto state = mUnit.NextState(5 * kPeriod))
    EXPECT_NE(std::string::npos, state->topic.find("_Repub_")) << state->topic << state->json;
  int heard = 0;
  const std::vector<OutputLine> lines = mService->Lines();
  for (std::size_t i = firstLine; i < lines.size(); ++i)
    heard += lines[i].text.find(command.Json()) != std::string::npos ? 1 : 0;
  EXPECT_EQ(1, heard) << "times";
}

void LinkTest::ExpectNothingHeardTwice() {
  std::map<std::string, int> heard;
  for (const OutputLine& line : mService->Lines())
    for (const char* beginning : {"\"Topic AppLoudnessCmd-", "\"Raw loudness data dropped"}) {
      const std::size_t begin = line.text.find(beginning);
      if (begin != std::string::npos)
        ++heard[line.text.substr(begin)];
    }
  for (const auto& [line, times] : heard)
    EXPECT_EQ(1, times) << line;
}

int LinkTest::CountLines(const std::string& text) const {
  const std::vector<OutputLine> lines = mService->Lines();
  return static_cast<int>(std::count_if(lines.begin(), lines.end(), [&](const OutputLine& line) {
    return line.text.find(text) != std::string::npos;
  }));
}

void LinkTest::Say(Peer peer, const std::string& topic, const std::string& payload) {
  At(peer).Publish({topic, payload});
}

bool LinkTest::IsConnected(Peer peer) {
  return At(peer).Connections() > 0 &&
         At(peer).Subscriptions().size() == SubscriptionsDue(peer, mUnit).size();
}

// The log line of a dropped block contains the size of its last frame, which identifies the block.
// Messages of another peer make the service write to the log sink.
void LinkTest::Probe(Peer peer) {
  if (peer == Peer::kSignalProcessor)
    At(peer).Publish(
        {mUnit.RawTopic(), "", "", std::string(static_cast<std::size_t>(mNextProbe), 'x')});
  else if (peer == Peer::kLogSink)
    Say(Peer::kMainAppServer, ProbeTopic(peer, mNextProbe), "{}");
  else if (!IsCollector(peer))
    Say(peer, ProbeTopic(peer, mNextProbe), "{}");
}

bool LinkTest::IsServed(Peer peer, std::size_t firstLine) {
  if (IsCollector(peer))
    return !At(peer).Messages().empty();
  for (int number = mNextProbe - 1; number >= mFirstProbe; --number)
    if (mService->WaitForLine(ProbeLine(peer, number), {}, firstLine))
      return true;
  return false;
}

std::string LinkTest::ProbeLine(Peer peer, int number) const {
  if (peer == Peer::kSignalProcessor)
    return "frames of 0, 0 and " + std::to_string(number) + " bytes";
  return ProbeTopic(peer, number);
}
