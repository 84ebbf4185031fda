// What the service costs, against a bare CZMQ loop with the same sockets, timers and messages
// (BareLoop.cpp).
//
// Measured: the shipped service and the bare loop, in turns, each with the same unit around it:
// every peer, a client of both publishers, a 5.1 programme, reporting on.
//
//   real rate         ten blocks a second, half-way between two data messages
//   flood             blocks as fast as they are taken, without one being lost
//   start             from the start of the process to its first subscription
//   eight services    eight clusters of four meters each, fed by one source at the real rate
//
// Processor time is that of all threads of the process, the I/O thread included, from the
// scheduler's own account in nanoseconds. Memory is what the process shares with nobody.
//
// Usage: ServiceBenchmark [--quick] [PART...]    the rows of all parts or of those named: rate,
//                                                flood, start, eight; quick: hardly any time for
//                                                each, to see that everything runs
//        ServiceBenchmark --only-flood N PROGRAM...
//                                                floods a program, which is given the service's
//                                                command line after its own words, with N blocks

#include <sys/types.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <deque>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "CostRow.h"
#include "DataClient.h"
#include "Endpoints.h"
#include "Isolation.h"
#include "ServiceFeed.h"
#include "ServiceProcess.h"
#include "UnitDocuments.h"
#include "UnitStandIn.h"

namespace {

using louddesk::Patience;
using louddesk::Peer;
using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;
using Command = std::vector<std::string>;

constexpr unsigned kMeterSet = 1;
constexpr Patience kPatience{20000};
constexpr milliseconds kBlockPeriod{100};

struct Effort {
  unsigned rounds;       // turns of each side
  milliseconds time;     // at the real rate, each turn
  unsigned floodBlocks;  // each turn
  unsigned starts;       // of each side
};

constexpr Effort kFull{6, milliseconds{10000}, 100000, 10};
constexpr Effort kQuick{1, milliseconds{300}, 500, 1};

const Command kService = {LOUDCALC_BINARY};
const Command kBareLoop = {BARE_LOOP_BINARY};

struct Cost {
  double cpuSeconds = 0;
  double wakeUps = 0;   // a thread went on after it had waited
  double switches = 0;  // the same, or it had to let another one run

  Cost& operator+=(const Cost& other) {
    cpuSeconds += other.cpuSeconds;
    wakeUps += other.wakeUps;
    switches += other.switches;
    return *this;
  }
};

Cost operator-(const Cost& after, const Cost& before) {
  return {after.cpuSeconds - before.cpuSeconds, after.wakeUps - before.wakeUps,
          after.switches - before.switches};
}

// The number behind `key` at the beginning of a line; 0 without one.
double Field(const std::filesystem::path& file, const std::string& key) {
  std::ifstream stream(file);
  for (std::string line; std::getline(stream, line);)
    if (line.compare(0, key.size(), key) == 0)
      return std::strtod(line.c_str() + key.size(), nullptr);
  return 0;
}

Cost CostOfThread(const std::filesystem::path& thread) {
  double nanoseconds = 0;
  std::ifstream(thread / "schedstat") >> nanoseconds;
  const double waits = Field(thread / "status", "voluntary_ctxt_switches:");
  const double others = Field(thread / "status", "nonvoluntary_ctxt_switches:");
  return {nanoseconds / 1e9, waits, waits + others};
}

std::filesystem::path FilesOf(const ServiceProcess& process) {
  return "/proc/" + process.StatusOf("Pid");
}

Cost CostOf(const ServiceProcess& process) {
  Cost cost;
  for (const auto& thread : std::filesystem::directory_iterator(FilesOf(process) / "task"))
    cost += CostOfThread(thread.path());
  return cost;
}

double PrivateKib(const ServiceProcess& process) {
  const auto file = FilesOf(process) / "smaps_rollup";
  return Field(file, "Private_Clean:") + Field(file, "Private_Dirty:");
}

// Whether every thread waits for something to happen.
bool IsIdle(const ServiceProcess& process) {
  for (const auto& thread : std::filesystem::directory_iterator(FilesOf(process) / "task")) {
    std::ifstream stream(thread.path() / "status");
    for (std::string line; std::getline(stream, line);)
      if (line.compare(0, 6, "State:") == 0 && line.find("S (") == std::string::npos)
        return false;
  }
  return true;
}

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

void Expect(bool holds, const std::string& complaint) {
  if (!holds)
    throw std::runtime_error(complaint);
}

// A program, one process for each cluster, with the unit around it.
class Turn {
 public:
  explicit Turn(Command program, unsigned clusters = 1) : mProgram(std::move(program)) {
    mUnit.OpenAll();
    for (unsigned cluster = 1; cluster <= clusters; ++cluster)
      mClients.emplace_back(louddesk::DataPublisherFile(kMeterSet, cluster));
  }

  void Start() {
    for (unsigned cluster = 1; cluster <= mClients.size(); ++cluster) {
      Command arguments(mProgram.begin() + 1, mProgram.end());
      for (const std::string& word : {std::string("-m"), std::to_string(kMeterSet),
                                      std::string("-c"), std::to_string(cluster)})
        arguments.push_back(word);
      mProcesses.push_back(std::make_unique<ServiceProcess>(mProgram.front(), arguments));
    }
  }

  void WaitForFirstSubscription() {
    Expect(mUnit.WaitFor([this] { return mUnit.HasSubscribers(); }, kPatience),
           mProgram.front() + " does not subscribe");
  }

  // Until every process publishes. Those that have subscribed late have missed what came before.
  void StartPublishing() {
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

  // The cost of all processes while blocks come at the real rate.
  Cost Feed(milliseconds time) {
    AwaitData();
    auto due = Clock::now() + kBlockPeriod / 2;
    const auto end = due + time;
    PassUntil(due);
    const Cost before = Total();
    for (; due < end; PassUntil(due)) {
      mUnit.SendRaw(Block());
      due += kBlockPeriod;
    }
    return Total() - before;
  }

  // The cost of all processes from the first block until the last has been dealt with.
  Cost Flood(unsigned blocks) {
    const Cost before = Total();
    for (unsigned i = 0; i < blocks; ++i)
      mUnit.SendRaw(Block());
    AwaitIdle();
    return Total() - before;
  }

  Cost Total() const {
    Cost cost;
    for (const auto& process : mProcesses)
      cost += CostOf(*process);
    return cost;
  }

  double TotalPrivateKib() const {
    double kib = 0;
    for (const auto& process : mProcesses)
      kib += PrivateKib(*process);
    return kib;
  }

  void End() {
    for (const auto& process : mProcesses)
      process->Signal(SIGTERM);
    for (const auto& process : mProcesses)
      Expect(process->WaitForExit(kPatience).has_value(), mProgram.front() + " does not end");
  }

 private:
  bool DoAllPublish() {
    for (louddesk::DataClient& client : mClients)
      client.ReadPending();
    return std::all_of(mClients.begin(), mClients.end(),
                       [](auto& client) { return !client.Messages().empty(); });
  }

  void PassUntil(Clock::time_point due) {
    mUnit.WaitFor([] { return false; }, louddesk::Remaining(due));
    mUnit.DropLoudnessData();
    for (louddesk::DataClient& client : mClients) {
      client.ReadPending();
      client.Messages().clear();
    }
  }

  void AwaitData() {
    mUnit.DropLoudnessData();
    Expect(mUnit.NextLoudnessData(kPatience).has_value(), mProgram.front() + " stopped publishing");
  }

  // A process that still has something to do is not idle at three looks.
  void AwaitIdle() {
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

  Command mProgram;
  louddesk::UnitStandIn mUnit{kMeterSet, 1};
  std::deque<louddesk::DataClient> mClients;  // one for each cluster
  std::vector<std::unique_ptr<ServiceProcess>> mProcesses;
};

// What `measure(program)` adds up to for each side. The sides take turns, and take turns at being
// the first.
template <typename Sum, typename Measure>
std::pair<Sum, Sum> InTurns(unsigned rounds, Measure measure) {
  Sum service{};
  Sum bare{};
  for (unsigned round = 0; round < rounds; ++round) {
    if (round % 2 == 0)
      service += measure(kService);
    bare += measure(kBareLoop);
    if (round % 2 != 0)
      service += measure(kService);
  }
  return {service, bare};
}

struct RateCost {
  Cost cost;
  double kib = 0;

  RateCost& operator+=(const RateCost& other) {
    cost += other.cost;
    kib += other.kib;
    return *this;
  }
};

std::pair<RateCost, RateCost> CostAtRealRate(const Effort& effort, unsigned rounds,
                                             unsigned clusters) {
  return InTurns<RateCost>(rounds, [&](const Command& program) {
    Turn turn(program, clusters);
    turn.StartPublishing();
    const RateCost cost{turn.Feed(effort.time), turn.TotalPrivateKib()};
    turn.End();
    return cost;
  });
}

void MeasureRealRate(const Effort& effort) {
  const auto [service, bare] = CostAtRealRate(effort, effort.rounds, 1);
  const double seconds = std::chrono::duration<double>(effort.time).count() * effort.rounds;
  PrintRow("real rate: processor time a second", "us", 1e6 * service.cost.cpuSeconds / seconds,
           1e6 * bare.cost.cpuSeconds / seconds);
  PrintRow("real rate: wake-ups a second", "", service.cost.wakeUps / seconds,
           bare.cost.wakeUps / seconds);
  PrintRow("real rate: context switches a second", "", service.cost.switches / seconds,
           bare.cost.switches / seconds);
  PrintRow("real rate: private memory", "KiB", service.kib / effort.rounds,
           bare.kib / effort.rounds);
}

void MeasureEightServices(const Effort& effort) {
  constexpr unsigned kServices = 8;
  const unsigned rounds = (effort.rounds + 2) / 3;
  const auto [service, bare] = CostAtRealRate(effort, rounds, kServices);
  const double count = kServices * rounds;
  const double seconds = std::chrono::duration<double>(effort.time).count() * count;
  PrintRow("eight services: processor time a second, each", "us",
           1e6 * service.cost.cpuSeconds / seconds, 1e6 * bare.cost.cpuSeconds / seconds);
  PrintRow("eight services: private memory, each", "KiB", service.kib / count, bare.kib / count);
}

void MeasureFlood(const Effort& effort) {
  const auto [service, bare] = InTurns<Cost>(effort.rounds, [&](const Command& program) {
    Turn turn(program);
    turn.StartPublishing();
    const Cost cost = turn.Flood(effort.floodBlocks);
    turn.End();
    return cost;
  });
  const double blocks = 1.0 * effort.floodBlocks * effort.rounds;
  PrintRow("flood: processor time a block", "us", 1e6 * service.cpuSeconds / blocks,
           1e6 * bare.cpuSeconds / blocks);
}

struct StartCost {
  double cpuSeconds = 0;
  double seconds = 0;

  StartCost& operator+=(const StartCost& other) {
    cpuSeconds += other.cpuSeconds;
    seconds += other.seconds;
    return *this;
  }
};

void MeasureStart(const Effort& effort) {
  const auto [service, bare] = InTurns<StartCost>(effort.starts, [&](const Command& program) {
    Turn turn(program);
    const auto begin = Clock::now();
    turn.Start();
    turn.WaitForFirstSubscription();
    const std::chrono::duration<double> seconds = Clock::now() - begin;
    const StartCost cost{turn.Total().cpuSeconds, seconds.count()};
    turn.End();
    return cost;
  });
  PrintRow("start to first subscription", "ms", 1e3 * service.seconds / effort.starts,
           1e3 * bare.seconds / effort.starts);
  PrintRow("start to first subscription: processor time", "ms",
           1e3 * service.cpuSeconds / effort.starts, 1e3 * bare.cpuSeconds / effort.starts);
}

struct Part {
  const char* name;
  void (*measure)(const Effort& effort);
};

constexpr Part kParts[] = {{"rate", MeasureRealRate},
                           {"flood", MeasureFlood},
                           {"start", MeasureStart},
                           {"eight", MeasureEightServices}};

void FloodOnly(unsigned blocks, Command program) {
  Turn turn(std::move(program));
  turn.StartPublishing();
  turn.Flood(blocks);
  turn.End();
}

bool IsIn(const Command& words, const std::string& word) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

void Run(const Command& words) {
  if (words.size() > 2 && words.front() == "--only-flood") {
    FloodOnly(static_cast<unsigned>(std::stoul(words[1])), {words.begin() + 2, words.end()});
    return;
  }
  const bool isQuick = IsIn(words, "--quick");
  const bool areAllWanted = words.size() == (isQuick ? 1 : 0);
  for (const Part& part : kParts)
    if (areAllWanted || IsIn(words, part.name))
      part.measure(isQuick ? kQuick : kFull);
}

}  // namespace

int main(int argc, char** argv) {
  IsolateTestProcess();
  try {
    Run({argv + 1, argv + argc});
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "ServiceBenchmark: %s\n", error.what());
    return 1;
  }
}
