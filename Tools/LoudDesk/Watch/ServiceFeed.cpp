// Clients of the service's publishers.

#include "ServiceFeed.h"

#include <unistd.h>

#include <utility>
#include <vector>

#include "UnitStandIn.h"

namespace louddesk {
namespace {

constexpr char kLoudnessTopic[] = "LoudnessData";

template <typename Message>
std::optional<Message> TakeFirst(std::deque<Message>& queue) {
  if (queue.empty())
    return std::nullopt;
  Message first = std::move(queue.front());
  queue.pop_front();
  return first;
}

}  // namespace

ServiceFeed::ServiceFeed(unsigned meterSet, unsigned cluster)
    : mDataClient(DataPublisherFile(meterSet, cluster)) {
  const std::string stateFile = StatePublisherFile(meterSet, cluster);
  if (stateFile != DataPublisherFile(meterSet, cluster))
    mStateClient.emplace(stateFile);
}

void ServiceFeed::Wait(std::chrono::milliseconds patience, bool withKeys) {
  std::vector<zmq_pollitem_t> items;
  const auto add = [&items](const DataClient& client) {
    items.push_back({zsock_resolve(client.Socket()), 0, ZMQ_POLLIN, 0});
    items.push_back({zsock_resolve(client.Monitor()), 0, ZMQ_POLLIN, 0});
  };
  add(mDataClient);
  if (mStateClient)
    add(*mStateClient);
  if (withKeys)
    items.push_back({nullptr, STDIN_FILENO, ZMQ_POLLIN, 0});
  zmq_poll(items.data(), static_cast<int>(items.size()), static_cast<long>(patience.count()));
  Sort(mDataClient);
  if (mStateClient)
    Sort(*mStateClient);
}

bool ServiceFeed::IsConnected() const {
  return mDataClient.IsConnected() && (!mStateClient || mStateClient->IsConnected());
}

void ServiceFeed::Sort(DataClient& client) {
  client.ReadPending();
  for (auto& messages = client.Messages(); !messages.empty(); messages.pop_front()) {
    const Arrival& arrival = messages.front();
    if (!arrival.frames.empty() && arrival.frames.front() == kLoudnessTopic)
      mData.push_back(DecodeLoudnessMessage(arrival));
    else
      mStates.push_back(DecodeStateMessage(arrival));
  }
}

std::optional<LoudnessMessage> ServiceFeed::NextData() {
  return TakeFirst(mData);
}

std::optional<StateMessage> ServiceFeed::NextState() {
  return TakeFirst(mStates);
}

}  // namespace louddesk
