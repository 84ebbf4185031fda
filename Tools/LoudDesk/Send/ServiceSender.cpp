// Sending of single messages.

#include "ServiceSender.h"

namespace louddesk {
namespace {

// Data comes every 100 ms where it comes at all.
constexpr Patience kFirstData{500};

constexpr char kReportingHint[] =
    "; nothing is carried out while reporting is off (LoudDesk send enable)";
constexpr char kCommandHint[] =
    "; nothing is carried out while reporting is off (LoudDesk send enable) or the source is "
    "invalid (LoudDesk send preset)";
constexpr char kStopHint[] = "; in the mode Continuous a stop is not carried out";

}  // namespace

ServiceSender::ServiceSender(unsigned meterSet, unsigned cluster, Patience patience,
                             std::ostream& out)
    : mUnit(meterSet, cluster),
      mClient(mUnit, [this](const auto& answer) { mOut << AnswerText(answer) << std::endl; }),
      mPatience(patience),
      mOut(out) {
  try {
    mUnit.Open(Peer::kMainAppServer);
  } catch (const BindError& error) {
    throw ServiceError(std::string("sending needs the place of the application server: ") +
                       error.what());
  }
  mClient.Connect(patience);
}

void ServiceSender::Enable() {
  mClient.SwitchReporting(true);
  if (mClient.Await(mPatience) != Outcome::kDone)
    throw ServiceError("no loudness data" + InTime() +
                       ": the measurement was not started (LoudDesk send preset FILE) or is "
                       "stopped (LoudDesk send command start)");
  mOut << "Reporting is on: the service answers" << std::endl;
}

void ServiceSender::Disable() {
  const bool wasOn = mUnit.NextLoudnessData(kFirstData).has_value();
  mClient.SwitchReporting(false);
  if (mClient.Await(mPatience + kFirstData) != Outcome::kDone)
    throw ServiceError("the loudness data has not ended" + InTime());
  mOut << (wasOn ? "Reporting is off: the loudness data has ended"
                 : "Sent; no loudness data came before or after")
       << std::endl;
}

void ServiceSender::SendPreset(const std::string& json) {
  mClient.SendPreset(json);
  AwaitAcknowledgement(kReportingHint);
}

void ServiceSender::SendConfiguration(const LoudnessConfiguration& configuration) {
  mClient.SendConfiguration(configuration);
  AwaitAcknowledgement(kCommandHint);
}

void ServiceSender::SendCommand(const std::string& command, unsigned user) {
  mClient.SendCommand(command, user);
  const std::string hint = std::string(kCommandHint) + (command == "Stop" ? kStopHint : "");
  if (AwaitAcknowledgement(hint) == Outcome::kOtherStamp)
    mOut << command << " " << kOtherStampText << std::endl;
}

Outcome ServiceSender::AwaitAcknowledgement(const std::string& hint) {
  const Outcome outcome = mClient.Await(mPatience);
  if (outcome == Outcome::kInvalidSource)
    throw ServiceError(
        "the source is invalid: the preset was refused, or has no meters for cluster " +
        std::to_string(mUnit.Cluster()));
  if (outcome == Outcome::kPending)
    throw ServiceError("no acknowledgement" + InTime() + hint);
  return outcome;
}

std::string ServiceSender::InTime() const {
  return zsys_interrupted != 0 ? ": interrupted" : InTimeText(mPatience);
}

}  // namespace louddesk
