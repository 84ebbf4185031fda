// Compares front end and meter with libebur128 on generated noise: loudness within 0.05 LU, true
// peak within 0.2 dB, at several sample rates and numbers of channels.
//
// Like every signal from a converter, the noise has no energy at half of the sample rate. For noise
// that is white up to there, an interpolator of this size cannot find the true peak: both meters
// miss it by more than a decibel, and by different amounts. For such noise only the loudness is
// compared.

#include <ebur128.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <ostream>
#include <utility>
#include <vector>

#include "BlockMeter.h"
#include "ProgrammeMeter.h"
#include "TestSignals.h"

namespace louddesk {
namespace {

constexpr double kLoudnessTolerance = 0.05;  // LU
constexpr double kTruePeakTolerance = 0.2;   // dB

struct Sound {
  int sampleRate;        // Hz; 100 ms must be whole frames
  std::size_t channels;  // 1, 2 or 6
};

void PrintTo(const Sound& sound, std::ostream* out) {
  *out << sound.channels << " channels at " << sound.sampleRate << " Hz";
}

// Filter of the white noise.
enum class Colour {
  kWhite,     // none
  kSmoothed,  // no energy at half of the sample rate
  kPink,      // 3 dB less per octave, and no energy at half of the sample rate
};

struct DestroyEbur128 {
  void operator()(ebur128_state* state) const { ebur128_destroy(&state); }
};

// Both meters side by side, fed with the same blocks.
class BothMeters {
 public:
  explicit BothMeters(const Sound& sound, Colour colour = Colour::kSmoothed)
      : mSound(sound),
        mColour(colour),
        mFrontEnd(sound.channels, sound.sampleRate),
        mOurs(ProgrammeOf(UsualLayout(sound.channels).value()), sound.channels),
        mTheirs(ebur128_init(static_cast<unsigned>(sound.channels),
                             static_cast<unsigned long>(sound.sampleRate),
                             EBUR128_MODE_M | EBUR128_MODE_S | EBUR128_MODE_I | EBUR128_MODE_LRA |
                                 EBUR128_MODE_TRUE_PEAK)) {}

  // Plays a signal to its end and calls `afterBlock` after each block.
  template <typename AfterBlock>
  void Play(StepSignal signal, AfterBlock afterBlock) {
    signal.speakers = UsualLayout(mSound.channels).value();
    const auto source = MakeSource(signal, mSound.sampleRate);
    const std::size_t frames = mFrontEnd.FramesInNextBlock();
    std::vector<double> samples(frames * mSound.channels);
    BlockReading reading;
    while (source->Read(samples.data(), frames) == frames) {
      if (mColour == Colour::kPink)
        MakePink(samples);
      if (mColour != Colour::kWhite)
        Smooth(samples);
      ASSERT_FALSE(mFrontEnd.Measure(samples.data(), reading).has_value());
      mOurs.Feed(reading);
      ASSERT_EQ(ebur128_add_frames_double(mTheirs.get(), samples.data(), frames), EBUR128_SUCCESS);
      ++mBlocks;
      afterBlock();
    }
  }

  void Play(const StepSignal& signal) {
    Play(signal, [] {});
  }

  void ExpectSameMomentary() {
    double theirs = 0.0;
    ASSERT_EQ(ebur128_loudness_momentary(mTheirs.get(), &theirs), EBUR128_SUCCESS);
    EXPECT_NEAR(mOurs.Read().momentary.value(), theirs, kLoudnessTolerance) << "block " << mBlocks;
  }

  void ExpectSameShortTerm() {
    double theirs = 0.0;
    ASSERT_EQ(ebur128_loudness_shortterm(mTheirs.get(), &theirs), EBUR128_SUCCESS);
    EXPECT_NEAR(mOurs.Read().shortTerm.value(), theirs, kLoudnessTolerance) << "block " << mBlocks;
  }

  void ExpectSameIntegrated() {
    double theirs = 0.0;
    ASSERT_EQ(ebur128_loudness_global(mTheirs.get(), &theirs), EBUR128_SUCCESS);
    EXPECT_NEAR(mOurs.Read().integrated.value(), theirs, kLoudnessTolerance);
  }

  void ExpectSameTruePeak() {
    double largest = 0.0;
    for (unsigned channel = 0; channel < mSound.channels; ++channel) {
      double peak = 0.0;
      ASSERT_EQ(ebur128_true_peak(mTheirs.get(), channel, &peak), EBUR128_SUCCESS);
      largest = std::max(largest, peak);
    }
    EXPECT_NEAR(mOurs.Read().maxTruePeak.value(), 20.0 * std::log10(largest), kTruePeakTolerance);
  }

  int Blocks() const { return mBlocks; }

 private:
  // Filters each channel with the gain (1 + cos w) / 2: one half at a quarter of the sample rate.
  void Smooth(std::vector<double>& samples) {
    for (std::size_t i = 0; i < samples.size(); ++i) {
      auto& [newer, older] = mPrevious[i % mSound.channels];
      const double sample = samples[i];
      samples[i] = (sample + 2.0 * newer + older) / 4.0;
      older = newer;
      newer = sample;
    }
  }

  // The sum of three first-order low passes, each with a corner four octaves above the previous one
  // and a quarter of its gain, falls by about 3 dB per octave.
  void MakePink(std::vector<double>& samples) {
    constexpr double kMakeUp = 4.0;  // gain that makes up for most of the low passes' attenuation
    // Coefficient of a low pass with this corner, a fraction of the sample rate.
    const auto follow = [](double corner) { return 1.0 - std::exp(-2.0 * M_PI * corner); };
    const double follows[] = {follow(0.000625), follow(0.01), follow(0.16)};
    for (std::size_t i = 0; i < samples.size(); ++i) {
      auto& states = mPinkStates[i % mSound.channels];
      double sum = 0.0;
      double gain = 1.0;
      for (std::size_t k = 0; k < states.size(); ++k, gain /= 4.0) {
        states[k] += follows[k] * (samples[i] - states[k]);
        sum += gain * states[k];
      }
      samples[i] = kMakeUp * sum;
    }
  }

  Sound mSound;
  Colour mColour;
  BlockMeter mFrontEnd;
  ProgrammeMeter mOurs;
  std::unique_ptr<ebur128_state, DestroyEbur128> mTheirs;
  int mBlocks = 0;
  // The last two samples of each channel before smoothing.
  std::array<std::pair<double, double>, kMeters> mPrevious{};
  std::array<std::array<double, 3>, kMeters> mPinkStates{};
};

StepSignal NoiseInSteps(const std::vector<SignalStep>& steps) {
  StepSignal signal = Noise(0.0);
  signal.steps = steps;
  return signal;
}

class Ebur128AgreementTest : public testing::TestWithParam<Sound> {};

// The short-term loudness of both meters is a mean over 3 s; ours is the mean of thirty readings of
// 400 ms. With a constant level they are equal from thirty readings on.
TEST_P(Ebur128AgreementTest, SteadyNoiseReadsTheSameAtEveryBlock) {
  BothMeters meters(GetParam());
  meters.Play(NoiseInSteps({{6.0, {-20.0}}}), [&] {
    if (meters.Blocks() >= 4)
      meters.ExpectSameMomentary();
    if (meters.Blocks() >= 33)
      meters.ExpectSameShortTerm();
  });
  meters.ExpectSameIntegrated();
  meters.ExpectSameTruePeak();
}

// Passages above both gates, between them, and below both.
TEST_P(Ebur128AgreementTest, NoiseInPassagesIsGatedTheSame) {
  BothMeters meters(GetParam());
  meters.Play(NoiseInSteps({{2.0, {-30.0}},
                            {1.7, {-12.0}},
                            {2.0, {-45.0}},
                            {1.0, {-90.0}},
                            {1.3, {-18.0}},
                            {0.55, {-6.0}},
                            {2.0, {-50.0}}}));
  meters.ExpectSameIntegrated();
  meters.ExpectSameTruePeak();
}

// Levels from nearly full scale down to nearly the absolute gate.
TEST_P(Ebur128AgreementTest, NoiseOfAnyLevelAndColourReadsTheSame) {
  for (const double level : {-1.0, -20.0, -45.0})
    for (const Colour colour : {Colour::kWhite, Colour::kSmoothed, Colour::kPink}) {
      SCOPED_TRACE(testing::Message() << level << " dBFS, colour " << static_cast<int>(colour));
      BothMeters meters(GetParam(), colour);
      meters.Play(NoiseInSteps({{0.7, {level}}}));
      meters.ExpectSameMomentary();
      meters.ExpectSameIntegrated();
      if (colour != Colour::kWhite)
        meters.ExpectSameTruePeak();
    }
}

std::vector<Sound> Sounds() {
  std::vector<Sound> sounds;
  for (const int sampleRate : {8000, 16000, 32000, 44100, 48000, 88200, 96000, 192000})
    for (const std::size_t channels : {1U, 2U, 6U})
      sounds.push_back({sampleRate, channels});
  return sounds;
}

INSTANTIATE_TEST_SUITE_P(Noise, Ebur128AgreementTest, testing::ValuesIn(Sounds()));

}  // namespace
}  // namespace louddesk
