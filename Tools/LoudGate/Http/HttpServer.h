// HTTP on the event loop with libmicrohttpd: passes requests to handlers, streams events to
// readers, and limits what a client can take.

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

/// The gate cannot listen or serve. The text is one line for the user.
class HttpError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Limits on what clients can take.
struct HttpLimits {
  unsigned connections = 128;           // further ones wait until one ends
  unsigned connectionsPerAddress = 32;  // further ones are closed at once
  unsigned streams = 64;                // further ones are refused
  std::size_t headerBytes = 16 * 1024;  // of a request; also the buffer of each connection
  std::size_t bodyBytes = 4096;         // of a request

  /// Longest time from the end of one answer, or the start of the connection, to the end of the
  /// next answer.
  std::chrono::seconds patience{15};

  /// The same limit for an answer that is a file.
  std::chrono::seconds filePatience{120};

  /// The same limit for one event of a stream.
  std::chrono::seconds streamPatience{5};
};

struct HttpSettings {
  ListenAddress address;
  std::set<std::string> names;  // host names of the gate, see RequestGuard
  std::string certificate;      // PEM, with the chain; empty for no TLS
  std::string key;              // PEM
  HttpLimits limits;
};

/// What the server has counted, and what it holds now.
struct HttpCounts {
  std::size_t connections = 0;
  std::size_t streams = 0;
  std::uint64_t requests = 0;  // answered ones, including refusals
  std::uint64_t dropped = 0;   // connections closed for being too slow
};

class HttpServer {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// Starts to listen. `routes` must outlive the server. Throws HttpError.
  HttpServer(EventLoop& loop, const HttpSettings& settings, const Routes& routes);
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  /// The URL with the actual port: "http://127.0.0.1:8128/".
  const std::string& Url() const;

  /// The keys of the streams that have readers now.
  std::set<std::string> StreamKeys() const;

  /// Sends one event to all readers of the streams with this key. `data` must not contain a line
  /// feed.
  void Publish(const std::string& key, const std::string& data);

  /// Drops clients that are too slow, and sends late answers that are ready. Call it a few times a
  /// second.
  void Tend(Time now);

  HttpCounts Counts() const;

 private:
  class Daemon;
  std::unique_ptr<Daemon> mDaemon;
};

}  // namespace loudgate
