// True peak of the front end: how far the waveform rises between its samples. One meter per stream
// of samples.

#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "BlockReading.h"

namespace louddesk {

/// How many times a true-peak meter oversamples.
enum class Oversampling {
  kNone = 1,  // samples only
  kTwo = 2,   // two points between neighbouring samples
  kFour = 4,  // four points between neighbouring samples
};

/// What a sample rate in Hz needs so that no peak is missed by much (ITU-R BS.1770-3, Annex 2):
/// four below 96 kHz, two from 96 kHz, none from 192 kHz.
Oversampling OversamplingFor(double sampleRate);

/// Largest magnitude of each channel, full scale 1.0; entries beyond the channels are not used.
using ChannelPeaks = std::array<float, kMeters>;

/// Interpolates interleaved channels and keeps the largest magnitude. The interpolated points come
/// half a window, six samples, later than the samples around them.
class TruePeakMeter {
 public:
  /// Starts from silence. REQUIRES: 1 <= channels <= 32.
  TruePeakMeter(Oversampling oversampling, std::size_t channels);

  /// Most frames that one call takes.
  static constexpr std::size_t kMaxFrames = 256;

  /// Raises `peaks`, and `samplePeaks` by the samples alone, to what `frames` interleaved frames
  /// hold. A true peak is never below the largest sample: the interpolated points lie between the
  /// samples and none of them on one, while a waveform goes through its samples, so that these
  /// count too. Allocates nothing. REQUIRES: frames <= kMaxFrames, and every sample is 0 or of a
  /// magnitude from 1e-15 to 1e15.
  void Raise(const double* samples, std::size_t frames, ChannelPeaks& peaks,
             ChannelPeaks& samplePeaks);

  /// Taps of each interpolated point.
  static constexpr std::size_t kTaps = 12;

 private:
  static constexpr std::size_t kHistory = kTaps - 1;

  // One channel's samples in a row: those that the next window still reaches, then the new ones.
  using Window = std::array<float, kHistory + kMaxFrames>;

  void TakeIn(const double* samples, std::size_t frames);

  Oversampling mOversampling;
  std::vector<Window> mWindows;  // one a channel
};

}  // namespace louddesk
