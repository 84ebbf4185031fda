// Clients of the service's publishers.

#include "ServiceFeed.h"

#include "PubHandler.h"

namespace louddesk {
namespace {

std::string PublisherFile(const char* prefix, unsigned meterSet, unsigned cluster) {
  MqFileName_t file = {};
  FormatPublisherFile(file, prefix, meterSet, cluster);
  return file;
}

}  // namespace

std::string DataPublisherFile(unsigned meterSet, unsigned cluster) {
  return PublisherFile(kDataPublisherFilePrefix, meterSet, cluster);
}

std::string StatePublisherFile(unsigned meterSet, unsigned cluster) {
  return PublisherFile(kStatePublisherFilePrefix, meterSet, cluster);
}

ServiceFeed::ServiceFeed(unsigned meterSet, unsigned cluster) {
  const std::string dataFile = DataPublisherFile(meterSet, cluster);
  const std::string stateFile = StatePublisherFile(meterSet, cluster);
  mClients.emplace_back(dataFile);
  if (stateFile != dataFile)
    mClients.emplace_back(stateFile);
}

std::vector<zsock_t*> ServiceFeed::Sockets() const {
  std::vector<zsock_t*> sockets;
  for (const DataClient& client : mClients)
    for (zsock_t* socket : client.Sockets())
      sockets.push_back(socket);
  return sockets;
}

void ServiceFeed::ReadPending() {
  for (DataClient& client : mClients) {
    client.ReadPending();
    for (auto& messages = client.Messages(); !messages.empty(); messages.pop_front()) {
      const Arrival& arrival = messages.front();
      if (!arrival.frames.empty() && arrival.frames.front() == kLoudnessDataTopic)
        mData.push_back(DecodeLoudnessMessage(arrival));
      else
        mStates.push_back(DecodeStateMessage(arrival));
    }
  }
}

}  // namespace louddesk
