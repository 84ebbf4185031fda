// The played unit. Everything happens on one thread, between two messages.

#include "UnitPlayer.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "FiguresText.h"

namespace louddesk {
namespace {

constexpr Patience kStartPatience{5000};

// The service has taken everything in once this many messages in a row say the same.
constexpr int kSettledMessages = 5;
constexpr std::chrono::seconds kSettlePatience{10};

// How long an order or an answer may wait for attention while no loudness data comes.
constexpr Patience kAttention{20};

constexpr int kErrorLevel = 40;

bool IsInterrupted() {
  return zsys_interrupted != 0;
}

}  // namespace

UnitPlayer::UnitPlayer(const PlayerOptions& options, std::ostream& out, TerminalColumns columns)
    : mOptions(options),
      mOut(out),
      mLine(out, std::move(columns)),
      mUnit(options.meterSet, options.cluster),
      mControl(mUnit, mLine) {
  mUnit.OpenAll();
}

bool UnitPlayer::IsOver() const {
  return mHasQuit || IsInterrupted();
}

void UnitPlayer::Connect() {
  try {
    mControl.Connect(Patience{std::llround(mOptions.wait * 1000)});
  } catch (const ServiceError&) {
    if (!IsInterrupted())
      throw;
  }
}

void UnitPlayer::TakeOrdersFrom(int descriptor) {
  mOrders.emplace(descriptor);
  if (mOrders->IsTyped())
    TellOrders();
}

unsigned long UnitPlayer::Play(const Playable& playable) {
  BlockStream blocks(playable.name, playable.open());
  const SampleSource& source = blocks.Source();
  if (playable.isMeasuredFromZero || source.Speakers() != mSpeakers)
    StartMeasuring(source.Speakers());
  mLine.Print("Playing " + playable.name + " (" + std::to_string(source.Channels()) +
              (source.Channels() == 1 ? " channel, " : " channels, ") +
              std::to_string(source.SampleRate()) + " Hz)");
  const unsigned long played = Stream(blocks);
  mLine.Finish();
  return played;
}

void UnitPlayer::StartMeasuring(const SpeakerLayout& speakers) {
  Finish();
  if (IsOver())
    return;
  const bool hasStarted = mControl.Restart(speakers, kStartPatience);
  if (IsInterrupted())
    return;
  if (!hasStarted)
    throw PlayError("the service has not started to measure" + LastComplaint());
  mSpeakers = speakers;
  mBlocks = 0;
  mUnit.DropLoudnessData();
}

unsigned long UnitPlayer::Stream(BlockStream& blocks) {
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

// Attends to the user and to the service, at least to what has already come.
void UnitPlayer::AttendUntil(Clock::time_point due) {
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
    CheckService();
    if (Clock::now() >= due)
      return;
  }
}

void UnitPlayer::AttendUntilSettled() {
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

void UnitPlayer::Finish() {
  if (mBlocks > 0)
    AttendUntilSettled();
  mLine.Finish();
  if (!mLast)
    return;
  const std::string caveat = mControl.Caveat();
  if (!caveat.empty())
    mLine.Print(caveat);
  mOut << FinalText(SecondsMeasured(), mLast->data) << std::flush;
  mLast.reset();
}

bool UnitPlayer::CarryOutNextOrder() {
  if (!mOrders || !mControl.IsReady())
    return false;
  const auto typed = mOrders->Next();
  if (typed)
    CarryOut(*typed);
  return typed.has_value();
}

void UnitPlayer::CarryOut(const TypedOrder& typed) {
  if (typed.order == nullptr) {
    mLine.Print("\"" + typed.text + "\" is not an order; there are " + OrderWords());
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

void UnitPlayer::TellOrders() {
  mLine.Print("Orders: " + OrderWords());
}

void UnitPlayer::TakeAnswers() {
  if (mControl.TakeAnswers())
    mBlocks = 0;
}

void UnitPlayer::Show(const LoudnessMessage& message) {
  mControl.TakeData(message);
  mLast = message;
  mLine.Show(LiveText(SecondsMeasured(), message.data), message.time);
}

void UnitPlayer::CheckService() const {
  if (mControl.IsSilent())
    throw PlayError("the service has fallen silent");
}

// The last error that the service logged, as the end of a line.
std::string UnitPlayer::LastComplaint() {
  std::string complaint;
  while (const auto line = mUnit.NextLogLine(Patience{0}))
    if (line->level >= kErrorLevel)
      complaint = ": " + line->message;
  return complaint;
}

double UnitPlayer::SecondsMeasured() const {
  return static_cast<double>(mBlocks) / kBlocksPerSecond;
}

}  // namespace louddesk
