// A peer that the service pushes messages to.

#pragma once

#include <deque>

#include "BoundSocket.h"
#include "Frames.h"
#include "SocketReader.h"

namespace louddesk {

class CollectorPeer : public SocketReader {
 public:
  explicit CollectorPeer(Endpoint endpoint);

  /// As BoundSocket. Messages received before stay in the queue.
  void Open() { mSocket.Open(); }
  void Close() { mSocket.Close(); }
  bool IsOpen() const { return mSocket.IsOpen(); }
  const Endpoint& Where() const { return mSocket.Where(); }

  /// Messages read and not yet taken, oldest first.
  std::deque<Frames>& Messages() { return mMessages; }

  zsock_t* Socket() const override { return mSocket.Socket(); }
  void ReadPending() override;

 private:
  BoundSocket mSocket;
  std::deque<Frames> mMessages;
};

}  // namespace louddesk
