// The desk's meter of programmes: the service's calculation without its global state. Any number of
// meters can measure programmes of any length at the same time.
//
// For each block the calculation is the engine's: the same sum of channels, the same momentary
// loudness and loudness codes, the same short-term loudness. Where the service measures over a
// window, this meter measures the whole programme. It is stricter in two points, because it does
// not have to show a live figure from the start: the first short-term reading comes after 3 s of
// programme, and the maximum and the loudness range count only such readings (EBU Tech 3341 and
// 3342).

#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "BlockReading.h"
#include "Circbuf.h"
#include "Figures.h"
#include "LoudCalcBase.h"
#include "LoudInteg.h"
#include "LoudnessHistogram.h"
#include "Programme.h"
#include "RawLoudnessData.h"

namespace louddesk {

/// All readings of a programme by loudness code.
struct ProgrammeReadings {
  LoudnessHistogram momentary{kLoudnessGateLu};  // one per block, for integrated loudness
  LoudnessHistogram shortTerm{kLraGateLu};       // one per second, for the loudness range
};

class ProgrammeMeter {
 public:
  /// An empty measurement. Only the true peak of a channel of weight 0 (low-frequency effects)
  /// counts. `fileChannels` is the number of channels that the front end measures; it determines
  /// the end of the scale of powers. REQUIRES: 1 to 32 channels, all below `fileChannels`, of known
  /// speakers.
  ProgrammeMeter(const Programme& programme, std::size_t fileChannels);

  ProgrammeMeter(const ProgrammeMeter&) = delete;
  ProgrammeMeter& operator=(const ProgrammeMeter&) = delete;

  /// Measures the next block. Meter i + 1 of the block is channel i of the file.
  void Feed(const BlockReading& block);

  /// Counts the true peaks of an incomplete last block. From then on there is no momentary or
  /// short-term reading of the end; all other figures cover the whole blocks.
  void FeedRest(const BlockReading& rest);

  /// The figures since the start; `seconds` is the length of the whole blocks. There is no reading
  /// - of momentary and integrated loudness before the fourth block, of short-term loudness before
  ///   the thirtieth, and of the loudness range before the first full second after that,
  /// - of any loudness in silence below -70 LKFS (momentary: -99 LKFS),
  /// - of the loudness range while its lower gate, 20 LU below the gated loudness, is below -70
  ///   LKFS, or if readings exceed the scale,
  /// - of the true peak if all peaks were 0.
  Figures Read() const;

  /// The peaks of each channel, in the order of the programme. A channel that occurs twice is
  /// listed once.
  std::vector<ChannelFigures> ReadChannels() const;

  /// The readings so far behind integrated loudness and loudness range.
  const ProgrammeReadings& Readings() const { return mReadings; }

 private:
  // The highest reading so far, and the first block that reached it, counted from 1.
  template <typename Value>
  struct Maximum {
    Value value;
    std::uint64_t block = 0;

    void Raise(Value reading, std::uint64_t in);
  };

  ProgrammeBlock SumOf(const BlockReading& block);
  void CountPeaks(const BlockReading& reading, std::uint32_t largest, std::uint64_t block);
  void SlideMomentary(std::uint64_t power);
  void CountMomentary();
  void CountShortTerm();

  Programme mProgramme;
  std::uint64_t mLargestPower;    // end of the scale of one channel's power
  double mWeights[kMeters] = {};  // of the programme's channels
  std::uint32_t mMeters = 0;      // one bit per channel of the programme

  std::uint64_t mBlocks = 0;
  bool mHasEnded = false;  // an incomplete last block was measured
  std::array<std::uint64_t, kMomentaryBlocks> mLastPowers{};  // of the last 400 ms
  float mMomentary = kNoLoudnessLkfs;                         // mean of mLastPowers, LKFS
  cCircBuf mShortTermCodes;
  cLoudInteg mShortTermReadings;
  float mShortTerm = kNoLoudnessLkfs;  // of the last 3 s, LKFS
  ProgrammeReadings mReadings;
  Maximum<float> mMaxMomentary{kNoLoudnessLkfs};    // LKFS
  Maximum<float> mMaxShortTerm{kNoLoudnessLkfs};    // LKFS
  Maximum<std::uint32_t> mMaxPeak{0};               // full scale is 32768
  std::uint32_t mLastPeak = 0;                      // of the last block or rest
  std::array<std::uint32_t, kMeters> mTruePeaks{};  // highest of each channel of the file
  std::array<float, kMeters> mSamplePeaks{};        // the same; full scale is 1.0
  bool mArePowersAtEnd = false;                     // a counted power reached the end of its scale
  bool mAreCodesAtEnd = false;  // a momentary reading exceeded the last loudness code
};

}  // namespace louddesk
