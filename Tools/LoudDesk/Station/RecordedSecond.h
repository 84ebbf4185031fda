// What the station's record holds: the readings of each second of each cluster, and what happened
// in between.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>
#include <tuple>

#include "LoudnessData.h"

namespace louddesk {

/// A service publishes ten loudness messages a second.
constexpr std::size_t kReadingsPerSecond = 10;

/// In the place of a momentary loudness: no message came for this tenth of a second. No code of a
/// loudness is as low.
constexpr std::int16_t kMissedReading = std::numeric_limits<std::int16_t>::min();

/// What the measurement was doing. The numbers are those of the file; 0 stands there for a second
/// that was not recorded. A service that nobody can reach has no seconds.
enum class RecordedState : std::uint8_t {
  kWaiting = 1,  // connected, but nothing has been said yet
  kNotStarted,   // nothing was ever started, or the source is invalid
  kRunning,
  kPaused,
  kStopped,
  kSilent,  // no data, though nothing says that the measurement has stopped
};

constexpr RecordedState kLastRecordedState = RecordedState::kSilent;

/// One second of one cluster. The codes are those that the service published.
struct RecordedSecond {
  std::int64_t time = 0;  // its beginning, s since 1970, UTC
  std::array<std::int16_t, kReadingsPerSecond>
      momentary{};                                // 0.1 LUFS; kNoLoudnessCode where there
                                                  // was no reading, or kMissedReading
  std::int16_t shortTerm = kNoLoudnessCode;       // of the last message of the second, 0.1 LUFS
  std::int16_t truePeak = kNoTruePeakCode;        // highest of the second, 0.01 dBTP
  RecordedState state = RecordedState::kWaiting;  // at the end of the second
  bool isSourceValid = false;                     // the programme has meters, by the last message
};

/// A cluster of the board, by the numbers of its publishers.
struct StationCluster {
  unsigned meterSet = 0;
  unsigned cluster = 0;
};

inline bool operator==(const StationCluster& left, const StationCluster& right) {
  return left.meterSet == right.meterSet && left.cluster == right.cluster;
}
inline bool operator<(const StationCluster& left, const StationCluster& right) {
  return std::tie(left.meterSet, left.cluster) < std::tie(right.meterSet, right.cluster);
}

/// Kinds of events.
constexpr char kAcknowledgementEvent[] = "acknowledgement";  // text: what was acknowledged
constexpr char kConfigurationEvent[] = "configuration";  // text: that in force, JSON as published
constexpr char kProgrammeEvent[] = "programme";          // text: what changed
constexpr char kRestartEvent[] = "restart";              // of the service
constexpr char kStateEvent[] = "state";                  // text: the new state
constexpr char kGateEvent[] = "gate";                    // text: "started" or "stopped"
constexpr char kClockEvent[] = "clock";                  // text: by how much it was set
constexpr char kGapEvent[] = "gap";                      // text: what was lost, and why

struct RecordedEvent {
  std::int64_t time = 0;                  // ms since 1970, UTC
  std::optional<StationCluster> cluster;  // nothing: of the gate itself
  std::string kind;
  std::string text;
};

/// Bytes of memory that an event takes.
inline std::size_t SizeOf(const RecordedEvent& event) {
  return sizeof event + event.kind.size() + event.text.size();
}

/// Why a record cannot be used. The text is one line for the user.
class StationError : public std::runtime_error {
 public:
  enum class Fault {
    kUnavailable,  // it cannot be opened, read or written, now
    kDamaged,      // its bytes are not those of a database, or contradict one another
    kForeign,      // a database, but not a record
    kNewer,        // a record of a newer format
  };

  StationError(Fault fault, const std::string& text) : std::runtime_error(text), mFault(fault) {}

  Fault Why() const { return mFault; }

 private:
  Fault mFault;
};

}  // namespace louddesk
