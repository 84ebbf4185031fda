// Peers for messaging tests. They store the messages that they receive. Every wait has a deadline.

#pragma once

#include <czmq.h>
#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "Emulation.h"
#include "Logger.h"

namespace mqtest {

/// The longest wait.
constexpr int kDeadlineMs = 10000 * kSlowness;

/// A message, frame by frame.
using Frames = std::vector<std::string>;

/// Makes the unit's IPC directory unless it exists.
void MakeIpcDirectory();

/// Endpoint of a file name in the unit's IPC directory.
std::string IpcEndpoint(const std::string& fileName);

/// A file name whose path in the IPC directory is one character too long for a socket.
std::string TooLongIpcName();

/// The next message; no frames if none comes before the deadline.
Frames Receive(zsock_t* socket);

/// Whether a message is there now.
bool HasMessage(zsock_t* socket);

/// Whether a message comes before the deadline.
bool AwaitMessage(zsock_t* socket);

void Send(zsock_t* socket, const Frames& frames);

/// A publisher that sees subscriptions begin and end.
class Publisher {
 public:
  /// Binds to an IPC file or, with a null name, to a free TCP port of this machine.
  explicit Publisher(const char* ipcName);
  ~Publisher();
  Publisher(const Publisher&) = delete;
  Publisher& operator=(const Publisher&) = delete;

  unsigned Port() const { return port_; }

  /// The next change: "+TOPIC" for a subscription, "-TOPIC" for the end of one.
  std::string NextChange();

  /// Whether there is a change that has not been read.
  bool HasChange() { return HasMessage(socket_); }

  void Publish(const Frames& frames) { Send(socket_, frames); }

 private:
  zsock_t* socket_ = nullptr;
  unsigned port_ = 0;
};

/// Receives everything that a socket publishes.
class Subscriber {
 public:
  /// Connects to the endpoint and publishes on `publisher` until a message arrives.
  Subscriber(zsock_t* publisher, const std::string& endpoint);
  ~Subscriber();
  Subscriber(const Subscriber&) = delete;
  Subscriber& operator=(const Subscriber&) = delete;

  bool IsConnected() const { return isConnected_; }

  /// The next message published since the construction.
  Frames Next();

  zsock_t* Socket() { return socket_; }

 private:
  zsock_t* socket_ = nullptr;
  bool isConnected_ = false;
};

/// Captures console output during its lifetime. Not for tests that end the process.
class Console {
 public:
  Console();
  ~Console();
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;

  /// All text from the construction to the first call, on standard output and on standard error.
  const std::string& Output();
  const std::string& Errors();

 private:
  std::string output_;
  std::string errors_;
  bool hasOutput_ = false;
  bool hasErrors_ = false;
};

/// The process's logger, set to write every level to the console.
Logger* VerboseLogger();

/// Matches console output that has the line of a levelled message, for example
/// Logged("ERROR", "MqReactor", "\"Failed\"").
testing::Matcher<const std::string&> Logged(const char* level, const char* unit,
                                            const std::string& message);

/// Matches output that has a plain console line of a unit.
testing::Matcher<const std::string&> Printed(const char* unit, const std::string& message);

/// A regular expression that matches exactly this text.
std::string Escaped(const std::string& text);

/// How often `part` occurs in `text`.
std::size_t Occurrences(const std::string& text, const std::string& part);

}  // namespace mqtest
