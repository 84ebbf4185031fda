// HTTP on the loop, by libmicrohttpd: requests to handlers, streams of events to readers, and
// bounds on what any client can take of the process.

#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>

#include "EventLoop.h"
#include "ListenAddress.h"
#include "RequestGuard.h"
#include "Routes.h"

namespace loudgate {

/// The gate cannot listen. The text is one line for the user.
class HttpError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// What clients may take.
struct HttpLimits {
  unsigned connections = 128;           // further ones wait until one has ended
  unsigned connectionsPerAddress = 32;  // further ones are closed at once
  unsigned streams = 64;                // further ones are refused
  std::size_t headerBytes = 16 * 1024;  // of a request; the buffer of a connection
  std::size_t bodyBytes = 4096;         // of a request

  /// From the end of one answer to the end of the next, or from the beginning of the connection.
  std::chrono::seconds patience{15};

  /// The same where the answer is a file.
  std::chrono::seconds filePatience{120};

  /// For one event of a stream.
  std::chrono::seconds streamPatience{5};
};

struct HttpSettings {
  ListenAddress address;
  std::set<std::string> names;  // by which readers reach the gate, see RequestGuard
  std::string certificate;      // PEM, with the chain; empty: no TLS
  std::string key;              // PEM
  HttpLimits limits;
};

/// What the server has done, and what it holds.
struct HttpCounts {
  std::size_t connections = 0;
  std::size_t streams = 0;
  std::uint64_t requests = 0;  // answered, refused ones too
  std::uint64_t dropped = 0;   // connections that were too slow
};

class HttpServer {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// Listens from now on. Routes are asked as long as the server lives. Throws HttpError.
  HttpServer(EventLoop& loop, const HttpSettings& settings, const Routes& routes);
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  /// Where it listens, with the port that it was given: "http://127.0.0.1:8128/".
  const std::string& Url() const;

  /// The keys of the streams that have readers.
  std::set<std::string> StreamKeys() const;

  /// Sends one event to all readers of the streams of that key. `data` has no line feed.
  void Publish(const std::string& key, const std::string& data);

  /// Drops those that are too slow. To be called a few times a second.
  void Tend(Time now);

  HttpCounts Counts() const;

 private:
  class Daemon;
  std::unique_ptr<Daemon> mDaemon;
};

}  // namespace loudgate
