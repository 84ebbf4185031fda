// Loudness readings counted by their code over a programme of any length, and the gated figures
// that the engine computes from such counts. The engine's own histograms hold the readings of a
// window in 32 bits and keep sums modulo 2^64; these hold all readings, in sums that no programme
// fills.

#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace louddesk {

/// The two ends of a loudness range and their distance.
struct LoudnessRange {
  double low;   // 10 % of the readings lie below it, LKFS
  double high;  // 5 % of the readings lie above it, LKFS
  double lu;    // in steps of the loudness codes
};

/// Figures are those of `cLoudInteg` over the same readings to the last digit, as long as the sums
/// of that one have not wrapped around.
class LoudnessHistogram {
 public:
  /// Without readings. `relativeGate` is in LU, negative.
  explicit LoudnessHistogram(float relativeGate);

  /// Counts a reading by its loudness code (see `Cbin`); 0 is a reading below the absolute gate.
  void Count(std::uint16_t code);

  /// Counts all readings of another histogram as well.
  void Add(const LoudnessHistogram& other);

  /// Readings by loudness code, 0 ... 4000.
  const std::vector<std::uint64_t>& Counts() const { return mCounts; }

  /// Gated loudness in LKFS (ITU-R BS.1770-3, Annex 1); nothing when no reading passes.
  std::optional<double> GatedLoudness() const;

  /// The relative gate in LKFS; nothing where it lies below the absolute one and has no effect.
  std::optional<double> RelativeGate() const;

  /// Loudness range of the readings (EBU Tech 3342); nothing when its gate, 20 LU below the gated
  /// loudness, lies below the absolute one.
  std::optional<LoudnessRange> Range() const;

 private:
  // A count is less than 2^64, the power that stands for a code less than 2^55.
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
