// The generators of test signals, sample by sample.

#include "TestSignals.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>

#include "TestAudio.h"

namespace louddesk {
namespace {

using test_audio::Amplitude;
using test_audio::Samples;
using test_audio::Sine;

constexpr double kPi = 3.14159265358979323846;
constexpr double kRounding = 1e-12;

const SpeakerLayout kMono = {"Center"};
const SpeakerLayout kStereo = {"Left", "Right"};

// All samples of a signal, or the first `frames` frames of an endless one, interleaved.
Samples Play(const Signal& signal, int sampleRate, std::size_t frames = 1'000'000) {
  const auto source = MakeSource(signal, sampleRate);
  Samples samples(frames * source->Channels());
  samples.resize(source->Read(samples.data(), frames) * source->Channels());
  return samples;
}

StepSignal MonoSteps(const std::vector<SignalStep>& steps) {
  return {kMono, steps};
}

TEST(TestSignalsTest, ASineHasItsPeakLevelFrequencyAndPhase) {
  StepSignal signal = MonoSteps({{0.01, {-6.0}}});
  signal.frequency = {997.0};
  signal.phaseDegrees = 67.5;
  const Samples samples = Play(signal, 48000);
  const Samples expected = Sine(Amplitude(-6.0), 997.0, 48000, 480, 67.5);
  ASSERT_EQ(samples.size(), expected.size());
  for (std::size_t n = 0; n < samples.size(); ++n)
    EXPECT_NEAR(samples[n], expected[n], kRounding) << n;
}

TEST(TestSignalsTest, ASineStaysInPhaseForTwoMinutes) {
  const Samples samples = Play(MonoSteps({{120.0, {0.0}}}), 48000, 120 * 48000);
  ASSERT_EQ(samples.size(), 120U * 48000U);
  for (std::size_t n = 0; n < 48; ++n)
    EXPECT_NEAR(samples[samples.size() - 48 + n], std::sin(2.0 * kPi * static_cast<double>(n) / 48),
                kRounding);
}

// This fraction of the nominal rate is a quarter of the sample rate below 96 kHz, an eighth from 96
// kHz on and a sixteenth from 192 kHz on.
TEST(TestSignalsTest, AFrequencyMayBeAShareOfTheNominalRate) {
  StepSignal signal = MonoSteps({{0.001, {0.0}}});
  signal.frequency = {0.25, Frequency::Unit::kShareOfNominalRate};
  for (const auto& [sampleRate, period] : {std::pair{48000, 4}, {96000, 8}, {192000, 16}}) {
    const Samples samples = Play(signal, sampleRate);
    for (std::size_t n = 0; n < samples.size(); ++n)
      EXPECT_NEAR(samples[n], std::sin(2.0 * kPi * static_cast<double>(n) / period), 1e-9)
          << sampleRate;
  }
}

TEST(TestSignalsTest, TheNominalRateIsWhatATruePeakMeterSeesFourTimes) {
  EXPECT_EQ(NominalRate(8000), 8000.0);
  EXPECT_EQ(NominalRate(48000), 48000.0);
  EXPECT_EQ(NominalRate(88200), 88200.0);
  EXPECT_EQ(NominalRate(96000), 48000.0);
  EXPECT_EQ(NominalRate(176400), 88200.0);
  EXPECT_EQ(NominalRate(192000), 48000.0);
}

TEST(TestSignalsTest, StepsFollowEachOtherInPhase) {
  const Samples samples = Play(MonoSteps({{0.0123, {0.0}}, {0.0077, {-20.0}}}), 48000);
  const Samples sine = Sine(1.0, 1000.0, 48000, 960);
  ASSERT_EQ(samples.size(), sine.size());
  for (std::size_t n = 0; n < samples.size(); ++n)
    EXPECT_NEAR(samples[n], sine[n] * (n < 590 ? 1.0 : 0.1), kRounding) << n;
}

// 0.15 s at 11025 Hz are 1653.75 frames, 0.3 s are 3307.5.
TEST(TestSignalsTest, StepsBeginAtTheNearestFrame) {
  StepSignal signal = MonoSteps({{0.15, {kSilenceDb}}, {0.15, {0.0}}, {0.1, {kSilenceDb}}});
  signal.phaseDegrees = 30.0;  // so that no frame near the borders is at a zero of the sine
  const Samples samples = Play(signal, 11025);
  ASSERT_EQ(samples.size(), 4410U);
  EXPECT_EQ(samples[1653], 0.0);
  EXPECT_NE(samples[1654], 0.0);
  EXPECT_NE(samples[3307], 0.0);
  EXPECT_EQ(samples[3308], 0.0);
}

TEST(TestSignalsTest, AStepOfNoLengthIsNothing) {
  const Samples samples = Play(MonoSteps({{0.0, {kSilenceDb}}, {0.01, {-20.0}}}), 48000);
  const Samples without = Play(MonoSteps({{0.01, {-20.0}}}), 48000);
  EXPECT_EQ(samples, without);
}

TEST(TestSignalsTest, ALevelIsForAllChannelsOrThereIsOneForEach) {
  const SpeakerLayout speakers = {"Left", "Right", "Center"};
  const Samples same = Play(StepSignal{speakers, {{0.01, {-20.0}}}}, 48000);
  const Samples each = Play(StepSignal{speakers, {{0.01, {-20.0, kSilenceDb, -40.0}}}}, 48000);
  const Samples sine = Sine(0.1, 1000.0, 48000, 480);
  ASSERT_EQ(same.size(), 3 * sine.size());
  ASSERT_EQ(each.size(), 3 * sine.size());
  for (std::size_t n = 0; n < sine.size(); ++n) {
    for (std::size_t channel = 0; channel < 3; ++channel)
      EXPECT_NEAR(same[3 * n + channel], sine[n], kRounding);
    EXPECT_NEAR(each[3 * n], sine[n], kRounding);
    EXPECT_EQ(each[3 * n + 1], 0.0);
    EXPECT_NEAR(each[3 * n + 2], sine[n] / 10.0, kRounding);
  }
}

// At a quarter of the rate and 45 degrees every sample has the magnitude of sqrt(1/2).
TEST(TestSignalsTest, FadesAreLinearAtBothEnds) {
  StepSignal signal = MonoSteps({{0.05, {0.0}}, {0.05, {0.0}}});
  signal.frequency = {12000.0};
  signal.phaseDegrees = 45.0;
  signal.fadeSeconds = 0.01;
  const Samples samples = Play(signal, 48000);
  ASSERT_EQ(samples.size(), 4800U);
  for (std::size_t n = 0; n < samples.size(); ++n) {
    const double distance = static_cast<double>(std::min(n, samples.size() - n));
    EXPECT_NEAR(std::fabs(samples[n]), std::sqrt(0.5) * std::min(distance / 480.0, 1.0), 1e-9) << n;
  }
}

TEST(TestSignalsTest, ATonePlaysOnAndOn) {
  const auto source = MakeSource(Tone(440.0, -12.0), 44100);
  EXPECT_EQ(source->Speakers(), kStereo);
  EXPECT_EQ(source->SampleRate(), 44100);
  Samples second(2 * 44100);
  for (int i = 0; i < 30; ++i)
    ASSERT_EQ(source->Read(second.data(), 44100), 44100U);
  const Samples expected = Sine(Amplitude(-12.0), 440.0, 44100, 44100);
  for (std::size_t n = 0; n < expected.size(); ++n) {
    ASSERT_NEAR(second[2 * n], expected[n], 1e-9);
    ASSERT_EQ(second[2 * n], second[2 * n + 1]);
  }
}

// Uniform distribution from -a to a: mean 0, mean square a^2 / 3. The mean of 96000 samples is
// within 5 sigma = 5 x 0.1 / sqrt(3 x 96000) of 0.
TEST(TestSignalsTest, NoiseIsWhiteAndReachesUpToItsPeakLevel) {
  const Samples samples = Play(Noise(-20.0), 48000, 48000);
  double sum = 0.0, squares = 0.0, neighbours = 0.0, channels = 0.0, largest = 0.0;
  for (std::size_t i = 0; i + 2 < samples.size(); ++i) {
    sum += samples[i];
    squares += samples[i] * samples[i];
    neighbours += samples[i] * samples[i + 2];
    channels += i % 2 == 0 ? samples[i] * samples[i + 1] : 0.0;
    largest = std::max(largest, std::fabs(samples[i]));
  }
  const auto count = static_cast<double>(samples.size());
  EXPECT_NEAR(sum / count, 0.0, 1e-3);
  EXPECT_NEAR(squares / count, 0.01 / 3.0, 5e-5);
  EXPECT_NEAR(neighbours / squares, 0.0, 0.02);
  EXPECT_NEAR(2.0 * channels / squares, 0.0, 0.03);
  EXPECT_LE(largest, 0.1);
  EXPECT_GT(largest, 0.0999);
}

TEST(TestSignalsTest, NoiseIsTheSameEachTime) {
  EXPECT_EQ(Play(Noise(-20.0), 48000, 1000), Play(Noise(-20.0), 48000, 1000));
}

TEST(TestSignalsTest, NoiseTakesStepsToo) {
  StepSignal signal = Noise(0.0);
  signal.steps = {{0.1, {kSilenceDb}}, {0.1, {-20.0}}};
  const Samples samples = Play(signal, 48000);
  ASSERT_EQ(samples.size(), 2U * 9600U);
  EXPECT_TRUE(
      std::all_of(samples.begin(), samples.begin() + 9600, [](double s) { return s == 0; }));
  EXPECT_TRUE(std::all_of(samples.begin() + 9600, samples.end(),
                          [](double s) { return std::fabs(s) <= 0.1 + kRounding; }));
}

TEST(TestSignalsTest, RepeatedStepsComeInTheirOrder) {
  const StepSignal twice = Repeated(MonoSteps({{1.0, {-20.0}}, {2.0, {-30.0}}}), 2);
  std::vector<double> seconds;
  for (const SignalStep& step : twice.steps)
    seconds.push_back(step.seconds);
  EXPECT_EQ(seconds, (std::vector<double>{1.0, 2.0, 1.0, 2.0}));
}

TEST(TestSignalsTest, ReadingInPiecesMakesNoDifference) {
  const Signal signals[] = {MonoSteps({{0.3, {-20.0}}, {0.123, {kSilenceDb}}, {0.2, {-3.0}}}),
                            HiddenCrestSignal{1}};
  for (const Signal& signal : signals) {
    const Samples whole = Play(signal, 48000);
    const auto source = MakeSource(signal, 48000);
    Samples pieces;
    Samples piece(1000 * source->Channels());
    std::size_t frames = 1;
    for (std::size_t size = 1; frames > 0; size = size % 997 + 13) {
      frames = source->Read(piece.data(), std::min<std::size_t>(size, 1000));
      pieces.insert(pieces.end(), piece.begin(),
                    piece.begin() + static_cast<std::ptrdiff_t>(frames * source->Channels()));
    }
    EXPECT_EQ(pieces, whole);
  }
}

TEST(TestSignalsTest, BehindTheEndThereIsNothing) {
  const auto source = MakeSource(MonoSteps({{0.01, {0.0}}}), 48000);
  Samples samples(1000);
  EXPECT_EQ(source->Read(samples.data(), 1000), 480U);
  EXPECT_EQ(source->Read(samples.data(), 1000), 0U);
}

// The left channel of the signal that hides a crest.
Samples HiddenCrest(int offset, int sampleRate) {
  const Samples samples = Play(HiddenCrestSignal{offset}, sampleRate);
  Samples left;
  for (std::size_t n = 0; n < samples.size(); n += 2) {
    EXPECT_EQ(samples[n], samples[n + 1]);
    left.push_back(samples[n]);
  }
  return left;
}

double Largest(const Samples& samples) {
  double largest = 0.0;
  for (const double sample : samples)
    largest = std::max(largest, std::fabs(sample));
  return largest;
}

// The nearest sample is at most 2 of the 16 steps of the hidden period away from its crest: cos(45
// degrees). The low pass changes the samples a little.
TEST(TestSignalsTest, AHiddenCrestLiesOnASampleOrBetweenTwo) {
  EXPECT_NEAR(Largest(HiddenCrest(0, 48000)), 1.0, 0.05);
  EXPECT_NEAR(Largest(HiddenCrest(2, 48000)), std::sqrt(0.5), 0.05);
}

TEST(TestSignalsTest, AHiddenCrestStandsInTheMiddleOfASteadySine) {
  const Samples samples = HiddenCrest(0, 48000);
  ASSERT_EQ(samples.size(), 48000U);
  EXPECT_NEAR(Largest(Samples(samples.begin() + 1000, samples.begin() + 23000)),
              0.5 * std::sin(kPi / 3.0), 1e-3);
  EXPECT_NEAR(Largest(Samples(samples.begin() + 25000, samples.end() - 1000)),
              0.5 * std::sin(kPi / 3.0), 1e-3);
  EXPECT_NEAR(samples.front(), 0.0, 0.01);
  EXPECT_NEAR(samples.back(), 0.0, 0.01);
}

// At 192 kHz no samples are dropped.
TEST(TestSignalsTest, OffsetsArePartsOfOneWaveform) {
  const Samples waveform = HiddenCrest(0, 192000);
  for (int offset = 0; offset < 4; ++offset) {
    const Samples samples = HiddenCrest(offset, 48000);
    const Samples half = HiddenCrest(offset, 96000);
    for (std::size_t n = 0; n < samples.size(); ++n)
      ASSERT_NEAR(samples[n], waveform[4 * n + static_cast<std::size_t>(offset)], kRounding) << n;
    for (std::size_t n = 0; n < half.size() - 2; ++n)
      ASSERT_NEAR(half[n], waveform[2 * n + static_cast<std::size_t>(offset)], kRounding) << n;
  }
}

// Frequencies above half of the nominal rate would be aliased into the signal.
TEST(TestSignalsTest, AHiddenCrestIsLowPassedBeforeItIsThinnedOut) {
  const Samples waveform = HiddenCrest(0, 192000);
  const auto magnitudeAt = [&](double hertz) {
    std::complex<double> sum = 0.0;
    for (std::size_t n = 0; n < waveform.size(); ++n)
      sum += waveform[n] * std::polar(1.0, -2.0 * kPi * hertz * static_cast<double>(n) / 192000.0);
    return std::abs(sum);
  };
  // Half of the 16 samples of the period at 12 kHz.
  EXPECT_GT(magnitudeAt(12000.0), 5.0);
  for (double hertz = 28000.0; hertz <= 96000.0; hertz += 4000.0)
    EXPECT_LT(magnitudeAt(hertz), 0.005) << hertz;
}

}  // namespace
}  // namespace louddesk
