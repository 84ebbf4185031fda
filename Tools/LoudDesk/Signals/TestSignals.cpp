// Generators of the test signals.

#include "TestSignals.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <random>

#include "TruePeak.h"

namespace louddesk {
namespace {

constexpr double kPi = 3.14159265358979323846;

const SpeakerLayout kStereo = SplitSpeakers("L,R");

double Amplitude(double levelDb) {
  return std::pow(10.0, levelDb / 20.0);
}

// Number of samples at four times the nominal rate for each sample at the sample rate.
int FourfoldSamplesPerSample(int sampleRate) {
  return static_cast<int>(OversamplingFor(sampleRate));
}

double Hertz(const Frequency& frequency, int sampleRate) {
  if (frequency.unit == Frequency::Unit::kHertz)
    return frequency.value;
  return frequency.value * NominalRate(sampleRate);
}

// A linear fade: 0 at both ends of `length` samples, 1 from `fade` samples inwards.
double FadeGain(double position, double length, double fade) {
  return fade > 0.0 ? std::clamp(std::min(position, length - position) / fade, 0.0, 1.0) : 1.0;
}

class StepSource : public SampleSource {
 public:
  StepSource(const StepSignal& signal, int sampleRate)
      : SampleSource(signal.speakers, sampleRate),
        mCarrier(signal.carrier),
        mHertz(Hertz(signal.frequency, sampleRate)),
        mPhase(signal.phaseDegrees / 360.0),
        mFade(signal.fadeSeconds * sampleRate) {
    double seconds = 0.0;
    for (const SignalStep& step : signal.steps) {
      seconds += step.seconds;
      mSteps.push_back({std::round(seconds * sampleRate), AmplitudesOf(step.levels)});
    }
    SkipFinishedSteps();
  }

  std::size_t Read(double* samples, std::size_t frames) override {
    std::size_t done = 0;
    for (; done < frames && mStep < mSteps.size(); ++done)
      MakeFrame(samples + done * Channels());
    return done;
  }

 private:
  struct Step {
    double end;                      // index of the first frame after it
    std::vector<double> amplitudes;  // one per channel
  };

  std::vector<double> AmplitudesOf(const std::vector<double>& levels) const {
    std::vector<double> amplitudes(Channels());
    for (std::size_t channel = 0; channel < Channels(); ++channel)
      amplitudes[channel] = Amplitude(levels.size() == 1 ? levels.front() : levels.at(channel));
    return amplitudes;
  }

  void MakeFrame(double* frame) {
    const double gain = FadeGain(mFrame, mSteps.back().end, mFade);
    const double sine = mCarrier == Carrier::kSine ? SineNow() : 0.0;
    for (std::size_t channel = 0; channel < Channels(); ++channel)
      frame[channel] = mSteps[mStep].amplitudes[channel] * gain *
                       (mCarrier == Carrier::kSine ? sine : NextNoise());
    mTurn += mHertz;
    if (mTurn >= SampleRate())
      mTurn -= SampleRate();
    mFrame += 1.0;
    SkipFinishedSteps();
  }

  void SkipFinishedSteps() {
    while (mStep < mSteps.size() && mFrame >= mSteps[mStep].end)
      ++mStep;
  }

  double SineNow() const { return std::sin(2.0 * kPi * (mTurn / SampleRate() + mPhase)); }

  // Uniformly distributed in [-1, 1). The distributions of the standard library differ between
  // implementations; the generator does not.
  double NextNoise() { return static_cast<double>(mRandom()) / 2147483648.0 - 1.0; }

  Carrier mCarrier;
  double mHertz;  // of the sine
  double mPhase;  // of the sine at the first frame, cycles
  double mFade;   // in frames
  std::vector<Step> mSteps;
  std::size_t mStep = 0;  // the step being played
  double mFrame = 0.0;    // index of the next frame; a whole number far below 2^53
  double mTurn = 0.0;     // phase since the first frame, in cycles times the sample rate;
                          // without rounding, and so without drift, at whole frequencies
  std::mt19937 mRandom{3341};
};

// Coefficients of a low pass with its cut-off at an eighth of the sampling rate, which is half of
// the nominal rate, from a Kaiser window: 80 dB of attenuation beyond a transition band of a
// fiftieth of that rate on either side.
constexpr int kLowPassReach = 64;  // samples on either side of the centre
using LowPass = std::array<double, 2 * kLowPassReach + 1>;

// Index of the coefficient for `k` samples from the centre.
constexpr std::size_t TapOf(int k) {
  return static_cast<std::size_t>(std::int64_t{k} + kLowPassReach);
}

// The modified Bessel function of the first kind and order zero, by its series.
double BesselI0(double x) {
  double sum = 1.0;
  double term = 1.0;
  for (int k = 1; term > sum * 1e-15; ++k) {
    term *= x * x / (4.0 * k * k);
    sum += term;
  }
  return sum;
}

LowPass DesignLowPass() {
  constexpr double kBeta = 8.0;
  constexpr double kCutOff = 0.125;
  LowPass lowPass;
  double sum = 0.0;
  for (int k = -kLowPassReach; k <= kLowPassReach; ++k) {
    const double x = static_cast<double>(k) / kLowPassReach;
    const double window = BesselI0(kBeta * std::sqrt(1.0 - x * x)) / BesselI0(kBeta);
    const double sinc = k == 0 ? 2.0 * kCutOff : std::sin(2.0 * kPi * kCutOff * k) / (kPi * k);
    lowPass[TapOf(k)] = window * sinc;
    sum += window * sinc;
  }
  for (double& coefficient : lowPass)
    coefficient /= sum;
  return lowPass;
}

class HiddenCrestSource : public SampleSource {
 public:
  HiddenCrestSource(const HiddenCrestSignal& signal, int sampleRate)
      : SampleSource(kStereo, sampleRate),
        mStride(FourfoldSamplesPerSample(sampleRate)),
        mFrames(static_cast<std::size_t>(sampleRate)),
        mLength(static_cast<std::int64_t>(sampleRate) * mStride),
        mCrestBegin(mLength / 2 / kSlowPeriod * kSlowPeriod),
        mOffset(signal.offset),
        mLowPass(DesignLowPass()) {}

  std::size_t Read(double* samples, std::size_t frames) override {
    const std::size_t count = std::min(frames, mFrames - mFrame);
    for (std::size_t i = 0; i < count; ++i, ++mFrame)
      samples[2 * i] = samples[2 * i + 1] =
          LowPassed(static_cast<std::int64_t>(mFrame) * mStride + mOffset);
    return count;
  }

 private:
  // Periods in samples at four times the nominal rate.
  static constexpr std::int64_t kSlowPeriod = 24;
  static constexpr std::int64_t kFastPeriod = 16;

  static double Cycle(std::int64_t n, std::int64_t period) {
    return std::sin(2.0 * kPi * static_cast<double>(n % period) / static_cast<double>(period));
  }

  // Sample n before the low pass; 0 outside the signal.
  double Raw(std::int64_t n) const {
    if (n < 0 || n >= mLength)
      return 0.0;
    const std::int64_t crestEnd = mCrestBegin + kFastPeriod;
    if (n >= mCrestBegin && n < crestEnd)
      return Cycle(n - mCrestBegin, kFastPeriod);
    const double fade = FadeGain(static_cast<double>(n), static_cast<double>(mLength),
                                 kFadeSeconds * SampleRate() * static_cast<double>(mStride));
    return 0.5 * fade * Cycle(n < mCrestBegin ? n : n - crestEnd, kSlowPeriod);
  }

  double LowPassed(std::int64_t n) const {
    double sum = 0.0;
    for (int k = -kLowPassReach; k <= kLowPassReach; ++k)
      sum += mLowPass[TapOf(k)] * Raw(n - k);
    return sum;
  }

  static constexpr double kFadeSeconds = 0.01;

  std::int64_t mStride;      // samples at four times the nominal rate per frame
  std::size_t mFrames;       // of the whole signal
  std::int64_t mLength;      // of the whole signal, in samples at four times the nominal rate
  std::int64_t mCrestBegin;  // start of the hidden period, at a zero crossing of the sine
  std::int64_t mOffset;
  LowPass mLowPass;
  std::size_t mFrame = 0;  // index of the next frame
};

}  // namespace

double NominalRate(int sampleRate) {
  return sampleRate * FourfoldSamplesPerSample(sampleRate) / 4.0;
}

std::unique_ptr<SampleSource> MakeSource(const Signal& signal, int sampleRate) {
  if (const auto* steps = std::get_if<StepSignal>(&signal))
    return std::make_unique<StepSource>(*steps, sampleRate);
  return std::make_unique<HiddenCrestSource>(std::get<HiddenCrestSignal>(signal), sampleRate);
}

StepSignal Tone(double hertz, double levelDb) {
  return {kStereo, {{kEndless, {levelDb}}}, Carrier::kSine, {hertz}};
}

StepSignal Noise(double levelDb) {
  return {kStereo, {{kEndless, {levelDb}}}, Carrier::kNoise};
}

StepSignal Repeated(const StepSignal& signal, int times) {
  StepSignal repeated = signal;
  for (int i = 1; i < times; ++i)
    repeated.steps.insert(repeated.steps.end(), signal.steps.begin(), signal.steps.end());
  return repeated;
}

}  // namespace louddesk
