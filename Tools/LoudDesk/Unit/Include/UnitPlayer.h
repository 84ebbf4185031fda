// One run of a unit around a running service: from the first subscription to the final figures.

#pragma once

#include <chrono>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "FileBlocks.h"
#include "LiveLine.h"
#include "SpeakerLayout.h"
#include "UnitStandIn.h"

namespace louddesk {

struct UnitOptions {
  std::vector<std::string> files;         // played one after another
  double speed = 1.0;                     // times real time, above 0
  unsigned meterSet = 1;                  // of the service
  unsigned cluster = 1;                   // of the service, 1 to 8
  double wait = 10.0;                     // s, for the service
  std::optional<SpeakerLayout> speakers;  // for every file; nothing: by the number of channels
};

/// What ends a play early. The text is one line for the user.
class PlayError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class UnitPlayer {
 public:
  /// Takes the places of the service's peers. Throws `BindError`.
  UnitPlayer(const UnitOptions& options, std::ostream& out, TerminalColumns columns);

  /// Waits until the service has subscribed and switches its reporting on. Throws `PlayError`
  /// when it does not in time.
  void Connect();

  /// Plays one file in real time, or `speed` times that, and shows the figures that the service
  /// publishes. The measurement starts anew when the speakers are others than before. Returns early
  /// when the user interrupts. Throws `PlayError` when the service does not answer,
  /// `AudioFileError` when the file cannot be played to its end.
  void Play(const std::string& path);

  /// Waits until the service has measured everything played and shows its final figures.
  void Finish();

  /// Whether the user has asked for the end (Ctrl-C).
  static bool IsInterrupted();

 private:
  using Clock = std::chrono::steady_clock;

  void StartMeasuring(const SpeakerLayout& speakers);
  void SendProgramme(const SpeakerLayout& speakers);
  bool HasStarted(const StateMessage& state) const;
  void Stream(FileBlocks& blocks);
  void ShowUntil(Clock::time_point due);
  void Show(const LoudnessMessage& message);
  void CheckService() const;
  std::string LastComplaint();
  double SecondsPlayed() const;

  UnitOptions mOptions;
  std::ostream& mOut;
  LiveLine mLine;
  UnitStandIn mUnit;
  SpeakerLayout mSpeakers;               // in force; empty: none yet
  unsigned mUserId;                      // by which the service's answers to us are told apart
  unsigned long mBlocks = 0;             // played since the measurement started
  std::optional<LoudnessMessage> mLast;  // last figures since then
  Clock::time_point mLastSign;           // when the service last published something
};

}  // namespace louddesk
