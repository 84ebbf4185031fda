// Compares the K-weighting with the figures in ITU-R BS.1770, and the filter with its formula.

#include "KWeighting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "KWeightingGain.h"
#include "TestAudio.h"

namespace louddesk {
namespace {

using test_audio::Interleaved;
using test_audio::KWeightingGainDb;
using test_audio::Noise;
using test_audio::Repeated;
using test_audio::Samples;
using test_audio::Sine;

// Coefficients are printed with fourteen decimals.
constexpr double kHalfADigit = 5e-15;

ChannelEnergies Filter(KWeightingFilter& filter, std::size_t channels, const Samples& samples) {
  ChannelEnergies energies{};
  const std::size_t frames = samples.size() / channels;
  for (std::size_t done = 0; done < frames; done += KWeightingFilter::kMaxFrames)
    filter.AddEnergies(&samples[done * channels],
                       std::min(KWeightingFilter::kMaxFrames, frames - done), energies);
  return energies;
}

ChannelEnergies FilterFromSilence(double sampleRate, std::size_t channels, const Samples& samples) {
  KWeightingFilter filter(KWeightingFor(sampleRate), channels);
  return Filter(filter, channels, samples);
}

TEST(KWeightingTest, CoefficientsAt48KilohertzAreThoseOfTheStandard) {
  const KWeightingCoefficients weighting = KWeightingFor(48000.0);
  EXPECT_NEAR(weighting.shelf.b0, 1.53512485958697, kHalfADigit);
  EXPECT_NEAR(weighting.shelf.b1, -2.69169618940638, kHalfADigit);
  EXPECT_NEAR(weighting.shelf.b2, 1.19839281085285, kHalfADigit);
  EXPECT_NEAR(weighting.shelf.a1, -1.69065929318241, kHalfADigit);
  EXPECT_NEAR(weighting.shelf.a2, 0.73248077421585, kHalfADigit);
  EXPECT_EQ(weighting.highPass.b0, 1.0);
  EXPECT_EQ(weighting.highPass.b1, -2.0);
  EXPECT_EQ(weighting.highPass.b2, 1.0);
  EXPECT_NEAR(weighting.highPass.a1, -1.99004745483398, kHalfADigit);
  EXPECT_NEAR(weighting.highPass.a2, 0.99007225036621, kHalfADigit);
}

TEST(KWeightingTest, GainsAreThoseOfTheStandard) {
  struct {
    double sampleRate;
    double frequency;
    double gainDb;
    double tolerance;  // half of the last digit
  } const cases[] = {
      {48000.0, 997.0, 0.6910, 5e-5}, {44100.0, 997.0, 0.6938, 5e-5},
      {96000.0, 997.0, 0.6737, 5e-5}, {48000.0, 25.0, -10.39, 5e-3},
      {48000.0, 100.0, -1.13, 5e-3},  {48000.0, 2000.0, 3.07, 5e-3},
      {48000.0, 10000.0, 4.04, 5e-3},
  };
  for (const auto& c : cases)
    EXPECT_NEAR(KWeightingGainDb(KWeightingFor(c.sampleRate), c.frequency, c.sampleRate), c.gainDb,
                c.tolerance)
        << c.frequency << " Hz at " << c.sampleRate << " Hz";
}

// A sine of mean square 1/2 has a mean square of 1/2 x 10^(gain/10) after the filter. The filter
// settles in the first second; the second one has whole periods of every frequency.
TEST(KWeightingTest, RunningFilterHasTheGainOfItsFormulaAtEveryRate) {
  for (const int sampleRate : {8000, 11025, 22050, 32000, 44100, 48000, 96000, 176400, 192000})
    for (const double frequency : {40.0, 100.0, 997.0, 3000.0}) {
      const auto second = static_cast<std::size_t>(sampleRate);
      const Samples sine = Sine(1.0, frequency, sampleRate, 2 * second);
      KWeightingFilter filter(KWeightingFor(sampleRate), 1);
      Filter(filter, 1, Samples(sine.begin(), sine.begin() + sampleRate));
      const double energy = Filter(filter, 1, Samples(sine.begin() + sampleRate, sine.end()))[0];
      EXPECT_NEAR(10.0 * std::log10(energy / sampleRate / 0.5),
                  KWeightingGainDb(KWeightingFor(sampleRate), frequency, sampleRate), 1e-6)
          << frequency << " Hz at " << sampleRate << " Hz";
    }
}

// The number of channels decides which channels are filtered together. It must not change the
// result.
TEST(KWeightingTest, EveryChannelOfAnyNumberIsFilteredLikeASingleOne) {
  constexpr std::size_t kFrames = 700;
  for (std::size_t channels = 1; channels <= kMeters; ++channels) {
    std::vector<Samples> each;
    for (std::size_t channel = 0; channel < channels; ++channel)
      each.push_back(Noise(0.5, kFrames, static_cast<unsigned>(100 + channel)));
    const ChannelEnergies together = FilterFromSilence(48000.0, channels, Interleaved(each));
    for (std::size_t channel = 0; channel < channels; ++channel)
      EXPECT_EQ(together[channel], FilterFromSilence(48000.0, 1, each[channel])[0])
          << "channel " << channel << " of " << channels;
  }
}

TEST(KWeightingTest, ASilentChannelHearsNothingOfItsNeighbours) {
  constexpr std::size_t kChannels = 7;
  constexpr std::size_t kSilent = 3;
  std::vector<Samples> each(kChannels, Noise(1.0, 1000, 1));
  each[kSilent] = Samples(1000, 0.0);
  const ChannelEnergies energies = FilterFromSilence(48000.0, kChannels, Interleaved(each));
  for (std::size_t channel = 0; channel < kChannels; ++channel)
    EXPECT_EQ(energies[channel] == 0.0, channel == kSilent) << "channel " << channel;
}

TEST(KWeightingTest, EnergiesAreAddedToWhatIsThere) {
  KWeightingFilter first(KWeightingFor(48000.0), 1);
  KWeightingFilter second(KWeightingFor(48000.0), 1);
  const Samples samples = Noise(0.1, 200, 2);
  ChannelEnergies fromZero{};
  ChannelEnergies fromThree{3.0};
  first.AddEnergies(samples.data(), samples.size(), fromZero);
  second.AddEnergies(samples.data(), samples.size(), fromThree);
  EXPECT_NEAR(fromThree[0], 3.0 + fromZero[0], 1e-12);
}

// The high pass decays more slowly than the other section: by e^-1 in 1 / (2 pi 38 Hz) = 4.2 ms. It
// reaches 1e-30 after 0.3 s. If it were not cut off, the squares would pass through the denormal
// range and reach zero after 1.5 s.
TEST(KWeightingTest, SilenceAfterSoundRingsOutToExactlyNothing) {
  for (const int sampleRate : {8000, 48000, 192000}) {
    KWeightingFilter filter(KWeightingFor(sampleRate), 2);
    const auto second = static_cast<std::size_t>(sampleRate);
    Filter(filter, 2, Repeated(Noise(1.0, second, 3), 2));
    double lastEnergy = 1.0;
    for (std::size_t done = 0; done < second; done += KWeightingFilter::kMaxFrames) {
      lastEnergy = Filter(filter, 2, Samples(2 * KWeightingFilter::kMaxFrames, 0.0))[0];
      ASSERT_TRUE(lastEnergy == 0.0 || lastEnergy > std::numeric_limits<double>::min())
          << lastEnergy << " at " << sampleRate << " Hz";
    }
    EXPECT_EQ(lastEnergy, 0.0) << sampleRate << " Hz";
  }
}

}  // namespace
}  // namespace louddesk
