// The K-weighting's gain, computed from its coefficients.

#pragma once

#include <cmath>
#include <complex>

#include "KWeighting.h"

namespace test_audio {

inline double BiquadGain(const louddesk::BiquadCoefficients& c, double angle) {
  const std::complex<double> z1 = std::polar(1.0, -angle);
  const std::complex<double> z2 = z1 * z1;
  return std::abs((c.b0 + c.b1 * z1 + c.b2 * z2) / (1.0 + c.a1 * z1 + c.a2 * z2));
}

/// Gain of both sections together in dB at a frequency in Hz, 0 < frequency < sampleRate / 2.
inline double KWeightingGainDb(const louddesk::KWeightingCoefficients& weighting, double frequency,
                               double sampleRate) {
  const double angle = 2.0 * 3.14159265358979323846 * frequency / sampleRate;
  return 20.0 *
         std::log10(BiquadGain(weighting.shelf, angle) * BiquadGain(weighting.highPass, angle));
}

}  // namespace test_audio
