// Sends commands to the services of this board, in place of the main board's application server,
// and reports their outcome. Never blocks.

#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <string>

#include "BoundSocket.h"
#include "ClusterBoard.h"
#include "ControlOrder.h"
#include "EventLoop.h"
#include "SentMessage.h"

namespace loudgate {

/// The outcome of an order.
struct ControlResult {
  bool isAcknowledged = false;
  std::string text;  // for display
};

/// Why an order was not sent.
enum class NotSent {
  kBusy,       // the previous order to this cluster is not acknowledged yet
  kNoService,  // no service has subscribed to the order's topic
};

class ClusterControl : public ClusterListener {
 public:
  using Done = std::function<void(const ControlResult&)>;

  /// Binds the application server's endpoint. `loop` must outlive it. Throws louddesk::BindError
  /// when the endpoint is in use or its address is not one of this machine's.
  explicit ClusterControl(EventLoop& loop);
  ~ClusterControl() override;
  ClusterControl(const ClusterControl&) = delete;
  ClusterControl& operator=(const ClusterControl&) = delete;

  /// The endpoint in ZeroMQ's notation: "tcp://127.0.0.1:7000".
  std::string Place() const { return mServer.Where().Text(); }

  /// Sends `order`. Calls `done` once, after a few seconds at most. Switching the reporting affects
  /// all services of the board, but the outcome is taken from this cluster alone. Returns why the
  /// order was not sent; nothing if it was sent.
  std::optional<NotSent> Send(const Cluster& cluster, const ControlOrder& order, Moment now,
                              Done done);

  void OnData(const Cluster& cluster, const louddesk::LoudnessMessage& message,
              Moment now) override;
  void OnAnswer(const Cluster& cluster, const louddesk::ServiceAnswer& answer, Moment now) override;

  /// Ends the orders that are settled or have waited too long. Call it ten times a second.
  void Tend(Moment now);

 private:
  // An order without an acknowledgement yet.
  struct Waiting {
    const ControlOrder* order;
    louddesk::SentMessage message;
    std::chrono::steady_clock::time_point due;
    Done done;
  };

  louddesk::Frames FramesOf(const Cluster& cluster, const ControlOrder& order);
  static ControlResult ResultOf(const ControlOrder& order, louddesk::Outcome outcome);

  EventLoop& mLoop;
  louddesk::PublisherPeer mServer;
  unsigned mTimeStamp = 0;                  // of the last command
  std::map<std::string, Waiting> mWaiting;  // by cluster name
};

}  // namespace loudgate
