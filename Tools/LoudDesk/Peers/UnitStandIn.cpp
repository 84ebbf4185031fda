// The unit around a running service.

#include "UnitStandIn.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

#include "BoardAddresses.h"
#include "Endpoints.h"
#include "HeartBeater.h"
#include "Logger.h"
#include "PubHandler.h"

namespace louddesk {
namespace {

// A content of its own, so that the frame is neither missing nor empty.
constexpr char kSpareFrame[] = "spare";

struct PeerName {
  Peer peer;
  const char* name;  // for people
};

constexpr PeerName kPeerNames[] = {
    {Peer::kHeartbeatReceiver, "heartbeat receiver"},
    {Peer::kProcessMonitor, "process monitor"},
    {Peer::kHardwareManager, "hardware manager"},
    {Peer::kMainAppServer, "application server of the main board"},
    {Peer::kOpticalAppServer, "application server of the optical board"},
    {Peer::kSignalProcessor, "signal processor"},
    {Peer::kLogSink, "log sink"},
};

const char* PeerNameOf(Peer peer) {
  for (const PeerName& entry : kPeerNames)
    if (entry.peer == peer)
      return entry.name;
  return "peer";
}

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

std::string PublisherFile(const char* prefix, unsigned meterSet, unsigned cluster) {
  MqFileName_t file = {};
  FormatPublisherFile(file, prefix, meterSet, cluster);
  return file;
}

// Every text subscription of the service; it applies to each publisher that the service connects
// to.
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

template <typename Queue>
auto TakeFirst(Queue& queue) {
  auto first = std::move(queue.front());
  queue.pop_front();
  return first;
}

}  // namespace

Patience Remaining(std::chrono::steady_clock::time_point due) {
  const auto left = std::chrono::ceil<Patience>(due - std::chrono::steady_clock::now());
  return std::max(left, Patience{0});
}

std::string InTimeText(Patience patience) {
  return fmt::format(" in {:.1f} s", static_cast<double>(patience.count()) / 1000);
}

std::string DataPublisherFile(unsigned meterSet, unsigned cluster) {
  return PublisherFile(kDataPublisherFilePrefix, meterSet, cluster);
}

std::string StatePublisherFile(unsigned meterSet, unsigned cluster) {
  return PublisherFile(kStatePublisherFilePrefix, meterSet, cluster);
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
    : mMeterSet(meterSet),
      mCluster(cluster),
      mDataClient(DataPublisherFile(meterSet, cluster)),
      mStateClient(StatePublisherFile(meterSet, cluster)) {
  SettleBoardAddresses();
  const auto onMainBoard = [](unsigned port) { return Endpoint::Tcp(MainBoardAddress(), port); };
  mPublishers.try_emplace(Peer::kProcessMonitor, onMainBoard(kHbMonPort));
  mPublishers.try_emplace(Peer::kHardwareManager, onMainBoard(kHwmPort));
  mPublishers.try_emplace(Peer::kMainAppServer, onMainBoard(kAppserverPort));
  mPublishers.try_emplace(Peer::kOpticalAppServer,
                          Endpoint::Tcp(OpticalBoardAddress(), kAppserverPort));
  mPublishers.try_emplace(Peer::kSignalProcessor, Endpoint::Ipc(RawDataFile(meterSet)));
  mCollectors.try_emplace(Peer::kHeartbeatReceiver, onMainBoard(kMonitorInletPort));
  mCollectors.try_emplace(Peer::kLogSink, Endpoint::Ipc(kLogSinkIpcName));
}

void UnitStandIn::OpenAll(const std::set<Peer>& absent) {
  for (const Peer peer : kAllPeers)
    if (absent.count(peer) == 0)
      Open(peer);
}

void UnitStandIn::Open(Peer peer) {
  const auto publisher = mPublishers.find(peer);
  if (publisher != mPublishers.end())
    publisher->second.Open();
  else
    mCollectors.at(peer).Open();
}

void UnitStandIn::Close(Peer peer) {
  const auto publisher = mPublishers.find(peer);
  if (publisher != mPublishers.end())
    publisher->second.Close();
  else
    mCollectors.at(peer).Close();
}

std::string UnitStandIn::EndpointOf(Peer peer) const {
  const auto publisher = mPublishers.find(peer);
  return publisher != mPublishers.end() ? publisher->second.Where().Text()
                                        : mCollectors.at(peer).Where().Text();
}

const std::set<std::string>& UnitStandIn::SubscriptionsAt(Peer peer) const {
  return mPublishers.at(peer).Subscriptions();
}

bool UnitStandIn::WaitFor(const std::function<bool()>& condition, Patience patience) {
  const auto end = std::chrono::steady_clock::now() + patience;
  for (;;) {
    ReadEverything();
    if (condition())
      return true;
    const Patience left = Remaining(end);
    if (left.count() == 0 || zsys_interrupted)
      return false;
    PollEverything(left);
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
      missing += std::string("no subscription to ") + topic + " at the " + PeerNameOf(peer) + "; ";
  if (!mDataClient.IsConnected())
    missing += "no publisher of loudness data; ";
  if (!mStateClient.IsConnected())
    missing += "no publisher of states; ";
  return missing.substr(0, missing.find_last_not_of("; ") + 1);
}

std::set<std::string> UnitStandIn::MissingTopics(Peer peer, const PublisherPeer& publisher) const {
  std::set<std::string> missing;
  if (!publisher.IsOpen())
    return missing;
  const std::set<std::string> expected =
      peer == Peer::kSignalProcessor ? std::set<std::string>{RawTopic()} : TextTopics(mMeterSet);
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

std::optional<LoudnessMessage> UnitStandIn::NextLoudnessData(Patience patience) {
  auto& queue = mDataClient.Messages();
  if (!WaitFor([&queue] { return !queue.empty(); }, patience))
    return std::nullopt;
  return DecodeLoudnessMessage(TakeFirst(queue));
}

std::optional<StateMessage> UnitStandIn::NextState(Patience patience) {
  auto& queue = mStateClient.Messages();
  if (!WaitFor([&queue] { return !queue.empty(); }, patience))
    return std::nullopt;
  return DecodeStateMessage(TakeFirst(queue));
}

std::optional<Frames> UnitStandIn::NextHeartbeat(Patience patience) {
  auto& queue = mCollectors.at(Peer::kHeartbeatReceiver).Messages();
  if (!WaitFor([&queue] { return !queue.empty(); }, patience))
    return std::nullopt;
  return TakeFirst(queue);
}

std::optional<LogLine> UnitStandIn::NextLogLine(Patience patience) {
  auto& queue = mCollectors.at(Peer::kLogSink).Messages();
  if (!WaitFor([&queue] { return !queue.empty(); }, patience))
    return std::nullopt;
  return DecodeLogLine(TakeFirst(queue));
}

void UnitStandIn::DropLoudnessData() {
  ReadEverything();
  mDataClient.Messages().clear();
}

void UnitStandIn::DropStates() {
  ReadEverything();
  mStateClient.Messages().clear();
}

void UnitStandIn::DropHeartbeats() {
  ReadEverything();
  mCollectors.at(Peer::kHeartbeatReceiver).Messages().clear();
}

void UnitStandIn::DropLogLines() {
  ReadEverything();
  mCollectors.at(Peer::kLogSink).Messages().clear();
}

std::string UnitStandIn::RawTopic() const {
  return RawDataTopic(mMeterSet);
}

void UnitStandIn::ReadEverything() {
  for (auto& [peer, publisher] : mPublishers)
    publisher.ReadPending();
  for (auto& [peer, collector] : mCollectors)
    collector.ReadPending();
  mDataClient.ReadPending();
  mStateClient.ReadPending();
}

void UnitStandIn::PollEverything(Patience patience) {
  std::vector<zmq_pollitem_t> items;
  const auto add = [&items](zsock_t* socket) {
    if (socket != nullptr)
      items.push_back({zsock_resolve(socket), 0, ZMQ_POLLIN, 0});
  };
  for (const auto& [peer, publisher] : mPublishers)
    add(publisher.Socket());
  for (const auto& [peer, collector] : mCollectors)
    add(collector.Socket());
  for (const DataClient* client : {&mDataClient, &mStateClient}) {
    add(client->Socket());
    add(client->Monitor());
  }
  zmq_poll(items.data(), static_cast<int>(items.size()), static_cast<long>(patience.count()));
}

}  // namespace louddesk
