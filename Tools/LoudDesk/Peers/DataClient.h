// A client of one publisher of the service.

#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <limits>
#include <string>

#include "MqNames.h"
#include "Sockets.h"

namespace louddesk {

/// A message and the time when it was read.
struct Arrival {
  Frames frames;
  std::chrono::steady_clock::time_point time;
};

/// Where clients find publishers, and how much they accept. The defaults lose nothing of a service
/// at full speed; a long-running process must set limits.
struct ClientSettings {
  std::string directory = kIpcDirectory;
  int reconnectMs = 10;    // between attempts to connect
  int queuedMessages = 0;  // unread messages; further ones are lost. 0: no limit
  int frameBytes = -1;     // of a message; a larger one closes the connection. -1: no limit
  std::size_t readAtATime = std::numeric_limits<std::size_t>::max();  // messages
};

class DataClient : public SocketReader {
 public:
  /// Subscribes to everything published on `file` in the directory. Connects as soon as a publisher
  /// binds it.
  explicit DataClient(const std::string& file, const ClientSettings& settings = {});
  ~DataClient() override;
  DataClient(const DataClient&) = delete;
  DataClient& operator=(const DataClient&) = delete;

  /// Whether the client is connected to the publisher, as far as monitor events were read.
  bool IsConnected() const { return mIsConnected; }

  /// Number of connections made, as far as monitor events were read.
  unsigned Connections() const { return mConnections; }

  /// Messages received and not yet taken, oldest first.
  std::deque<Arrival>& Messages() { return mMessages; }

  zsock_t* Socket() const { return mSocket; }

  std::vector<zsock_t*> Sockets() const override { return {mSocket, mMonitor}; }
  void ReadPending() override;

 private:
  void ReadConnectionEvents();

  const std::size_t mReadAtATime;  // messages
  zsock_t* mSocket = nullptr;      // SUB, owned
  zsock_t* mMonitor = nullptr;     // reports new and lost connections; owned
  bool mIsConnected = false;
  unsigned mConnections = 0;
  std::deque<Arrival> mMessages;
};

}  // namespace louddesk
