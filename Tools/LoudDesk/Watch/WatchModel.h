// The state of a watched service, based only on its published messages. Has no sockets, terminal or
// clock: callers pass the time.

#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>

#include "ServiceMessages.h"
#include "UnitDocuments.h"

namespace louddesk {

enum class ServiceState {
  kAbsent,      // no publisher
  kWaiting,     // connected, but no message yet
  kNotStarted,  // never started, or the source is invalid
  kRunning,
  kPaused,
  kStopped,
  kSilent,  // no data although the measurement has not stopped: reporting is
            // off, or the service hangs
  kDead,    // has published, but no longer does
};

/// The description of a state for users.
struct StateWords {
  const char* name;
  const char* hint;  // explanation; empty if the name is clear enough
  bool isAlarming;   // the service should be publishing and is not
};

const StateWords& WordsOf(ServiceState state);

/// Data comes every 100 ms. This long after the last message, or after an answer that starts the
/// data, a service counts as silent.
constexpr std::chrono::milliseconds kSilenceAfter{1000};

/// Every service republishes its last command every five seconds.
constexpr std::chrono::milliseconds kDeadAfter{6000};

/// How long the peak meter holds a peak.
constexpr std::chrono::milliseconds kPeakHold{3000};

/// Figures of a programme change with every block. If they have not changed for this long, outside
/// silence, the blocks have stopped, or the signal is a steady tone.
constexpr std::chrono::milliseconds kNoChangeAfter{3000};

/// The note on figures that do not change: "no change for 12 s: no blocks, or a steady tone".
std::string NoChangeText(std::chrono::milliseconds duration);

/// Windows of the measurement, s.
struct MeasurementWindows {
  unsigned integrated;
  unsigned range;
};

/// The upper ends of the EBU scales, LU.
constexpr int kLowScale = 9;
constexpr int kHighScale = 18;

/// The limits for loudness.
struct WatchLimits {
  double target;     // LKFS
  int scale;         // 9 or 18, LU
  double tolerance;  // on either side of the target, LU
};

/// The highest true peak that the default profile allows, dBTP. Configurations do not set one.
double MaxPermittedPeak();

/// The limits in a configuration.
WatchLimits LimitsOf(const LoudnessConfiguration& configuration);

/// Duration of one point of the history, and the maximum number of points: 20 minutes.
constexpr std::chrono::milliseconds kHistoryStep{2000};
constexpr std::size_t kMaxHistory = 600;

class WatchModel {
 public:
  using Time = std::chrono::steady_clock::time_point;

  struct Note {
    std::string localTime;  // time of arrival, HH:MM:SS
    std::string text;
  };

  explicit WatchModel(Time start) : mStepEnd(start + kHistoryStep) {}

  /// Updates whether the publishers are connected. A new connection may lead to a different
  /// service.
  void SetConnected(bool isConnected);

  /// Takes a loudness message. REQUIRES: the message is well-formed.
  void TakeData(const LoudnessMessage& message);

  /// Takes an answer that arrived at `time`.
  void TakeAnswer(const ServiceAnswer& answer, Time time, const std::string& localTime);

  /// Adds a note with its time of arrival.
  void AddNote(const std::string& localTime, const std::string& text);

  /// Forgets the maximum short-term loudness and the held peak.
  void ResetMaxima();

  /// Advances the history to `now`.
  void Advance(Time now);

  ServiceState State(Time now) const;

  /// Whether momentary, short-term and peak are current, or those of the pause.
  bool IsLive(Time now) const;

  /// How long the figures of a running measurement have not changed; nothing before kNoChangeAfter
  /// and in silence.
  std::optional<std::chrono::milliseconds> NoChangeFor(Time now) const;

  /// Whether the last message repeats the figures of the one before it in a running measurement.
  bool IsRepeat() const { return mSameSince < mLastData; }

  /// The last configuration published as in force; nothing before the first one.
  const std::optional<LoudnessConfiguration>& Configuration() const { return mConfiguration; }

  /// The windows in force, within the service's limits; nothing while unknown. A service that
  /// republishes no configuration has its initial windows.
  std::optional<MeasurementWindows> Windows(Time now) const;

  /// The limits in the configuration in force; without one, the usual profile for live programmes.
  WatchLimits Limits() const;

  /// The last figures; no readings before the first message.
  const LoudnessData_t& Data() const { return mData; }

  /// Highest short-term loudness since the measurement restarted, the watch started or ResetMaxima
  /// was called, 0.1 LKFS; kNoLoudnessCode without a reading.
  std::int16_t MaxShortTerm() const { return mMaxShortTerm; }

  /// Highest recent true peak since the measurement restarted, held for kPeakHold, 0.01 dBTP;
  /// kNoTruePeakCode without a reading.
  std::int16_t HeldPeak() const { return mHeldPeak; }

  /// Whether the programme has meters; nothing before the first message.
  std::optional<bool> IsSourceValid() const { return mIsSourceValid; }

  /// The cluster in the service's messages; nothing before the first message.
  std::optional<int> Cluster() const { return mCluster; }

  /// Time since the last message of either publisher; nothing before the first.
  std::optional<std::chrono::milliseconds> Age(Time now) const;

  /// Highest short-term loudness of each step, 0.1 LKFS, oldest first; kNoLoudnessCode without a
  /// reading. The last step is still in progress.
  const std::deque<std::int16_t>& History() const { return mHistory; }

  /// For each step of the history, whether it belongs to a time without change (see NoChangeFor).
  const std::deque<bool>& UnchangedSteps() const { return mUnchangedSteps; }

  /// Acknowledgements and other notes, oldest first.
  const std::deque<Note>& Notes() const { return mNotes; }

 private:
  bool IsRestart(const LoudnessData_t& data) const;
  void HoldPeak(Time time);
  bool IsDataDue() const;  // according to the last command
  void NoteChange(const LoudnessMessage& message);
  void MarkUnchangedSteps(Time now);

  bool mIsConnected = false;
  std::optional<Time> mLastData;
  std::optional<Time> mLastAnswer;
  std::optional<Time> mDueSince;  // when an answer last made data due
  std::string mCommand;           // last command known to be carried out; empty: unknown
  std::optional<LoudnessConfiguration> mConfiguration;
  std::optional<Time> mRepublished;  // last acknowledgement not followed by a configuration
  LoudnessData_t mData;
  std::optional<Time>
      mSameSince;  // first message with these figures; nothing before the first message
  std::optional<bool> mIsSourceValid;
  std::optional<int> mCluster;
  std::int16_t mMaxShortTerm = kNoLoudnessCode;
  std::int16_t mHeldPeak = kNoTruePeakCode;
  Time mHeldSince;
  Time mStepEnd;  // end of the last step in the history
  std::deque<std::int16_t> mHistory{kNoLoudnessCode};
  std::deque<bool> mUnchangedSteps{false};
  std::deque<Note> mNotes;
};

}  // namespace louddesk
