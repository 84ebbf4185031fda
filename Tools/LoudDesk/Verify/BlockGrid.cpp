// Shares of a burst in blocks, readings and windows; times in whole milliseconds, so that nothing
// is nearly silent.

#include "BlockGrid.h"

#include <algorithm>
#include <cmath>

namespace louddesk {
namespace {

constexpr int kBlockMs = 100;
constexpr int kBlocksInReading = 4;
constexpr int kReadingsInShortTerm = 30;

// Number of the first reading, which ends with the fourth block.
constexpr int kFirstReading = kBlocksInReading;

// The reading behind the last one that the burst reaches into.
int EndOfReadings(const Burst& burst) {
  return (burst.startMs + burst.lengthMs + kBlockMs - 1) / kBlockMs + kBlocksInReading;
}

// Share of the burst in the 400 ms that end with a block.
double ShareInReading(const Burst& burst, int reading) {
  const int endMs = reading * kBlockMs;
  const int beginMs = endMs - kBlocksInReading * kBlockMs;
  const int covered =
      std::min(endMs, burst.startMs + burst.lengthMs) - std::max(beginMs, burst.startMs);
  return std::max(covered, 0) / static_cast<double>(kBlocksInReading * kBlockMs);
}

// Mean of the last thirty readings that there are and that are not silent.
double MeanOfReadings(const Burst& burst, int lastReading) {
  double sum = 0.0;
  int count = 0;
  const int first = std::max(kFirstReading, lastReading - kReadingsInShortTerm + 1);
  for (int reading = first; reading <= lastReading; ++reading) {
    const double share = ShareInReading(burst, reading);
    sum += share;
    count += share > 0.0 ? 1 : 0;
  }
  return count > 0 ? sum / count : 0.0;
}

// The largest of a figure over all readings, in LU.
template <typename Figure>
double Highest(const Burst& burst, Figure figure) {
  double highest = 0.0;
  for (int reading = kFirstReading; reading < EndOfReadings(burst); ++reading)
    highest = std::max(highest, figure(burst, reading));
  return 10.0 * std::log10(highest);
}

}  // namespace

double HighestMomentaryDeviation(const Burst& burst) {
  return Highest(burst, ShareInReading);
}

double HighestShortTermDeviation(const Burst& burst) {
  return Highest(burst, MeanOfReadings);
}

}  // namespace louddesk
