// Sending of single messages.

#include "ServiceSender.h"

#include <algorithm>

#include "Endpoints.h"

namespace louddesk {

namespace {

// Several periods of the loudness data: after so long without any it has ended.
constexpr Patience kDataEnded{500};

// The ten messages of an invalid source take a second.
constexpr Patience kInvalidSource{1000};

// What follows an acknowledgement is published in the next ticks of 100 ms.
constexpr Patience kOwnStamp{1000};

constexpr Patience kSlice{100};

constexpr char kStart[] = "Start";
constexpr char kStop[] = "Stop";

constexpr char kReportingHint[] =
    "; nothing is carried out while reporting is off (LoudDesk send enable)";
constexpr char kCommandHint[] =
    "; nothing is carried out while reporting is off (LoudDesk send enable) or the source is "
    "invalid (LoudDesk send preset)";
constexpr char kStopHint[] = "; in the mode Continuous a stop is not obeyed";

bool IsCommand(const ServiceAnswer& answer, const std::string& command) {
  return answer.kind == StateKind::kAcknowledgement && answer.command == command;
}

}  // namespace

ServiceSender::ServiceSender(unsigned meterSet, unsigned cluster, Patience patience,
                             std::ostream& out)
    : mUnit(meterSet, cluster), mPatience(patience), mOut(out) {
  try {
    mUnit.Open(Peer::kMainAppServer);
  } catch (const BindError& error) {
    throw SendError(std::string("sending needs the place of the application server: ") +
                    error.what());
  }
}

void ServiceSender::Connect() {
  if (mUnit.WaitUntilSubscribed(mPatience))
    return;
  const std::string service =
      "LoudCalc -m " + std::to_string(mUnit.MeterSet()) + " -c " + std::to_string(mUnit.Cluster());
  if (!mUnit.HasSubscribers())
    throw SendError("no service has subscribed" + InTime() + "; start " + service);
  throw SendError("a service has subscribed, but not as " + service +
                  " does: " + mUnit.MissingSubscriptions());
}

void ServiceSender::Publish(const std::string& topic, const std::string& json) {
  mUnit.DropStates();
  mUnit.DropLoudnessData();
  mUnit.SendText(Peer::kMainAppServer, topic, json);
}

void ServiceSender::Enable() {
  Publish(kEnableReportingTopic, EnableReportingJson(true));
  const auto end = Clock::now() + mPatience;
  const auto isAny = [](const ServiceAnswer&) { return Fit::kFinal; };
  while (Clock::now() < end && zsys_interrupted == 0) {
    if (ShowAnswers(isAny, Patience{0}) == Fit::kFinal || mUnit.NextLoudnessData(kSlice)) {
      mOut << "Reporting is on: the service answers" << std::endl;
      return;
    }
  }
  throw SendError("no loudness data" + InTime() +
                  ": the measurement was not started (LoudDesk send preset FILE) or is stopped "
                  "(LoudDesk send command start)");
}

void ServiceSender::Disable() {
  const bool wasOn = mUnit.NextLoudnessData(kDataEnded).has_value();
  Publish(kEnableReportingTopic, EnableReportingJson(false));
  const auto end = Clock::now() + mPatience;
  while (mUnit.NextLoudnessData(kDataEnded))
    if (Clock::now() >= end)
      throw SendError("the loudness data has not ended" + InTime());
  mOut << (wasOn ? "Reporting is off: the loudness data has ended"
                 : "Sent; no loudness data came before or after")
       << std::endl;
}

void ServiceSender::SendPreset(const std::string& json) {
  Publish(TopicFor(kPresetTopicPrefix, mUnit.MeterSet()), json);
  Await(
      [](const ServiceAnswer& answer) {
        return IsCommand(answer, kStart) ? Fit::kFinal : Fit::kNone;
      },
      kReportingHint);
}

void ServiceSender::SendConfiguration(const LoudnessConfiguration& configuration) {
  const std::string json = configuration.Json();
  Publish(TopicFor(kConfigurationTopicPrefix, mUnit.MeterSet()), json);
  bool isInForce = false;
  Await(
      [&json, &isInForce](const ServiceAnswer& answer) {
        isInForce =
            isInForce || (answer.kind == StateKind::kConfiguration && answer.configuration == json);
        return isInForce && IsCommand(answer, kStart) ? Fit::kFinal : Fit::kNone;
      },
      kCommandHint);
}

void ServiceSender::SendCommand(LoudnessCommand command) {
  command.clusterId = mUnit.Cluster();
  command.meterSet = mUnit.MeterSet();
  Publish(TopicFor(kCommandTopicPrefix, mUnit.MeterSet()), command.Json());
  const auto fitOf = [&command](const ServiceAnswer& answer) {
    if (!Settles(answer, command.command))
      return Fit::kNone;
    return answer.cmdTime == command.timeStamp ? Fit::kFinal : Fit::kLikely;
  };
  const std::string hint = std::string(kCommandHint) + (command.command == kStop ? kStopHint : "");
  if (Await(fitOf, hint) == Fit::kLikely)
    mOut << command.command << " " << kOtherStampText << std::endl;
}

// Once the service has said that the source is invalid, it has nothing else to say of a preset; but
// that may have been the preset before.
ServiceSender::Fit ServiceSender::Await(const FitOf& fitOf, const std::string& hint) {
  auto end = Clock::now() + mPatience;
  const auto shorten = [&end](Patience left) { end = std::min(end, Clock::now() + left); };
  Fit best = Fit::kNone;
  bool isInvalid = false;
  while (best != Fit::kFinal && Clock::now() < end && zsys_interrupted == 0) {
    const Fit fit = ShowAnswers(fitOf, kSlice);
    if (fit > best)
      shorten(kOwnStamp);
    best = std::max(best, fit);
    if (!isInvalid && SawInvalidSource()) {
      isInvalid = true;
      shorten(kInvalidSource);
    }
  }
  if (best != Fit::kNone)
    return best;
  if (isInvalid)
    throw SendError("the source is invalid: the preset was refused, or has no meters for cluster " +
                    std::to_string(mUnit.Cluster()));
  throw SendError("no acknowledgement" + InTime() + hint);
}

// The best of those that came within `patience`; after a final one nothing is taken.
ServiceSender::Fit ServiceSender::ShowAnswers(const FitOf& fitOf, Patience patience) {
  Fit best = Fit::kNone;
  while (const auto state = mUnit.NextState(best == Fit::kNone ? patience : Patience{0})) {
    const auto answer = ReadAnswer(*state);
    if (!answer || answer->isRepublished)
      continue;
    mOut << AnswerText(*answer) << std::endl;
    best = std::max(best, fitOf(*answer));
    if (best == Fit::kFinal)
      break;
  }
  return best;
}

bool ServiceSender::SawInvalidSource() {
  while (const auto message = mUnit.NextLoudnessData(Patience{0}))
    if (message->wellFormed && message->validSource == 0)
      return true;
  return false;
}

std::string ServiceSender::InTime() const {
  return zsys_interrupted != 0 ? ": interrupted" : InTimeText(mPatience);
}

}  // namespace louddesk
