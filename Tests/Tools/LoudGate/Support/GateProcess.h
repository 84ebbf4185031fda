// The shipped gate as a process, with a real client.

#pragma once

#include <cstdint>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "RunningService.h"
#include "ServiceProcess.h"

/// The reply that a client received.
struct HttpReply {
  int status = 0;  // 0 if there was no reply
  std::string head;
  std::string body;

  /// Value of a header; empty if it is missing.
  std::string Header(const std::string& name) const;

  nlohmann::json Json() const { return nlohmann::json::parse(body); }
};

class GateTest : public RunningService {
 protected:
  using RunningService::RunningService;

  /// Ends a gate that still runs, and expects status 0 and no complaint.
  void TearDown() override;

  /// Starts the gate on a free port of this machine, with further options, and waits until it
  /// listens. It records nothing unless --record is among the options.
  void StartGate(const std::vector<std::string>& options = {});

  /// Starts a gate without a record at the address of the last one, which has ended.
  void StartGateAgain();

  /// Ends the gate with `signal`, and expects an orderly exit.
  void ExpectGateEnds(int signal);

  /// The gate's address without the final slash: "http://127.0.0.1:40123".
  const std::string& Url() const { return mUrl; }
  unsigned Port() const;

  /// Requests a path with curl, with further options of curl.
  HttpReply Get(const std::string& path, const std::vector<std::string>& options = {}) const;

  /// Starts curl on a path. It prints the events of a stream as they arrive.
  std::unique_ptr<ServiceProcess> Follow(const std::string& path,
                                         const std::vector<std::string>& options = {}) const;

  /// Repeats a request until the reply is a document for which `condition` holds. Otherwise fails
  /// with the last document.
  nlohmann::json Await(const std::string& path,
                       const std::function<bool(const nlohmann::json&)>& condition);

  /// Waits until the record of the cluster 1-1 has all seconds from `from` to before `to` (s since
  /// 1970), except for a few ticks that the service may leave out on a busy machine.
  void ExpectRecorded(std::int64_t from, std::int64_t to);

  std::unique_ptr<ServiceProcess> mGate;
  unsigned mExpectedLines = 1;  // on the gate's standard output
  std::string mUrl;
};
