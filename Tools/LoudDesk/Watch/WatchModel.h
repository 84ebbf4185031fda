// What is known of a watched service, from its published messages alone. Knows no sockets, no
// terminal and no clock: times come with the calls.

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
  kAbsent,      // nobody publishes
  kWaiting,     // connected, but nothing has been said yet
  kNotStarted,  // nothing was ever started, or the source is invalid
  kRunning,
  kPaused,
  kStopped,
  kSilent,  // no data, though nothing says that the measurement has stopped: reporting is off, or
            // the service hangs
  kDead,    // it has published and no longer does
};

/// What people are told of a state.
struct StateWords {
  const char* name;
  const char* hint;  // what it means, where the name does not say enough; otherwise empty
  bool isAlarming;   // the service should say something and does not
};

const StateWords& WordsOf(ServiceState state);

/// Data comes every 100 ms. A service that has sent none for this long, since the last message or
/// since an answer after which it is due, is not sending any.
constexpr std::chrono::milliseconds kSilenceAfter{1000};

/// Every service republishes its last command every five seconds.
constexpr std::chrono::milliseconds kDeadAfter{6000};

/// How long the peak meter holds a peak.
constexpr std::chrono::milliseconds kPeakHold{3000};

/// Figures of a programme change with every block. Those that have not for so long, silence aside,
/// are those of a source whose blocks have stopped coming, or of a steady tone.
constexpr std::chrono::milliseconds kNoChangeAfter{3000};

/// "no change for 12 s: no blocks, or a steady tone".
std::string NoChangeText(std::chrono::milliseconds duration);

/// Windows of the measurement, s.
struct MeasurementWindows {
  unsigned integrated;
  unsigned range;
};

/// EBU scales, up to so many LU.
constexpr int kLowScale = 9;
constexpr int kHighScale = 18;

/// What loudness is measured against.
struct WatchLimits {
  double target;     // LKFS
  int scale;         // 9 or 18, LU
  double tolerance;  // LU either side of the target
};

/// What a configuration asks for.
WatchLimits LimitsOf(const LoudnessConfiguration& configuration);

/// Duration of one point of the history, and the most points kept: 20 minutes.
constexpr std::chrono::milliseconds kHistoryStep{2000};
constexpr std::size_t kMaxHistory = 600;

class WatchModel {
 public:
  using Time = std::chrono::steady_clock::time_point;

  struct Note {
    std::string localTime;  // when it came, HH:MM:SS
    std::string text;
  };

  explicit WatchModel(Time start) : mStepEnd(start + kHistoryStep) {}

  /// Whether the connection to the publishers stands. Behind a new one may be a new service.
  void SetConnected(bool isConnected);

  /// Takes a loudness message. REQUIRES: it is well-formed.
  void TakeData(const LoudnessMessage& message);

  /// Takes an answer that came at `time`.
  void TakeAnswer(const ServiceAnswer& answer, Time time, const std::string& localTime);

  /// Notes a line that came at `localTime`.
  void AddNote(const std::string& localTime, const std::string& text);

  /// Forgets the maximum short-term loudness and the held peak.
  void ResetMaxima();

  /// Advances the history to `now`.
  void Advance(Time now);

  ServiceState State(Time now) const;

  /// Whether momentary, short-term and peak are current, or those of the pause.
  bool IsLive(Time now) const;

  /// How long the figures of a running measurement have been the same; nothing before
  /// kNoChangeAfter, and nothing in silence.
  std::optional<std::chrono::milliseconds> NoChangeFor(Time now) const;

  /// The configuration in force as it was last published; nothing while none was.
  const std::optional<LoudnessConfiguration>& Configuration() const { return mConfiguration; }

  /// The windows in force, as the service keeps them within its limits; nothing while they are not
  /// known. A service that republishes no configuration has those it starts with.
  std::optional<MeasurementWindows> Windows(Time now) const;

  /// What the configuration in force asks for; without one, the usual profile for live programmes.
  WatchLimits Limits() const;

  /// The last figures; without readings before the first message.
  const LoudnessData_t& Data() const { return mData; }

  /// Highest short-term loudness seen since the measurement restarted, the watch began or
  /// ResetMaxima was called, 0.1 LKFS; kNoLoudnessCode when there was none.
  std::int16_t MaxShortTerm() const { return mMaxShortTerm; }

  /// Highest true peak of the last seconds since the measurement restarted, 0.01 dBTP;
  /// kNoTruePeakCode when there is none.
  std::int16_t HeldPeak() const { return mHeldPeak; }

  /// Whether the programme has meters; nothing before the first message.
  std::optional<bool> IsSourceValid() const { return mIsSourceValid; }

  /// The cluster that the service says it serves; nothing before the first message.
  std::optional<int> Cluster() const { return mCluster; }

  /// Time since the last message of either publisher; nothing before the first.
  std::optional<std::chrono::milliseconds> Age(Time now) const;

  /// Short-term loudness, 0.1 LKFS, oldest first: the highest of each step; kNoLoudnessCode where
  /// there was none. The last one is still going on.
  const std::deque<std::int16_t>& History() const { return mHistory; }

  /// What was acknowledged and otherwise noted, oldest first.
  const std::deque<Note>& Notes() const { return mNotes; }

 private:
  bool IsRestart(const LoudnessData_t& data) const;
  void HoldPeak(Time time);
  bool IsDataDue() const;  // by the last command
  void NoteChange(const LoudnessMessage& message);

  bool mIsConnected = false;
  std::optional<Time> mLastData;
  std::optional<Time> mLastAnswer;
  std::optional<Time> mDueSince;  // when an answer last made data due that was not due before
  std::string mCommand;           // last command known to be carried out, empty: not known yet
  std::optional<LoudnessConfiguration> mConfiguration;
  std::optional<Time> mRepublished;  // last acknowledgement without a configuration behind it
  LoudnessData_t mData;
  std::optional<Time> mSameSince;  // first message with these figures; nothing before the first
  std::optional<bool> mIsSourceValid;
  std::optional<int> mCluster;
  std::int16_t mMaxShortTerm = kNoLoudnessCode;
  std::int16_t mHeldPeak = kNoTruePeakCode;
  Time mHeldSince;
  Time mStepEnd;  // when the history's last step ends
  std::deque<std::int16_t> mHistory{kNoLoudnessCode};
  std::deque<Note> mNotes;
};

}  // namespace louddesk
