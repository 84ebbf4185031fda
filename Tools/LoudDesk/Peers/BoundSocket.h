// Sockets bound to the unit's fixed endpoints, in the place of the peers of the service that own
// them.

#pragma once

#include <deque>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>

#include "Sockets.h"

namespace louddesk {

/// An endpoint could not be taken. The text names the endpoint and the reason; of one that is in
/// use also the command that shows by which process.
class BindError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Where a peer of the service listens.
struct Endpoint {
  std::string address;  // IPv4 address of a TCP endpoint; empty: an IPC endpoint
  unsigned port = 0;    // port of a TCP endpoint
  std::string file;     // file name of an IPC endpoint in the unit's IPC directory

  /// An endpoint in the unit's IPC directory.
  static Endpoint Ipc(std::string file);

  static Endpoint Tcp(std::string address, unsigned port);

  bool IsIpc() const { return address.empty(); }

  /// The endpoint as ZeroMQ takes it.
  std::string Text() const;
};

class BoundSocket : public SocketReader {
 public:
  /// A socket of the ZeroMQ type `type`, closed.
  BoundSocket(int type, Endpoint endpoint);
  ~BoundSocket() override;
  BoundSocket(const BoundSocket&) = delete;
  BoundSocket& operator=(const BoundSocket&) = delete;

  /// Binds the endpoint; the IPC directory is made when missing. Its queues are without bound, so
  /// that nothing is lost between a slow test and a fast service. Does nothing when open already.
  /// Throws BindError.
  void Open();

  /// Closes the socket and returns when the endpoint is free again.
  virtual void Close();

  bool IsOpen() const { return mSocket != nullptr; }

  /// Null while closed.
  zsock_t* Socket() const { return mSocket; }

  const Endpoint& Where() const { return mEndpoint; }

  std::vector<zsock_t*> Sockets() const override { return {mSocket}; }
  void ReadPending() override {}

 private:
  void WaitUntilFree();

  int mType;
  Endpoint mEndpoint;
  zsock_t* mSocket = nullptr;   // owned
  zsock_t* mMonitor = nullptr;  // tells when the listener is closed; owned
};

/// A peer that the service subscribes to.
class PublisherPeer : public BoundSocket {
 public:
  explicit PublisherPeer(Endpoint endpoint) : BoundSocket(ZMQ_XPUB, std::move(endpoint)) {}

  /// The topics (beginnings of topics) that somebody subscribes to here, as far as they were read.
  const std::set<std::string>& Subscriptions() const { return mSubscriptions; }

  /// Publishes a message whose first frame is its topic. Must be open.
  void Publish(const Frames& frames) { SendFrames(Socket(), frames); }

  /// A closed peer has no subscriptions.
  void Close() override;

  void ReadPending() override;

 private:
  std::set<std::string> mSubscriptions;
};

/// A peer that the service pushes messages to. Closed, it keeps those that it has received.
class CollectorPeer : public BoundSocket {
 public:
  explicit CollectorPeer(Endpoint endpoint) : BoundSocket(ZMQ_PULL, std::move(endpoint)) {}

  /// Messages read and not yet taken, oldest first.
  std::deque<Frames>& Messages() { return mMessages; }

  void ReadPending() override;

 private:
  std::deque<Frames> mMessages;
};

}  // namespace louddesk
