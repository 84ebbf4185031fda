// True peak: polyphase interpolation over a window of twelve samples, four windows at a time.
// Single precision is sufficient, because a peak is published with sixteen bits.

#include "TruePeak.h"

#include <algorithm>

#include "Lanes.h"

namespace louddesk {
namespace {

constexpr std::size_t kTaps = TruePeakMeter::kTaps;
constexpr std::size_t kTapPairs = kTaps / 2;

constexpr double kTwoTimesFrom = 96000.0;
constexpr double kNoneFrom = 192000.0;

// Phases 0 and 1 of the standard's interpolator; phases 3 and 2 are their reverses. The points are
// an eighth and three eighths of the way from one sample to the next.
using Phase = std::array<double, kTaps>;
constexpr Phase kOuterPhase = {0.001708984375,   0.010986328125,  -0.0196533203125, 0.033203125,
                               -0.0594482421875, 0.1373291015625, 0.97216796875,    -0.102294921875,
                               0.047607421875,   -0.026611328125, 0.014892578125,   -0.00830078125};
constexpr Phase kInnerPhase = {-0.0291748046875, 0.029296875,      -0.0517578125,
                               0.089111328125,   -0.16650390625,   0.465087890625,
                               0.77978515625,    -0.2003173828125, 0.1015625,
                               -0.0582275390625, 0.0330810546875,  -0.0189208984375};

// A phase p and its reverse r, as half their sum and half their difference: (p + r) / 2 is even and
// (p - r) / 2 odd about the window's middle, so each costs six multiplications instead of twelve,
// and max(|p|, |r|) = |(p + r) / 2| + |(p - r) / 2|. The coefficients are exact in single
// precision.
struct PhasePair {
  std::array<float, kTapPairs> even;
  std::array<float, kTapPairs> odd;
};

constexpr PhasePair WithReverse(const Phase& phase) {
  PhasePair pair{};
  for (std::size_t k = 0; k < kTapPairs; ++k) {
    pair.even[k] = static_cast<float>((phase[k] + phase[kTaps - 1 - k]) / 2.0);
    pair.odd[k] = static_cast<float>((phase[k] - phase[kTaps - 1 - k]) / 2.0);
  }
  return pair;
}

constexpr PhasePair kOuterPair = WithReverse(kOuterPhase);
constexpr PhasePair kInnerPair = WithReverse(kInnerPhase);

// Sums and differences of the samples in symmetric positions of a window.
template <typename Lane>
struct FoldedWindow {
  explicit FoldedWindow(const float* window) {
    for (std::size_t k = 0; k < kTapPairs; ++k) {
      const Lane newer = Load<Lane>(window + kTaps - 1 - k);
      const Lane older = Load<Lane>(window + k);
      sums[k] = newer + older;
      differences[k] = newer - older;
    }
  }

  // The larger magnitude of a phase and its reverse.
  Lane PeakOf(const PhasePair& pair) const {
    Lane even = sums[0] * pair.even[0];
    Lane odd = differences[0] * pair.odd[0];
    for (std::size_t k = 1; k < kTapPairs; ++k) {
      even += sums[k] * pair.even[k];
      odd += differences[k] * pair.odd[k];
    }
    return Magnitude<Lane>(even) + Magnitude<Lane>(odd);
  }

  Lane sums[kTapPairs];
  Lane differences[kTapPairs];
};

// The largest magnitudes of the samples and of the points between them.
template <typename Lane>
struct LanePeaks {
  Lane samples{};
  Lane points{};
};

// Raises the peaks to what windows beginning at `window` and the samples after it hold. Twice
// oversampled, the inner pair alone serves best: with the samples themselves no point of the
// waveform is further than 3/16 of a sample away from one that is looked at.
template <Oversampling kOversampling, typename Lane>
void RaiseTo(const float* window, LanePeaks<Lane>& peaks) {
  peaks.samples = Larger<Lane>(peaks.samples, Magnitude<Lane>(Load<Lane>(window + kTaps - 1)));
  if constexpr (kOversampling != Oversampling::kNone) {
    const FoldedWindow<Lane> folded(window);
    peaks.points = Larger<Lane>(peaks.points, folded.PeakOf(kInnerPair));
    if constexpr (kOversampling == Oversampling::kFour)
      peaks.points = Larger<Lane>(peaks.points, folded.PeakOf(kOuterPair));
  }
}

float LargestOf(const FloatQuad& lanes) {
  return std::max(std::max(lanes[0], lanes[1]), std::max(lanes[2], lanes[3]));
}

template <Oversampling kOversampling>
LanePeaks<float> PeaksOf(const float* windows, std::size_t count) {
  constexpr std::size_t kQuad = kWidth<FloatQuad, float>;
  LanePeaks<FloatQuad> quads;
  std::size_t i = 0;
  for (; i + kQuad <= count; i += kQuad)
    RaiseTo<kOversampling>(windows + i, quads);
  LanePeaks<float> peaks{LargestOf(quads.samples), LargestOf(quads.points)};
  for (; i < count; ++i)
    RaiseTo<kOversampling>(windows + i, peaks);
  return peaks;
}

LanePeaks<float> PeaksOf(Oversampling oversampling, const float* windows, std::size_t count) {
  switch (oversampling) {
    case Oversampling::kFour:
      return PeaksOf<Oversampling::kFour>(windows, count);
    case Oversampling::kTwo:
      return PeaksOf<Oversampling::kTwo>(windows, count);
    case Oversampling::kNone:
      break;
  }
  return PeaksOf<Oversampling::kNone>(windows, count);
}

}  // namespace

Oversampling OversamplingFor(double sampleRate) {
  if (sampleRate < kTwoTimesFrom)
    return Oversampling::kFour;
  return sampleRate < kNoneFrom ? Oversampling::kTwo : Oversampling::kNone;
}

TruePeakMeter::TruePeakMeter(Oversampling oversampling, std::size_t channels)
    : mOversampling(oversampling), mWindows(channels, Window{}) {}

void TruePeakMeter::Raise(const double* samples, std::size_t frames, ChannelPeaks& peaks,
                          ChannelPeaks& samplePeaks) {
  AppendSamples(samples, frames);
  for (std::size_t channel = 0; channel < mWindows.size(); ++channel) {
    Window& window = mWindows[channel];
    const LanePeaks<float> found = PeaksOf(mOversampling, window.data(), frames);
    samplePeaks[channel] = std::max(samplePeaks[channel], found.samples);
    peaks[channel] = std::max({peaks[channel], found.samples, found.points});
    std::copy_n(window.begin() + static_cast<std::ptrdiff_t>(frames), kHistory, window.begin());
  }
}

// Two channels at a time, which are converted together.
void TruePeakMeter::AppendSamples(const double* samples, std::size_t frames) {
  const std::size_t channels = mWindows.size();
  std::size_t channel = 0;
  for (; channel + 2 <= channels; channel += 2)
    for (std::size_t n = 0; n < frames; ++n) {
      const auto pair =
          __builtin_convertvector(Load<DoublePair>(samples + n * channels + channel), FloatPair);
      mWindows[channel][kHistory + n] = pair[0];
      mWindows[channel + 1][kHistory + n] = pair[1];
    }
  if (channel < channels)
    for (std::size_t n = 0; n < frames; ++n)
      mWindows[channel][kHistory + n] = static_cast<float>(samples[n * channels + channel]);
}

}  // namespace louddesk
