// The events waiting for one reader of a stream: the one being sent, and the newest. Every event is
// complete in itself, so a slow reader skips events instead of lagging behind.

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

  /// Queues an event. It replaces the waiting event, but not the one being sent.
  void Put(Event event, Time now);

  /// Copies at most `size` bytes of what must be sent next to `buffer`. Returns the number of
  /// bytes; 0 if nothing is waiting.
  std::size_t Take(char* buffer, std::size_t size, Time now);

  /// When the oldest event that is not completely taken was queued or begun; `now` if there is
  /// none.
  Time BehindSince(Time now) const;

 private:
  Event mSending;
  std::size_t mSent = 0;  // bytes of mSending already taken
  Time mSendingSince;
  Event mNext;
  Time mNextSince;
};

}  // namespace loudgate
