// A running service as its clients see it: both of its publishers, and nothing else of it.

#pragma once

#include <chrono>
#include <deque>
#include <optional>

#include "DataClient.h"
#include "ServiceMessages.h"

namespace louddesk {

class ServiceFeed {
 public:
  /// Connects to the publishers of that service, now or as soon as it starts.
  ServiceFeed(unsigned meterSet, unsigned cluster);

  /// Waits until something arrives, a key is pressed (with `withKeys`), a signal comes or
  /// `patience` ends, and reads everything that has arrived.
  void Wait(std::chrono::milliseconds patience, bool withKeys);

  /// Whether the connection to every publisher stands.
  bool IsConnected() const;

  /// The next message that was read, oldest first; nothing when there is none.
  std::optional<LoudnessMessage> NextData();
  std::optional<StateMessage> NextState();

 private:
  void Sort(DataClient& client);

  DataClient mDataClient;
  std::optional<DataClient> mStateClient;  // nothing without a meter set: both share an endpoint
  std::deque<LoudnessMessage> mData;
  std::deque<StateMessage> mStates;
};

}  // namespace louddesk
