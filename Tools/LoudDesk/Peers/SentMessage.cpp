// Decides which answers and data settle which message.

#include "SentMessage.h"

#include <utility>

#include "LuMessages.h"

namespace louddesk {
namespace {

// Several periods of the loudness data. After this long without data, reporting is off.
constexpr std::chrono::milliseconds kDataEnded{500};

// The ten messages of an invalid source take a second. They may also refer to the previous preset.
constexpr std::chrono::milliseconds kInvalidSource{1000};

// The service acknowledges with the stamp of the command that it read last. An acknowledgement with
// the right stamp follows within a few ticks of 100 ms.
constexpr std::chrono::milliseconds kOwnStamp{1000};

bool IsStart(const ServiceAnswer& answer) {
  return answer.kind == StateKind::kAcknowledgement && answer.command == cLuCmd::kStartText;
}

}  // namespace

std::string WhyNotAcknowledged(const std::string& command) {
  return command == cLuCmd::kStopText
             ? "the mode is Continuous, reporting is off or the source is invalid"
             : "reporting is off or the source is invalid";
}

SentMessage::SentMessage(FitOf fitOf, Data data)
    : mOutcome(Outcome::kPending), mFitOf(std::move(fitOf)), mData(data) {}

SentMessage SentMessage::Command(const std::string& command, unsigned timeStamp) {
  return {[command, timeStamp](const auto& answer) {
            if (!Settles(answer, command))
              return Fit::kNone;
            return answer.cmdTime == timeStamp ? Fit::kFinal : Fit::kLikely;
          },
          Data::kNothing};
}

SentMessage SentMessage::Reporting(bool isOn, Time now) {
  const Fit fit = isOn ? Fit::kFinal : Fit::kNone;
  SentMessage message([fit](const auto&) { return fit; }, isOn ? Data::kDone : Data::kNotYet);
  if (!isOn)
    message.SettleAs(Outcome::kDone, now + kDataEnded);
  return message;
}

SentMessage SentMessage::Preset() {
  return {[](const auto& answer) { return IsStart(answer) ? Fit::kFinal : Fit::kNone; },
          Data::kNothing};
}

// A start that comes before the configuration belongs to an earlier message.
SentMessage SentMessage::Configuration(const std::string& json) {
  return {[json, isInForce = false](const auto& answer) mutable {
            isInForce = isInForce || answer.configuration == json;
            return isInForce && IsStart(answer) ? Fit::kFinal : Fit::kNone;
          },
          Data::kNothing};
}

void SentMessage::SettleAs(Outcome outcome, Time unlessBetterBy) {
  mFallback = outcome;
  mDue = unlessBetterBy;
}

void SentMessage::TakeData(const LoudnessMessage& message, Time now) {
  if (mOutcome != Outcome::kPending)
    return;
  if (mData == Data::kDone)
    mOutcome = Outcome::kDone;
  else if (mData == Data::kNotYet)
    SettleAs(Outcome::kDone, now + kDataEnded);
  else if (!mDue && message.wellFormed && message.validSource == 0)
    SettleAs(Outcome::kInvalidSource, now + kInvalidSource);
}

bool SentMessage::TakeAnswer(const ServiceAnswer& answer, Time now) {
  const bool isOpen = mOutcome == Outcome::kPending && !answer.isRepublished;
  const Fit fit = isOpen ? mFitOf(answer) : Fit::kNone;
  if (fit == Fit::kLikely)
    SettleAs(Outcome::kOtherStamp, now + kOwnStamp);
  if (fit != Fit::kFinal)
    return false;
  mOutcome = Outcome::kDone;
  return true;
}

Outcome SentMessage::OutcomeAt(Time now) {
  if (mOutcome == Outcome::kPending && mDue && now >= *mDue)
    mOutcome = mFallback;
  return mOutcome;
}

Outcome SentMessage::FinalOutcome() {
  if (mOutcome == Outcome::kPending && mDue && mFallback != Outcome::kDone)
    mOutcome = mFallback;
  return mOutcome;
}

}  // namespace louddesk
