// K-weighting: the coefficients for a sample rate, and the filter for several channels at once. A
// recursive filter cannot be vectorised along time, so each vector lane is a channel.

#include "KWeighting.h"

#include <cmath>

#include "Lanes.h"

namespace louddesk {
namespace {

constexpr double kPi = 3.14159265358979323846;

// Analogue prototypes of the two sections.
constexpr double kShelfFrequency = 1681.974450955533;
constexpr double kShelfGainDb = 3.999843853973347;
constexpr double kShelfQ = 0.7071752369554196;
constexpr double kShelfBandExponent = 0.4996667741545416;
constexpr double kHighPassFrequency = 38.13547087602444;
constexpr double kHighPassQ = 0.5003270373238773;

// States below this are silence: 600 dB below full scale.
constexpr double kSmallestState = 1e-30;

// Channels that one pass filters side by side: more would not fit the registers, fewer would leave
// the processor waiting for the results of one sample before it can begin the next.
constexpr std::size_t kPairsInLargeGroup = 3;
constexpr std::size_t kPairsInMediumGroup = 2;

// The denominator that both sections have in common, and the bilinear transform's K.
struct Denominator {
  double k;
  double a0;
  double a1;
  double a2;
};

Denominator DenominatorOf(double frequency, double q, double sampleRate) {
  const double k = std::tan(kPi * frequency / sampleRate);
  const double a0 = 1.0 + k / q + k * k;
  return {k, a0, 2.0 * (k * k - 1.0) / a0, (1.0 - k / q + k * k) / a0};
}

BiquadCoefficients ShelfFor(double sampleRate) {
  const Denominator d = DenominatorOf(kShelfFrequency, kShelfQ, sampleRate);
  const double kk = d.k * d.k;
  const double high = std::pow(10.0, kShelfGainDb / 20.0);
  const double band = std::pow(high, kShelfBandExponent) * d.k / kShelfQ;
  return {(high + band + kk) / d.a0, 2.0 * (kk - high) / d.a0, (high - band + kk) / d.a0, d.a1,
          d.a2};
}

// The numerator is not divided by a0: the standard's section has it so at 48 kHz.
BiquadCoefficients HighPassFor(double sampleRate) {
  const Denominator d = DenominatorOf(kHighPassFrequency, kHighPassQ, sampleRate);
  return {1.0, -2.0, 1.0, d.a1, d.a2};
}

double Silenced(double state) {
  return std::fabs(state) < kSmallestState ? 0.0 : state;
}

}  // namespace

KWeightingCoefficients KWeightingFor(double sampleRate) {
  return {ShelfFor(sampleRate), HighPassFor(sampleRate)};
}

KWeightingFilter::KWeightingFilter(const KWeightingCoefficients& weighting, std::size_t channels)
    : mWeighting(weighting), mChannels(channels) {}

void KWeightingFilter::AddEnergies(const double* samples, std::size_t frames,
                                   ChannelEnergies& energies) {
  std::size_t channel = 0;
  const auto left = [&] { return mChannels - channel; };
  for (; left() >= 2 * kPairsInLargeGroup; channel += 2 * kPairsInLargeGroup)
    FilterGroup<DoublePair, kPairsInLargeGroup>(samples, frames, channel, energies);
  for (; left() >= 2 * kPairsInMediumGroup; channel += 2 * kPairsInMediumGroup)
    FilterGroup<DoublePair, kPairsInMediumGroup>(samples, frames, channel, energies);
  for (; left() >= 2; channel += 2)
    FilterGroup<DoublePair, 1>(samples, frames, channel, energies);
  if (left() == 1)
    FilterGroup<double, 1>(samples, frames, channel, energies);
}

template <typename Lane, std::size_t kLanes>
void KWeightingFilter::FilterGroup(const double* samples, std::size_t frames,
                                   std::size_t firstChannel, ChannelEnergies& energies) {
  constexpr std::size_t kLaneWidth = kWidth<Lane, double>;
  const BiquadCoefficients shelf = mWeighting.shelf;
  const BiquadCoefficients highPass = mWeighting.highPass;
  // Copies, so that the compiler may keep them in registers.
  Lane shelf1[kLanes], shelf2[kLanes], highPass1[kLanes], highPass2[kLanes], energy[kLanes];
  for (std::size_t i = 0; i < kLanes; ++i) {
    const std::size_t channel = firstChannel + i * kLaneWidth;
    shelf1[i] = Load<Lane>(&mShelf1[channel]);
    shelf2[i] = Load<Lane>(&mShelf2[channel]);
    highPass1[i] = Load<Lane>(&mHighPass1[channel]);
    highPass2[i] = Load<Lane>(&mHighPass2[channel]);
    energy[i] = Load<Lane>(&energies[channel]);
  }
  const double* frame = samples + firstChannel;
  for (std::size_t n = 0; n < frames; ++n, frame += mChannels)
    for (std::size_t i = 0; i < kLanes; ++i) {
      const Lane x = Load<Lane>(frame + i * kLaneWidth);
      const Lane u = shelf.b0 * x + shelf1[i];
      shelf1[i] = shelf.b1 * x - shelf.a1 * u + shelf2[i];
      shelf2[i] = shelf.b2 * x - shelf.a2 * u;
      // The numerator 1, -2, 1 written out.
      const Lane y = u + highPass1[i];
      highPass1[i] = highPass2[i] - 2.0 * u - highPass.a1 * y;
      highPass2[i] = u - highPass.a2 * y;
      energy[i] += y * y;
    }
  for (std::size_t i = 0; i < kLanes; ++i) {
    const std::size_t channel = firstChannel + i * kLaneWidth;
    Store(shelf1[i], &mShelf1[channel]);
    Store(shelf2[i], &mShelf2[channel]);
    Store(highPass1[i], &mHighPass1[channel]);
    Store(highPass2[i], &mHighPass2[channel]);
    Store(energy[i], &energies[channel]);
  }
  for (std::size_t channel = firstChannel; channel < firstChannel + kLanes * kLaneWidth; ++channel)
    for (States* states : {&mShelf1, &mShelf2, &mHighPass1, &mHighPass2})
      (*states)[channel] = Silenced((*states)[channel]);
}

}  // namespace louddesk
