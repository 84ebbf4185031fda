// Places blocks by the true peaks in the recorded loudness data, and commands and configurations by
// the stamps and users in the acknowledgements.

#include "RecordedOrder.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "Endpoints.h"
#include "JsonAccess.h"
#include "LoudCalcBase.h"
#include "LuEnumerations.h"
#include "LuMessageKeys.h"
#include "LuMessages.h"
#include "PubHandler.h"

namespace louddesk {
namespace {

// If nothing shows the order, a block recorded within this time before an action was measured
// after it: the recorder receives a block when the service does, but an acknowledgement only after
// its tick.
constexpr std::uint64_t kOneMoment = 1000;  // us

// If a block and an acknowledgement were recorded within this time of each other, their order is
// only known if something shows it.
constexpr std::uint64_t kSimultaneous = 20000;  // us

// A tick. A service or a recorder on a busy machine can be this late.
constexpr std::uint64_t kWindow = 100000;  // us

// The data that shows the order is looked for in this time after an action. A restart takes two
// or three ticks, and the first readings four blocks.
constexpr std::uint64_t kEvidenceTime = 1500000;  // us

// How long messages are kept after that. The last block before an action may be this old.
constexpr std::uint64_t kMargin = 1000000;  // us

// Limits of what is kept in memory, for recordings in which no time passes.
constexpr std::size_t kMostPending = 4096;
constexpr std::size_t kMostPendingBytes = 16 << 20;

constexpr std::size_t kBlockFrames = 4;

std::optional<ServiceAnswer> AcknowledgementIn(const RecordedMessage& message) {
  if (message.sender != Sender::kStatePublisher)
    return std::nullopt;
  const auto answer = ReadAnswer(DecodeStateMessage({message.frames, {}}));
  const bool isAcknowledgement =
      answer && !answer->isRepublished && answer->kind == StateKind::kAcknowledgement;
  return isAcknowledgement ? answer : std::nullopt;
}

Action ActionOf(const RecordedMessage& message) {
  const auto answer = AcknowledgementIn(message);
  if (!answer)
    return Action::kNone;
  if (answer->command == cLuCmd::kResetText)
    return Action::kRestart;
  return answer->command == cLuCmd::kPauseText ? Action::kPause : Action::kOther;
}

bool BeginsWith(const std::string& text, const std::string& beginning) {
  return text.compare(0, beginning.size(), beginning) == 0;
}

std::optional<std::uint32_t> NumberIn(const std::string& payload, const char* key) {
  rapidjson::Document document;
  std::uint32_t number = 0;
  if (!json::ParseObject(payload.c_str(), document) || !json::Read(document, key, number))
    return std::nullopt;
  return number;
}

// Whether the acknowledgement shows that the service had not taken this command or configuration.
bool IsBefore(const ServiceAnswer& answer, const Frames& text) {
  if (text.size() < 2)
    return false;
  const auto differs = [&text](const auto& shown, const char* key) {
    const auto number = NumberIn(text[1], key);
    return shown && number && *shown != *number;
  };
  if (BeginsWith(text.front(), kCommandTopicPrefix))
    return differs(answer.cmdTime, lu_key::kCommandTimeStamp);
  return BeginsWith(text.front(), kConfigurationTopicPrefix) &&
         differs(answer.user, lu_key::kReadUser);
}

// Whether the service takes the message as a block and measures it.
bool IsBlock(const RecordedMessage& message) {
  return message.sender == Sender::kSignalProcessor && message.frames.size() >= kBlockFrames &&
         std::none_of(message.frames.begin(), message.frames.begin() + kBlockFrames,
                      [](const std::string& frame) { return frame.empty(); });
}

bool IsData(const RecordedMessage& message) {
  return IsOfService(message.sender) && message.frames.front() == kLoudnessDataTopic;
}

LoudnessMessage Decoded(const RecordedMessage& message) {
  return DecodeLoudnessMessage({message.frames, {}});
}

bool HasReadings(const LoudnessMessage& data) {
  return data.wellFormed && data.data.TruePeak != kNoTruePeakCode;
}

// The published code of a true peak; the service takes only its low 16 bits, and 0 as 1.
long CodeOf(std::uint32_t peak) {
  return std::lround(GetTruePeak(static_cast<std::uint16_t>(peak != 0 ? peak : 1)) * 100);
}

// Whether one of the block's meters has this peak. Which of them are in the programme is not known.
bool HasPeak(const RecordedMessage& block, std::int16_t code) {
  const std::string& peaks = block.frames[1];
  std::uint32_t peak = 0;
  for (std::size_t i = 0; i + sizeof peak <= peaks.size(); i += sizeof peak) {
    std::memcpy(&peak, &peaks[i], sizeof peak);
    if (CodeOf(peak) == code)
      return true;
  }
  return false;
}

// The loudness of two readings of the same length together, all in tenths of LKFS.
double Together(std::int16_t first, std::int16_t second) {
  return 100 * std::log10((std::pow(10, first / 100.0) + std::pow(10, second / 100.0)) / 2);
}

// The blocks from a restart up to the last one in these figures: four for the first readings, which
// all come from the same 400 ms, five for the second ones if they are quieter. Nothing for others.
std::optional<std::size_t> BlocksMeasured(const LoudnessData_t& data) {
  const auto isShortTerm = [&data](double loudness) {
    return std::abs(data.ShortTerm - loudness) <= 1 || data.ShortTerm == kNoLoudnessCode;
  };
  if (data.MaxMomentary == data.Momentary && data.MaxTruePeak == data.TruePeak &&
      isShortTerm(data.Momentary))
    return kMomentaryBlocks;
  if (data.MaxMomentary > data.Momentary + 1 &&
      isShortTerm(Together(data.MaxMomentary, data.Momentary)))
    return kMomentaryBlocks + 1;
  return std::nullopt;
}

// Whether the data shows where the action was.
bool Shows(Action action, const LoudnessMessage& data) {
  if (!HasReadings(data))
    return false;
  if (action == Action::kPause)
    return data.command == LU_CMD_PAUSE;
  return data.command != LU_CMD_PAUSE && data.command != LU_CMD_STOP;
}

}  // namespace

void RecordedOrder::Take(const RecordedMessage& message) {
  ++mTaken;
  mPendingBytes += MemoryOf(message);
  mPending.push_back({mTaken, message, ActionOf(message), std::nullopt});
  if (mPending.size() > kMostPending || mPendingBytes > kMostPendingBytes)
    Finish();
  const std::uint64_t now = message.time;
  if (now < kEvidenceTime + kMargin)
    return;
  DecideUntil(now - kEvidenceTime);
  while (!mPending.empty() && mPending.front().message.time < now - kEvidenceTime - kMargin)
    Release();
}

void RecordedOrder::Finish() {
  DecideUntil(UINT64_MAX);
  while (!mPending.empty())
    Release();
}

void RecordedOrder::Release() {
  const OrderedMessage message = std::move(mPending.front());
  mPending.pop_front();
  mPendingBytes -= MemoryOf(message.message);
  mHandle(message);
}

void RecordedOrder::DecideUntil(std::uint64_t time) {
  for (std::size_t place = PlaceToDecide(time); place < mPending.size();
       place = PlaceToDecide(time))
    Decide(place);
}

// The first acknowledgement before `time` that is not decided; the number of messages if there is
// none.
std::size_t RecordedOrder::PlaceToDecide(std::uint64_t time) const {
  const auto isDue = [time](const OrderedMessage& pending) {
    return pending.action != Action::kNone && !pending.doubt && pending.message.time < time;
  };
  return static_cast<std::size_t>(std::find_if(mPending.begin(), mPending.end(), isDue) -
                                  mPending.begin());
}

void RecordedOrder::Decide(std::size_t place) {
  mPending[place].doubt = "";
  const std::size_t newPlace = place - MoveLaterTexts(place);
  if (mPending[newPlace].action != Action::kOther)
    PlaceBlocks(newPlace);
}

// Moves the commands and configurations behind the acknowledgement that the service took after it.
// Returns their number.
std::size_t RecordedOrder::MoveLaterTexts(std::size_t place) {
  const RecordedMessage& acknowledgement = mPending[place].message;
  const auto answer = AcknowledgementIn(acknowledgement);
  const std::uint64_t time = acknowledgement.time;
  std::size_t moved = 0;
  for (std::size_t i = place; answer && i-- > 0 && mPending[i].message.time + kWindow >= time;) {
    const RecordedMessage& message = mPending[i].message;
    if (!IsOfPeer(message.sender) || message.sender == Sender::kSignalProcessor)
      continue;
    if (!IsBefore(*answer, message.frames))
      break;
    MoveMessage(i, place - moved);
    ++moved;
  }
  mMoved += moved;
  return moved;
}

void RecordedOrder::PlaceBlocks(std::size_t place) {
  const Surroundings around = Around(place);
  const std::vector<std::size_t> fitting = FittingCuts(around);
  const bool isLikelyGood =
      fitting.empty() || std::count(fitting.begin(), fitting.end(), around.likely) != 0;
  if (fitting.size() != 1)
    mPending[place].doubt = DoubtAbout(around);
  Move(around, isLikelyGood ? around.likely : fitting.front());
}

RecordedOrder::Surroundings RecordedOrder::Around(std::size_t place) const {
  const std::uint64_t time = mPending[place].message.time;
  Surroundings around;
  around.place = place;
  for (std::size_t i = 0; i < mPending.size(); ++i) {
    const RecordedMessage& message = mPending[i].message;
    if (!IsBlock(message))
      continue;
    around.blocks.push_back(i);
    around.recorded += i < place ? 1 : 0;
    around.likely += i < place && message.time + kOneMoment <= time ? 1 : 0;
    around.lowest += i < place && message.time + kWindow < time ? 1 : 0;
    around.highest += i < place || message.time <= time + kWindow ? 1 : 0;
  }
  return around;
}

// The cuts at which the service would have published what was recorded; none if nothing was
// recorded that shows it.
std::vector<std::size_t> RecordedOrder::FittingCuts(const Surroundings& around) const {
  std::vector<std::size_t> cuts;
  const RecordedMessage* data = ShowingData(around.place);
  for (std::size_t cut = around.lowest; data != nullptr && cut <= around.highest; ++cut)
    if (Fits(around, cut, *data))
      cuts.push_back(cut);
  return cuts;
}

bool RecordedOrder::Fits(const Surroundings& around, std::size_t cut,
                         const RecordedMessage& data) const {
  const bool isPause = mPending[around.place].action == Action::kPause;
  if (isPause && cut == 0)
    return false;
  const LoudnessData_t figures = Decoded(data).data;
  const std::size_t last = cut + (isPause ? 0 : BlocksMeasured(figures).value_or(0)) - 1;
  if (last >= around.blocks.size())
    return false;
  const RecordedMessage& block = mPending[around.blocks[last]].message;
  return block.time < data.time + kSimultaneous && HasPeak(block, figures.TruePeak);
}

// The first data behind an acknowledgement whose readings show where its action was; null if there
// is none.
const RecordedMessage* RecordedOrder::ShowingData(std::size_t place) const {
  const OrderedMessage& acknowledgement = mPending[place];
  for (std::size_t i = place + 1; i < mPending.size(); ++i) {
    const RecordedMessage& message = mPending[i].message;
    if (mPending[i].action == Action::kRestart ||
        message.time > acknowledgement.message.time + kEvidenceTime)
      return nullptr;
    if (!IsData(message))
      continue;
    const LoudnessMessage data = Decoded(message);
    if (Shows(acknowledgement.action, data))
      return acknowledgement.action == Action::kPause || BlocksMeasured(data.data) ? &message
                                                                                   : nullptr;
  }
  return nullptr;
}

// Names the block closest to the acknowledgement; empty if none is close.
std::string RecordedOrder::DoubtAbout(const Surroundings& around) const {
  const std::uint64_t time = mPending[around.place].message.time;
  std::uint64_t closest = kSimultaneous;
  std::string doubt;
  for (const std::size_t i : around.blocks) {
    const RecordedMessage& block = mPending[i].message;
    const std::uint64_t distance = block.time < time ? time - block.time : block.time - time;
    if (distance >= closest)
      continue;
    closest = distance;
    doubt = fmt::format("block {} at {:.3f} s", mPending[i].number,
                        static_cast<double>(block.time) / 1e6);
  }
  return doubt;
}

void RecordedOrder::Move(const Surroundings& around, std::size_t cut) {
  for (std::size_t i = around.recorded; i > cut; --i)
    MoveMessage(around.blocks[i - 1], around.place - (around.recorded - i));
  for (std::size_t i = around.recorded; i < cut; ++i)
    MoveMessage(around.blocks[i], BeginOfTick(around.place + i - around.recorded));
  mMoved += std::max(cut, around.recorded) - std::min(cut, around.recorded);
}

// Moves a message to another place; the ones in between move up.
void RecordedOrder::MoveMessage(std::size_t from, std::size_t to) {
  const auto at = [this](std::size_t i) { return mPending.begin() + static_cast<long>(i); };
  if (from < to)
    std::rotate(at(from), at(from + 1), at(to + 1));
  else
    std::rotate(at(to), at(from), at(from + 1));
}

// Where the messages of an acknowledgement's tick begin: a restart first publishes data without
// readings.
std::size_t RecordedOrder::BeginOfTick(std::size_t place) const {
  if (mPending[place].action != Action::kRestart)
    return place;
  for (std::size_t i = place; i-- > 0;)
    if (IsData(mPending[i].message))
      return HasReadings(Decoded(mPending[i].message)) ? place : i;
  return place;
}

}  // namespace louddesk
