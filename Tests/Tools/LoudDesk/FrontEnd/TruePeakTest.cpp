// Compares the true peak with the signals of EBU Tech 3341 and with the plain filter of ITU-R
// BS.1770.

#include "TruePeak.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "TestAudio.h"

namespace louddesk {
namespace {

using test_audio::Interleaved;
using test_audio::Noise;
using test_audio::Samples;
using test_audio::Sine;

// The peak of the samples alone.
ChannelPeaks SamplePeaksOf(Oversampling oversampling, std::size_t channels,
                           const Samples& samples) {
  TruePeakMeter meter(oversampling, channels);
  ChannelPeaks peaks{};
  ChannelPeaks samplePeaks{};
  const std::size_t frames = samples.size() / channels;
  for (std::size_t done = 0; done < frames; done += TruePeakMeter::kMaxFrames)
    meter.Raise(&samples[done * channels], std::min(TruePeakMeter::kMaxFrames, frames - done),
                peaks, samplePeaks);
  return samplePeaks;
}

ChannelPeaks PeaksOf(Oversampling oversampling, std::size_t channels, const Samples& samples,
                     std::size_t framesACall = TruePeakMeter::kMaxFrames) {
  TruePeakMeter meter(oversampling, channels);
  ChannelPeaks peaks{};
  ChannelPeaks samplePeaks{};
  const std::size_t frames = samples.size() / channels;
  for (std::size_t done = 0; done < frames; done += framesACall)
    meter.Raise(&samples[done * channels], std::min(framesACall, frames - done), peaks,
                samplePeaks);
  return peaks;
}

double LevelDb(float peak) {
  return 20.0 * std::log10(static_cast<double>(peak));
}

// The samples with fades of 10 ms at both ends, like the standard's signals.
Samples Faded(Samples samples, int sampleRate) {
  const auto fade = static_cast<std::size_t>(sampleRate / 100);
  for (std::size_t n = 0; n < fade; ++n) {
    const double gain = static_cast<double>(n) / static_cast<double>(fade);
    samples[n] *= gain;
    samples[samples.size() - 1 - n] *= gain;
  }
  return samples;
}

// The interpolator as printed in the standard: one filter of 48 taps for the samples with three
// zeros between them. Phase p has every fourth tap from p on.
constexpr double kPhases[4][12] = {
    {0.001708984375, 0.010986328125, -0.0196533203125, 0.033203125, -0.0594482421875,
     0.1373291015625, 0.97216796875, -0.102294921875, 0.047607421875, -0.026611328125,
     0.014892578125, -0.00830078125},
    {-0.0291748046875, 0.029296875, -0.0517578125, 0.089111328125, -0.16650390625, 0.465087890625,
     0.77978515625, -0.2003173828125, 0.1015625, -0.0582275390625, 0.0330810546875,
     -0.0189208984375},
    {-0.0189208984375, 0.0330810546875, -0.0582275390625, 0.1015625, -0.2003173828125,
     0.77978515625, 0.465087890625, -0.16650390625, 0.089111328125, -0.0517578125, 0.029296875,
     -0.0291748046875},
    {-0.00830078125, 0.014892578125, -0.026611328125, 0.047607421875, -0.102294921875,
     0.97216796875, 0.1373291015625, -0.0594482421875, 0.033203125, -0.0196533203125,
     0.010986328125, 0.001708984375},
};

double PlainPeak(const Samples& samples, std::initializer_list<int> phases) {
  double peak = 0.0;
  for (std::size_t n = 0; n < samples.size(); ++n) {
    peak = std::max(peak, std::fabs(samples[n]));
    for (const int phase : phases) {
      double point = 0.0;
      for (std::size_t k = 0; k < 12 && k <= n; ++k)
        point += kPhases[phase][k] * samples[n - k];
      peak = std::max(peak, std::fabs(point));
    }
  }
  return peak;
}

TEST(TruePeakTest, OversamplingFallsWithTheSampleRate) {
  EXPECT_EQ(OversamplingFor(8000.0), Oversampling::kFour);
  EXPECT_EQ(OversamplingFor(48000.0), Oversampling::kFour);
  EXPECT_EQ(OversamplingFor(95999.0), Oversampling::kFour);
  EXPECT_EQ(OversamplingFor(96000.0), Oversampling::kTwo);
  EXPECT_EQ(OversamplingFor(191999.0), Oversampling::kTwo);
  EXPECT_EQ(OversamplingFor(192000.0), Oversampling::kNone);
}

// EBU Tech 3341, cases 15 to 19. Except in the first case, no sample is on a crest.
TEST(TruePeakTest, CrestsBetweenSamplesAreFound) {
  struct {
    int number;
    int periodInSamples;
    double amplitude;
    double phaseDegrees;
    double expectedDb;
  } const cases[] = {
      {15, 4, 0.50, 0.0, -6.0},  {16, 4, 0.50, 45.0, -6.0}, {17, 6, 0.50, 60.0, -6.0},
      {18, 8, 0.50, 67.5, -6.0}, {19, 4, 1.41, 45.0, 3.0},
  };
  for (const int sampleRate : {44100, 48000, 96000})
    for (const auto& c : cases) {
      const double frequency = static_cast<double>(sampleRate) / c.periodInSamples;
      const Samples sine = Sine(c.amplitude, frequency, sampleRate,
                                static_cast<std::size_t>(sampleRate), c.phaseDegrees);
      const float peak = PeaksOf(OversamplingFor(sampleRate), 1, Faded(sine, sampleRate))[0];
      EXPECT_LE(LevelDb(peak), c.expectedDb + 0.2) << "case " << c.number << ", " << sampleRate;
      EXPECT_GE(LevelDb(peak), c.expectedDb - 0.4) << "case " << c.number << ", " << sampleRate;
    }
}

// The pieces are as short as the filter, so that each phase decides the peak of many of them.
TEST(TruePeakTest, FourfoldPeakIsThatOfTheStandardsFilter) {
  int decidedByOuterPhases = 0;
  for (unsigned seed = 1; seed <= 500; ++seed) {
    const Samples noise = Noise(0.9, 24, seed);
    const double expected = PlainPeak(noise, {0, 1, 2, 3});
    decidedByOuterPhases += expected > PlainPeak(noise, {1, 2}) ? 1 : 0;
    EXPECT_NEAR(PeaksOf(Oversampling::kFour, 1, noise)[0], expected, 2e-6 * expected)
        << "seed " << seed;
  }
  EXPECT_GT(decidedByOuterPhases, 10);
}

TEST(TruePeakTest, TwofoldPeakIsThatOfTheInnerPhases) {
  int decidedByInnerPhases = 0;
  for (unsigned seed = 1; seed <= 500; ++seed) {
    const Samples noise = Noise(0.9, 24, seed);
    const double expected = PlainPeak(noise, {1, 2});
    decidedByInnerPhases += expected > PlainPeak(noise, {}) ? 1 : 0;
    EXPECT_NEAR(PeaksOf(Oversampling::kTwo, 1, noise)[0], expected, 2e-6 * expected)
        << "seed " << seed;
  }
  EXPECT_GT(decidedByInnerPhases, 10);
}

TEST(TruePeakTest, WithoutOversamplingThePeakIsTheLargestSample) {
  EXPECT_EQ(PeaksOf(Oversampling::kNone, 1, {0.25, -0.75, 0.5})[0], 0.75F);
}

// After a single sample of 1 the interpolator reaches 0.972 at most.
TEST(TruePeakTest, ReadingIsNeverBelowTheSamplePeak) {
  Samples impulse(100, 0.0);
  impulse[50] = -1.0;
  for (const auto oversampling : {Oversampling::kNone, Oversampling::kTwo, Oversampling::kFour})
    EXPECT_EQ(PeaksOf(oversampling, 1, impulse)[0], 1.0F);
}

TEST(TruePeakTest, ReadingDoesNotDependOnHowTheStreamIsCut) {
  const Samples noise = Noise(0.9, 1000, 7);
  const float whole = PeaksOf(Oversampling::kFour, 1, noise)[0];
  for (const std::size_t framesACall : {1U, 3U, 4U, 7U, 100U, 255U})
    EXPECT_FLOAT_EQ(PeaksOf(Oversampling::kFour, 1, noise, framesACall)[0], whole)
        << framesACall << " frames a call";
}

TEST(TruePeakTest, ChannelsAreApart) {
  const Samples loud = Noise(0.9, 500, 8);
  const Samples soft = Noise(0.1, 500, 9);
  const Samples silence(500, 0.0);
  const ChannelPeaks peaks = PeaksOf(Oversampling::kFour, 3, Interleaved({soft, silence, loud}));
  EXPECT_EQ(peaks[0], PeaksOf(Oversampling::kFour, 1, soft)[0]);
  EXPECT_EQ(peaks[1], 0.0F);
  EXPECT_EQ(peaks[2], PeaksOf(Oversampling::kFour, 1, loud)[0]);
}

TEST(TruePeakTest, PeaksAreRaisedNeverLowered) {
  TruePeakMeter meter(Oversampling::kFour, 1);
  ChannelPeaks peaks{0.5F};
  const Samples soft(100, 0.001);
  ChannelPeaks samplePeaks{};
  meter.Raise(soft.data(), soft.size(), peaks, samplePeaks);
  EXPECT_EQ(peaks[0], 0.5F);
}

// A sine of a quarter of the sample rate at 45 degrees: every sample is 3 dB below the crest,
// except for a higher one at the end of an odd number of frames.
TEST(TruePeakTest, SamplePeaksAreThoseOfTheSamplesAlone) {
  for (const Oversampling oversampling :
       {Oversampling::kNone, Oversampling::kTwo, Oversampling::kFour}) {
    Samples sine = Sine(0.5, 12000.0, 48000, 1001, 45.0);
    const Samples silence(sine.size(), 0.0);
    ChannelPeaks peaks = SamplePeaksOf(oversampling, 2, Interleaved({silence, sine}));
    EXPECT_EQ(peaks[0], 0.0F);
    EXPECT_NEAR(peaks[1], 0.5 * std::sqrt(0.5), 1e-6);
    sine.back() = -0.75;
    peaks = SamplePeaksOf(oversampling, 1, sine);
    EXPECT_EQ(peaks[0], 0.75F);
  }
}

}  // namespace
}  // namespace louddesk
