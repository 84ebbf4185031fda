// The shipped gate as a process, asked by a real client.

#pragma once

#include <cstdint>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "RunningService.h"
#include "ServiceProcess.h"

/// What a client got.
struct HttpReply {
  int status = 0;  // 0: no answer
  std::string head;
  std::string body;

  /// Value of a header; empty if there is none.
  std::string Header(const std::string& name) const;

  nlohmann::json Json() const { return nlohmann::json::parse(body); }
};

class GateTest : public RunningService {
 protected:
  using RunningService::RunningService;

  /// Ends a gate that still runs, which must be orderly: status 0 and no complaint.
  void TearDown() override;

  /// Starts the gate on a free port of this machine, with further options, and waits until it
  /// listens. Without --record among them nothing is recorded.
  void StartGate(const std::vector<std::string>& options = {});

  /// Starts a gate without a record where the last one listened, which has ended.
  void StartGateAgain();

  /// Ends it by `signal`, orderly.
  void ExpectGateEnds(int signal);

  /// Its address without a slash at the end: "http://127.0.0.1:40123".
  const std::string& Url() const { return mUrl; }
  unsigned Port() const;

  /// Asks curl for a path, with further options of curl.
  HttpReply Get(const std::string& path, const std::vector<std::string>& options = {}) const;

  /// Starts curl on a path; it prints the events of a stream as they come.
  std::unique_ptr<ServiceProcess> Follow(const std::string& path,
                                         const std::vector<std::string>& options = {}) const;

  /// Asks again and again until the answer is a document for which `condition` holds; fails with
  /// the last one otherwise.
  nlohmann::json Await(const std::string& path,
                       const std::function<bool(const nlohmann::json&)>& condition);

  /// Expects that the record of the cluster 1-1 comes to have all seconds from `from`, before `to`
  /// (s since 1970), but for a few ticks that the service itself may leave out on a busy machine.
  void ExpectRecorded(std::int64_t from, std::int64_t to);

  std::unique_ptr<ServiceProcess> mGate;
  unsigned mExpectedLines = 1;  // on its standard output
  std::string mUrl;
};
