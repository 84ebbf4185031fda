// The loudness weighting of the front end: two biquads that model the frequency response of head
// and ear, and the energy of their output. One filter per stream of samples.

#pragma once

#include <array>
#include <cstddef>

#include "BlockReading.h"

namespace louddesk {

/// One second-order section, normalised to a0 = 1:
/// y[n] = b0 x[n] + b1 x[n-1] + b2 x[n-2] - a1 y[n-1] - a2 y[n-2].
struct BiquadCoefficients {
  double b0;
  double b1;
  double b2;
  double a1;
  double a2;
};

/// The two sections of the K-weighting (ITU-R BS.1770-3, Annex 1), applied one after the other.
struct KWeightingCoefficients {
  BiquadCoefficients shelf;     // stage 1: high shelf, the head as a rigid sphere
  BiquadCoefficients highPass;  // stage 2: revised low-frequency B curve
};

/// The sections for a sample rate in Hz. The standard gives coefficients for 48 kHz only. These are
/// transformed from analogue prototypes of them to any rate, and equal them at 48 kHz.
KWeightingCoefficients KWeightingFor(double sampleRate);

/// The sum of squares of each channel's weighted samples. Entries beyond the channels are unused.
using ChannelEnergies = std::array<double, kMeters>;

/// The filter over interleaved channels, with its state. Allocates nothing.
class KWeightingFilter {
 public:
  /// Starts from silence. REQUIRES: 1 <= channels <= 32.
  KWeightingFilter(const KWeightingCoefficients& weighting, std::size_t channels);

  /// The maximum number of frames per call; see the end of the comment on `AddEnergies`.
  static constexpr std::size_t kMaxFrames = 256;

  /// Filters `frames` interleaved frames and adds the squares of the results to `energies`.
  /// REQUIRES: frames <= kMaxFrames, and every sample is 0 or of a magnitude from 1e-15 to 1e15.
  ///
  /// Sets states below 1e-30 to zero at the end. Otherwise a filter that decays in silence would
  /// compute with denormal numbers, which takes a hundred times longer. Once per call is enough:
  /// the fastest decay, that of the shelf at 8 kHz, is a factor of 0.43 per sample. Within 256
  /// frames a state falls from 1e-30 to no less than 1e-124, and its square stays far above the
  /// smallest normal number, 2e-308.
  void AddEnergies(const double* samples, std::size_t frames, ChannelEnergies& energies);

 private:
  // Transposed direct form II with two states per section. A lane is a double or a vector of
  // doubles, with one double per channel.
  template <typename Lane, std::size_t kLanes>
  void FilterGroup(const double* samples, std::size_t frames, std::size_t firstChannel,
                   ChannelEnergies& energies);

  using States = std::array<double, kMeters>;  // one entry per channel

  KWeightingCoefficients mWeighting;
  std::size_t mChannels;
  States mShelf1{};
  States mShelf2{};
  States mHighPass1{};
  States mHighPass2{};
};

}  // namespace louddesk
