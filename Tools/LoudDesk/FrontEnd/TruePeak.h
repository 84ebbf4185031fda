// The true-peak meter of the front end, which finds maxima of the waveform between samples. One
// meter per stream of samples.

#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "BlockReading.h"

namespace louddesk {

/// The oversampling factor of a true-peak meter.
enum class Oversampling {
  kNone = 1,  // samples only
  kTwo = 2,   // two points between neighbouring samples
  kFour = 4,  // four points between neighbouring samples
};

/// The oversampling for a sample rate in Hz (ITU-R BS.1770-3, Annex 2): four below 96 kHz, two from
/// 96 kHz, none from 192 kHz.
Oversampling OversamplingFor(double sampleRate);

/// Largest magnitude of each channel, full scale 1.0. Entries beyond the channels are unused.
using ChannelPeaks = std::array<float, kMeters>;

/// Interpolates interleaved channels and keeps the largest magnitude. Interpolated points are half
/// a window, six samples, later than the samples around them.
class TruePeakMeter {
 public:
  /// Starts from silence. REQUIRES: 1 <= channels <= 32.
  TruePeakMeter(Oversampling oversampling, std::size_t channels);

  /// The maximum number of frames per call.
  static constexpr std::size_t kMaxFrames = 256;

  /// Raises `peaks` to the true peaks of `frames` interleaved frames, and `samplePeaks` to their
  /// largest samples. Interpolated points are between samples and never on one; the samples count
  /// too, so a true peak is never below the largest sample. Allocates nothing. REQUIRES: frames <=
  /// kMaxFrames, and every sample is 0 or of a magnitude from 1e-15 to 1e15.
  void Raise(const double* samples, std::size_t frames, ChannelPeaks& peaks,
             ChannelPeaks& samplePeaks);

  /// Number of taps for each interpolated point.
  static constexpr std::size_t kTaps = 12;

 private:
  static constexpr std::size_t kHistory = kTaps - 1;

  // One channel's samples in order: those still needed by the next window, then the new ones.
  using Window = std::array<float, kHistory + kMaxFrames>;

  void AppendSamples(const double* samples, std::size_t frames);

  Oversampling mOversampling;
  std::vector<Window> mWindows;  // one per channel
};

}  // namespace louddesk
