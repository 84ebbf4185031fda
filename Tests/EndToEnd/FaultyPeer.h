// A peer that breaks the protocol: every connection to its endpoint gets the same fault.

#pragma once

#include <atomic>
#include <ostream>
#include <string>
#include <thread>

/// Kind of fault of a peer.
enum class PeerFault {
  kAnotherProtocol,        // answers like a web server and closes the connection
  kZeros,                  // sends zeros instead of a greeting
  kSilence,                // accepts the connection and never sends anything
  kGarbageAfterGreeting,   // sends garbage instead of a handshake
  kGarbageAfterHandshake,  // sends garbage instead of a frame
  kWrongSocketType,        // announces an incompatible socket type in the handshake
  kTooLargeFrame,          // sends a frame that is one byte longer than allowed
  kGarbageAfterBacklog,    // sends garbage after a message that takes more than a second to read
  kCutInGreeting,          // closes the connection in the middle of the greeting
  kCutInHandshake,         // closes it in the middle of the handshake
  kCutInFrame,             // closes it in the middle of a frame
};

/// The fault as the name of a test.
const char* NameOf(PeerFault fault);
void PrintTo(PeerFault fault, std::ostream* stream);

/// Whether ZeroMQ abandons a link to such a peer, so that the service must renew it.
bool EndsTheLink(PeerFault fault);

class FaultyPeer {
 public:
  /// Listens on `endpoint` (tcp://ADDRESS:PORT or ipc://PATH), which must not be in use. Apart from
  /// the fault it acts as a socket of the type `type` (its name in a handshake, for example
  /// "XPUB"). A separate thread serves the connections. Ends the test process when it cannot
  /// listen.
  FaultyPeer(const std::string& endpoint, std::string type, PeerFault fault);

  /// Closes every connection and frees the endpoint.
  ~FaultyPeer();

  FaultyPeer(const FaultyPeer&) = delete;
  FaultyPeer& operator=(const FaultyPeer&) = delete;

  /// Connections made so far.
  int Connections() const { return mConnections; }

 private:
  void Serve();
  std::uint64_t LargestFrame() const;
  std::string Speech() const;

  std::string mType;
  PeerFault mFault;
  std::string mPath;        // path of the socket file; empty: TCP
  int mListener = -1;       // owned
  int mStop[2] = {-1, -1};  // a pipe; closing one end ends the thread; owned
  std::atomic<int> mConnections{0};
  std::thread mThread;
};
