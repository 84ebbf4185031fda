// Cost of the service, compared with a bare CZMQ loop with the same sockets, timers and messages
// (BareLoop.cpp).
//
// Measured: the shipped service and the bare loop, in turns, each in the same unit: every peer, a
// client of both publishers, a 5.1 programme, reporting on.
//
//   real rate         ten blocks a second, half-way between two data messages
//   flood             blocks as fast as they are read, none lost
//   start             from the start of the process to its first subscription
//   eight services    eight clusters of four meters each, fed by one source at the real rate
//
// Usage: ServiceBenchmark [--quick] [PART...]    the rows of all parts or of those named: rate,
//                                                flood, start, eight; quick: hardly any time for
//                                                each, to see that everything runs
//        ServiceBenchmark --only-flood N PROGRAM...
//                                                floods a program, which is given the service's
//                                                command line after its own words, with N blocks

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "CostRow.h"
#include "Isolation.h"
#include "Turn.h"

namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

struct Effort {
  unsigned rounds;       // turns of each side
  milliseconds time;     // length of a turn at the real rate
  unsigned floodBlocks;  // blocks in a turn of the flood
  unsigned starts;       // starts of each side
};

constexpr Effort kFull{6, milliseconds{10000}, 100000, 10};
constexpr Effort kQuick{1, milliseconds{300}, 500, 1};

const Command kService = {LOUDCALC_BINARY};
const Command kBareLoop = {BARE_LOOP_BINARY};

// The sums of `measure(program)` for each side. The sides take turns, and each goes first in every
// other round.
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
    const Cost cost = turn.Feed(effort.time, [&turn] { return turn.Total(); });
    const RateCost sum{cost, turn.TotalPrivateKib()};
    turn.End();
    return sum;
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
