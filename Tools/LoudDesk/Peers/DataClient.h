// A client of one of the service's publishers.

#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <limits>
#include <string>

#include "MqNames.h"
#include "Sockets.h"

namespace louddesk {

/// A message and when it was read.
struct Arrival {
  Frames frames;
  std::chrono::steady_clock::time_point time;
};

/// Where clients look for publishers, and what they take of one. The defaults lose nothing of a
/// service that is as fast as it can be; a process that stays sets bounds.
struct ClientSettings {
  std::string directory = kIpcDirectory;
  int reconnectMs = 10;    // between two attempts to connect
  int queuedMessages = 0;  // those that wait to be read; more are lost. 0: any number
  int frameBytes = -1;     // of a message; a larger one ends the connection. -1: any number
  std::size_t readAtATime = std::numeric_limits<std::size_t>::max();  // messages
};

class DataClient : public SocketReader {
 public:
  /// Subscribes to everything published on `file` in the directory, now or as soon as somebody
  /// binds it.
  explicit DataClient(const std::string& file, const ClientSettings& settings = {});
  ~DataClient() override;
  DataClient(const DataClient&) = delete;
  DataClient& operator=(const DataClient&) = delete;

  /// Whether the connection to the publisher stands, as far as it was read.
  bool IsConnected() const { return mIsConnected; }

  /// How often it was made, as far as that was read.
  unsigned Connections() const { return mConnections; }

  /// Messages read and not yet taken, oldest first.
  std::deque<Arrival>& Messages() { return mMessages; }

  zsock_t* Socket() const { return mSocket; }

  std::vector<zsock_t*> Sockets() const override { return {mSocket, mMonitor}; }
  void ReadPending() override;

 private:
  void ReadConnectionEvents();

  const std::size_t mReadAtATime;  // messages
  zsock_t* mSocket = nullptr;      // SUB, owned
  zsock_t* mMonitor = nullptr;     // tells of connections made and lost; owned
  bool mIsConnected = false;
  unsigned mConnections = 0;
  std::deque<Arrival> mMessages;
};

}  // namespace louddesk
