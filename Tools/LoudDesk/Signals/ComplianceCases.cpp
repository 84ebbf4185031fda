// The tables of the standards. Unless a case states otherwise, signals are sines of 1 kHz, in phase
// on Left and Right, and levels are peak levels of each channel in dBFS.

#include "ComplianceCases.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "BlockGrid.h"

namespace louddesk {
namespace {

using Steps = std::vector<SignalStep>;
using Expectations = std::vector<Expectation>;

constexpr Tolerance kLoudnessTolerance = {0.1, 0.1};  // Tech 3341, LU
constexpr Tolerance kTruePeakTolerance = {0.4, 0.2};  // Tech 3341, dB
constexpr Tolerance kLraTolerance = {1.0, 1.0};       // Tech 3342, LU

// The loudness range is published in steps of 0.1 LU.
constexpr Tolerance kSameLraTolerance = {0.1, 0.1};

constexpr int kOffsets = 20;  // in cases 10, 11, 13 and 14
constexpr char kRecording[] = "recording, not redistributable";

const SpeakerLayout kStereo = SplitSpeakers("L,R");
const SpeakerLayout kLeft = SplitSpeakers("L");

int Blocks(double seconds) {
  return static_cast<int>(std::lround(seconds * 10.0));
}

double Seconds(const Steps& steps) {
  double seconds = 0.0;
  for (const SignalStep& step : steps)
    seconds += step.seconds;
  return seconds;
}

// "-36 dBFS 10 s, -23 60 s".
std::string InWords(const Steps& steps) {
  std::string words;
  for (const SignalStep& step : steps)
    words += fmt::format(words.empty() ? "{:g} dBFS {:g} s" : ", {:g} {:g} s", step.levels.front(),
                         step.seconds);
  return words;
}

Expectation AtTheEnd(Quantity quantity, double seconds, double level, Tolerance tolerance) {
  const int end = Blocks(seconds);
  return {quantity, "", Pick::kLast, end, end, level, level, tolerance};
}

double ReadingOnGrid(const BlockGrid& grid, Quantity quantity, int blocks) {
  const bool isShortTerm = quantity == Quantity::kShortTerm || quantity == Quantity::kMaxShortTerm;
  return isShortTerm ? grid.ShortTerm(blocks) : grid.Momentary(blocks);
}

std::vector<double> ReadingsOnGrid(const BlockGrid& grid, Quantity quantity, int firstBlock,
                                   int lastBlock) {
  std::vector<double> readings;
  for (int blocks = firstBlock; blocks <= lastBlock; ++blocks)
    readings.push_back(ReadingOnGrid(grid, quantity, blocks));
  return readings;
}

// Expects the reading to stay constant at `level` from the time `from` on: its lowest and its
// highest value.
Expectations Constant(const StepSignal& signal, Quantity quantity, double from, double level) {
  const BlockGrid grid(signal);
  const int first = Blocks(from);
  const int last = grid.Blocks();
  const std::vector<double> readings = ReadingsOnGrid(grid, quantity, first, last);
  const auto [lowest, highest] = std::minmax_element(readings.begin(), readings.end());
  return {{quantity, fmt::format("lowest from {:g} s", from), Pick::kLowest, first, last, level,
           *lowest, kLoudnessTolerance},
          {quantity, fmt::format("highest from {:g} s", from), Pick::kHighest, first, last, level,
           *highest, kLoudnessTolerance}};
}

ComplianceCase Recording(const char* id, Quantity quantity, double figure, Tolerance tolerance) {
  const Expectation atEnd = {quantity, "", Pick::kLast, 0, 0, figure, figure, tolerance};
  return {id, kRecording, {}, ComplianceRecording{kStereo, {atEnd}}};
}

// ITU-R BS.1770: the gains of the weighting, and the level that its offset of -0.691 calibrates.

ComplianceRun GainRun(double hertz, int sampleRate, double gainDb, double tolerance) {
  constexpr double kSettlingAndMeasured = 3.0;  // s
  StepSignal sine = {kLeft, {{kSettlingAndMeasured, {0.0}}}, Carrier::kSine, {hertz}};
  Expectation gain =
      AtTheEnd(Quantity::kWeightingGain, kSettlingAndMeasured, gainDb, {tolerance, tolerance});
  gain.detail = fmt::format("{:g} Hz at {:g} kHz", hertz, sampleRate / 1000.0);
  return {sine, {gain}, sampleRate};
}

// Tolerances are half of the last digit of the known gains.
ComplianceCase WeightingGains() {
  return {"1770-gain",
          "sine of 0 dBFS, front end alone",
          {GainRun(25.0, 48000, -10.39, 0.005), GainRun(100.0, 48000, -1.13, 0.005),
           GainRun(997.0, 48000, 0.6910, 0.00005), GainRun(2000.0, 48000, 3.07, 0.005),
           GainRun(10000.0, 48000, 4.04, 0.005), GainRun(997.0, 44100, 0.6938, 0.00005),
           GainRun(997.0, 96000, 0.6737, 0.00005)}};
}

ComplianceCase FullScaleLevels() {
  constexpr double kLength = 5.0;  // s
  ComplianceCase levels = {"1770-level", "997 Hz, 0 dBFS, on Left alone", {}};
  for (const int sampleRate :
       {8000, 11025, 16000, 22050, 32000, 44100, 48000, 88200, 96000, 176400, 192000}) {
    // A mean square of 1/2: 10 log10(1/2) = -3.01.
    Expectation level = AtTheEnd(Quantity::kIntegrated, kLength, -3.01, kLoudnessTolerance);
    level.detail = fmt::format("{:g} kHz", sampleRate / 1000.0);
    levels.runs.push_back(
        {StepSignal{kLeft, {{kLength, {0.0}}}, Carrier::kSine, {997.0}}, {level}, sampleRate});
  }
  return levels;
}

// EBU Tech 3341.

ComplianceCase SteadyLevel(const char* id, double level) {
  constexpr double kLength = 20.0;  // s
  const Steps steps = {{kLength, {level}}};
  Expectations expectations;
  for (const Quantity quantity :
       {Quantity::kMomentary, Quantity::kShortTerm, Quantity::kIntegrated})
    expectations.push_back(AtTheEnd(quantity, kLength, level, kLoudnessTolerance));
  return {id, InWords(steps), {{StepSignal{kStereo, steps}, expectations}}};
}

// Expects one figure at the end of the signal.
ComplianceCase FigureAtEnd(const char* id, const std::string& words, const StepSignal& signal,
                           Quantity quantity, double figure, Tolerance tolerance) {
  return {id, words, {{signal, {AtTheEnd(quantity, Seconds(signal.steps), figure, tolerance)}}}};
}

ComplianceCase GatedLevel(const char* id, const Steps& steps) {
  return FigureAtEnd(id, InWords(steps), {kStereo, steps}, Quantity::kIntegrated, -23.0,
                     kLoudnessTolerance);
}

ComplianceCase Surround() {
  return FigureAtEnd("3341-6", "5.0, 20 s: L, R -28 dBFS; C -24; Ls, Rs -30",
                     {SplitSpeakers("L,R,C,Ls,Rs"), {{20.0, {-28.0, -28.0, -24.0, -30.0, -30.0}}}},
                     Quantity::kIntegrated, -23.0, kLoudnessTolerance);
}

// Two alternating steps, which must not show in the reading.
ComplianceCase Alternating(const char* id, const char* words, const Steps& steps, int times,
                           Quantity quantity, double from) {
  const StepSignal signal = Repeated({kStereo, steps}, times);
  return {id, words, {{signal, Constant(signal, quantity, from, -23.0)}}};
}

// The common properties of bursts at twenty offsets from the block boundaries.
struct BurstFamily {
  int stepMs;    // between offsets
  int lengthMs;  // of a burst
  Quantity quantity;
  Pick pick;  // which of the readings since the start
};

constexpr BurstFamily kShortTermBursts = {150, 3000, Quantity::kMaxShortTerm, Pick::kHighest};
constexpr BurstFamily kMomentaryBursts = {20, 400, Quantity::kMaxMomentary, Pick::kLast};

SignalStep Step(int ms, double level) {
  return {ms / 1000.0, {level}};
}

Expectation HighestOfBurst(const BurstFamily& family, const BlockGrid& grid, int offset,
                           int lastBlock, double level) {
  const int first = family.pick == Pick::kLast ? lastBlock : BlockGrid::kFirstReading;
  const std::vector<double> readings =
      ReadingsOnGrid(grid, family.quantity, BlockGrid::kFirstReading, lastBlock);
  return {family.quantity,
          fmt::format("i = {}", offset),
          family.pick,
          first,
          lastBlock,
          level,
          *std::max_element(readings.begin(), readings.end()),
          kLoudnessTolerance};
}

// One measurement per offset: silence, the burst, and a second of silence.
ComplianceCase SeparateBursts(const char* id, const char* words, const BurstFamily& family) {
  constexpr double kLevel = -23.0;
  ComplianceCase bursts = {id, words, {}};
  for (int i = 0; i < kOffsets; ++i) {
    const StepSignal signal = {kStereo,
                               {Step(i * family.stepMs, kSilenceDb), Step(family.lengthMs, kLevel),
                                Step(1000, kSilenceDb)}};
    const BlockGrid grid(signal);
    bursts.runs.push_back({signal, {HighestOfBurst(family, grid, i, grid.Blocks(), kLevel)}});
  }
  return bursts;
}

// One stream of bursts. Each period is twice the length of a burst; each burst is 1 dB louder than
// the one before and one offset later in its period.
ComplianceCase RisingBursts(const char* id, const char* words, const BurstFamily& family) {
  constexpr double kFirstLevel = -38.0;
  StepSignal signal = {kStereo, {}};
  for (int i = 0; i < kOffsets; ++i) {
    signal.steps.push_back(Step(i * family.stepMs, kSilenceDb));
    signal.steps.push_back(Step(family.lengthMs, kFirstLevel + i));
    signal.steps.push_back(Step(family.lengthMs - i * family.stepMs, kSilenceDb));
  }
  const BlockGrid grid(signal);
  const int blocksInPeriod = grid.Blocks() / kOffsets;
  Expectations expectations;
  for (int i = 0; i < kOffsets; ++i)
    expectations.push_back(
        HighestOfBurst(family, grid, i, (i + 1) * blocksInPeriod, kFirstLevel + i));
  return {id, words, {{signal, expectations}}};
}

constexpr double kTruePeakLength = 1.0;  // s

ComplianceCase TruePeakOfSine(const char* id, int shareOfRate, double amplitude,
                              double phaseDegrees, double expected) {
  StepSignal sine = {kStereo, {{kTruePeakLength, {20.0 * std::log10(amplitude)}}}};
  sine.frequency = {1.0 / shareOfRate, Frequency::Unit::kShareOfNominalRate};
  sine.phaseDegrees = phaseDegrees;
  sine.fadeSeconds = 0.01;
  return {
      id,
      fmt::format("fs/{}, amplitude {:.2f}, {:g} degrees", shareOfRate, amplitude, phaseDegrees),
      {{sine, {AtTheEnd(Quantity::kMaxTruePeak, kTruePeakLength, expected, kTruePeakTolerance)}}}};
}

ComplianceCase HiddenCrest(const char* id, int offset) {
  return {id,
          fmt::format("fs/6 at 0.50 with a period of fs/4 at 1.00, offset {}", offset),
          {{HiddenCrestSignal{offset},
            {AtTheEnd(Quantity::kMaxTruePeak, kTruePeakLength, 0.0, kTruePeakTolerance)}}}};
}

// EBU Tech 3342.

Steps RangeSteps(const std::vector<double>& levels) {
  Steps steps;
  for (const double level : levels)
    steps.push_back({20.0, {level}});
  return steps;
}

struct RangeSignal {
  const char* id;
  std::vector<double> levels;  // 20 s each
  double range;                // LU
};

const std::vector<RangeSignal>& RangeSignals() {
  static const std::vector<RangeSignal> signals = {
      {"3342-1", {-20.0, -30.0}, 10.0},
      {"3342-2", {-20.0, -15.0}, 5.0},
      {"3342-3", {-40.0, -20.0}, 20.0},
      {"3342-4", {-50.0, -35.0, -20.0, -35.0, -50.0}, 15.0},
  };
  return signals;
}

ComplianceCase LoudnessRange(const RangeSignal& signal) {
  const Steps steps = RangeSteps(signal.levels);
  return FigureAtEnd(signal.id, InWords(steps), {kStereo, steps}, Quantity::kLra, signal.range,
                     kLraTolerance);
}

ComplianceCase RepeatedLoudnessRanges() {
  ComplianceCase repeated = {"3342-repeat", "cases 1 to 4, each twice in a row", {}};
  for (const RangeSignal& signal : RangeSignals()) {
    const StepSignal once = {kStereo, RangeSteps(signal.levels)};
    const int blocks = Blocks(Seconds(once.steps));
    repeated.runs.push_back({Repeated(once, 2),
                             {{Quantity::kLra, std::string("change, ") + signal.id, Pick::kChange,
                               blocks, 2 * blocks, 0.0, 0.0, kSameLraTolerance}}});
  }
  return repeated;
}

std::vector<ComplianceCase> MakeCases() {
  std::vector<ComplianceCase> cases = {
      WeightingGains(),
      FullScaleLevels(),
      SteadyLevel("3341-1", -23.0),
      SteadyLevel("3341-2", -33.0),
      GatedLevel("3341-3", {{10.0, {-36.0}}, {60.0, {-23.0}}, {10.0, {-36.0}}}),
      GatedLevel(
          "3341-4",
          {{10.0, {-72.0}}, {10.0, {-36.0}}, {60.0, {-23.0}}, {10.0, {-36.0}}, {10.0, {-72.0}}}),
      GatedLevel("3341-5", {{20.0, {-26.0}}, {20.1, {-20.0}}, {20.0, {-26.0}}}),
      Surround(),
      Recording("3341-7", Quantity::kIntegrated, -23.0, kLoudnessTolerance),
      Recording("3341-8", Quantity::kIntegrated, -23.0, kLoudnessTolerance),
      Alternating("3341-9", "(-20 dBFS 1.34 s, -30 1.66 s) x 5", {{1.34, {-20.0}}, {1.66, {-30.0}}},
                  5, Quantity::kShortTerm, 3.0),
      SeparateBursts("3341-10", "i x 0.15 s silence, -23 dBFS 3 s, 1 s silence", kShortTermBursts),
      RisingBursts("3341-11", "i x 0.15 s silence, (-38 + i) dBFS 3 s, (3 - i x 0.15) s silence",
                   kShortTermBursts),
      Alternating("3341-12", "(-20 dBFS 0.18 s, -30 0.22 s) x 25",
                  {{0.18, {-20.0}}, {0.22, {-30.0}}}, 25, Quantity::kMomentary, 1.0),
      SeparateBursts("3341-13", "i x 20 ms silence, -23 dBFS 400 ms, 1 s silence",
                     kMomentaryBursts),
      RisingBursts("3341-14", "i x 20 ms silence, (-38 + i) dBFS 400 ms, (400 - i x 20) ms silence",
                   kMomentaryBursts),
      TruePeakOfSine("3341-15", 4, 0.50, 0.0, -6.0),
      TruePeakOfSine("3341-16", 4, 0.50, 45.0, -6.0),
      TruePeakOfSine("3341-17", 6, 0.50, 60.0, -6.0),
      TruePeakOfSine("3341-18", 8, 0.50, 67.5, -6.0),
      TruePeakOfSine("3341-19", 4, 1.41, 45.0, 3.0),
      HiddenCrest("3341-20", 0),
      HiddenCrest("3341-21", 1),
      HiddenCrest("3341-22", 2),
      HiddenCrest("3341-23", 3),
  };
  for (const RangeSignal& signal : RangeSignals())
    cases.push_back(LoudnessRange(signal));
  cases.push_back(Recording("3342-5", Quantity::kLra, 5.0, kLraTolerance));
  cases.push_back(Recording("3342-6", Quantity::kLra, 15.0, kLraTolerance));
  cases.push_back(RepeatedLoudnessRanges());
  return cases;
}

}  // namespace

const std::vector<ComplianceCase>& ComplianceCases() {
  static const std::vector<ComplianceCase> cases = MakeCases();
  return cases;
}

bool IsMeantBy(const ComplianceCase& complianceCase, const std::string& wanted) {
  return complianceCase.id == wanted || complianceCase.id.rfind(wanted + "-", 0) == 0;
}

}  // namespace louddesk
