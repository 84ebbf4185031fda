// A socket bound to one of the unit's fixed endpoints, in the place of the peer that owns it.

#pragma once

#include <czmq.h>

#include <stdexcept>
#include <string>

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

class BoundSocket {
 public:
  /// A socket of the ZeroMQ type `type`, closed.
  BoundSocket(int type, Endpoint endpoint);
  ~BoundSocket();
  BoundSocket(const BoundSocket&) = delete;
  BoundSocket& operator=(const BoundSocket&) = delete;

  /// Binds the endpoint; the IPC directory is made when missing. Its queues are without bound, so
  /// that nothing is lost between a slow test and a fast service. Does nothing when open already.
  /// Throws BindError.
  void Open();

  /// Closes the socket and returns when the endpoint is free again.
  void Close();

  bool IsOpen() const { return mSocket != nullptr; }

  /// Null while closed.
  zsock_t* Socket() const { return mSocket; }

  const Endpoint& Where() const { return mEndpoint; }

 private:
  void WaitUntilFree();

  int mType;
  Endpoint mEndpoint;
  zsock_t* mSocket = nullptr;   // owned
  zsock_t* mMonitor = nullptr;  // tells when the listener is closed; owned
};

}  // namespace louddesk
