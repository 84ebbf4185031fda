// A peer that the service subscribes to.

#pragma once

#include <set>
#include <string>

#include "BoundSocket.h"
#include "Frames.h"
#include "SocketReader.h"

namespace louddesk {

class PublisherPeer : public SocketReader {
 public:
  explicit PublisherPeer(Endpoint endpoint);

  /// As BoundSocket; a closed peer has no subscriptions.
  void Open() { mSocket.Open(); }
  void Close();
  bool IsOpen() const { return mSocket.IsOpen(); }
  const Endpoint& Where() const { return mSocket.Where(); }

  /// The topics (beginnings of topics) that somebody subscribes to here, as far as they were read.
  const std::set<std::string>& Subscriptions() const { return mSubscriptions; }

  /// Publishes a message whose first frame is its topic. Must be open.
  void Publish(const Frames& frames);

  zsock_t* Socket() const override { return mSocket.Socket(); }
  void ReadPending() override;

 private:
  BoundSocket mSocket;
  std::set<std::string> mSubscriptions;
};

}  // namespace louddesk
