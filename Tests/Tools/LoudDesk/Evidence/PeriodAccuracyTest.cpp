// Feeds whole recordings and the standards' signals to the service's engine, whose published tenths
// become recorded seconds. Compares the figures of the record with those of the engine and of
// `LoudDesk measure`, which both have every reading to a hundredth.

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <memory>
#include <random>

#include "BlockStream.h"
#include "ComplianceCases.h"
#include "EngineMeter.h"
#include "FigureText.h"
#include "LoudCalcBase.h"
#include "ProgrammeMeter.h"
#include "RecordedSeconds.h"

namespace louddesk {
namespace {

// The tolerances that Docs/COMPLIANCE.md promises for rounded figures.
constexpr double kIntegratedTolerance = 0.05 + 1e-9;  // LU
constexpr double kRangeTolerance = 0.15;              // LU

// A published maximum is rounded to a tenth, a true peak to a hundredth.
constexpr double kTenthTolerance = 0.05 + 1e-6;
constexpr double kHundredthTolerance = 0.005 + 1e-6;

// The published readings of each second.
class ReadingsOfSeconds {
 public:
  void Take(const LoudnessData_t& data) {
    if (mReadings % 10 == 0) {
      mSeconds.push_back(
          SecondAt(kTuesday + static_cast<std::int64_t>(mSeconds.size()), kMissedReading));
      mSeconds.back().truePeak = kNoTruePeakCode;
    }
    RecordedSecond& second = mSeconds.back();
    second.momentary[mReadings++ % 10] = data.Momentary;
    second.shortTerm = data.ShortTerm;
    second.truePeak = std::max(second.truePeak, data.TruePeak);
  }

  const std::vector<RecordedSecond>& Seconds() const { return mSeconds; }

 private:
  std::size_t mReadings = 0;
  std::vector<RecordedSecond> mSeconds;
};

struct Compared {
  Figures recorded;
  Figures engine;
};

class PeriodAccuracyTest : public testing::Test {
 protected:
  void Start(const SpeakerLayout& speakers) { mEngine.Start(speakers); }

  void Feed(const BlockReading& block) {
    mEngine.Feed(block);
    if (++mBlocks >= kMomentaryBlocks)
      mKeeper.Take(LuData);
  }

  Compared Finish() { return {FiguresOf(mKeeper.Seconds()).programme.figures, mEngine.Read()}; }

 private:
  EngineMeter mEngine;
  std::size_t mBlocks = 0;
  ReadingsOfSeconds mKeeper;
};

void ExpectClose(const std::optional<double>& recorded, const std::optional<double>& engine,
                 double tolerance, const char* what) {
  ASSERT_EQ(recorded.has_value(), engine.has_value()) << what;
  if (recorded) {
    EXPECT_NEAR(*recorded, *engine, tolerance) << what;
  }
}

std::optional<double> Written(const std::optional<double>& figure) {
  return figure ? std::optional(std::stod(FigureText(figure))) : std::nullopt;
}

void ExpectIntegrated(const std::optional<double>& recorded, const std::optional<double>& other) {
  ExpectClose(Written(recorded), Written(other), kIntegratedTolerance, "integrated");
}

void ExpectAgreement(const Compared& compared) {
  ExpectIntegrated(compared.recorded.integrated, compared.engine.integrated);
  ExpectClose(compared.recorded.maxMomentary, compared.engine.maxMomentary, kTenthTolerance,
              "maximum momentary");
}

BlockReading BlockAt(double loudness) {
  BlockReading block;
  block.powers[0] = static_cast<std::uint64_t>(
      std::pow(10.0, (loudness + kPowerScaleDb + kWeightingOffsetDb) / 10.0));
  block.peaks[0] = 3000;
  return block;
}

// A steady tone is the worst: all its readings are rounded by the same amount.
class ToneTest : public PeriodAccuracyTest, public testing::WithParamInterface<int> {};

TEST_P(ToneTest, IsWithinTheRoundingOfItsReading) {
  Start({"Center"});
  for (int i = 0; i < 100; ++i)
    Feed(BlockAt(-23.0 + 0.005 * GetParam()));
  ExpectAgreement(Finish());
}

INSTANTIATE_TEST_SUITE_P(OverOneTenth, ToneTest, testing::Range(0, 21));

// Two hours of levels that vary like those of a programme.
TEST_F(PeriodAccuracyTest, OfAWanderingProgrammeTheRoundingAveragesOut) {
  Start({"Center"});
  std::mt19937 random(1770);
  std::normal_distribution<double> step(0.0, 0.7);
  double loudness = -23.0;
  for (int i = 0; i < 72000; ++i) {
    loudness += step(random) - (loudness + 23.0) * 0.01;
    Feed(BlockAt(loudness));
  }
  const Compared compared = Finish();
  EXPECT_NEAR(compared.recorded.integrated.value(), compared.engine.integrated.value(), 0.005);
  EXPECT_NEAR(compared.recorded.lra.value(), compared.engine.lra.value(), kRangeTolerance);
}

// The standards' signals that have an integrated loudness or a range.
struct Named {
  std::string id;
  ComplianceRun run;
};

std::vector<Named> Programmes() {
  std::vector<Named> programmes;
  for (const ComplianceCase& complianceCase : ComplianceCases())
    for (const ComplianceRun& run : complianceCase.runs)
      for (const Expectation& expectation : run.expectations)
        if (expectation.quantity == Quantity::kIntegrated ||
            expectation.quantity == Quantity::kLra) {
          programmes.push_back({complianceCase.id, run});
          break;
        }
  return programmes;
}

void PrintTo(const Named& named, std::ostream* out) {
  *out << named.id;
}

class SignalAccuracyTest : public PeriodAccuracyTest, public testing::WithParamInterface<Named> {};

TEST_P(SignalAccuracyTest, TheRecordAgreesWithTheEngine) {
  constexpr int kRate = 48000;
  BlockStream blocks(GetParam().id, MakeSource(GetParam().run.signal, kRate));
  Start(blocks.Source().Speakers());
  BlockReading block;
  while (blocks.Next(block))
    Feed(block);
  const Compared compared = Finish();
  ExpectAgreement(compared);
  ExpectClose(compared.recorded.lra, compared.engine.lra, kRangeTolerance, "range");
}

INSTANTIATE_TEST_SUITE_P(OfTheStandards, SignalAccuracyTest, testing::ValuesIn(Programmes()));

// Voices, noise and music from Debian packages.
struct Recording {
  const char* name;
  const char* package;
  const char* path;
};

void PrintTo(const Recording& recording, std::ostream* out) {
  *out << recording.path;
}

constexpr Recording kRecordings[] = {
    {"Voice", "alsa-utils", "/usr/share/sounds/alsa/Front_Center.wav"},
    {"Noise", "alsa-utils", "/usr/share/sounds/alsa/Noise.wav"},
    {"AlarmClock", "sound-theme-freedesktop",
     "/usr/share/sounds/freedesktop/stereo/alarm-clock-elapsed.oga"},
    {"IncomingCall", "sound-theme-freedesktop",
     "/usr/share/sounds/freedesktop/stereo/phone-incoming-call.oga"},
    {"MusicOfOneMinute", "hex-a-hop-data", "/usr/share/games/hex-a-hop/hex-a-hop/music-ending.ogg"},
    {"MusicOfThreeMinutes", "hex-a-hop-data",
     "/usr/share/games/hex-a-hop/hex-a-hop/music-game-1.ogg"},
    {"MusicOfFiveMinutes", "hex-a-hop-data", "/usr/share/games/hex-a-hop/hex-a-hop/music-game.ogg"},
};

class RecordingAccuracyTest : public PeriodAccuracyTest,
                              public testing::WithParamInterface<Recording> {};

TEST_P(RecordingAccuracyTest, TheRecordAgreesWithEngineAndMeasure) {
  if (!std::filesystem::exists(GetParam().path))
    GTEST_SKIP() << "NOT COMPARED: " << GetParam().path << " is missing; install the package "
                 << GetParam().package;
  BlockStream blocks(GetParam().path, OpenFileSource(GetParam().path, std::nullopt));
  const SpeakerLayout speakers = blocks.Source().Speakers();
  ProgrammeMeter measure(ProgrammeOf(speakers), speakers.size());
  Start(speakers);
  BlockReading block;
  while (blocks.Next(block)) {
    Feed(block);
    measure.Feed(block);
  }
  const Compared compared = Finish();
  ExpectAgreement(compared);
  ExpectIntegrated(compared.recorded.integrated, measure.Read().integrated);
  // The service ignores the peaks of the first three blocks.
  ExpectClose(compared.recorded.maxTruePeak, LoudCalcResultsAll.MaxTruePeak, kHundredthTolerance,
              "true peak");
}

INSTANTIATE_TEST_SUITE_P(OfDebian, RecordingAccuracyTest, testing::ValuesIn(kRecordings),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace louddesk
