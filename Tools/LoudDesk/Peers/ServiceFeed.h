// A running service as its clients see it, through its two publishers.

#pragma once

#include <deque>
#include <string>
#include <vector>

#include "DataClient.h"
#include "ServiceMessages.h"

namespace louddesk {

/// IPC files of the service's publishers. Without a meter set (0) both publishers share one file.
std::string DataPublisherFile(unsigned meterSet, unsigned cluster);
std::string StatePublisherFile(unsigned meterSet, unsigned cluster);

/// The meter set and cluster of a service. Without a meter set (0) the cluster is 0, because the
/// file name does not contain it.
struct ServicePlace {
  unsigned meterSet;
  unsigned cluster;
};

/// The places of all publisher files in the directory, sorted by meter set and cluster. A killed
/// service leaves its file behind.
std::vector<ServicePlace> FindServicePlaces(const std::string& directory = kIpcDirectory);

class ServiceFeed : public SocketReader {
 public:
  /// Connects to the publishers of the service, now or as soon as it starts.
  ServiceFeed(unsigned meterSet, unsigned cluster, const ClientSettings& settings = {});

  /// Whether the loudness-data publisher is connected, and whether the state publisher is.
  bool HasDataPublisher() const { return mClients.front().IsConnected(); }
  bool HasStatePublisher() const { return mClients.back().IsConnected(); }

  /// Number of connections made to the loudness-data publisher.
  unsigned DataConnections() const { return mClients.front().Connections(); }

  /// Messages received and not yet taken, oldest first.
  std::deque<LoudnessMessage>& Data() { return mData; }
  std::deque<StateMessage>& States() { return mStates; }

  std::vector<zsock_t*> Sockets() const override;
  void ReadPending() override;

 private:
  std::deque<DataClient> mClients;  // for data and states; one if they share an endpoint
  std::deque<LoudnessMessage> mData;
  std::deque<StateMessage> mStates;
};

}  // namespace louddesk
