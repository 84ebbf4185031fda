// Plays sources as the unit. Runs on one thread.

#include "UnitPlayer.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>

#include "BlockStream.h"
#include "Complaints.h"
#include "FiguresText.h"
#include "LiveLine.h"
#include "Orders.h"
#include "ServiceControl.h"
#include "UnitStandIn.h"

namespace louddesk {
namespace {

using Clock = std::chrono::steady_clock;

constexpr Patience kStartPatience{5000};

// The service has measured everything when this many consecutive messages carry the same figures.
constexpr int kSettledMessages = 5;
constexpr std::chrono::seconds kSettlePatience{10};

// How long orders and answers may wait while no loudness data comes.
constexpr Patience kAttention{20};

constexpr int kErrorLevel = 40;

// If standard input is closed, the next file to be opened would get its descriptor.
void HoldStandardInput() {
  if (fcntl(STDIN_FILENO, F_GETFD) == -1)
    open("/dev/null", O_RDONLY);
}

class UnitPlayer {
 public:
  // Opens the endpoints of the service's peers. Throws BindError.
  explicit UnitPlayer(const PlayerOptions& options)
      : mOptions(options),
        mLine(std::cout, ColumnsOf(STDOUT_FILENO)),
        mUnit(options.meterSet, options.cluster),
        mControl(mUnit, mLine) {
    mUnit.OpenAll();
  }

  // Whether the user has ended playback, with Ctrl-C or an order.
  bool IsOver() const { return mHasQuit || IsInterrupted(); }

  // Waits until the service has subscribed, and switches its reporting on. Accepts orders from then
  // on, and lists them for a user at a terminal. Throws ServiceError.
  void Connect() {
    try {
      mControl.Connect(Patience{std::llround(mOptions.wait * 1000)});
    } catch (const ServiceError&) {
      if (!IsInterrupted())
        throw;
    }
    mOrders.emplace(STDIN_FILENO);
    if (mOrders->IsTyped())
      TellOrders();
  }

  // Plays one source. Returns the number of blocks played, which is smaller if the user ends
  // playback. Throws ServiceError if the service does not answer, and AudioFileError if the source
  // cannot be read to its end.
  unsigned long Play(const Playable& playable) {
    BlockStream blocks(playable.name, playable.open());
    const SampleSource& source = blocks.Source();
    if (playable.isMeasuredFromZero || source.Speakers() != mSpeakers)
      StartMeasuring(source.Speakers());
    mLine.Print(fmt::format("Playing {} ({} channel{}, {} Hz)", playable.name, source.Channels(),
                            source.Channels() == 1 ? "" : "s", source.SampleRate()));
    const unsigned long played = Stream(blocks);
    mLine.Finish();
    return played;
  }

  // Waits until the service has measured everything, and shows its final figures.
  void Finish() {
    if (mBlocks > 0)
      AttendUntilSettled();
    mLine.Finish();
    if (!mLast)
      return;
    const std::string caveat = mControl.Caveat();
    if (!caveat.empty())
      mLine.Print(caveat);
    std::cout << FinalText(SecondsMeasured(), mLast->data) << std::flush;
    mLast.reset();
  }

 private:
  static bool IsInterrupted() { return zsys_interrupted != 0; }

  void StartMeasuring(const SpeakerLayout& speakers) {
    Finish();
    if (IsOver())
      return;
    const bool hasStarted = mControl.Restart(speakers, kStartPatience);
    if (IsInterrupted())
      return;
    if (!hasStarted)
      throw ServiceError("the service has not started to measure" + LastComplaint());
    mSpeakers = speakers;
    mBlocks = 0;
    mUnit.DropLoudnessData();
  }

  unsigned long Stream(BlockStream& blocks) {
    const std::chrono::duration<double> period(1.0 / (kBlocksPerSecond * mOptions.speed));
    const Clock::time_point start = Clock::now();
    BlockReading block;
    unsigned long sent = 0;
    for (; !IsOver() && blocks.Next(block); ++sent) {
      AttendUntil(start + std::chrono::duration_cast<Clock::duration>(period * sent));
      mUnit.SendRaw(block);
      ++mBlocks;
    }
    return sent;
  }

  // Carries out orders and reads messages until `due`. Always takes those that have arrived.
  void AttendUntil(Clock::time_point due) {
    for (;;) {
      const bool hasCarriedOut = CarryOutNextOrder();
      TakeAnswers();
      const Patience patience = hasCarriedOut ? Patience{0} : std::min(Remaining(due), kAttention);
      if (const auto message = mUnit.NextLoudnessData(patience)) {
        Show(*message);
        continue;
      }
      if (IsOver())
        return;
      if (mControl.IsSilent())
        throw ServiceError("the service has stopped publishing");
      if (Clock::now() >= due)
        return;
    }
  }

  void AttendUntilSettled() {
    int same = 0;
    const auto end = Clock::now() + kSettlePatience;
    while (same < kSettledMessages && mControl.IsDataExpected() && Clock::now() < end) {
      TakeAnswers();
      const auto message = mUnit.NextLoudnessData(kAttention);
      if (!message && IsInterrupted())
        return;
      if (!message)
        continue;
      same = mLast && PublishedCodes(mLast->data) == PublishedCodes(message->data) ? same + 1 : 1;
      Show(*message);
    }
  }

  bool CarryOutNextOrder() {
    if (!mOrders || !mControl.IsReady())
      return false;
    const auto typed = mOrders->Next();
    if (typed)
      CarryOut(*typed);
    return typed.has_value();
  }

  void CarryOut(const TypedOrder& typed) {
    if (typed.order == nullptr) {
      mLine.Print("\"" + typed.text + "\" is not an order; the orders are " + OrderWords());
      return;
    }
    switch (typed.order->kind) {
      case OrderKind::kHelp:
        TellOrders();
        break;
      case OrderKind::kQuit:
        mHasQuit = true;
        break;
      case OrderKind::kCommand:
      case OrderKind::kReportingOn:
      case OrderKind::kReportingOff:
        mControl.Send(*typed.order);
        break;
    }
  }

  void TellOrders() { mLine.Print("Orders: " + OrderWords()); }

  void TakeAnswers() {
    if (mControl.TakeAnswers())
      mBlocks = 0;
  }

  void Show(const LoudnessMessage& message) {
    mControl.TakeData(message);
    mLast = message;
    mLine.Show(LiveText(SecondsMeasured(), message.data), message.time);
  }

  // The last error in the service's log, as a suffix for a line.
  std::string LastComplaint() {
    std::string complaint;
    while (const auto line = mUnit.NextLogLine(Patience{0}))
      if (line->level >= kErrorLevel)
        complaint = ": " + line->message;
    return complaint;
  }

  double SecondsMeasured() const { return static_cast<double>(mBlocks) / kBlocksPerSecond; }

  PlayerOptions mOptions;
  LiveLine mLine;
  UnitStandIn mUnit;
  ServiceControl mControl;
  std::optional<OrderInput> mOrders;
  bool mHasQuit = false;                 // set by an order
  SpeakerLayout mSpeakers;               // in force; empty: none yet
  unsigned long mBlocks = 0;             // blocks played since the measurement started or was reset
  std::optional<LoudnessMessage> mLast;  // last figures since then
};

// Reports every source that cannot be opened.
void TryAll(const std::vector<Playable>& list, Complaints& complaints) {
  for (const Playable& playable : list) {
    try {
      playable.open();
    } catch (const AudioFileError& error) {
      complaints.Add(error.what());
    }
  }
}

void PlayAll(UnitPlayer& player, const std::vector<Playable>& list, bool isLooped) {
  do {
    unsigned long played = 0;
    for (const Playable& playable : list)
      if (!player.IsOver())
        played += player.Play(playable);
    if (isLooped && played == 0 && !player.IsOver())
      throw std::runtime_error("nothing to loop: there is not even one block of 100 ms");
  } while (isLooped && !player.IsOver());
}

}  // namespace

int PlayUnit(const std::vector<Playable>& list, bool isLooped, const PlayerOptions& options) {
  HoldStandardInput();
  Complaints complaints(std::cerr);
  TryAll(list, complaints);
  if (complaints.Status() != 0)
    return complaints.Status();
  try {
    UnitPlayer player(options);
    player.Connect();
    PlayAll(player, list, isLooped);
    player.Finish();
  } catch (const std::runtime_error& error) {
    complaints.Add(error.what());
  }
  return complaints.Status();
}

}  // namespace louddesk
