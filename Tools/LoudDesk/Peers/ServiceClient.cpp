// Messages and what the service answers.

#include "ServiceClient.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <utility>

#include "Endpoints.h"
#include "LoudConfigUser.h"

namespace louddesk {
namespace {

// Several periods of the loudness data: after so long without any it has ended.
constexpr Patience kDataEnded{500};

// The ten messages of an invalid source take a second. They may also be about the preset before.
constexpr Patience kInvalidSource{1000};

// The service acknowledges with the stamp of the command that it read last. An acknowledgement with
// the right one is published in the next ticks of 100 ms.
constexpr Patience kOwnStamp{1000};

constexpr Patience kSlice{100};

// Every fifth second, and some of a busy machine.
constexpr Patience kRepublication{6000};

LoudnessConfiguration Readable(const std::optional<ServiceAnswer>& answer) {
  const auto configuration = answer ? ReadConfiguration(answer->configuration) : std::nullopt;
  if (!configuration)
    throw ServiceError("the configuration that the service republishes cannot be read");
  return *configuration;
}

bool IsStart(const ServiceAnswer& answer) {
  return answer.kind == StateKind::kAcknowledgement && answer.command == cLuCmd::kStartText;
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
  const Fit fit = isOn ? Fit::kFinal : Fit::kNone;
  Send(
      kEnableReportingTopic, EnableReportingJson(isOn), [fit](const auto&) { return fit; },
      isOn ? Data::kDone : Data::kNotYet);
  if (!isOn)
    SettleAs(Outcome::kDone, kDataEnded);
}

void ServiceClient::SendPreset(const std::string& json) {
  Send(TopicFor(kPresetTopicPrefix, mUnit.MeterSet()), json,
       [](const auto& answer) { return IsStart(answer) ? Fit::kFinal : Fit::kNone; });
}

// A start before the configuration is published belongs to an earlier message.
void ServiceClient::SendConfiguration(const LoudnessConfiguration& configuration) {
  const std::string json = configuration.Json();
  Send(TopicFor(kConfigurationTopicPrefix, mUnit.MeterSet()), json,
       [json, isInForce = false](const auto& answer) mutable {
         isInForce = isInForce || answer.configuration == json;
         return isInForce && IsStart(answer) ? Fit::kFinal : Fit::kNone;
       });
}

void ServiceClient::SendCommand(const std::string& command, unsigned user) {
  mTimeStamp = std::max(mTimeStamp + 1, static_cast<unsigned>(std::time(nullptr)));
  const LoudnessCommand message = {command, mUnit.Cluster(), mUnit.MeterSet(), mTimeStamp, user};
  Send(TopicFor(kCommandTopicPrefix, mUnit.MeterSet()), message.Json(),
       [command, timeStamp = mTimeStamp](const auto& answer) {
         if (!Settles(answer, command))
           return Fit::kNone;
         return answer.cmdTime == timeStamp ? Fit::kFinal : Fit::kLikely;
       });
}

// A configuration alone starts the measurement anew; a preset is needed only for other speakers.
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

void ServiceClient::Send(const std::string& topic, const std::string& json, FitOf fitOf,
                         Data data) {
  mUnit.SendText(Peer::kMainAppServer, topic, json);
  mOutcome = Outcome::kPending;
  mFitOf = std::move(fitOf);
  mData = data;
  mDue.reset();
}

void ServiceClient::SettleAs(Outcome outcome, Patience unlessBetterWithin) {
  mFallback = outcome;
  mDue = Clock::now() + unlessBetterWithin;
}

void ServiceClient::TakeData(const LoudnessMessage& message) {
  if (mOutcome != Outcome::kPending)
    return;
  if (mData == Data::kDone)
    mOutcome = Outcome::kDone;
  else if (mData == Data::kNotYet)
    SettleAs(Outcome::kDone, kDataEnded);
  else if (!mDue && message.wellFormed && message.validSource == 0)
    SettleAs(Outcome::kInvalidSource, kInvalidSource);
}

Outcome ServiceClient::TakeAnswers(Patience patience) {
  while (const auto state = mUnit.NextState(patience)) {
    const auto answer = ReadAnswer(*state);
    if (!answer || answer->isRepublished)
      continue;
    if (mShow)
      mShow(*answer);
    const Fit fit = mOutcome == Outcome::kPending ? mFitOf(*answer) : Fit::kNone;
    if (fit == Fit::kLikely)
      SettleAs(Outcome::kOtherStamp, kOwnStamp);
    if (fit == Fit::kFinal)
      return mOutcome = Outcome::kDone;
  }
  if (mOutcome == Outcome::kPending && mDue && Clock::now() >= *mDue)
    mOutcome = mFallback;
  return mOutcome;
}

Outcome ServiceClient::Await(Patience patience) {
  const auto end = Clock::now() + patience;
  while (mOutcome == Outcome::kPending && Clock::now() < end && zsys_interrupted == 0) {
    TakeAnswers(std::min(kSlice, Remaining(end)));
    while (const auto data = mUnit.NextLoudnessData(Patience{0}))
      TakeData(*data);
  }
  if (mOutcome == Outcome::kPending && mDue && mFallback != Outcome::kDone)
    mOutcome = mFallback;
  return mOutcome;
}

}  // namespace louddesk
