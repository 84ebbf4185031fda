// A SUB socket with a queue and a monitor.

#include "DataClient.h"

#include <cstdint>
#include <cstring>
#include <utility>

namespace louddesk {

DataClient::DataClient(const std::string& file, const ClientSettings& settings)
    : mReadAtATime(settings.readAtATime), mSocket(zsock_new(ZMQ_SUB)) {
  mMonitor = StartMonitor(mSocket, ZMQ_EVENT_HANDSHAKE_SUCCEEDED | ZMQ_EVENT_DISCONNECTED);
  zsock_set_rcvhwm(mSocket, settings.queuedMessages);
  zsock_set_maxmsgsize(mSocket, settings.frameBytes);
  zsock_set_reconnect_ivl(mSocket, settings.reconnectMs);
  zsock_set_subscribe(mSocket, "");
  zsock_connect(mSocket, MQ_IPC_ENDPOINT_FORMAT, settings.directory.c_str(), file.c_str());
}

DataClient::~DataClient() {
  StopMonitor(mSocket, mMonitor);
  zsock_destroy(&mSocket);
}

void DataClient::ReadPending() {
  ReadConnectionEvents();
  for (std::size_t read = 0; read < mReadAtATime; ++read) {
    Frames frames = ReceiveFrames(mSocket);
    if (frames.empty())
      return;
    mMessages.push_back(Arrival{std::move(frames), std::chrono::steady_clock::now()});
  }
}

void DataClient::ReadConnectionEvents() {
  for (Frames frames = ReceiveFrames(mMonitor); !frames.empty(); frames = ReceiveFrames(mMonitor)) {
    std::uint16_t event = 0;  // first frame: event number, then event value
    if (frames.front().size() < sizeof(event))
      continue;
    std::memcpy(&event, frames.front().data(), sizeof(event));
    mIsConnected = event == ZMQ_EVENT_HANDSHAKE_SUCCEEDED;
    mConnections += mIsConnected ? 1 : 0;
  }
}

}  // namespace louddesk
