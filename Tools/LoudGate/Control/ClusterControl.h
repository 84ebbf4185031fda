// Commands to the services of this board, sent in the place of the main board's application server,
// and what becomes of them. Never waits.

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

/// What has become of an order.
struct ControlResult {
  bool isAcknowledged = false;
  std::string text;  // for people
};

/// Why an order was not sent.
enum class NotSent {
  kBusy,       // the one before to this cluster waits for its acknowledgement
  kNoService,  // no service of the meter set has subscribed
};

class ClusterControl : public ClusterListener {
 public:
  using Done = std::function<void(const ControlResult&)>;

  /// Takes the place of the application server. `loop` must outlive it. Throws louddesk::BindError
  /// when the place is taken, or this machine does not have it.
  explicit ClusterControl(EventLoop& loop);
  ~ClusterControl() override;
  ClusterControl(const ClusterControl&) = delete;
  ClusterControl& operator=(const ClusterControl&) = delete;

  /// The place, as ZeroMQ names it: "tcp://127.0.0.1:7000".
  std::string Place() const { return mServer.Where().Text(); }

  /// Sends `order`. `done` is called once, a few seconds later at most. A switch of the reporting
  /// reaches all services of the board; what becomes of it is that of this cluster. Returns why it
  /// was not sent, nothing when it was.
  std::optional<NotSent> Send(const Cluster& cluster, const ControlOrder& order, Moment now,
                              Done done);

  void OnData(const Cluster& cluster, const louddesk::LoudnessMessage& message,
              Moment now) override;
  void OnAnswer(const Cluster& cluster, const louddesk::ServiceAnswer& answer, Moment now) override;

  /// Ends what has waited long enough. To be called ten times a second.
  void Tend(Moment now);

 private:
  // An order that waits for its acknowledgement.
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
  std::map<std::string, Waiting> mWaiting;  // by the name of the cluster
};

}  // namespace loudgate
