// The service's own engine as a meter in this process, fed through the dispatcher as the service
// feeds it. The engine keeps its state per process, so there is one `EngineMeter` at a time.

#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "BlockReading.h"
#include "SpeakerLayout.h"

namespace louddesk {

/// The figures of a programme; nothing where there is no reading. Their windows are the longest
/// that the engine has, and cover the end of a longer programme. Scales have an end, at which a
/// figure means that much or more: 6.02 dBTP for true peaks, +10 LKFS for the readings that
/// integrated and short-term loudness are made from, `LargestBlockPower` for momentary ones.
struct Figures {
  double seconds = 0.0;                // length of the programme, s
  std::optional<double> integrated;    // gated loudness, LKFS
  std::optional<double> lra;           // loudness range, LU
  std::optional<double> maxMomentary;  // highest loudness of 400 ms, LKFS
  std::optional<double> maxShortTerm;  // highest loudness of 3 s, LKFS
  std::optional<double> maxTruePeak;   // dBTP
  bool overflowed = false;             // integrated loudness or range is missing because the sums
                                       // behind them, 64 bits in the engine, have wrapped around
  std::optional<double> momentary;     // loudness of the last 400 ms, LKFS
  std::optional<double> shortTerm;     // loudness of the last 3 s, LKFS
  std::optional<double> truePeak;      // of the last block, dBTP
  bool isPeakAtLeast = false;          // maxTruePeak is the end of its scale
  bool isMomentaryAtLeast = false;     // maxMomentary is made from powers at the end of theirs
  bool isLoudnessAtLeast = false;      // integrated and maxShortTerm are made from readings beyond
                                       // the end of theirs; lra is missing for the same reason
};

/// What the gated figures of a programme are made from.
struct LoudnessDistribution {
  std::vector<std::uint32_t> readings;  // momentary readings in the window of the integrated
                                        // loudness by loudness code (see `Cbin`), 0 ... 4000
  std::optional<double> relativeGate;   // of the integrated loudness, LKFS; nothing: no effect
  std::optional<double> lraLow;         // 10 % of the short-term readings lie below it, LKFS
  std::optional<double> lraHigh;        // 95 % of the short-term readings lie below it, LKFS
};

/// The service's engine as a meter of programmes.
class EngineMeter {
 public:
  /// Builds the engine.
  EngineMeter();

  /// Frees the engine.
  ~EngineMeter();

  EngineMeter(const EngineMeter&) = delete;
  EngineMeter& operator=(const EngineMeter&) = delete;

  /// Starts a programme of these speakers from empty, meter i + 1 for speaker i. A channel of
  /// weight 0 (low-frequency effects) counts with its true peak only. REQUIRES: 1 to 32 speakers,
  /// all of them known.
  void Start(const SpeakerLayout& speakers);

  /// Measures the next block, as a raw data message through the dispatcher.
  void Feed(const BlockReading& reading);

  /// Counts the true peaks of what a programme ends with when it is no block any more. There is no
  /// last block for a momentary, nor last 3 s for a short-term reading then; all other figures stay
  /// those of whole blocks.
  void FeedRest(const BlockReading& reading);

  /// The figures since the start, read from the engine as it stands; `seconds` is left at 0.
  ///
  /// Integrated loudness and loudness range come from their integrators, not from the once-a-second
  /// results, so that the last block counts. No reading: for any loudness before the fourth block
  /// and in silence below -70 LKFS (the maximum momentary: -99 LKFS), for the range also while its
  /// lower gate, 20 LU below the gated loudness, lies below -70 LKFS; for the true peak when all
  /// peaks were 0; for the range as well when readings lie beyond the end of their scale.
  Figures Read() const;

  /// The histograms behind the integrated loudness and the loudness range as they stand.
  LoudnessDistribution ReadDistribution() const;

 private:
  void CountPeak(const BlockReading& reading);
  bool ReachesTheEnd(const BlockReading& reading) const;
  void ReadLoudness(Figures& figures) const;

  SpeakerLayout mSpeakers;
  std::uint64_t mBlocks = 0;       // since the start
  bool mHasEnded = false;          // with a rest that is no block
  std::uint32_t mUnseenPeak = 0;   // largest peak of what the engine looks at no peaks of
  std::uint32_t mLargestPeak = 0;  // largest peak since the start
  std::uint32_t mLastPeak = 0;     // largest peak of the last block
  float mMaxShortTerm;             // LKFS
  bool mAreBlocksAtEnd = false;    // a power that counts was at the end of its scale
  bool mAreCodesAtEnd = false;     // a momentary reading was beyond the last loudness code
};

}  // namespace louddesk
