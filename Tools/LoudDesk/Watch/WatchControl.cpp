// Sends one command at a time and never blocks for its acknowledgement.

#include "WatchControl.h"

#include <utility>

namespace louddesk {
namespace {

// The figures do not depend on the user ID.
constexpr unsigned kUserOfTheConfiguration = 0;

}  // namespace

WatchControl::WatchControl(unsigned meterSet, unsigned cluster)
    : mUnit(meterSet, cluster), mClient(mUnit) {
  try {
    mUnit.Open(Peer::kMainAppServer);
  } catch (const BindError& error) {
    throw ServiceError(std::string(kPlaceNeededText) + error.what());
  }
}

void WatchControl::Send(const std::string& command) {
  if (!mUnit.MissingSubscriptions().empty()) {
    mNews.push_back(command + " not sent: the service has not subscribed here");
    return;
  }
  mUnit.DropLoudnessData();
  mClient.SendCommand(command, kUserOfTheConfiguration);
  mCommand = command;
  mDue = Clock::now() + kAcknowledgedWithin;
  mNews.push_back(command + " sent");
}

std::vector<std::string> WatchControl::TakeNews() {
  while (const auto data = mUnit.NextLoudnessData(Patience{0}))
    mClient.TakeData(*data);
  const Outcome outcome = mClient.TakeAnswers(Patience{0});
  if (mDue)
    Conclude(outcome);
  return std::exchange(mNews, {});
}

void WatchControl::Conclude(Outcome outcome) {
  if (outcome == Outcome::kPending && Clock::now() < *mDue)
    return;
  mDue.reset();
  if (outcome == Outcome::kOtherStamp)
    mNews.push_back(mCommand + " " + kOtherStampText);
  else if (outcome != Outcome::kDone)
    mNews.push_back(mCommand + " not acknowledged: " + WhyNotAcknowledged(mCommand));
}

}  // namespace louddesk
