// The readings of each second, put together from messages as they come. Knows no file and no clock.

#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "Cluster.h"
#include "StationRecord.h"

namespace loudgate {

/// A momentary loudness, and the tenth of its second in which it came, 0 to 9.
struct TimedReading {
  std::int16_t code;
  std::size_t tenth;
};

/// The readings of a second from those that came, ten at most: in their order, each in its own
/// tenth or the nearest one that is free; kMissedReading in the rest.
std::array<std::int16_t, louddesk::kReadingsPerSecond> PlaceReadings(
    const std::vector<TimedReading>& readings);

class SecondCollector {
 public:
  SecondCollector() = default;

  /// A loudness message that came at `now`.
  void TakeData(const Cluster& cluster, const louddesk::LoudnessMessage& message, Moment now);

  /// An acknowledgement or a configuration. A configuration counts when it is another one.
  void TakeAnswer(const Cluster& cluster, const louddesk::ServiceAnswer& answer, Moment now);

  /// Something of the gate itself.
  void AddEvent(const char* kind, const std::string& text, Moment now);

  /// Ends the seconds that are over, one second later than they are, so that a message that was
  /// late still finds its place, and notes what has changed. To be called several times a second
  /// with all clusters of the board.
  void Advance(const std::vector<const Cluster*>& clusters, Moment now);

  /// Ends all seconds, the one that goes on too.
  void Finish();

  /// What has been put together since the last call.
  louddesk::StationBatch TakeBatch();

 private:
  // A second that is not over yet.
  struct OpenSecond {
    std::vector<TimedReading> readings;
    louddesk::RecordedSecond second;  // all but the momentary readings
    bool hasState = false;            // only then is it recorded
  };

  struct Collected {
    std::map<std::int64_t, OpenSecond> seconds;  // by their times
    std::optional<louddesk::ServiceState> state;
    std::optional<bool> isSourceValid;
    std::uint64_t restarts = 0;
    std::string configuration;
  };

  Collected& Of(const Cluster& cluster);
  OpenSecond& Open(Collected& collected, std::int64_t time);
  void AddEvent(const Cluster& cluster, const char* kind, const std::string& text, Moment now);
  void NoteChanges(const Cluster& cluster, Moment now);
  void NoteState(const Cluster& cluster, std::int64_t time, Moment now);
  void NoteClock(Moment now);
  void Keep(louddesk::RecordedEvent event);
  void Forget(const std::vector<const Cluster*>& clusters);
  void EndAllBut(std::int64_t first, std::int64_t second);
  void End(const louddesk::StationCluster& place, Collected& collected,
           std::map<std::int64_t, OpenSecond>::iterator open);

  std::map<louddesk::StationCluster, Collected> mClusters;
  std::optional<std::int64_t> mTime;  // the second that goes on
  std::optional<Moment> mLast;        // when Advance was called last
  louddesk::StationBatch mBatch;
  std::size_t mEventBytes = 0;  // of the batch
  bool mIsLeavingOut = false;   // events, from the batch
};

}  // namespace loudgate
