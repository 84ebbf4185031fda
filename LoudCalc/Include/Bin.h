// Histogram of loudness readings. Every gated figure of the engine is computed from one, so that a
// reading enters or leaves a window of any length in constant time. Each cLoudInteg owns one.
// Reactor thread only.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/// Highest loudness code. Its bin is open-ended and holds everything from +9.98 LKFS up. In single
/// precision it begins with the next number above 9.98F, because 9.98F itself is 9.9799995.
constexpr std::uint16_t kMaxLoudnessCode = 4000;

/// Codes 0 (below the absolute gate) to `kMaxLoudnessCode`.
constexpr std::size_t kNumLoudnessCodes = kMaxLoudnessCode + 1;

/// Codes in one group of a histogram. Each group keeps its sums, so that the mean above a gate
/// visits about 80 bins and 50 groups at most instead of 4000 bins.
constexpr std::size_t kCodesPerGroup = 80;

/// Group 0 holds code 0, group 1 codes 1 to 80, the last one codes 3921 to 4000.
constexpr std::size_t kNumCodeGroups = kMaxLoudnessCode / kCodesPerGroup + 1;
static_assert(kMaxLoudnessCode % kCodesPerGroup == 0);

/// Loudness that stands for "no reading".
constexpr float kNoLoudnessLkfs = -99.0F;

/// The absolute gate of ITU-R BS.1770-3, Annex 1; also the lower edge of bin 1.
constexpr float kAbsoluteGateLkfs = -70.0F;

/// Distance in LU of one loudness code from the next.
constexpr double kBinWidthLu = 0.02;

/// Upper edge of the last loudness code if it were as wide as the others. Louder readings get that
/// code too.
constexpr double kEndOfCodesLkfs = kAbsoluteGateLkfs + kBinWidthLu * kMaxLoudnessCode;

/// The DSP stage's integer scale of powers: the sum of these two is the level in dB of the power
/// that stands for 0 LKFS. They include the -0.691 of ITU-R BS.1770-3, Annex 1, which cancels the
/// gain of the K-weighting at 1 kHz.
constexpr double kPowerScaleDb = 152.6905962;
constexpr double kWeightingOffsetDb = 0.6974;

/// Percentages of the readings below the lower end and above the upper end of the loudness range
/// (EBU Tech 3342).
constexpr std::uint32_t kLraPercentBelow = 10;
constexpr std::uint32_t kLraPercentAbove = 5;

/// Loudness in LKFS of a block power in the DSP stage's integer scale, in double precision:
/// 10 log10(power) - 152.6905962 - 0.6974. `power` must not be 0.
float LoudnessOfPower(std::uint64_t power);

/// Lower edge in LKFS of a loudness code of 1 or more.
double LoudnessOfCode(std::size_t code);

/// Prints "LOUD C ERR: " and the formatted text on standard output and flushes it. For the few
/// faults of the engine. `format` ends with its own line feed.
[[gnu::format(printf, 1, 2)]] void PrintEngineFault(const char* format, ...);

/// Number of readings and the sum of their powers. Both wrap around.
struct BinSums {
  std::uint32_t count = 0;
  std::uint64_t power = 0;
};

/// The two ends of a loudness range as codes; 0 for an end that does not exist.
struct LraEnds {
  int low;
  int high;
};

/// Counts loudness readings by their code. Code 0 stands for anything below -70 LKFS, code k of 1
/// or more for -70 + 0.02 (k - 1) LKFS and up to 0.02 LU above it. Codes above `kMaxLoudnessCode`
/// count as that code. Only the functions may change the bins and groups, which must agree.
/// Allocates nothing.
class Cbin {
 public:
  std::array<std::uint32_t, kNumLoudnessCodes> Bins{};  // readings per code, index 0 ... 4000
  std::uint32_t NumBinnedValues = 0;                    // readings counted, the sum of Bins
  std::array<BinSums, kNumCodeGroups> Groups{};         // sums of the bins of each group

  // Power that stands for each code, in the DSP stage's scale; 0 for code 0. Shared by all
  // histograms, filled by InitBinCenters.
  static std::array<std::uint64_t, kNumLoudnessCodes> BinCenters;

  /// An empty histogram.
  Cbin() = default;

  /// Releases nothing; the counters are part of the object.
  ~Cbin() = default;

  /// Forgets every reading.
  void Reset();

  /// Fills `BinCenters`. Called by `LoudCalcInit` before any histogram is used.
  static void InitBinCenters();

  /// The code of a loudness in LKFS: 1 for -70.0, 0 for anything below it and for a value that is
  /// not a number, `kMaxLoudnessCode` from +9.98 up. Steps of 0.02 LU, computed in single
  /// precision.
  static std::uint16_t GetBinIndx(float loudness);

  /// Adds one reading of this code.
  void Increment(std::uint16_t code);

  /// Removes one reading of this code. If the histogram or the bin is empty, prints a line for each
  /// and leaves that counter at 0.
  void Decrement(std::uint16_t code);

  /// Power mean in LKFS of all readings at or above the bin of `gate` (LKFS). Readings below -70
  /// LKFS never count, not even with a lower gate. `kNoLoudnessLkfs` when nothing passes the gate.
  float GetLoudnessLkfs(float gate) const;

  /// Loudness range in LU, in steps of 0.02: the distance between its ends (see `GetLraEnds`). 0.0
  /// when the histogram is empty.
  float GetLra(std::uint16_t lowestCode) const;

  /// The ends of the loudness range: the 10th and the 95th percentile of the readings of
  /// `lowestCode` and above (EBU Tech 3342).
  LraEnds GetLraEnds(std::uint16_t lowestCode) const;

 private:
  BinSums SumsFrom(std::size_t lowestCode) const;
  std::uint32_t CountFrom(std::uint16_t lowestCode) const;
  int LowPoint(std::uint16_t lowestCode, std::uint32_t total) const;
  int HighPoint(std::uint32_t total) const;
};
