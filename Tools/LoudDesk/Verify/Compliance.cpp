// Passes signals through front end and meter block by block, and picks the readings that each
// expectation counts.

#include "Compliance.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <numeric>

#include "BlockMeter.h"
#include "BlockStream.h"
#include "PrintableText.h"
#include "SpeakerNames.h"

namespace louddesk {
namespace {

// Allows for rounding errors in differences of decimal figures.
constexpr double kRounding = 1e-6;

// Power of an unweighted sine of 0 dBFS.
constexpr double kSineMeanSquare = 0.5;

// The members for the quantities except the weighting gain, in the order of Quantity.
constexpr std::optional<double> Figures::*kFigures[] = {
    &Figures::momentary, &Figures::shortTerm,    &Figures::shortTerm,  &Figures::integrated,
    &Figures::lra,       &Figures::maxMomentary, &Figures::maxTruePeak};
static_assert(std::size(kFigures) == static_cast<std::size_t>(Quantity::kWeightingGain));

std::optional<double> ReadingOf(const Figures& figures, Quantity quantity) {
  return figures.*kFigures[static_cast<std::size_t>(quantity)];
}

// The mean power of the first channel over the last second, from the front end.
class GainGauge {
 public:
  void Add(std::uint64_t power) { mPowers[mBlocks++ % kBlocksPerSecond] = power; }

  double GainDb() const {
    const double mean = std::accumulate(mPowers.begin(), mPowers.end(), 0.0) / kBlocksPerSecond;
    return 10.0 * std::log10(mean / static_cast<double>(BlockPower(kSineMeanSquare, 1)));
  }

 private:
  std::array<std::uint64_t, kBlocksPerSecond> mPowers{};
  std::size_t mBlocks = 0;
};

// The readings of one expectation during a measurement.
class Observation {
 public:
  explicit Observation(const Expectation& expectation) : mExpectation(expectation) {}

  bool Needs(int block) const {
    switch (mExpectation.pick) {
      case Pick::kLast:
        return block == mExpectation.lastBlock;
      case Pick::kChange:
        return block == mExpectation.firstBlock || block == mExpectation.lastBlock;
      case Pick::kLowest:
      case Pick::kHighest:
        break;
    }
    return block >= mExpectation.firstBlock && block <= mExpectation.lastBlock;
  }

  void Add(const std::optional<double>& reading) {
    if (reading)
      mReadings.push_back(*reading);
  }

  std::optional<double> Result() const {
    if (mReadings.empty())
      return std::nullopt;
    switch (mExpectation.pick) {
      case Pick::kLowest:
        return *std::min_element(mReadings.begin(), mReadings.end());
      case Pick::kHighest:
        return *std::max_element(mReadings.begin(), mReadings.end());
      case Pick::kChange:
        return mReadings.size() == 2 ? std::optional(mReadings[1] - mReadings[0]) : std::nullopt;
      case Pick::kLast:
        break;
    }
    return mReadings.back();
  }

  const Expectation& Expected() const { return mExpectation; }

 private:
  Expectation mExpectation;
  std::vector<double> mReadings;
};

// One measurement, started from empty.
class Measurement {
 public:
  Measurement(const ComplianceRun& run, int sampleRate, MeterUnderTest& meter)
      : mSource(MakeSource(run.signal, run.sampleRate > 0 ? run.sampleRate : sampleRate)),
        mFrontEnd(mSource->Channels(), mSource->SampleRate()),
        mMeter(meter),
        mObservations(run.expectations.begin(), run.expectations.end()) {
    mMeter.Start(mSource->Speakers(), MeasurandOf(run));
  }

  void Perform() {
    std::vector<double> samples(mFrontEnd.MaxFramesInBlock() * mSource->Channels());
    BlockReading block;
    for (int blocks = 1; ReadBlock(samples) && !mFrontEnd.Measure(samples.data(), block);
         ++blocks) {
      mGauge.Add(block.powers.front());
      mMeter.Feed(block);
      Observe(blocks);
    }
  }

  const std::vector<Observation>& Observations() const { return mObservations; }

 private:
  static Measurand MeasurandOf(const ComplianceRun& run) {
    return run.expectations.front().quantity == Quantity::kMaxTruePeak ? Measurand::kTruePeak
                                                                       : Measurand::kLoudness;
  }

  bool ReadBlock(std::vector<double>& samples) {
    const std::size_t frames = mFrontEnd.FramesInNextBlock();
    return mSource->Read(samples.data(), frames) == frames;
  }

  // Reads the meter only at blocks that an expectation needs, and once for all expectations: a
  // reading may take as long as a message.
  void Observe(int blocks) {
    std::optional<Figures> figures;
    for (Observation& observation : mObservations) {
      if (!observation.Needs(blocks))
        continue;
      const Quantity quantity = observation.Expected().quantity;
      if (quantity == Quantity::kWeightingGain) {
        observation.Add(mGauge.GainDb());
        continue;
      }
      if (!figures)
        figures = mMeter.Read();
      observation.Add(ReadingOf(*figures, quantity));
    }
  }

  std::unique_ptr<SampleSource> mSource;
  BlockMeter mFrontEnd;
  MeterUnderTest& mMeter;
  GainGauge mGauge;
  std::vector<Observation> mObservations;
};

bool IsWithin(double measured, double expected, const Tolerance& tolerance) {
  return measured >= expected - tolerance.below - kRounding &&
         measured <= expected + tolerance.above + kRounding;
}

std::string ShortNames(const SpeakerLayout& speakers) {
  std::string names;
  for (const std::string& speaker : speakers)
    names += (names.empty() ? "" : " ") + ShortSpeakerName(speaker);
  return names;
}

void CheckSpeakers(const ComplianceCase& complianceCase, const std::string& path,
                   const SpeakerLayout& speakers) {
  const SpeakerLayout& recorded = complianceCase.recording->speakers;
  if (speakers != recorded)
    throw AudioFileError(
        path, fmt::format("its channels are {}; the recording of case {} has {}",
                          ShortNames(speakers), complianceCase.id, ShortNames(recorded)));
}

}  // namespace

void RunCase(const ComplianceCase& complianceCase, int sampleRate, MeterUnderTest& meter,
             const RowSink& sink) {
  if (complianceCase.recording)
    sink(NotRunRow(complianceCase));
  for (const ComplianceRun& run : complianceCase.runs) {
    Measurement measurement(run, sampleRate, meter);
    measurement.Perform();
    for (const Observation& observation : measurement.Observations())
      sink({complianceCase.id, complianceCase.signal, observation.Expected(), observation.Result(),
            ComplianceVerdictOn(observation.Expected(), observation.Result())});
  }
}

void RunRecording(const ComplianceCase& complianceCase, const std::string& path,
                  MeterUnderTest& meter, const RowSink& sink) {
  BlockStream stream(path, OpenFileSource(path, std::nullopt));
  CheckSpeakers(complianceCase, path, stream.Source().Speakers());
  meter.Start(stream.Source().Speakers(), Measurand::kLoudness);
  for (BlockReading block; stream.Next(block);)
    meter.Feed(block);
  const Figures figures = meter.Read();
  for (const Expectation& expectation : complianceCase.recording->expectations) {
    const std::optional<double> measured = ReadingOf(figures, expectation.quantity);
    sink({complianceCase.id, "recording, " + Printable(path), expectation, measured,
          ComplianceVerdictOn(expectation, measured)});
  }
}

ComplianceRow NotRunRow(const ComplianceCase& complianceCase) {
  return {complianceCase.id, complianceCase.signal, std::nullopt, std::nullopt,
          ComplianceVerdict::kNotRun};
}

ComplianceVerdict ComplianceVerdictOn(const Expectation& expectation,
                                      const std::optional<double>& measured) {
  const Tolerance& tolerance = expectation.tolerance;
  if (!measured || !IsWithin(*measured, expectation.expected, tolerance))
    return ComplianceVerdict::kFail;
  return IsWithin(*measured, expectation.standard, tolerance) ? ComplianceVerdict::kPass
                                                              : ComplianceVerdict::kGrid;
}

}  // namespace louddesk
