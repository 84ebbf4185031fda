// The messages of a start, and what the service answers.

#include "ServiceStarter.h"

#include <unistd.h>

#include "Acknowledgement.h"
#include "Endpoints.h"
#include "LoudConfigUser.h"
#include "PresetBuilder.h"
#include "UnitDocuments.h"

namespace louddesk {

namespace {

constexpr char kManual[] = "Manual";
constexpr char kSettableWindow[] = "Custom";
constexpr char kStart[] = "Start";

}  // namespace

ServiceStarter::ServiceStarter(UnitStandIn& unit)
    : mUnit(unit), mUser(static_cast<unsigned>(getpid())) {}

bool ServiceStarter::Connect(Patience patience) {
  mPatience = patience;
  if (!mUnit.WaitUntilSubscribed(patience))
    return false;
  mUnit.SendText(Peer::kOpticalAppServer, kEnableReportingTopic, EnableReportingJson(true));
  return true;
}

std::string ServiceStarter::WhyNotConnected() const {
  const std::string service =
      "LoudCalc -m " + std::to_string(mUnit.MeterSet()) + " -c " + std::to_string(mUnit.Cluster());
  if (!mUnit.HasSubscribers())
    return "no service has subscribed" + InTimeText(mPatience) + "; start " + service;
  return "a service has subscribed, but not as " + service +
         " does: " + mUnit.MissingSubscriptions();
}

// A configuration alone starts the measurement anew; a preset is needed only for other speakers.
void ServiceStarter::Restart(const std::vector<std::string>& speakers) {
  if (speakers != mSpeakers)
    mUnit.SendText(Peer::kMainAppServer, TopicFor(kPresetTopicPrefix, mUnit.MeterSet()),
                   PresetForSpeakers(speakers, mUnit.Cluster()).Json());
  mSpeakers = speakers;
  LoudnessConfiguration configuration;
  configuration.clusterId = mUnit.Cluster();
  configuration.mode = kManual;
  configuration.loudnessWindow = kSettableWindow;
  configuration.loudnessWindowTime = kMaxIntegWinSecs;
  configuration.lraWindow = kMaxLraWinSecs;
  configuration.userId = ++mUser;
  mUnit.SendText(Peer::kMainAppServer, TopicFor(kConfigurationTopicPrefix, mUnit.MeterSet()),
                 configuration.Json());
}

// When it has reset, the service publishes the configuration in force and acknowledges the start.
// Whatever it publishes before that answers the preset alone, and another reset is still to come.
bool ServiceStarter::AwaitRestart(Patience patience) {
  const auto end = std::chrono::steady_clock::now() + patience;
  bool isInForce = false;
  while (const auto state = mUnit.NextState(Remaining(end))) {
    const auto answer = ReadAnswer(*state);
    if (!answer || answer->isRepublished)
      continue;
    if (answer->kind == StateKind::kConfiguration)
      isInForce = answer->user == mUser;
    else if (isInForce && answer->command == kStart)
      return true;
  }
  return false;
}

}  // namespace louddesk
