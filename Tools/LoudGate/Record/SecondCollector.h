// Collects messages into one row of readings per second. Uses no file and no clock.

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

/// A momentary loudness, and the tenth of a second in which it came, 0 to 9.
struct TimedReading {
  std::int16_t code;
  std::size_t tenth;
};

/// Places the readings of a second, at most the first ten, in order: each in its own tenth or the
/// nearest free one. The rest are kMissedReading.
std::array<std::int16_t, louddesk::kReadingsPerSecond> PlaceReadings(
    const std::vector<TimedReading>& readings);

class SecondCollector {
 public:
  SecondCollector() = default;

  /// Takes a loudness message that came at `now`.
  void TakeData(const Cluster& cluster, const louddesk::LoudnessMessage& message, Moment now);

  /// Takes an acknowledgement or a configuration. A configuration is recorded only if it differs
  /// from the last one.
  void TakeAnswer(const Cluster& cluster, const louddesk::ServiceAnswer& answer, Moment now);

  /// Adds an event of the gate itself.
  void AddEvent(const char* kind, const std::string& text, Moment now);

  /// Ends each second one second after it is over, so that a late message still finds its place,
  /// and records changes of state. Call it several times a second with all clusters of the board.
  void Advance(const std::vector<const Cluster*>& clusters, Moment now);

  /// Ends all seconds, including the current one.
  void Finish();

  /// Returns what was collected since the last call.
  louddesk::StationBatch TakeBatch();

  /// The events that were left out because a batch was full.
  std::uint64_t LostEvents() const { return mLostEvents; }

 private:
  // A second that is still being collected.
  struct OpenSecond {
    std::vector<TimedReading> readings;
    louddesk::RecordedSecond second;  // all but the momentary readings
    bool hasState = false;            // NoteState has set the state
  };

  struct Collected {
    std::map<std::int64_t, OpenSecond> seconds;  // by time, s since 1970
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
  std::optional<std::int64_t> mTime;  // the current second
  std::optional<Moment> mLast;        // last call of Advance
  louddesk::StationBatch mBatch;
  std::size_t mEventBytes = 0;  // of the events since the last batch, left-out ones included
  bool mIsLeavingOut = false;   // the batch is full; its further events are left out
  std::uint64_t mLostEvents = 0;
};

}  // namespace loudgate
