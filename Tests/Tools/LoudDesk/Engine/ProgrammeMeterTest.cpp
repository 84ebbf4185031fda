// The programme meter, compared block by block with the service's engine behind its dispatcher, and
// with the standards where it must differ from the engine.

#include "ProgrammeMeter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <random>
#include <vector>

#include "BlockMeter.h"
#include "EngineMeter.h"

namespace louddesk {
namespace {

// Loudness codes are 0.02 LU wide.
constexpr double kBin = 0.02;

constexpr int kHour = 36000;  // blocks

const SpeakerLayout kMono = {"Center"};
const SpeakerLayout kSurround = {"Left",         "Right",        "Center", "LowFrequencyEffects",
                                 "LeftSurround", "RightSurround"};

std::uint64_t PowerAt(double loudness) {
  return static_cast<std::uint64_t>(std::pow(10.0, (loudness + 153.3879962) / 10.0));
}

// A block of one channel.
BlockReading BlockAt(double loudness, std::uint32_t peak = 3) {
  BlockReading block;
  block.powers[0] = PowerAt(loudness);
  block.peaks[0] = peak;
  return block;
}

ProgrammeMeter Mono() {
  return {ProgrammeOf(kMono), 1};
}

void Feed(ProgrammeMeter& meter, const BlockReading& block, int times) {
  for (int i = 0; i < times; ++i)
    meter.Feed(block);
}

Figures FiguresOf(const std::vector<BlockReading>& blocks) {
  ProgrammeMeter meter = Mono();
  for (const BlockReading& block : blocks)
    meter.Feed(block);
  return meter.Read();
}

// Levels that vary like those of a programme, with pauses, on six channels.
class WanderingBlocks {
 public:
  BlockReading Next() {
    if (mLeft-- <= 0) {
      mLeft = static_cast<int>(mRandom() % 40);
      mLevel = mRandom() % 7 == 0 ? -120.0 : -45.0 + static_cast<double>(mRandom() % 40);
    }
    BlockReading block;
    for (std::size_t channel = 0; channel < kSurround.size(); ++channel) {
      const double level = mLevel - static_cast<double>(mRandom() % 100) / 10.0;
      block.powers[channel] = PowerAt(level);
      block.peaks[channel] = static_cast<std::uint32_t>(mRandom() % (level < -100.0 ? 1 : 40000));
    }
    return block;
  }

 private:
  std::mt19937 mRandom{7};
  int mLeft = 0;
  double mLevel = 0.0;
};

// Both meters side by side. Where they differ, the expected figures are computed from the engine's
// readings: the maximum of the short-term loudness from 3 s on, and the range of one short-term
// reading per second.
class BothMeters {
 public:
  BothMeters()
      : mOurs(ProgrammeOf(kSurround), kSurround.size()),
        mRing(kMaxWindowReadings + 1),
        mRange(kLraGateLu, &mRing) {
    mTheirs.Start(kSurround);
    mRange.Reset(kMaxWindowReadings);
  }

  void Feed(const BlockReading& block) {
    mOurs.Feed(block);
    mTheirs.Feed(block);
    mLargestPeak =
        std::max(mLargestPeak, *std::max_element(block.peaks.begin(), block.peaks.end()));
    if (++mBlocks < 30)
      return;
    mMaxShortTerm = std::max(mMaxShortTerm, LoudCalcResultsAll.ShortTerm);
    if (mBlocks % 10 != 3)  // 3.3 s, 4.3 s, ...
      return;
    const std::uint16_t code = Cbin::GetBinIndx(LoudCalcResultsAll.ShortTerm);
    mRing.AddElement(code);
    mRange.AddNewSample(code);
  }

  void ExpectSame() const {
    const Figures ours = mOurs.Read();
    const Figures theirs = mTheirs.Read();
    ASSERT_EQ(ours.momentary, theirs.momentary) << "block " << mBlocks;
    ASSERT_EQ(ours.maxMomentary, theirs.maxMomentary) << "block " << mBlocks;
    ASSERT_EQ(ours.integrated, theirs.integrated) << "block " << mBlocks;
    ASSERT_EQ(ours.lra.has_value(), mRange.GetLraGate() >= kAbsoluteGateLkfs);
    ASSERT_EQ(ours.lra.value_or(0.0), mRange.GetLra()) << "block " << mBlocks;
    if (mBlocks >= 30) {
      ASSERT_EQ(ours.shortTerm, theirs.shortTerm) << "block " << mBlocks;
      ASSERT_EQ(ours.maxShortTerm.value_or(kNoLoudnessLkfs), mMaxShortTerm);
    }
    if (mLargestPeak > 0) {
      ASSERT_EQ(ours.maxTruePeak.value(), GetTruePeak(static_cast<std::uint16_t>(mLargestPeak)));
    }
  }

 private:
  ProgrammeMeter mOurs;
  EngineMeter mTheirs;
  cCircBuf mRing;
  cLoudInteg mRange;
  float mMaxShortTerm = kNoLoudnessLkfs;
  std::uint32_t mLargestPeak = 0;
  int mBlocks = 0;
};

// Compares every figure at every block of the first minutes, then up to the last reading that fits
// into the engine's window: 72000 readings, the first at the fourth block.
TEST(ProgrammeMeterTest, FiguresAreThoseOfTheEngineToTheLastDigitUpToTwoHours) {
  BothMeters both;
  WanderingBlocks blocks;
  for (int block = 1; block <= 2 * kHour + 3; ++block) {
    both.Feed(blocks.Next());
    if (block <= 3000 || block % 499 == 0 || block == 2 * kHour + 3)
      both.ExpectSame();
    if (testing::Test::HasFatalFailure())
      return;
  }
}

// An hour at -20 and two at -26: the last two alone would be -26.
TEST(ProgrammeMeterTest, IntegratedLoudnessIsThatOfTheWholeProgramme) {
  ProgrammeMeter meter = Mono();
  Feed(meter, BlockAt(-20.0), kHour);
  Feed(meter, BlockAt(-26.0), 2 * kHour);
  const double mean = 10.0 * std::log10((std::pow(10.0, -2.0) + 2.0 * std::pow(10.0, -2.6)) / 3.0);
  EXPECT_NEAR(meter.Read().integrated.value(), mean, kBin);
}

// Two hours at -20 and three at -30: the loud readings are 40 % of all, and none is in the last
// three hours. In reverse order, none is in the first three hours.
TEST(ProgrammeMeterTest, LoudnessRangeIsThatOfTheWholeProgramme) {
  ProgrammeMeter loudFirst = Mono();
  Feed(loudFirst, BlockAt(-20.0), 2 * kHour);
  Feed(loudFirst, BlockAt(-30.0), 3 * kHour);
  EXPECT_NEAR(loudFirst.Read().lra.value(), 10.0, kBin);
  ProgrammeMeter loudLast = Mono();
  Feed(loudLast, BlockAt(-30.0), 3 * kHour);
  Feed(loudLast, BlockAt(-20.0), 2 * kHour);
  EXPECT_NEAR(loudLast.Read().lra.value(), 10.0, kBin);
}

// The engine's sums of 64 bits wrap around after 860 such blocks.
TEST(ProgrammeMeterTest, TheLoudestProgrammeHasItsFiguresHoweverLong) {
  ProgrammeMeter meter = Mono();
  Feed(meter, BlockAt(9.9, 60000), kHour);
  EXPECT_NEAR(meter.Read().integrated.value(), 9.9, kBin);
  EXPECT_EQ(meter.Read().lra.value(), 0.0);
}

// EBU Tech 3341: short-term loudness is that of 3 s.
TEST(ProgrammeMeterTest, ShortTermLoudnessBeginsWithTheThirtiethBlock) {
  ProgrammeMeter meter = Mono();
  Feed(meter, BlockAt(-23.0), 29);
  EXPECT_FALSE(meter.Read().shortTerm);
  EXPECT_FALSE(meter.Read().maxShortTerm);
  meter.Feed(BlockAt(-23.0));
  EXPECT_NEAR(meter.Read().shortTerm.value(), -23.0, kBin);
  EXPECT_NEAR(meter.Read().maxShortTerm.value(), -23.0, kBin);
}

// A second at -10, the rest at -40. At 3.0 s there are 27 momentary readings. 7 of them consist of
// loud blocks only, and 3 contain 3, 2 and 1 loud blocks: 10 log10(8.5 / 27) relative to -10.
TEST(ProgrammeMeterTest, ALoudBeginningCountsInTheMaximumAsPartOf3Seconds) {
  std::vector<BlockReading> blocks(100, BlockAt(-40.0));
  std::fill_n(blocks.begin(), 10, BlockAt(-10.0));
  const Figures figures = FiguresOf(blocks);
  EXPECT_NEAR(figures.maxShortTerm.value(), -10.0 + 10.0 * std::log10(8.5 / 27.0), 0.05);
  EXPECT_DOUBLE_EQ(figures.maxShortTermAt, 3.0);
}

// One reading per second, at the same blocks as the engine: at 1.3, 2.3, 3.3 s. The first two cover
// less than 3 s.
TEST(ProgrammeMeterTest, LoudnessRangeBeginsWithTheFirstSecondBehind3Seconds) {
  EXPECT_FALSE(FiguresOf(std::vector<BlockReading>(32, BlockAt(-23.0))).lra);
  EXPECT_EQ(FiguresOf(std::vector<BlockReading>(33, BlockAt(-23.0))).lra.value(), 0.0);
}

// A loud tenth of a second at the beginning is in the reading at 3.3 s: one of 25 readings, less
// than the 5 % that the range excludes. With the readings at 1.3 and 2.3 s it would be three of 27.
TEST(ProgrammeMeterTest, ReadingsOfLessThan3SecondsDoNotCountInTheRange) {
  std::vector<BlockReading> blocks(273, BlockAt(-30.0));
  blocks.front() = BlockAt(-5.0);
  EXPECT_NEAR(FiguresOf(blocks).lra.value(), 0.0, kBin);
}

TEST(ProgrammeMeterTest, MaximaHaveTheTimesAtWhichTheyWereFirstReached) {
  std::vector<BlockReading> blocks(100, BlockAt(-40.0, 100));
  for (int block = 50; block < 60; ++block)
    blocks[static_cast<std::size_t>(block)] = BlockAt(-20.0, 100);
  blocks[70].peaks[0] = 1000;
  blocks[80].peaks[0] = 1000;
  const Figures figures = FiguresOf(blocks);
  EXPECT_DOUBLE_EQ(figures.maxMomentaryAt, 5.4);
  EXPECT_DOUBLE_EQ(figures.maxShortTermAt, 6.3);  // covers all ten blocks in full
  EXPECT_DOUBLE_EQ(figures.maxTruePeakAt, 7.1);
}

TEST(ProgrammeMeterTest, MetersSideBySideDoNotInfluenceEachOther) {
  ProgrammeMeter first = Mono();
  ProgrammeMeter second = Mono();
  for (int block = 0; block < 60; ++block) {
    first.Feed(BlockAt(-20.0, 1000));
    second.Feed(BlockAt(-35.0, 100));
  }
  EXPECT_NEAR(first.Read().integrated.value(), -20.0, kBin);
  EXPECT_NEAR(first.Read().maxShortTerm.value(), -20.0, kBin);
  EXPECT_NEAR(second.Read().integrated.value(), -35.0, kBin);
  EXPECT_NEAR(second.Read().maxShortTerm.value(), -35.0, kBin);
  EXPECT_LT(second.Read().maxTruePeak.value(), first.Read().maxTruePeak.value());
}

// The programme has channels 2 and 3 of four; the other two have ten times the power.
TEST(ProgrammeMeterTest, OnlyTheChannelsOfTheProgrammeCount) {
  BlockReading block;
  for (std::size_t channel = 0; channel < 4; ++channel) {
    const bool isIn = channel == 1 || channel == 2;
    block.powers[channel] = PowerAt(isIn ? -26.0206 : -10.0);
    block.peaks[channel] = isIn ? 16384 : 32768;
  }
  ProgrammeMeter meter({{1, "Left"}, {2, "Right"}}, 4);
  Feed(meter, block, 40);
  const Figures figures = meter.Read();
  EXPECT_NEAR(figures.integrated.value(), -23.0103, kBin);  // twice the power: 3.01 LU more
  EXPECT_NEAR(figures.maxTruePeak.value(), -6.02, 0.01);
}

// Twice the power of one speaker: 10 log10(2).
TEST(ProgrammeMeterTest, DualMonoReadsTheLoudnessOfTwoSpeakers) {
  ProgrammeMeter meter(AsDualMono(ProgrammeOf(kMono)), 1);
  Feed(meter, BlockAt(-26.0, 16384), 40);
  EXPECT_NEAR(meter.Read().integrated.value(), -22.99, kBin);
  EXPECT_NEAR(meter.Read().maxTruePeak.value(), -6.02, 0.01);
  ASSERT_EQ(meter.ReadChannels().size(), 1U);
  EXPECT_EQ(meter.ReadChannels().front().speakers, "Left, Right");
}

// The scale of one channel ends at 2^61. Four blocks of twice that would be 2^64.
TEST(ProgrammeMeterTest, DualMonoAtTheEndOfTheScaleDoesNotWrapAround) {
  ProgrammeMeter meter(AsDualMono(ProgrammeOf(kMono)), 1);
  BlockReading block;
  block.powers[0] = LargestBlockPower(1);
  Feed(meter, block, 4);
  EXPECT_TRUE(meter.Read().isMomentaryAtLeast);
  EXPECT_GT(meter.Read().maxMomentary.value(), 29.0);
}

TEST(ProgrammeMeterTest, EachChannelHasPeaksOfItsOwnWithTheRest) {
  ProgrammeMeter meter({{2, "Left"}, {0, "Right"}}, 3);
  BlockReading block;
  block.peaks = {16384, 65535, 0};
  block.samplePeaks = {0.25F, 1.0F, 0.0F};
  meter.Feed(block);
  block.peaks = {8192, 0, 0};
  block.samplePeaks = {0.5F, 0.0F, 0.0F};
  meter.FeedRest(block);
  const std::vector<ChannelFigures> channels = meter.ReadChannels();
  ASSERT_EQ(channels.size(), 2U);
  EXPECT_EQ(channels[0].channel, 2U);
  EXPECT_EQ(channels[0].speakers, "Left");
  EXPECT_FALSE(channels[0].truePeak.has_value());
  EXPECT_FALSE(channels[0].samplePeak.has_value());
  EXPECT_EQ(channels[1].channel, 0U);
  EXPECT_NEAR(channels[1].truePeak.value(), -6.02, 0.005);
  EXPECT_NEAR(channels[1].samplePeak.value(), -6.02, 0.005);
  EXPECT_FALSE(channels[1].isPeakAtLeast);
}

TEST(ProgrammeMeterTest, TheReadingsAreThoseOfTheWholeProgramme) {
  ProgrammeMeter meter = Mono();
  Feed(meter, BlockAt(-23.0), 53);
  const ProgrammeReadings& readings = meter.Readings();
  EXPECT_EQ(readings.momentary.Counts()[Cbin::GetBinIndx(-23.0F)] +
                readings.momentary.Counts()[Cbin::GetBinIndx(-23.01F)],
            50U);
  EXPECT_EQ(readings.momentary.GatedLoudness(), meter.Read().integrated);
  EXPECT_EQ(readings.shortTerm.Range().value().lu, meter.Read().lra.value());
}

// Peaks have sixteen bits and a full scale of 32768, so the scale ends at 20 log10(65535 / 32768) =
// 6.02 dBTP.
TEST(ProgrammeMeterTest, APeakAtTheEndOfItsScaleIsMarked) {
  for (const std::uint32_t peak : {65534U, 65535U}) {
    const Figures figures =
        FiguresOf({BlockAt(-40.0, 10), BlockAt(-40.0, peak), BlockAt(-40.0, 10)});
    EXPECT_EQ(figures.isPeakAtLeast, peak == 65535U) << peak;
    EXPECT_FALSE(figures.isLoudnessAtLeast) << peak;
  }
}

// Codes end at +10 LKFS. A reading beyond that counts as +10 LKFS.
TEST(ProgrammeMeterTest, ReadingsBeyondTheLastCodeMarkWhatIsMadeFromCodes) {
  const Figures within = FiguresOf(std::vector<BlockReading>(40, BlockAt(9.95, 60000)));
  EXPECT_FALSE(within.isLoudnessAtLeast);
  EXPECT_TRUE(within.lra.has_value());
  ProgrammeMeter meter = Mono();
  Feed(meter, BlockAt(15.0, 60000), 40);
  const Figures beyond = meter.Read();
  EXPECT_TRUE(beyond.isLoudnessAtLeast);
  EXPECT_FALSE(beyond.isMomentaryAtLeast);
  EXPECT_NEAR(beyond.maxMomentary.value(), 15.0, 0.01);
  EXPECT_NEAR(beyond.integrated.value(), 10.0, kBin);
  EXPECT_FALSE(beyond.lra.has_value());
}

// One such block in the middle, long before the last four blocks.
TEST(ProgrammeMeterTest, APowerAtTheEndOfItsScaleMarksAllLoudness) {
  std::vector<BlockReading> blocks(30, BlockAt(-40.0));
  blocks[10].powers[0] = LargestBlockPower(1);
  EXPECT_TRUE(FiguresOf(blocks).isMomentaryAtLeast);
  EXPECT_TRUE(FiguresOf(blocks).isLoudnessAtLeast);
}

// With 32 channels the scale of each ends at +15 LKFS. The four-block mean of a short sound stays
// within the codes: 15.0 - 6.02.
TEST(ProgrammeMeterTest, APowerAtTheEndOfItsScaleIsMarkedWhereTheReadingIsNotBeyondTheCodes) {
  ProgrammeMeter meter(ProgrammeOf(SpeakerLayout(32, "Left")), 32);
  Feed(meter, BlockAt(-40.0), 10);
  BlockReading loud = BlockAt(-40.0);
  loud.powers[0] = LargestBlockPower(32);
  meter.Feed(loud);
  Feed(meter, BlockAt(-40.0), 9);
  EXPECT_LT(meter.Read().maxMomentary.value(), 9.9);
  EXPECT_TRUE(meter.Read().isMomentaryAtLeast);
  EXPECT_TRUE(meter.Read().isLoudnessAtLeast);
}

TEST(ProgrammeMeterTest, APowerThatDoesNotCountIsNeverAtAnEnd) {
  ProgrammeMeter meter(ProgrammeOf({"Center", "LowFrequencyEffects"}), 2);
  BlockReading block = BlockAt(-40.0);
  block.powers[1] = LargestBlockPower(2);
  Feed(meter, block, 20);
  EXPECT_FALSE(meter.Read().isMomentaryAtLeast);
  EXPECT_FALSE(meter.Read().isLoudnessAtLeast);
}

TEST(ProgrammeMeterTest, APeakInAnyBlockCounts) {
  for (std::size_t block = 0; block < 6; ++block) {
    std::vector<BlockReading> blocks(6, BlockAt(-40.0, 10));
    blocks[block].peaks[0] = 16384;
    // 20 log10(16384) - 90.3087
    EXPECT_NEAR(FiguresOf(blocks).maxTruePeak.value(), -6.02, 0.005) << "block " << block;
  }
}

TEST(ProgrammeMeterTest, ProgrammeBelowTheAbsoluteGateHasOnlyMaximumMomentaryAndPeak) {
  const Figures figures = FiguresOf(std::vector<BlockReading>(50, BlockAt(-80.0)));
  EXPECT_FALSE(figures.integrated.has_value());
  EXPECT_FALSE(figures.maxShortTerm.has_value());
  EXPECT_FALSE(figures.lra.has_value());
  EXPECT_NEAR(figures.maxMomentary.value(), -80.0, 0.01);
  EXPECT_TRUE(figures.maxTruePeak.has_value());
}

// The lower gate of the range is 20 LU below the loudness and must not be below -70 LKFS.
TEST(ProgrammeMeterTest, LoudnessRangeNeedsALowerGateAboveMinus70) {
  EXPECT_FALSE(FiguresOf(std::vector<BlockReading>(50, BlockAt(-51.0))).lra.has_value());
  EXPECT_EQ(FiguresOf(std::vector<BlockReading>(50, BlockAt(-49.0))).lra.value(), 0.0);
}

// The integrated loudness directly from its definition: readings of 400 ms every 100 ms, gated at
// -70 LKFS and then at 10 LU below the mean of the rest.
double PlainIntegrated(const std::vector<BlockReading>& blocks) {
  std::vector<double> powers;
  for (std::size_t i = 3; i < blocks.size(); ++i) {
    double sum = 0.0;
    for (std::size_t back = 0; back < 4; ++back)
      sum += static_cast<double>(blocks[i - back].powers[0]);
    powers.push_back(sum / 4.0);
  }
  double gate = -70.0;
  double mean = 0.0;
  for (const double nextGate : {-10.0, 0.0}) {
    double sum = 0.0;
    int count = 0;
    for (const double power : powers)
      if (10.0 * std::log10(power) - 153.3879962 >= gate) {
        sum += power;
        ++count;
      }
    mean = 10.0 * std::log10(sum / count) - 153.3879962;
    gate = std::max(-70.0, mean + nextGate);
  }
  return mean;
}

// A loud end. At each of these lengths the last block changes the figure by at least 0.1 LU.
TEST(ProgrammeMeterTest, IntegratedLoudnessCountsEveryBlockToTheLast) {
  std::vector<BlockReading> blocks;
  for (int block = 0; block < 60; ++block) {
    blocks.push_back(BlockAt(block < 40 ? -40.0 + block % 7 : -25.0 + block % 5, 100));
    if (block >= 45) {
      EXPECT_NEAR(FiguresOf(blocks).integrated.value(), PlainIntegrated(blocks), kBin)
          << blocks.size() << " blocks";
    }
  }
}

}  // namespace
}  // namespace louddesk
