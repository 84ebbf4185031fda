// Computes the powers of blocks millisecond by millisecond.

#include "BlockGrid.h"

#include <algorithm>
#include <cmath>

namespace louddesk {
namespace {

constexpr int kBlockMs = 100;
constexpr int kReadingsInShortTerm = 30;

double Power(double level) {
  return std::pow(10.0, level / 10.0);
}

double Level(double power) {
  return 10.0 * std::log10(power);
}

}  // namespace

BlockGrid::BlockGrid(const StepSignal& signal) {
  int doneMs = 0;
  double sum = 0.0;
  for (const SignalStep& step : signal.steps) {
    const double power = Power(step.levels.front());
    for (auto ms = std::lround(step.seconds * 1000.0); ms > 0; --ms) {
      sum += power;
      if (++doneMs % kBlockMs == 0) {
        mPowers.push_back(sum / kBlockMs);
        sum = 0.0;
      }
    }
  }
}

double BlockGrid::Momentary(int blocks) const {
  return Level(MomentaryPower(blocks));
}

double BlockGrid::ShortTerm(int blocks) const {
  double sum = 0.0;
  int count = 0;
  for (int i = std::max(kFirstReading, blocks - kReadingsInShortTerm + 1); i <= blocks; ++i) {
    const double power = MomentaryPower(i);
    sum += power;
    count += power > 0.0 ? 1 : 0;
  }
  return Level(count > 0 ? sum / count : 0.0);
}

double BlockGrid::MomentaryPower(int blocks) const {
  double sum = 0.0;
  for (int i = blocks - kFirstReading; i < blocks; ++i)
    sum += mPowers.at(static_cast<std::size_t>(i));
  return sum / kFirstReading;
}

}  // namespace louddesk
