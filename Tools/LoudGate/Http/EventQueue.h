// The events that wait for one reader of a stream: the one that is being sent, and the newest.
// Every event says everything, so a reader that is slower than the events misses some of them and
// never lags behind.

#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>

namespace loudgate {

class EventQueue {
 public:
  using Time = std::chrono::steady_clock::time_point;
  using Event = std::shared_ptr<const std::string>;

  /// Takes the place of an event that is not being sent yet.
  void Put(Event event, Time now);

  /// Copies what is to be sent next, at most `size` bytes, to `buffer`. Returns how many; 0 when
  /// nothing waits.
  std::size_t Take(char* buffer, std::size_t size, Time now);

  /// Since when the reader has not taken the oldest event as a whole; `now` when it has them all.
  Time BehindSince(Time now) const;

 private:
  Event mSending;
  std::size_t mSent = 0;  // bytes of it
  Time mSendingSince;
  Event mNext;
  Time mNextSince;
};

}  // namespace loudgate
