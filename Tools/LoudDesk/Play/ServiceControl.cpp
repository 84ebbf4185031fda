// Orders on their way out, answers on their way in.

#include "ServiceControl.h"

#include <algorithm>
#include <ctime>

#include "Endpoints.h"
#include "UnitDocuments.h"

namespace louddesk {

namespace {

constexpr char kStart[] = "Start";
constexpr char kPause[] = "Pause";
constexpr char kStop[] = "Stop";
constexpr char kReset[] = "Reset";
constexpr char kPrint[] = "Print";  // done at once, without an acknowledgement

constexpr Patience kAnswerPatience{3000};

// Several periods of the loudness data: after so long without any it has ended.
constexpr Patience kDataEnded{500};

// Loudness data comes ten times a second, a heartbeat once a second.
constexpr std::chrono::seconds kDataOfADeadService{3};
constexpr std::chrono::seconds kSilenceOfADeadService{10};

}  // namespace

ServiceControl::ServiceControl(UnitStandIn& unit, LiveLine& line) : mUnit(unit), mLine(line) {}

void ServiceControl::Start(unsigned user) {
  mUser = user;
  mDone = kStart;
  mAwaited.reset();
  mLastData = mLastSign = Clock::now();
}

void ServiceControl::Send(const Order& order) {
  if (order.kind == OrderKind::kCommand)
    SendCommand(order);
  else
    SwitchReporting(order);
}

void ServiceControl::SendCommand(const Order& order) {
  LoudnessCommand command;
  command.command = order.command;
  command.clusterId = mUnit.Cluster();
  command.meterSet = mUnit.MeterSet();
  command.userId = mUser;
  // Another one each time, however fast they come.
  command.timeStamp = mTimeStamp =
      std::max(mTimeStamp + 1, static_cast<unsigned>(std::time(nullptr)));
  mUnit.SendText(Peer::kMainAppServer, TopicFor(kCommandTopicPrefix, mUnit.MeterSet()),
                 command.Json());
  const bool waits = !mIsReporting && command.command != kPrint;
  mLine.Print(std::string("> ") + order.word + (waits ? " (waits until reporting is on)" : ""));
  if (mIsReporting && command.command != kPrint)
    mAwaited = Awaited{&order, command.timeStamp, Clock::now() + kAnswerPatience};
}

// The protocol has no acknowledgement of it but the data itself.
void ServiceControl::SwitchReporting(const Order& order) {
  mIsReporting = order.kind == OrderKind::kReportingOn;
  mUnit.SendText(Peer::kOpticalAppServer, kEnableReportingTopic, EnableReportingJson(mIsReporting));
  mLine.Print(std::string("> ") + order.word);
  mLastData = Clock::now();
  if (!mIsReporting || IsDataExpected())
    mAwaited = Awaited{&order, 0, Clock::now() + kAnswerPatience};
}

void ServiceControl::TakeData(const LoudnessMessage& message) {
  mLastData = mLastSign = message.time;
  if (mAwaited && mAwaited->order->kind == OrderKind::kReportingOn)
    Settle("Loudness data comes");
}

bool ServiceControl::TakeAnswers() {
  bool isReset = false;
  while (const auto state = mUnit.NextState(Patience{0})) {
    mLastSign = Clock::now();
    const auto answer = ReadAnswer(*state);
    if (!answer || answer->isRepublished)
      continue;
    isReset |= answer->command == kReset;
    TakeAnswer(*answer);
  }
  while (mUnit.NextHeartbeat(Patience{0}))
    mLastSign = Clock::now();
  mUnit.DropLogLines();
  CheckAwaited();
  return isReset;
}

void ServiceControl::TakeAnswer(const ServiceAnswer& answer) {
  mLastData = Clock::now();
  if (answer.kind == StateKind::kAcknowledgement && answer.command != kReset)
    mDone = answer.command;
  mLine.Print(AnswerText(answer));
  if (!mAwaited || mAwaited->order->kind != OrderKind::kCommand ||
      !Settles(answer, mAwaited->order->command))
    return;
  if (answer.cmdTime != mAwaited->timeStamp)
    mLine.Print(std::string(mAwaited->order->command) + " " + kOtherStampText);
  mAwaited.reset();
}

void ServiceControl::Settle(const std::string& line) {
  mLine.Print(line);
  mAwaited.reset();
}

void ServiceControl::CheckAwaited() {
  if (!mAwaited)
    return;
  const auto now = Clock::now();
  if (mAwaited->order->kind == OrderKind::kReportingOff && now - mLastData >= kDataEnded)
    Settle("No more loudness data comes");
  else if (now >= mAwaited->due)
    Settle(std::string("Nothing came of ") + mAwaited->order->word);
}

bool ServiceControl::IsDataExpected() const {
  return mIsReporting && mDone != kStop;
}

bool ServiceControl::IsSilent() const {
  const auto now = Clock::now();
  return IsDataExpected() ? now - mLastData > kDataOfADeadService
                          : now - mLastSign > kSilenceOfADeadService;
}

std::string ServiceControl::Caveat() const {
  if (!mIsReporting)
    return "Reporting is off: these are the last figures that were published";
  if (mDone == kStop)
    return "Stopped: these are the last figures that were published";
  if (mDone == kPause)
    return "Paused: these are the figures of the pause";
  return "";
}

}  // namespace louddesk
