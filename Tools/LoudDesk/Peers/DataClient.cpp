// SUB socket with a queue and a monitor.

#include "DataClient.h"

#include <cstdint>
#include <cstring>
#include <utility>

#include "MqNames.h"

namespace louddesk {
namespace {

constexpr int kReconnectMs = 10;  // soon after the publisher binds, so that nothing is missed

}  // namespace

DataClient::DataClient(const std::string& file) : mSocket(zsock_new(ZMQ_SUB)) {
  mMonitor = StartMonitor(mSocket, ZMQ_EVENT_HANDSHAKE_SUCCEEDED | ZMQ_EVENT_DISCONNECTED);
  zsock_set_rcvhwm(mSocket, 0);
  zsock_set_reconnect_ivl(mSocket, kReconnectMs);
  zsock_set_subscribe(mSocket, "");
  zsock_connect(mSocket, MQ_IPC_ENDPOINT_FORMAT, kIpcDirectory, file.c_str());
}

DataClient::~DataClient() {
  StopMonitor(mSocket, mMonitor);
  zsock_destroy(&mSocket);
}

void DataClient::ReadPending() {
  ReadConnectionEvents();
  for (Frames frames = ReceiveFrames(mSocket); !frames.empty(); frames = ReceiveFrames(mSocket))
    mMessages.push_back(Arrival{std::move(frames), std::chrono::steady_clock::now()});
}

void DataClient::ReadConnectionEvents() {
  for (Frames frames = ReceiveFrames(mMonitor); !frames.empty(); frames = ReceiveFrames(mMonitor)) {
    std::uint16_t event = 0;  // the first frame: event number, then its value
    if (frames.front().size() < sizeof(event))
      continue;
    std::memcpy(&event, frames.front().data(), sizeof(event));
    mIsConnected = event == ZMQ_EVENT_HANDSHAKE_SUCCEEDED;
  }
}

}  // namespace louddesk
