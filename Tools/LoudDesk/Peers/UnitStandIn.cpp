// The unit around a running service.

#include "UnitStandIn.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <utility>

#include "BoardAddresses.h"
#include "Endpoints.h"
#include "HeartBeater.h"
#include "Logger.h"
#include "PubHandler.h"

namespace louddesk {
namespace {

// Raw blocks need a last frame; its content is ignored.
constexpr char kSpareFrame[] = "spare";

// For users, in the order of kAllPeers.
constexpr const char* kPeerNames[] = {"heartbeat receiver",
                                      "process monitor",
                                      "hardware manager",
                                      "application server of the main board",
                                      "application server of the optical board",
                                      "signal processor",
                                      "log sink"};
static_assert(std::size(kPeerNames) == kAllPeers.size());

void SettleBoardAddresses() {
  std::string error;
  if (!LoadBoardAddresses(error))
    throw BindError(error);
}

std::string RawDataFile(unsigned meterSet) {
  MqFileName_t file = {};
  FormatRawDataFile(file, meterSet);
  return file;
}

std::string RawDataTopic(unsigned meterSet) {
  NumberedTopic_t topic = {};
  FormatRawDataTopic(topic, meterSet);
  return topic;
}

// All topics that the service subscribes to at the publishers of text messages. It subscribes to
// all of them at each publisher.
std::set<std::string> TextTopics(unsigned meterSet) {
  std::set<std::string> topics;
  const auto add = [&topics](const auto& ofServer) {
    topics.insert(std::begin(ofServer), std::end(ofServer));
  };
  add(kHbMonTopics);
  add(kHwmTopics);
  add(kAppserverTopics);
  add(kQVAppserverTopics);
  if (meterSet <= kLastMeterSetWithTopics)
    for (const char* prefix : kMeterSetTopicPrefixes)
      topics.insert(TopicFor(prefix, meterSet));
  return topics;
}

template <typename Entry>
std::string FrameOf(const std::array<Entry, kMeters>& entries) {
  return {reinterpret_cast<const char*>(entries.data()), sizeof(entries)};
}

}  // namespace

Patience Remaining(std::chrono::steady_clock::time_point due) {
  const auto left = std::chrono::ceil<Patience>(due - std::chrono::steady_clock::now());
  return std::max(left, Patience{0});
}

std::string InTimeText(Patience patience) {
  return fmt::format(" in {:.1f} s", static_cast<double>(patience.count()) / 1000);
}

Endpoint MainAppServerEndpoint() {
  SettleBoardAddresses();
  return Endpoint::Tcp(MainBoardAddress(), kAppserverPort);
}

std::set<std::string> ServiceTopicsAt(Peer peer, unsigned meterSet) {
  return peer == Peer::kSignalProcessor ? std::set<std::string>{RawDataTopic(meterSet)}
                                        : TextTopics(meterSet);
}

std::string TopicFor(const std::string& prefix, unsigned meterSet) {
  NumberedTopic_t topic = {};
  FormatNumberedTopic(topic, prefix.c_str(), meterSet);
  return topic;
}

Frames RawMessage(unsigned meterSet, const BlockReading& block) {
  return {RawDataTopic(meterSet), FrameOf(block.peaks), FrameOf(block.powers), kSpareFrame};
}

UnitStandIn::UnitStandIn(unsigned meterSet, unsigned cluster)
    : mMeterSet(meterSet), mCluster(cluster), mFeed(meterSet, cluster) {
  SettleBoardAddresses();
  const auto onMainBoard = [](unsigned port) { return Endpoint::Tcp(MainBoardAddress(), port); };
  mPublishers.try_emplace(Peer::kProcessMonitor, onMainBoard(kHbMonPort));
  mPublishers.try_emplace(Peer::kHardwareManager, onMainBoard(kHwmPort));
  mPublishers.try_emplace(Peer::kMainAppServer, MainAppServerEndpoint());
  mPublishers.try_emplace(Peer::kOpticalAppServer,
                          Endpoint::Tcp(OpticalBoardAddress(), kAppserverPort));
  mPublishers.try_emplace(Peer::kSignalProcessor, Endpoint::Ipc(RawDataFile(meterSet)));
  mCollectors.try_emplace(Peer::kHeartbeatReceiver, onMainBoard(kMonitorInletPort));
  mCollectors.try_emplace(Peer::kLogSink, Endpoint::Ipc(kLogSinkIpcName));
  for (auto& [peer, publisher] : mPublishers)
    mPeers[peer] = &publisher;
  for (auto& [peer, collector] : mCollectors)
    mPeers[peer] = &collector;
  mReaders = {&mFeed};
  for (const auto& [peer, socket] : mPeers)
    mReaders.push_back(socket);
}

void UnitStandIn::OpenAll(const std::set<Peer>& absent) {
  for (const Peer peer : kAllPeers)
    if (absent.count(peer) == 0)
      Open(peer);
}

void UnitStandIn::Open(Peer peer) {
  mPeers.at(peer)->Open();
}

void UnitStandIn::Close(Peer peer) {
  mPeers.at(peer)->Close();
}

std::string UnitStandIn::EndpointOf(Peer peer) const {
  return mPeers.at(peer)->Where().Text();
}

const std::set<std::string>& UnitStandIn::SubscriptionsAt(Peer peer) const {
  return mPublishers.at(peer).Subscriptions();
}

bool UnitStandIn::WaitFor(const std::function<bool()>& condition, Patience patience) {
  const auto end = std::chrono::steady_clock::now() + patience;
  ReadEverything();
  for (;;) {
    if (condition())
      return true;
    const Patience left = Remaining(end);
    if (left.count() == 0 || zsys_interrupted)
      return false;
    WaitAndRead(mReaders, left);
  }
}

bool UnitStandIn::WaitUntilSubscribed(Patience patience) {
  return WaitFor([this] { return MissingSubscriptions().empty(); }, patience);
}

bool UnitStandIn::HasSubscribers() const {
  return std::any_of(mPublishers.begin(), mPublishers.end(),
                     [](const auto& entry) { return !entry.second.Subscriptions().empty(); });
}

std::string UnitStandIn::MissingSubscriptions() const {
  std::string missing;
  for (const auto& [peer, publisher] : mPublishers)
    for (const std::string& topic : MissingTopics(peer, publisher))
      missing += fmt::format("no subscription to {} at the {}; ", topic,
                             kPeerNames[static_cast<std::size_t>(peer)]);
  if (!mFeed.HasDataPublisher())
    missing += "no publisher of loudness data; ";
  if (!mFeed.HasStatePublisher())
    missing += "no publisher of states; ";
  return missing.substr(0, missing.find_last_not_of("; ") + 1);
}

std::set<std::string> UnitStandIn::MissingTopics(Peer peer, const PublisherPeer& publisher) const {
  std::set<std::string> missing;
  if (!publisher.IsOpen())
    return missing;
  const std::set<std::string> expected = ServiceTopicsAt(peer, mMeterSet);
  const std::set<std::string>& present = publisher.Subscriptions();
  std::set_difference(expected.begin(), expected.end(), present.begin(), present.end(),
                      std::inserter(missing, missing.end()));
  return missing;
}

void UnitStandIn::SendText(Peer peer, const std::string& topic,
                           const std::optional<std::string>& payload) {
  Frames frames = {topic};
  if (payload)
    frames.push_back(*payload);
  SendFrames(peer, frames);
}

void UnitStandIn::SendRaw(const BlockReading& block) {
  SendFrames(Peer::kSignalProcessor, RawMessage(mMeterSet, block));
}

void UnitStandIn::SendRawFrames(const Frames& framesAfterTopic) {
  Frames frames = {RawTopic()};
  frames.insert(frames.end(), framesAfterTopic.begin(), framesAfterTopic.end());
  SendFrames(Peer::kSignalProcessor, frames);
}

void UnitStandIn::SendFrames(Peer peer, const Frames& frames) {
  mPublishers.at(peer).Publish(frames);
}

std::optional<LogLine> UnitStandIn::NextLogLine(Patience patience) {
  const auto frames = Next(MessagesAt(Peer::kLogSink), patience);
  return frames ? std::optional(DecodeLogLine(*frames)) : std::nullopt;
}

std::string UnitStandIn::RawTopic() const {
  return RawDataTopic(mMeterSet);
}

}  // namespace louddesk
