// Sockets bound to the unit's fixed endpoints, in place of the service's real peers.

#pragma once

#include <deque>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>

#include "Sockets.h"

namespace louddesk {

/// An endpoint cannot be bound. The message names the endpoint and the reason. If the endpoint is
/// in use, it also names the command that shows the process.
class BindError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The endpoint of one of the service's peers.
struct Endpoint {
  std::string address;  // IPv4 address of a TCP endpoint; empty: an IPC endpoint
  unsigned port = 0;    // port of a TCP endpoint
  std::string file;     // file name of an IPC endpoint in the unit's IPC directory

  /// Returns an endpoint in the unit's IPC directory.
  static Endpoint Ipc(std::string file);

  static Endpoint Tcp(std::string address, unsigned port);

  bool IsIpc() const { return address.empty(); }

  /// The endpoint in the notation of ZeroMQ.
  std::string Text() const;
};

class BoundSocket : public SocketReader {
 public:
  /// A closed socket of the ZeroMQ type `type`.
  BoundSocket(int type, Endpoint endpoint);
  ~BoundSocket() override;
  BoundSocket(const BoundSocket&) = delete;
  BoundSocket& operator=(const BoundSocket&) = delete;

  /// Binds the endpoint, and creates the IPC directory if it is missing. The queues are unlimited,
  /// so that a slow test loses nothing of a fast service. Does nothing if the socket is open.
  /// Throws BindError; the socket is then closed.
  void Open();

  /// Closes the socket and waits until the endpoint is free again.
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
  zsock_t* mMonitor = nullptr;  // reports when the listener is closed; owned
};

/// A publisher that the service subscribes to.
class PublisherPeer : public BoundSocket {
 public:
  explicit PublisherPeer(Endpoint endpoint) : BoundSocket(ZMQ_XPUB, std::move(endpoint)) {}

  /// The topic prefixes subscribed to, as far as the subscriptions were read.
  const std::set<std::string>& Subscriptions() const { return mSubscriptions; }

  /// Publishes a message; its first frame is the topic. REQUIRES: open.
  void Publish(const Frames& frames) { SendFrames(Socket(), frames); }

  /// Also clears the subscriptions.
  void Close() override;

  void ReadPending() override;

 private:
  std::set<std::string> mSubscriptions;
};

/// A peer that the service pushes messages to. Keeps received messages when it closes.
class CollectorPeer : public BoundSocket {
 public:
  explicit CollectorPeer(Endpoint endpoint) : BoundSocket(ZMQ_PULL, std::move(endpoint)) {}

  /// Messages received and not yet taken, oldest first.
  std::deque<Frames>& Messages() { return mMessages; }

  void ReadPending() override;

 private:
  std::deque<Frames> mMessages;
};

}  // namespace louddesk
