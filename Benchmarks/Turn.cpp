// The processes in their unit.

#include "Turn.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <stdexcept>
#include <utility>

#include "Endpoints.h"
#include "ServiceFeed.h"
#include "UnitDocuments.h"

namespace {

using louddesk::Patience;
using louddesk::Peer;

constexpr unsigned kMeterSet = 1;
constexpr std::chrono::milliseconds kBlockPeriod{100};

louddesk::Preset PresetOf(unsigned clusters) {
  if (clusters == 1)
    return louddesk::PresetForSpeakers(
        {"Left", "Right", "Center", "LowFrequencyEffects", "LeftSurround", "RightSurround"}, 1);
  const std::array<const char*, 4> speakers = {"Left", "Right", "LeftSurround", "RightSurround"};
  louddesk::Preset preset;
  for (unsigned cluster = 0; cluster < clusters; ++cluster) {
    const int first = static_cast<int>(cluster * speakers.size()) + 1;
    preset.clusters.push_back({first, static_cast<int>(speakers.size())});
    for (int i = 0; i < static_cast<int>(speakers.size()); ++i)
      preset.meters.push_back({first + i, speakers[static_cast<std::size_t>(i)], first + i});
  }
  return preset;
}

louddesk::BlockReading Block() {
  louddesk::BlockReading block;
  block.powers.fill(1000000000000000);
  block.peaks.fill(1000);
  return block;
}

}  // namespace

void Expect(bool holds, const std::string& complaint) {
  if (!holds)
    throw std::runtime_error(complaint);
}

Turn::Turn(Command program, unsigned clusters) : mProgram(std::move(program)), mUnit(kMeterSet, 1) {
  mUnit.OpenAll();
  for (unsigned cluster = 1; cluster <= clusters; ++cluster)
    mClients.emplace_back(louddesk::DataPublisherFile(kMeterSet, cluster));
}

void Turn::Start() {
  for (unsigned cluster = 1; cluster <= mClients.size(); ++cluster) {
    Command arguments(mProgram.begin() + 1, mProgram.end());
    for (const std::string& word :
         {std::string("-m"), std::to_string(kMeterSet), std::string("-c"), std::to_string(cluster)})
      arguments.push_back(word);
    mProcesses.push_back(std::make_unique<ServiceProcess>(mProgram.front(), arguments));
  }
}

void Turn::WaitForFirstSubscription() {
  Expect(mUnit.WaitFor([this] { return mUnit.HasSubscribers(); }, kPatience),
         mProgram.front() + " does not subscribe");
}

// Repeats the messages, because a process that subscribed late has missed earlier ones.
void Turn::StartPublishing() {
  constexpr Patience kAnswerTime{500};
  const auto end = Clock::now() + kPatience;
  Start();
  Expect(mUnit.WaitUntilSubscribed(kPatience), mUnit.MissingSubscriptions());
  do {
    Expect(Clock::now() < end, mProgram.front() + " does not publish");
    mUnit.SendText(Peer::kOpticalAppServer, kEnableReportingTopic,
                   louddesk::EnableReportingJson(true));
    mUnit.SendText(Peer::kMainAppServer, louddesk::TopicFor(kPresetTopicPrefix, kMeterSet),
                   PresetOf(static_cast<unsigned>(mClients.size())).Json());
  } while (!mUnit.WaitFor([this] { return DoAllPublish(); }, kAnswerTime));
}

Cost Turn::Flood(unsigned blocks) {
  const Cost before = Total();
  for (unsigned i = 0; i < blocks; ++i)
    mUnit.SendRaw(Block());
  AwaitIdle();
  return Total() - before;
}

Cost Turn::Total() const {
  Cost cost;
  for (const auto& process : mProcesses)
    cost += CostOf(*process);
  return cost;
}

double Turn::TotalPrivateKib() const {
  double kib = 0;
  for (const auto& process : mProcesses)
    kib += PrivateKib(*process);
  return kib;
}

void Turn::End() {
  for (const auto& process : mProcesses)
    process->Signal(SIGTERM);
  for (const auto& process : mProcesses)
    Expect(process->WaitForExit(kPatience).has_value(), mProgram.front() + " does not end");
}

bool Turn::DoAllPublish() {
  for (louddesk::DataClient& client : mClients)
    client.ReadPending();
  return std::all_of(mClients.begin(), mClients.end(),
                     [](auto& client) { return !client.Messages().empty(); });
}

void Turn::PassUntil(Clock::time_point due) {
  mUnit.WaitFor([] { return false; }, louddesk::Remaining(due));
  mUnit.DropLoudnessData();
  for (louddesk::DataClient& client : mClients) {
    client.ReadPending();
    client.Messages().clear();
  }
}

Turn::Clock::time_point Turn::StartOfFeed() {
  mUnit.DropLoudnessData();
  Expect(mUnit.NextLoudnessData(kPatience).has_value(), mProgram.front() + " stopped publishing");
  const auto due = Clock::now() + kBlockPeriod / 2;
  PassUntil(due);
  return due;
}

void Turn::FeedOne(Clock::time_point& due) {
  mUnit.SendRaw(Block());
  due += kBlockPeriod;
  PassUntil(due);
}

// Requires three idle samples in a row, because a busy process may appear idle in one of them.
void Turn::AwaitIdle() {
  constexpr Patience kPause{5};
  const auto end = Clock::now() + kPatience;
  for (int idle = 0; idle < 3;) {
    Expect(Clock::now() < end, mProgram.front() + " is never idle");
    PassUntil(Clock::now() + kPause);
    idle = std::all_of(mProcesses.begin(), mProcesses.end(),
                       [](const auto& process) { return IsIdle(*process); })
               ? idle + 1
               : 0;
  }
}
