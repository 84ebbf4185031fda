// Sends messages and evaluates the service's answers.

#include "ServiceClient.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "Endpoints.h"
#include "LoudConfigUser.h"

namespace louddesk {
namespace {

constexpr Patience kSlice{100};

// The service republishes every five seconds; the rest allows for a busy machine.
constexpr Patience kRepublication{6000};

LoudnessConfiguration Readable(const std::optional<ServiceAnswer>& answer) {
  const auto configuration = answer ? ReadConfiguration(answer->configuration) : std::nullopt;
  if (!configuration)
    throw ServiceError("the configuration that the service republishes cannot be read");
  return *configuration;
}

}  // namespace

ServiceClient::ServiceClient(UnitStandIn& unit, AnswerSink show)
    : mUnit(unit), mShow(std::move(show)), mUser(static_cast<unsigned>(getpid())) {}

void ServiceClient::Connect(Patience patience) {
  if (mUnit.WaitUntilSubscribed(patience)) {
    mUnit.DropStates();
    mUnit.DropLoudnessData();
    return;
  }
  if (zsys_interrupted != 0)
    throw ServiceError("interrupted");
  const std::string service =
      fmt::format("LoudCalc -m {} -c {}", mUnit.MeterSet(), mUnit.Cluster());
  if (!mUnit.HasSubscribers())
    throw ServiceError("no service has subscribed" + InTimeText(patience) + "; start " + service);
  throw ServiceError("a service has subscribed, but not as " + service +
                     " does: " + mUnit.MissingSubscriptions());
}

std::optional<LoudnessConfiguration> ServiceClient::ConfigurationInForce(Patience patience) {
  const Patience longest = std::max(patience, kRepublication);
  auto end = Clock::now() + longest;
  bool hasRepublished = false;
  while (const auto state = mUnit.NextState(Remaining(end))) {
    mUnit.DropLoudnessData();
    const auto answer = ReadAnswer(*state);
    if (!answer || answer->kind == StateKind::kConfiguration)
      return Readable(answer);
    if (answer->isRepublished && !hasRepublished) {
      hasRepublished = true;
      end = Clock::now() + kConfigurationFollows;
    }
  }
  if (zsys_interrupted != 0)
    throw ServiceError("interrupted");
  if (!hasRepublished)
    throw ServiceError("the service has republished nothing" + InTimeText(longest));
  return std::nullopt;
}

void ServiceClient::SwitchReporting(bool isOn) {
  Send(kEnableReportingTopic, EnableReportingJson(isOn),
       SentMessage::Reporting(isOn, Clock::now()));
}

void ServiceClient::SendPreset(const std::string& json) {
  Send(TopicFor(kPresetTopicPrefix, mUnit.MeterSet()), json, SentMessage::Preset());
}

void ServiceClient::SendConfiguration(const LoudnessConfiguration& configuration) {
  const std::string json = configuration.Json();
  Send(TopicFor(kConfigurationTopicPrefix, mUnit.MeterSet()), json,
       SentMessage::Configuration(json));
}

void ServiceClient::SendCommand(const std::string& command, unsigned user) {
  mTimeStamp = NextTimeStamp(mTimeStamp);
  const LoudnessCommand message = {command, mUnit.Cluster(), mUnit.MeterSet(), mTimeStamp, user};
  Send(TopicFor(kCommandTopicPrefix, mUnit.MeterSet()), message.Json(),
       SentMessage::Command(command, mTimeStamp));
}

// A configuration alone restarts the measurement. A preset is needed only if the speakers change.
void ServiceClient::Restart(const std::vector<std::string>& speakers) {
  if (speakers != mSpeakers)
    SendPreset(PresetForSpeakers(speakers, mUnit.Cluster()).Json());
  mSpeakers = speakers;
  LoudnessConfiguration configuration;
  configuration.clusterId = mUnit.Cluster();
  configuration.mode = cLuConf::kManualModeText;
  configuration.loudnessWindow = cLuConf::kCustomWindowText;
  configuration.loudnessWindowTime = kMaxIntegWinSecs;
  configuration.lraWindow = kMaxLraWinSecs;
  configuration.userId = ++mUser;
  SendConfiguration(configuration);
}

void ServiceClient::Send(const std::string& topic, const std::string& json, SentMessage message) {
  mUnit.SendText(Peer::kMainAppServer, topic, json);
  mSent = std::move(message);
}

void ServiceClient::TakeData(const LoudnessMessage& message) {
  mSent.TakeData(message, Clock::now());
}

Outcome ServiceClient::TakeAnswers(Patience patience) {
  while (const auto state = mUnit.NextState(patience)) {
    const auto answer = ReadAnswer(*state);
    if (!answer || answer->isRepublished)
      continue;
    if (mShow)
      mShow(*answer);
    if (mSent.TakeAnswer(*answer, Clock::now()))
      return Outcome::kDone;
  }
  return mSent.OutcomeAt(Clock::now());
}

Outcome ServiceClient::Await(Patience patience) {
  const auto end = Clock::now() + patience;
  while (mSent.OutcomeAt(Clock::now()) == Outcome::kPending && Clock::now() < end &&
         zsys_interrupted == 0) {
    TakeAnswers(std::min(kSlice, Remaining(end)));
    while (const auto data = mUnit.NextLoudnessData(Patience{0}))
      TakeData(*data);
  }
  return mSent.FinalOutcome();
}

}  // namespace louddesk
