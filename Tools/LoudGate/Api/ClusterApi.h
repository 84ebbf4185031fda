// The interface for programs: the clusters as JSON, and as a stream of events.

#pragma once

#include <map>
#include <string>

#include "ClusterBoard.h"
#include "HttpServer.h"
#include "Routes.h"

namespace loudgate {

class ClusterApi {
 public:
  /// Answers /api/clusters, /api/clusters/NAME and /api/stream. The board must outlive the routes.
  ClusterApi(const ClusterBoard& board, Routes& routes);

  /// Sends each stream its document when it has changed, and at least once a second. Call it ten
  /// times a second.
  void Publish(HttpServer& server, Moment now);

 private:
  HttpAnswer AnswerOne(const HttpRequest& request) const;
  HttpAnswer AnswerStream(const HttpRequest& request) const;

  // What a stream was sent last.
  struct Sent {
    std::uint64_t revision = 0;
    std::chrono::steady_clock::time_point time;
  };

  std::uint64_t RevisionOf(const std::string& key, Moment now) const;
  std::string DocumentOf(const std::string& key, Moment now) const;

  const ClusterBoard& mBoard;
  std::map<std::string, Sent> mSent;  // by stream key
};

}  // namespace loudgate
