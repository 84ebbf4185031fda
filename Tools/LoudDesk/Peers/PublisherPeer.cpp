// XPUB socket that keeps account of its subscriptions.

#include "PublisherPeer.h"

#include <utility>

namespace louddesk {
namespace {

constexpr char kSubscribed = '\1';  // first byte of a subscription; the topic follows

}  // namespace

PublisherPeer::PublisherPeer(Endpoint endpoint) : mSocket(ZMQ_XPUB, std::move(endpoint)) {}

void PublisherPeer::Close() {
  mSocket.Close();
  mSubscriptions.clear();
}

void PublisherPeer::Publish(const Frames& frames) {
  SendFrames(mSocket.Socket(), frames);
}

void PublisherPeer::ReadPending() {
  if (!IsOpen())
    return;
  for (Frames frames = ReceiveFrames(Socket()); !frames.empty(); frames = ReceiveFrames(Socket())) {
    const std::string& frame = frames.front();
    if (frame.empty())
      continue;
    if (frame.front() == kSubscribed)
      mSubscriptions.insert(frame.substr(1));
    else
      mSubscriptions.erase(frame.substr(1));
  }
}

}  // namespace louddesk
