// Counting peers. Used on the thread of the test.

#include "CountedPeer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <utility>

#include "Emulation.h"
#include "Sockets.h"

namespace {

constexpr int kEvents = ZMQ_EVENT_HANDSHAKE_SUCCEEDED | ZMQ_EVENT_DISCONNECTED | ZMQ_EVENT_CLOSED |
                        ZMQ_EVENT_CLOSE_FAILED;
constexpr int kCloseTimeoutMs = 2000 * kSlowness;
constexpr char kSubscribed = '\1';  // first byte of a subscription; the topic follows

std::uint16_t EventOf(const louddesk::Frames& frames) {
  std::uint16_t event = 0;
  if (frames.front().size() >= sizeof event)
    std::memcpy(&event, frames.front().data(), sizeof event);
  return event;
}

}  // namespace

CountedPeer::CountedPeer(int type, const std::string& endpoint)
    : mEndpoint(endpoint), mSocket(zsock_new(type)) {
  // Reports repeated subscriptions one by one. Must be set before the first connection.
  if (type == ZMQ_XPUB)
    zsock_set_xpub_verbose(mSocket, 1);
  zsock_set_sndhwm(mSocket, 0);
  zsock_set_rcvhwm(mSocket, 0);
  mMonitor = louddesk::StartMonitor(mSocket, kEvents);
  EXPECT_NE(-1, zsock_bind(mSocket, "%s", endpoint.c_str()))
      << endpoint << ": " << zmq_strerror(zmq_errno());
}

// Waits, because ZeroMQ closes listeners in the background and the endpoint is in use until then.
CountedPeer::~CountedPeer() {
  zsock_set_rcvtimeo(mMonitor, kCloseTimeoutMs);
  if (zsock_unbind(mSocket, "%s", mEndpoint.c_str()) == 0)
    while (!mIsClosed) {
      zmsg_t* event = zmsg_recv(mMonitor);
      if (event == nullptr)
        break;
      std::uint16_t number = 0;
      std::memcpy(&number, zframe_data(zmsg_first(event)), sizeof number);
      mIsClosed = number == ZMQ_EVENT_CLOSED || number == ZMQ_EVENT_CLOSE_FAILED;
      zmsg_destroy(&event);
    }
  louddesk::StopMonitor(mSocket, mMonitor);
  zsock_destroy(&mSocket);
}

void CountedPeer::ReadPending() {
  ReadEvents();
  for (louddesk::Frames frames = louddesk::ReceiveFrames(mSocket); !frames.empty();
       frames = louddesk::ReceiveFrames(mSocket))
    TakeMessage(std::move(frames));
}

void CountedPeer::ReadEvents() {
  for (louddesk::Frames frames = louddesk::ReceiveFrames(mMonitor); !frames.empty();
       frames = louddesk::ReceiveFrames(mMonitor)) {
    const std::uint16_t event = EventOf(frames);
    mConnections += event == ZMQ_EVENT_HANDSHAKE_SUCCEEDED ? 1 : 0;
    mLosses += event == ZMQ_EVENT_DISCONNECTED ? 1 : 0;
  }
}

// A publisher receives subscriptions and cancellations of subscriptions.
void CountedPeer::TakeMessage(louddesk::Frames frames) {
  if (zsock_type(mSocket) != ZMQ_XPUB)
    mMessages.push_back(std::move(frames));
  else if (!frames.front().empty() && frames.front().front() == kSubscribed)
    ++mSubscriptions[frames.front().substr(1)];
}

void CountedPeer::Publish(const louddesk::Frames& frames) {
  louddesk::SendFrames(mSocket, frames);
}
