// Makes the messages of the orders, and waits for their acknowledgements.

#include "ClusterControl.h"

#include <utility>
#include <vector>

#include "Endpoints.h"
#include "UnitDocuments.h"
#include "UnitStandIn.h"

namespace loudgate {
namespace {

// The loudness figures are the same for every user.
constexpr unsigned kUserOfTheConfiguration = 0;

std::string WhyNot(const ControlOrder& order) {
  if (order.command != nullptr)
    return louddesk::WhyNotAcknowledged(order.command);
  return order.isReporting ? "no loudness data comes; the measurement may be stopped"
                           : "loudness data still comes";
}

}  // namespace

ClusterControl::ClusterControl(EventLoop& loop)
    : mLoop(loop), mServer(louddesk::MainAppServerEndpoint()) {
  try {
    mServer.Open();
  } catch (const louddesk::BindError& error) {
    throw louddesk::BindError(louddesk::kPlaceNeededText + std::string(error.what()));
  }
  mLoop.Watch(mServer.Socket(), [this] { mServer.ReadPending(); });
}

ClusterControl::~ClusterControl() {
  mLoop.Unwatch(mServer.Socket());
}

louddesk::Frames ClusterControl::FramesOf(const Cluster& cluster, const ControlOrder& order) {
  if (order.command == nullptr)
    return {kEnableReportingTopic, louddesk::EnableReportingJson(order.isReporting)};
  const louddesk::ServicePlace& place = cluster.Place();
  mTimeStamp = louddesk::NextTimeStamp(mTimeStamp);
  const louddesk::LoudnessCommand command = {order.command, place.cluster, place.meterSet,
                                             mTimeStamp, kUserOfTheConfiguration};
  return {louddesk::TopicFor(kCommandTopicPrefix, place.meterSet), command.Json()};
}

std::optional<NotSent> ClusterControl::Send(const Cluster& cluster, const ControlOrder& order,
                                            Moment now, Done done) {
  if (mWaiting.count(cluster.Name()) > 0)
    return NotSent::kBusy;
  const louddesk::Frames frames = FramesOf(cluster, order);
  mServer.ReadPending();
  if (mServer.Subscriptions().count(frames.front()) == 0)
    return NotSent::kNoService;
  mServer.Publish(frames);
  mWaiting[cluster.Name()] = {&order,
                              order.command == nullptr
                                  ? louddesk::SentMessage::Reporting(order.isReporting, now.steady)
                                  : louddesk::SentMessage::Command(order.command, mTimeStamp),
                              now.steady + louddesk::kAcknowledgedWithin, std::move(done)};
  return std::nullopt;
}

void ClusterControl::OnData(const Cluster& cluster, const louddesk::LoudnessMessage& message,
                            Moment now) {
  const auto waiting = mWaiting.find(cluster.Name());
  if (waiting != mWaiting.end())
    waiting->second.message.TakeData(message, now.steady);
}

void ClusterControl::OnAnswer(const Cluster& cluster, const louddesk::ServiceAnswer& answer,
                              Moment now) {
  const auto waiting = mWaiting.find(cluster.Name());
  if (waiting != mWaiting.end())
    waiting->second.message.TakeAnswer(answer, now.steady);
}

ControlResult ClusterControl::ResultOf(const ControlOrder& order, louddesk::Outcome outcome) {
  const std::string name = order.name;
  if (outcome == louddesk::Outcome::kDone)
    return {true, name + " acknowledged"};
  if (outcome == louddesk::Outcome::kOtherStamp)
    return {true, name + " " + louddesk::kOtherStampText};
  return {false, name + " sent, but not acknowledged: " + WhyNot(order)};
}

// Calls `done` last, because it may send the next order.
void ClusterControl::Tend(Moment now) {
  std::vector<std::pair<Done, ControlResult>> ended;
  for (auto entry = mWaiting.begin(); entry != mWaiting.end();) {
    Waiting& waiting = entry->second;
    const louddesk::Outcome outcome = waiting.message.OutcomeAt(now.steady);
    if (outcome == louddesk::Outcome::kPending && now.steady < waiting.due) {
      ++entry;
      continue;
    }
    ended.emplace_back(std::move(waiting.done), ResultOf(*waiting.order, outcome));
    entry = mWaiting.erase(entry);
  }
  for (const auto& [done, result] : ended)
    done(result);
}

}  // namespace loudgate
