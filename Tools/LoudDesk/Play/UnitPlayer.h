// One run of a unit around a running service: from the first subscription to the final figures.

#pragma once

#include <chrono>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>

#include "BlockStream.h"
#include "LiveLine.h"
#include "OrderInput.h"
#include "PlayList.h"
#include "ServiceControl.h"
#include "UnitStandIn.h"

namespace louddesk {

struct PlayerOptions {
  double speed = 1.0;     // times real time, above 0
  unsigned meterSet = 1;  // of the service
  unsigned cluster = 1;   // of the service, 1 to 8
  double wait = 10.0;     // s, for the service
};

/// What ends a play early. The text is one line for the user.
class PlayError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class UnitPlayer {
 public:
  /// Opens the endpoints of the service's peers. Throws `BindError`.
  UnitPlayer(const PlayerOptions& options, std::ostream& out, TerminalColumns columns);

  /// Waits until the service has subscribed and switches its reporting on. Throws `ServiceError`
  /// when it does not in time.
  void Connect();

  /// From now on carries out the orders that come from an open descriptor, and tells the user of a
  /// terminal what orders there are.
  void TakeOrdersFrom(int descriptor);

  /// Plays one source in real time, or `speed` times that, and shows the figures that the service
  /// publishes. Returns how many blocks were played. The measurement starts anew when the speakers
  /// are others than before, or the source asks for it. Returns early when the user ends the play.
  /// Throws `PlayError` when the service does not answer, `AudioFileError` when the source cannot
  /// be played to its end.
  unsigned long Play(const Playable& playable);

  /// Waits until the service has measured everything played and shows its final figures: of a
  /// service that publishes none any more the last ones that came.
  void Finish();

  /// Whether the user has asked for the end, by Ctrl-C or by an order.
  bool IsOver() const;

 private:
  using Clock = std::chrono::steady_clock;

  void StartMeasuring(const SpeakerLayout& speakers);
  unsigned long Stream(BlockStream& blocks);
  void AttendUntil(Clock::time_point due);
  void AttendUntilSettled();
  bool CarryOutNextOrder();
  void CarryOut(const TypedOrder& typed);
  void TellOrders();
  void TakeAnswers();
  void Show(const LoudnessMessage& message);
  void CheckService() const;
  std::string LastComplaint();
  double SecondsMeasured() const;

  PlayerOptions mOptions;
  std::ostream& mOut;
  LiveLine mLine;
  UnitStandIn mUnit;
  ServiceControl mControl;
  std::optional<OrderInput> mOrders;
  bool mHasQuit = false;                 // by an order
  SpeakerLayout mSpeakers;               // in force; empty: none yet
  unsigned long mBlocks = 0;             // played since the measurement started or was reset
  std::optional<LoudnessMessage> mLast;  // last figures since it started
};

}  // namespace louddesk
