// A client of one of the service's publishers.

#pragma once

#include <chrono>
#include <deque>
#include <string>

#include "Sockets.h"

namespace louddesk {

/// A message and when it was read.
struct Arrival {
  Frames frames;
  std::chrono::steady_clock::time_point time;
};

class DataClient : public SocketReader {
 public:
  /// Subscribes to everything published on `file` in the unit's IPC directory, now or as soon as
  /// somebody binds it.
  explicit DataClient(const std::string& file);
  ~DataClient() override;
  DataClient(const DataClient&) = delete;
  DataClient& operator=(const DataClient&) = delete;

  /// Whether the connection to the publisher stands, as far as it was read.
  bool IsConnected() const { return mIsConnected; }

  /// Messages read and not yet taken, oldest first.
  std::deque<Arrival>& Messages() { return mMessages; }

  zsock_t* Socket() const { return mSocket; }

  std::vector<zsock_t*> Sockets() const override { return {mSocket, mMonitor}; }
  void ReadPending() override;

 private:
  void ReadConnectionEvents();

  zsock_t* mSocket = nullptr;   // SUB, owned
  zsock_t* mMonitor = nullptr;  // tells of connections made and lost; owned
  bool mIsConnected = false;
  std::deque<Arrival> mMessages;
};

}  // namespace louddesk
