// Counts of loudness readings by code over a programme of any length, and the gated figures that
// the engine computes from such counts. The engine's own histograms count the readings of a window
// in 32 bits and keep sums modulo 2^64. These have no window, and no programme is long enough to
// overflow their sums.

#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace louddesk {

/// The two ends of a loudness range and the distance between them.
struct LoudnessRange {
  double low;   // 10 % of the readings are lower, LKFS
  double high;  // 5 % of the readings are higher, LKFS
  double lu;    // a multiple of the step between loudness codes
};

/// The figures equal those of `cLoudInteg` over the same readings to the last digit, as long as the
/// sums in `cLoudInteg` have not overflowed.
class LoudnessHistogram {
 public:
  /// An empty histogram. `relativeGate` is in LU and negative.
  explicit LoudnessHistogram(float relativeGate);

  /// Counts a reading by its loudness code (see `Cbin`). Code 0 is a reading below the absolute
  /// gate.
  void Count(std::uint16_t code);

  /// Adds all readings of another histogram.
  void Add(const LoudnessHistogram& other);

  /// Number of readings for each loudness code, 0 ... 4000.
  const std::vector<std::uint64_t>& Counts() const { return mCounts; }

  /// Gated loudness in LKFS (ITU-R BS.1770-3, Annex 1); nothing if no reading passes the gates.
  std::optional<double> GatedLoudness() const;

  /// The relative gate in LKFS; nothing if it is below the absolute gate and has no effect.
  std::optional<double> RelativeGate() const;

  /// Loudness range of the readings (EBU Tech 3342); nothing if its gate, 20 LU below the gated
  /// loudness, is below the absolute gate.
  std::optional<LoudnessRange> Range() const;

 private:
  // Cannot overflow: a count is less than 2^64 and the power of a code is less than 2^55.
  __extension__ using PowerSum = unsigned __int128;

  struct Sum {
    std::uint64_t count;
    PowerSum power;
  };

  Sum SumFrom(std::size_t lowestCode) const;
  float GateLkfs() const;
  float GatedLkfs() const;

  float mRelativeGate;
  std::vector<std::uint64_t> mCounts;
  Sum mPassed{0, 0};         // of all readings above the absolute gate
  std::size_t mHighest = 0;  // code of the loudest reading
};

}  // namespace louddesk
