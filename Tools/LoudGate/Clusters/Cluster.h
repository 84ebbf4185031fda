// One cluster of the board: what its service has published. Uses no sockets and no clock.

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

/// A point in time on two clocks: the steady one for ages, the wall clock for display.
struct Moment {
  std::chrono::steady_clock::time_point steady;
  louddesk::WallTime wall;

  static Moment Now();
};

/// Counts since the gate first saw the cluster.
struct ClusterCounts {
  std::uint64_t messages = 0;   // well-formed loudness messages
  std::uint64_t malformed = 0;  // loudness messages of an unknown form
  std::uint64_t gaps = 0;       // times that data came late without an acknowledgement
  std::uint64_t restarts = 0;   // of the service
  std::uint64_t answers = 0;    // acknowledgements and configurations, without republished ones
};

/// Data comes every 100 ms. A longer interval than this between two messages, without an
/// acknowledgement to explain it, counts as a gap.
constexpr std::chrono::milliseconds kGapAfter{500};

/// The recent true peak covers at least this time, and at most twice as much.
constexpr std::chrono::seconds kRecent{30};

class Cluster {
 public:
  Cluster(louddesk::ServicePlace place, Moment now) : mPlace(place), mModel(now.steady) {}

  const louddesk::ServicePlace& Place() const { return mPlace; }

  /// Meter set and cluster, such as "1-3".
  std::string Name() const;

  /// State, age, configuration in force, acknowledgements, history.
  const louddesk::WatchModel& Model() const { return mModel; }

  const ClusterCounts& Counts() const { return mCounts; }

  /// The last loudness message, and when it came. No value before the first message.
  const std::optional<louddesk::LoudnessMessage>& Last() const { return mLast; }
  louddesk::WallTime LastTime() const { return mLastTime; }

  /// Highest true peak of the recent messages, 0.01 dBTP; kNoTruePeakCode if there is none. A
  /// caller that asks at least every kRecent misses no peak.
  std::int16_t RecentTruePeak() const { return std::max(mPeak, mPeakBefore); }

  /// The momentary readings taken while the measurement ran. Pauses are left out; of readings that
  /// repeat without change only the first is kept.
  const MomentaryReadings& Readings() const { return mReadings; }

  /// Changes with every message taken.
  std::uint64_t Revision() const { return mRevision; }

  /// Whether the service has published anything or can be reached. A socket file alone is not
  /// enough.
  bool IsKnown(Moment now) const;

  /// Takes whether its publishers are connected, and how many connections were made since the last
  /// call.
  void TakeConnection(bool isConnected, unsigned connections);

  /// Takes a loudness message. A message of an unknown form is only counted; the call then returns
  /// false.
  bool TakeData(const louddesk::LoudnessMessage& message, Moment now);

  void TakeAnswer(const louddesk::ServiceAnswer& answer, Moment now);

  /// Advances the history to `now`.
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
  bool mIsAnswered = false;  // an acknowledgement came since the last data
  bool mWasConnected = false;
  MomentaryReadings mReadings;
  std::size_t mRepeats = 0;                    // how many of the last readings are repeats
  std::int16_t mPeak = kNoTruePeakCode;        // highest since mPeakStart
  std::int16_t mPeakBefore = kNoTruePeakCode;  // highest of the preceding span
  std::chrono::steady_clock::time_point mPeakStart;
  std::uint64_t mRevision = 0;
};

}  // namespace loudgate
