// One cluster of the board: what its service has published. Knows no sockets and no clock.

#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "MomentaryReadings.h"
#include "ServiceFeed.h"
#include "WatchModel.h"
#include "WatchRows.h"

namespace loudgate {

/// A moment by the clock that never jumps, for ages, and by the wall, for people.
struct Moment {
  std::chrono::steady_clock::time_point steady;
  louddesk::WallTime wall;

  static Moment Now();
};

/// What has happened since the gate saw the cluster first.
struct ClusterCounts {
  std::uint64_t messages = 0;   // of loudness data, well-formed
  std::uint64_t malformed = 0;  // of loudness data, of an unknown form
  std::uint64_t gaps = 0;       // times that data came late though nothing was acknowledged
  std::uint64_t restarts = 0;   // of the service
  std::uint64_t answers = 0;    // acknowledgements and configurations, republished ones aside
};

/// Data comes every 100 ms. Data that comes so long after the last, with no acknowledgement in
/// between that says why, has left a gap.
constexpr std::chrono::milliseconds kGapAfter{500};

/// How far back the recent true peak reaches at least, and at most twice as far.
constexpr std::chrono::seconds kRecent{30};

class Cluster {
 public:
  Cluster(louddesk::ServicePlace place, Moment now) : mPlace(place), mModel(now.steady) {}

  const louddesk::ServicePlace& Place() const { return mPlace; }

  /// Meter set and cluster: "1-3".
  std::string Name() const;

  /// State, age, configuration in force, acknowledgements, history.
  const louddesk::WatchModel& Model() const { return mModel; }

  const ClusterCounts& Counts() const { return mCounts; }

  /// The last loudness message, and when it came; nothing before the first.
  const std::optional<louddesk::LoudnessMessage>& Last() const { return mLast; }
  louddesk::WallTime LastTime() const { return mLastTime; }

  /// Highest true peak of the recent messages, 0.01 dBTP; kNoTruePeakCode when there is none. Who
  /// asks at least every kRecent misses no peak.
  std::int16_t RecentTruePeak() const { return std::max(mPeak, mPeakBefore); }

  /// The momentary readings of the running measurement, without pauses and without those that a
  /// time without change repeats: of it there is the first.
  const MomentaryReadings& Readings() const { return mReadings; }

  /// Changes with everything that is taken.
  std::uint64_t Revision() const { return mRevision; }

  /// Whether its service has ever said something or can be reached. A file alone is not a service.
  bool IsKnown(Moment now) const;

  /// Whether the connection to its publishers stands, and how often it was made since the last
  /// call.
  void TakeConnection(bool isConnected, unsigned connections);

  /// A loudness message and its moment. One of an unknown form is only counted, and false returned.
  bool TakeData(const louddesk::LoudnessMessage& message, Moment now);

  void TakeAnswer(const louddesk::ServiceAnswer& answer, Moment now);

  /// Advances the history.
  void Advance(Moment now) { mModel.Advance(now.steady); }

 private:
  bool IsGap(const louddesk::LoudnessMessage& message) const;
  void TakeReading(const louddesk::LoudnessMessage& message);
  void TakePeak(const louddesk::LoudnessMessage& message);

  louddesk::ServicePlace mPlace;
  louddesk::WatchModel mModel;
  ClusterCounts mCounts;
  std::optional<louddesk::LoudnessMessage> mLast;
  louddesk::WallTime mLastTime{};
  bool mIsAnswered = false;  // something was acknowledged since the last data
  bool mWasConnected = false;
  MomentaryReadings mReadings;
  std::size_t mRepeats = 0;                    // last ones of mReadings that are repeats
  std::int16_t mPeak = kNoTruePeakCode;        // highest since mPeakStart
  std::int16_t mPeakBefore = kNoTruePeakCode;  // highest of the span before
  std::chrono::steady_clock::time_point mPeakStart;
  std::uint64_t mRevision = 0;
};

}  // namespace loudgate
