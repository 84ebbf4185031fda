// The contents of the station's record: the readings of each second of each cluster, and events.

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

/// Seconds are counted in seconds since 1970, events in milliseconds.
constexpr std::int64_t kMsPerSecond = 1000;

/// The momentary loudness if no message came in this tenth of a second. It is lower than every
/// loudness code.
constexpr std::int16_t kMissedReading = std::numeric_limits<std::int16_t>::min();

/// The state of the measurement. The numbers are stored in the file, where 0 marks a second that
/// was not recorded. No seconds are recorded while the service cannot be reached.
enum class RecordedState : std::uint8_t {
  kWaiting = 1,  // connected, but the service has not published anything yet
  kNotStarted,   // no measurement was started, or the source is invalid
  kRunning,
  kPaused,
  kStopped,
  kSilent,  // no data, although the measurement was not reported as stopped
};

constexpr RecordedState kLastRecordedState = RecordedState::kSilent;

/// One second of one cluster, with the codes that the service published.
struct RecordedSecond {
  std::int64_t time = 0;  // beginning, s since 1970, UTC
  std::array<std::int16_t, kReadingsPerSecond>
      momentary{};  // 0.1 LUFS; kNoLoudnessCode without a reading, or kMissedReading
  std::int16_t shortTerm = kNoLoudnessCode;       // of the second's last message, 0.1 LUFS
  std::int16_t truePeak = kNoTruePeakCode;        // highest of the second, 0.01 dBTP
  RecordedState state = RecordedState::kWaiting;  // at the end of the second
  bool isSourceValid = false;                     // the programme has meters, by the last message
};

/// A cluster of the board, identified by the numbers of its publishers.
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
constexpr char kConfigurationEvent[] = "configuration";      // text: JSON as published
constexpr char kProgrammeEvent[] = "programme";              // text: what changed
constexpr char kRestartEvent[] = "restart";                  // the service restarted
constexpr char kStateEvent[] = "state";                      // text: the new state
constexpr char kGateEvent[] = "gate";                        // text: "started" or "stopped"
constexpr char kClockEvent[] = "clock";                      // text: by how much the clock was set
constexpr char kGapEvent[] = "gap";                          // text: what was lost, and why

struct RecordedEvent {
  std::int64_t time = 0;                  // ms since 1970, UTC
  std::optional<StationCluster> cluster;  // nothing: the event concerns the gate itself
  std::string kind;
  std::string text;
};

/// Bytes of memory used by an event.
inline std::size_t SizeOf(const RecordedEvent& event) {
  return sizeof event + event.kind.size() + event.text.size();
}

/// Why a record cannot be used. The text is one line for the user.
class StationError : public std::runtime_error {
 public:
  enum class Fault {
    kUnavailable,  // the file cannot be opened, read or written at the moment
    kDamaged,      // not a database, or its contents are inconsistent
    kForeign,      // a database, but not a record
    kNewer,        // a record of a newer format
  };

  StationError(Fault fault, const std::string& text) : std::runtime_error(text), mFault(fault) {}

  Fault Why() const { return mFault; }

 private:
  Fault mFault;
};

}  // namespace louddesk
