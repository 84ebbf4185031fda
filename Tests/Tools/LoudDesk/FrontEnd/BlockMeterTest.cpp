// The front end as a whole: block boundaries, integer scales and refused input.

#include "BlockMeter.h"

#include <gtest/gtest.h>

#include <cfenv>
#include <cmath>
#include <limits>

#include "KWeightingGain.h"
#include "TestAudio.h"

namespace louddesk {
namespace {

using test_audio::Amplitude;
using test_audio::KWeightingGainDb;
using test_audio::Noise;
using test_audio::Repeated;
using test_audio::Samples;
using test_audio::Sine;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

// The loudness that the service computes from an integer power.
double LoudnessOf(double power) {
  return 10.0 * std::log10(power) - 152.6905962 - 0.6974;
}

// Measures all whole blocks of the samples.
std::vector<BlockReading> ReadingsOf(BlockMeter& meter, std::size_t channels,
                                     const Samples& samples) {
  std::vector<BlockReading> readings;
  const std::size_t frames = samples.size() / channels;
  for (std::size_t done = 0; done + meter.FramesInNextBlock() <= frames;) {
    const std::size_t next = done + meter.FramesInNextBlock();
    readings.emplace_back();
    EXPECT_FALSE(meter.Measure(&samples[done * channels], readings.back()).has_value());
    done = next;
  }
  return readings;
}

std::vector<BlockReading> ReadingsOf(int sampleRate, std::size_t channels, const Samples& samples) {
  BlockMeter meter(channels, sampleRate);
  return ReadingsOf(meter, channels, samples);
}

TEST(BlockMeterTest, BlocksOf11025HertzBeginAtTheFloorOfTheirTenthOfASecond) {
  BlockMeter meter(1, 11025);
  const Samples silence(1103, 0.0);
  BlockReading reading;
  std::size_t first = 0;
  for (std::size_t block = 0; block < 100; ++block) {
    EXPECT_EQ(first, block * 11025 / 10) << "block " << block;  // integer division floors
    first += meter.FramesInNextBlock();
    ASSERT_LE(meter.FramesInNextBlock(), meter.MaxFramesInBlock());
    meter.Measure(silence.data(), reading);
  }
  EXPECT_EQ(first, 110250U);
}

TEST(BlockMeterTest, BlocksOf48KilohertzAreAllAlike) {
  BlockMeter meter(1, 48000);
  const Samples silence(4800, 0.0);
  BlockReading reading;
  EXPECT_EQ(meter.MaxFramesInBlock(), 4800U);
  for (int block = 0; block < 20; ++block) {
    EXPECT_EQ(meter.FramesInNextBlock(), 4800U);
    meter.Measure(silence.data(), reading);
  }
}

TEST(BlockMeterTest, ASampleBelongsToTheBlockThatItsFrameLiesIn) {
  for (const std::size_t frame : {1101U, 1102U, 2204U, 2205U}) {
    Samples impulse(3500, 0.0);
    impulse[frame] = 0.5;
    const auto readings = ReadingsOf(11025, 1, impulse);
    ASSERT_EQ(readings.size(), 3U);
    const std::size_t expected = frame < 1102 ? 0 : frame < 2205 ? 1 : 2;
    for (std::size_t block = 0; block < expected; ++block)
      EXPECT_EQ(readings[block].powers[0], 0U) << "frame " << frame << ", block " << block;
    EXPECT_GT(readings[expected].powers[0], 0U) << "frame " << frame;
    EXPECT_EQ(readings[expected].peaks[0], 16384U) << "frame " << frame;
  }
}

TEST(BlockMeterTest, MeanSquareIsOverTheFramesOfItsOwnBlock) {
  const Samples noise = Noise(0.5, 2205, 9);
  const auto readings = ReadingsOf(11025, 1, noise);
  ASSERT_EQ(readings.size(), 2U);
  KWeightingFilter filter(KWeightingFor(11025.0), 1);
  const std::size_t boundaries[] = {0, 1102, 2205};
  for (std::size_t block = 0; block < 2; ++block) {
    ChannelEnergies energies{};
    for (std::size_t n = boundaries[block]; n < boundaries[block + 1]; ++n)
      filter.AddEnergies(&noise[n], 1, energies);
    const auto frames = static_cast<double>(boundaries[block + 1] - boundaries[block]);
    const auto expected = static_cast<double>(BlockPower(energies[0] / frames, 1));
    EXPECT_NEAR(static_cast<double>(readings[block].powers[0]), expected, 1e-9 * expected)
        << "block " << block;
  }
}

// A mean square of 1/2 is -3.0103 dB. The offset of -0.691 and the gain at 997 Hz, 0.691 dB at 48
// kHz, cancel out. One second has 997 whole periods.
TEST(BlockMeterTest, FullScaleSineOf997HertzReadsMinus3Point01) {
  for (const int sampleRate : {8000, 11025, 44100, 48000, 96000, 192000}) {
    const auto second = static_cast<std::size_t>(sampleRate);
    const auto readings = ReadingsOf(sampleRate, 1, Sine(1.0, 997.0, sampleRate, 2 * second));
    ASSERT_EQ(readings.size(), 20U);
    double sum = 0.0;
    for (std::size_t block = 10; block < 20; ++block)
      sum += static_cast<double>(readings[block].powers[0]);
    const double gainDb = KWeightingGainDb(KWeightingFor(sampleRate), 997.0, sampleRate);
    const double expected = -0.691 + gainDb + 10.0 * std::log10(0.5);
    EXPECT_NEAR(LoudnessOf(sum / 10.0), expected, 1e-3) << sampleRate << " Hz";
    if (sampleRate == 48000) {
      EXPECT_NEAR(LoudnessOf(sum / 10.0), -3.01, 5e-3);
    }
  }
}

// L = -0.691 + 10 log10(z) = 10 log10(P) - 153.3879962, hence P = z x 10^15.26969962.
TEST(BlockMeterTest, PowerScaleIsThatOfTheService) {
  EXPECT_NEAR(LoudnessOf(static_cast<double>(BlockPower(1.0, 1))), -0.691, 1e-12);
  EXPECT_NEAR(LoudnessOf(static_cast<double>(BlockPower(1e-7, 1))), -70.691, 1e-6);
  EXPECT_EQ(BlockPower(0.0, 1), 0U);
}

TEST(BlockMeterTest, PowerIsRoundedToNearest) {
  const double one = std::pow(10.0, -15.26969962);  // the mean square of power 1
  EXPECT_EQ(BlockPower(0.4 * one, 1), 0U);
  EXPECT_EQ(BlockPower(0.6 * one, 1), 1U);
  EXPECT_EQ(BlockPower(2.4 * one, 1), 2U);
  EXPECT_EQ(BlockPower(2.6 * one, 1), 3U);
}

TEST(BlockMeterTest, FourBlocksOfTheLargestPowersStayWithin64Bits) {
  constexpr double kLargestWeight = 1.41;
  for (const std::size_t channels : {1U, 2U, 6U, 32U}) {
    const auto power = static_cast<double>(BlockPower(1e30, channels));
    EXPECT_LT(4.0 * kLargestWeight * static_cast<double>(channels) * power, std::ldexp(1.0, 64))
        << channels << " channels";
    EXPECT_GT(LoudnessOf(power), 15.0) << channels << " channels";
  }
}

// 2^61 / 3 is 768614336404564650.67.
TEST(BlockMeterTest, TheEndOfThePowerScaleIsSharedByTheChannels) {
  EXPECT_EQ(LargestBlockPower(1), std::uint64_t{1} << 61);
  EXPECT_EQ(LargestBlockPower(3), 768614336404564650U);
  EXPECT_EQ(BlockPower(1e30, 3), LargestBlockPower(3));
  EXPECT_LT(BlockPower(1.0, 3), LargestBlockPower(3));
}

// 1.41 x 32768 = 46202.88. Above 65535 the service's sixteen bits would wrap around to 0.
TEST(BlockMeterTest, PeakScaleIsThatOfTheService) {
  EXPECT_EQ(BlockPeak(0.0F), 0U);
  EXPECT_EQ(BlockPeak(0.5F), 16384U);
  EXPECT_EQ(BlockPeak(1.0F), 32768U);
  EXPECT_EQ(BlockPeak(1.41F), 46203U);
  EXPECT_EQ(BlockPeak(0.4F / 32768.0F), 0U);
  EXPECT_EQ(BlockPeak(0.6F / 32768.0F), 1U);
  EXPECT_EQ(BlockPeak(2.0F), kLargestPeak);
  EXPECT_EQ(BlockPeak(1e15F), 65535U);
}

TEST(BlockMeterTest, ChannelsBecomeMetersInOrderAndTheOthersRead0) {
  Samples samples;
  for (int n = 0; n < 4800; ++n)
    samples.insert(samples.end(), {0.25, 0.5, 1.0});
  const auto readings = ReadingsOf(48000, 3, samples);
  ASSERT_EQ(readings.size(), 1U);
  EXPECT_LT(readings[0].powers[0], readings[0].powers[1]);
  EXPECT_LT(readings[0].powers[1], readings[0].powers[2]);
  for (std::size_t meter = 3; meter < kMeters; ++meter) {
    EXPECT_EQ(readings[0].powers[meter], 0U) << "meter " << meter;
    EXPECT_EQ(readings[0].peaks[meter], 0U) << "meter " << meter;
  }
}

TEST(BlockMeterTest, ThirtyTwoChannelsAreMeasuredAlike) {
  const auto single = ReadingsOf(48000, 1, Noise(0.3, 9600, 1));
  const auto all = ReadingsOf(48000, kMeters, Repeated(Noise(0.3, 9600, 1), kMeters));
  ASSERT_EQ(all.size(), 2U);
  for (std::size_t meter = 0; meter < kMeters; ++meter) {
    EXPECT_EQ(all[1].powers[meter], single[1].powers[0]) << "meter " << meter;
    EXPECT_EQ(all[1].peaks[meter], single[1].peaks[0]) << "meter " << meter;
  }
}

TEST(BlockMeterTest, SilenceReads0) {
  const auto readings = ReadingsOf(44100, 2, Samples(2 * 44100, 0.0));
  ASSERT_EQ(readings.size(), 10U);
  for (const BlockReading& reading : readings)
    for (std::size_t channel = 0; channel < 2; ++channel) {
      EXPECT_EQ(reading.powers[channel], 0U);
      EXPECT_EQ(reading.peaks[channel], 0U);
    }
}

TEST(BlockMeterTest, WithoutPeaksOnlyThePowersAreMeasured) {
  BlockMeter meter(2, 48000, BlockMeter::Peaks::kNone);
  const Samples noise = Noise(0.5, 2 * 4800, 2);
  const auto with = ReadingsOf(48000, 2, noise);
  const auto without = ReadingsOf(meter, 2, noise);
  EXPECT_EQ(without[0].powers, with[0].powers);
  EXPECT_EQ(without[0].peaks[0], 0U);
}

TEST(BlockMeterTest, ASampleThatIsNotANumberIsRefusedWithItsPosition) {
  for (const double bad : {kNan, -kNan, kInfinity, -kInfinity}) {
    BlockMeter meter(3, 11025);
    Samples samples(3 * 1103, 0.1);
    BlockReading reading;
    ASSERT_FALSE(meter.Measure(samples.data(), reading).has_value());
    samples[3 * 700 + 2] = bad;
    samples[3 * 900 + 1] = bad;
    const auto badSample = meter.Measure(samples.data(), reading);
    ASSERT_TRUE(badSample.has_value()) << bad;
    EXPECT_EQ(badSample->channel, 2U);
    EXPECT_EQ(badSample->frame, 1102U + 700U);
  }
}

TEST(BlockMeterTest, ARefusedBlockLeavesMeterAndReadingAsTheyWere) {
  const Samples good = Noise(0.5, 1103, 3);
  Samples bad = good;
  bad[5] = kNan;
  BlockMeter meter(1, 11025);
  BlockMeter undisturbed(1, 11025);
  BlockReading reading;
  BlockReading expected;
  meter.Measure(good.data(), reading);
  const BlockReading before = reading;
  ASSERT_TRUE(meter.Measure(bad.data(), reading).has_value());
  EXPECT_EQ(reading.powers, before.powers);
  EXPECT_EQ(reading.peaks, before.peaks);
  EXPECT_EQ(meter.FramesInNextBlock(), 1103U);

  undisturbed.Measure(good.data(), expected);
  undisturbed.Measure(good.data(), expected);
  meter.Measure(good.data(), reading);
  EXPECT_EQ(reading.powers, expected.powers);
  EXPECT_EQ(reading.peaks, expected.peaks);
}

TEST(BlockMeterTest, ARestHasThePeaksOfItsSamplesAndNoPower) {
  BlockMeter meter(2, 48000);
  BlockReading reading;
  meter.Measure(Samples(2 * 4800, 0.0).data(), reading);
  Samples rest(2 * 4799, 0.0);
  rest[1] = 0.5;            // first frame, second channel
  rest[2 * 4798] = -0.125;  // last frame, first channel
  ASSERT_FALSE(meter.MeasureRest(rest.data(), 4799, reading).has_value());
  EXPECT_EQ(reading.peaks[1], 16384U);
  EXPECT_GE(reading.peaks[0], 4096U);
  for (std::size_t channel = 0; channel < kMeters; ++channel)
    EXPECT_EQ(reading.powers[channel], 0U) << "channel " << channel;
  EXPECT_EQ(reading.peaks[2], 0U);
}

// The waveform between the last block and the rest counts as well: the same samples in one block
// have the same peak.
TEST(BlockMeterTest, TheInterpolationRunsOnIntoTheRest) {
  const Samples sine = Sine(0.5, 12000.0, 48000, 4800 + 30, 45.0);
  BlockMeter meter(1, 48000);
  BlockReading reading;
  meter.Measure(sine.data(), reading);
  meter.MeasureRest(&sine[4800], 30, reading);
  EXPECT_NEAR(reading.peaks[0], 16384.0, 200.0);  // samples alone: 0.354 x 32768 = 11585
}

TEST(BlockMeterTest, ASampleOfTheRestThatIsNotANumberIsRefusedWithItsPosition) {
  for (const std::size_t frame : {0U, 41U}) {
    BlockMeter meter(2, 11025);
    Samples samples(2 * 1103, 0.1);
    BlockReading reading;
    ASSERT_FALSE(meter.Measure(samples.data(), reading).has_value());
    samples[2 * frame + 1] = kNan;
    const auto badSample = meter.MeasureRest(samples.data(), 42, reading);
    ASSERT_TRUE(badSample.has_value()) << frame;
    EXPECT_EQ(badSample->channel, 1U);
    EXPECT_EQ(badSample->frame, 1102U + frame);
  }
}

TEST(BlockMeterTest, AnEmptyRestIsNothing) {
  BlockMeter meter(1, 48000);
  const double none = kNan;  // must not be read
  BlockReading reading;
  EXPECT_FALSE(meter.MeasureRest(&none, 0, reading).has_value());
  EXPECT_EQ(reading.peaks[0], 0U);
}

TEST(BlockMeterTest, TheLargestNumbersReadTheLargestFigures) {
  Samples samples = Noise(1.0, 4800, 4);
  for (double& sample : samples)
    sample = std::copysign(std::numeric_limits<double>::max(), sample);
  const auto readings = ReadingsOf(48000, 1, samples);
  ASSERT_EQ(readings.size(), 1U);
  EXPECT_EQ(readings[0].powers[0], BlockPower(1e30, 1));
  EXPECT_EQ(readings[0].peaks[0], 65535U);
}

// An operation with a denormal result raises the underflow flag. The pause after the sound is long
// enough for every state to decay far below 1e-308. The samples of the second signal are themselves
// denormal or nearly so.
TEST(BlockMeterTest, NoOperationEndsInADenormalNumber) {
  for (const int sampleRate : {8000, 11025, 48000, 96000, 192000}) {
    const auto second = static_cast<std::size_t>(sampleRate);
    BlockMeter meter(3, sampleRate);
    Samples fading = Noise(1.0, 3 * second, 5);
    for (std::size_t i = 0; i < fading.size(); ++i)
      fading[i] *= std::pow(10.0, -10.0 - static_cast<double>(i % 300));
    const Samples sound = Repeated(Noise(1.0, second, 6), 3);
    const Samples pause(3 * 4 * second, 0.0);
    const Samples tiny = fading;
    std::feclearexcept(FE_ALL_EXCEPT);
    for (const Samples* part : {&sound, &pause, &tiny})
      ReadingsOf(meter, 3, *part);
    EXPECT_EQ(std::fetestexcept(FE_UNDERFLOW | FE_INVALID | FE_OVERFLOW), 0) << sampleRate << " Hz";
  }
}

TEST(BlockMeterTest, ReadingDoesNotDriftOverALongStream) {
  const Samples sine = Sine(Amplitude(-23.0), 1000.0, 48000, 48000 * 20);
  const auto readings = ReadingsOf(48000, 1, sine);
  ASSERT_EQ(readings.size(), 200U);
  const double expected = -23.0 - 0.691 + 10.0 * std::log10(0.5) +
                          KWeightingGainDb(KWeightingFor(48000.0), 1000.0, 48000.0);
  for (std::size_t block = 10; block < readings.size(); ++block)
    ASSERT_NEAR(LoudnessOf(static_cast<double>(readings[block].powers[0])), expected, 1e-3)
        << "block " << block;
}

TEST(BlockMeterTest, SamplePeaksAreThoseOfTheirBlockOrRest) {
  BlockMeter meter(2, 48000);
  Samples samples(2 * 4800, 0.0);
  samples[2 * 100 + 1] = -0.25;
  BlockReading reading;
  ASSERT_FALSE(meter.Measure(samples.data(), reading));
  EXPECT_EQ(reading.samplePeaks[0], 0.0F);
  EXPECT_EQ(reading.samplePeaks[1], 0.25F);
  ASSERT_FALSE(meter.Measure(Samples(2 * 4800, 0.0).data(), reading));
  EXPECT_EQ(reading.samplePeaks[1], 0.0F);
  ASSERT_FALSE(meter.MeasureRest(samples.data(), 1000, reading));
  EXPECT_EQ(reading.samplePeaks[1], 0.25F);
}

}  // namespace
}  // namespace louddesk
