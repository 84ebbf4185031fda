// A running service as its clients see it: both of its publishers, and nothing else of it.

#pragma once

#include <deque>
#include <string>
#include <vector>

#include "DataClient.h"
#include "ServiceMessages.h"

namespace louddesk {

/// IPC files of the service's publishers. Without a meter set both are the same.
std::string DataPublisherFile(unsigned meterSet, unsigned cluster);
std::string StatePublisherFile(unsigned meterSet, unsigned cluster);

/// Where a service publishes. Without a meter set (0) the cluster is 0: the files do not tell it.
struct ServicePlace {
  unsigned meterSet;
  unsigned cluster;
};

/// The places for which there is a publisher's file in the directory, in the order of meter sets
/// and clusters. A service that was killed leaves its file.
std::vector<ServicePlace> FindServicePlaces(const std::string& directory = kIpcDirectory);

class ServiceFeed : public SocketReader {
 public:
  /// Connects to the publishers of that service, now or as soon as it starts.
  ServiceFeed(unsigned meterSet, unsigned cluster, const ClientSettings& settings = {});

  /// Whether the connection to the publisher of loudness data stands, and to that of states.
  bool HasDataPublisher() const { return mClients.front().IsConnected(); }
  bool HasStatePublisher() const { return mClients.back().IsConnected(); }

  /// How often the connection to the publisher of loudness data was made.
  unsigned DataConnections() const { return mClients.front().Connections(); }

  /// Messages read and not yet taken, oldest first.
  std::deque<LoudnessMessage>& Data() { return mData; }
  std::deque<StateMessage>& States() { return mStates; }

  std::vector<zsock_t*> Sockets() const override;
  void ReadPending() override;

 private:
  std::deque<DataClient> mClients;  // of data and states; one when both share an endpoint
  std::deque<LoudnessMessage> mData;
  std::deque<StateMessage> mStates;
};

}  // namespace louddesk
