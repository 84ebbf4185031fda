// Sends orders and shows answers.

#include "ServiceControl.h"

#include "LuMessages.h"

namespace louddesk {
namespace {

constexpr Patience kAnswerPatience{3000};

// Loudness data comes ten times per second, a heartbeat once per second.
constexpr std::chrono::seconds kDataOfADeadService{3};
constexpr std::chrono::seconds kSilenceOfADeadService{10};

}  // namespace

ServiceControl::ServiceControl(UnitStandIn& unit, LiveLine& line)
    : mUnit(unit), mLine(line), mClient(unit, [this](const auto& answer) { TakeAnswer(answer); }) {}

void ServiceControl::Connect(Patience patience) {
  mClient.Connect(patience);
  mClient.SwitchReporting(true);
}

bool ServiceControl::Restart(const SpeakerLayout& speakers, Patience patience) {
  mClient.Restart(speakers);
  mIsStarting = true;
  const bool hasStarted = !mIsReporting || mClient.Await(patience) == Outcome::kDone;
  mIsStarting = false;
  mDone = cLuCmd::kStartText;
  mAwaited = nullptr;
  mLastData = mLastSign = Clock::now();
  return hasStarted;
}

void ServiceControl::Send(const Order& order) {
  const std::string command = order.command;
  // A print is carried out immediately and is not acknowledged.
  const bool isPrint = command == cLuCmd::kPrintText;
  const bool waits = !command.empty() && !mIsReporting && !isPrint;
  mLine.Print(std::string("> ") + order.word + (waits ? " (waits until reporting is on)" : ""));
  bool isAnswered = mIsReporting && !isPrint;
  if (order.kind == OrderKind::kCommand) {
    mClient.SendCommand(command, mClient.User());
  } else {
    mIsReporting = order.kind == OrderKind::kReportingOn;
    mClient.SwitchReporting(mIsReporting);
    mLastData = Clock::now();
    isAnswered = !mIsReporting || IsDataExpected();
  }
  if (isAnswered)
    mAwaited = &order;
  mDue = Clock::now() + kAnswerPatience;
}

void ServiceControl::TakeData(const LoudnessMessage& message) {
  mLastData = mLastSign = message.time;
  mClient.TakeData(message);
}

bool ServiceControl::TakeAnswers() {
  mHasReset = false;
  const Outcome outcome = mClient.TakeAnswers(Patience{0});
  while (mUnit.NextHeartbeat(Patience{0}))
    mLastSign = Clock::now();
  mUnit.DropLogLines();
  if (mAwaited != nullptr)
    CheckAwaited(outcome);
  return mHasReset;
}

void ServiceControl::TakeAnswer(const ServiceAnswer& answer) {
  mLastData = mLastSign = Clock::now();
  mHasReset = mHasReset || answer.command == cLuCmd::kResetText;
  if (answer.kind == StateKind::kAcknowledgement && answer.command != cLuCmd::kResetText)
    mDone = answer.command;
  if (!mIsStarting)
    mLine.Print(AnswerText(answer));
}

void ServiceControl::CheckAwaited(Outcome outcome) {
  if (outcome == Outcome::kOtherStamp)
    Settle(std::string(mAwaited->command) + " " + kOtherStampText);
  else if (outcome == Outcome::kDone && mAwaited->kind == OrderKind::kReportingOff)
    Settle("The loudness data has ended");
  else if (outcome == Outcome::kDone && mAwaited->kind == OrderKind::kReportingOn)
    Settle("Loudness data is published");
  else if (outcome == Outcome::kDone)
    mAwaited = nullptr;
  else if (Clock::now() >= mDue)
    Settle(std::string("No answer to ") + mAwaited->word);
}

void ServiceControl::Settle(const std::string& line) {
  mLine.Print(line);
  mAwaited = nullptr;
}

bool ServiceControl::IsDataExpected() const {
  return mIsReporting && mDone != cLuCmd::kStopText;
}

bool ServiceControl::IsSilent() const {
  const auto now = Clock::now();
  return IsDataExpected() ? now - mLastData > kDataOfADeadService
                          : now - mLastSign > kSilenceOfADeadService;
}

std::string ServiceControl::Caveat() const {
  if (!mIsReporting)
    return "Reporting is off: these are the last figures that were published";
  if (mDone == cLuCmd::kStopText)
    return "Stopped: these are the last figures that were published";
  if (mDone == cLuCmd::kPauseText)
    return "Paused: these are the figures of the pause";
  return "";
}

}  // namespace louddesk
