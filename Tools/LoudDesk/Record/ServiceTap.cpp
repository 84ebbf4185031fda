// Subscribes to the publishers of the service's peers and of the service.

#include "ServiceTap.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "ServiceFeed.h"
#include "UnitStandIn.h"

namespace louddesk {
namespace {

constexpr int kReconnectMs = 10;  // short, so that little is missed after a publisher binds

// Limit of the messages that wait for the receiving thread, for each connection. The thread always
// reads at once, so only a process without processor time comes here.
constexpr int kMostWaiting = 10000;

// Within seconds, replaces a connection that was lost without being closed, as after a power
// failure.
constexpr int kHeartbeatMs = 1000;
constexpr int kHeartbeatTimeoutMs = 3000;

struct PublishingPeer {
  Peer peer;
  Sender sender;
};

constexpr PublishingPeer kPublishingPeers[] = {
    {Peer::kProcessMonitor, Sender::kProcessMonitor},
    {Peer::kHardwareManager, Sender::kHardwareManager},
    {Peer::kMainAppServer, Sender::kMainAppServer},
    {Peer::kOpticalAppServer, Sender::kOpticalAppServer},
    {Peer::kSignalProcessor, Sender::kSignalProcessor},
};

const std::set<std::string> kEverything = {""};

std::string Shortened(const std::string& topic) {
  return topic.substr(0, topic.size() - std::min<std::size_t>(topic.size(), 1));
}

}  // namespace

SenderTap::SenderTap(Sender sender, const std::string& endpoint,
                     const std::set<std::string>& topics)
    : mSender(sender), mTopics(topics), mSocket(zsock_new(ZMQ_SUB)) {
  mMonitor = StartMonitor(mSocket, ZMQ_EVENT_HANDSHAKE_SUCCEEDED | ZMQ_EVENT_DISCONNECTED);
  zsock_set_rcvhwm(mSocket, kMostWaiting);
  zsock_set_reconnect_ivl(mSocket, kReconnectMs);
  zsock_set_heartbeat_ivl(mSocket, kHeartbeatMs);
  zsock_set_heartbeat_timeout(mSocket, kHeartbeatTimeoutMs);
  for (const std::string& topic : topics)
    zsock_set_subscribe(mSocket, Shortened(topic).c_str());
  zsock_connect(mSocket, "%s", endpoint.c_str());
}

SenderTap::~SenderTap() {
  StopMonitor(mSocket, mMonitor);
  zsock_destroy(&mSocket);
}

void SenderTap::ReadPending() {
  ReadConnectionEvents();
  for (Frames frames = ReceiveFrames(mSocket); !frames.empty(); frames = ReceiveFrames(mSocket))
    if (IsWanted(frames.front()))
      mMessages.push_back(std::move(frames));
}

void SenderTap::ReadConnectionEvents() {
  for (Frames frames = ReceiveFrames(mMonitor); !frames.empty(); frames = ReceiveFrames(mMonitor)) {
    std::uint16_t event = 0;  // the first frame has the event number, followed by its value
    if (frames.front().size() < sizeof event)
      continue;
    std::memcpy(&event, frames.front().data(), sizeof event);
    mIsConnected = event == ZMQ_EVENT_HANDSHAKE_SUCCEEDED;
  }
}

// Whether a subscription to the whole topic would have delivered the message.
bool SenderTap::IsWanted(const std::string& topic) const {
  return std::any_of(mTopics.begin(), mTopics.end(), [&topic](const std::string& wanted) {
    return topic.compare(0, wanted.size(), wanted) == 0;
  });
}

ServiceTap::ServiceTap(unsigned meterSet, unsigned cluster) {
  const UnitStandIn unit(meterSet, cluster);  // only gives addresses; its endpoints stay closed
  for (const PublishingPeer& publishing : kPublishingPeers)
    mTaps.emplace_back(publishing.sender, unit.EndpointOf(publishing.peer),
                       ServiceTopicsAt(publishing.peer, meterSet));
  const std::string dataFile = DataPublisherFile(meterSet, cluster);
  const std::string stateFile = StatePublisherFile(meterSet, cluster);
  if (dataFile != stateFile)
    mTaps.emplace_back(Sender::kDataPublisher, Endpoint::Ipc(dataFile).Text(), kEverything);
  mTaps.emplace_back(Sender::kStatePublisher, Endpoint::Ipc(stateFile).Text(), kEverything);
}

void ServiceTap::Wait(Patience patience) {
  std::vector<SocketReader*> readers;
  for (SenderTap& tap : mTaps)
    readers.push_back(&tap);
  WaitAndRead(readers, patience);
}

std::string ServiceTap::MissingText() const {
  std::string text;
  for (const SenderTap& tap : mTaps)
    if (!tap.IsConnected())
      text += (text.empty() ? "" : ", ") + std::string(SenderName(tap.Of()));
  return text;
}

}  // namespace louddesk
