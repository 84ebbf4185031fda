// The desk's meter of programmes: the service's calculation with state of its own, so that there
// may be any number of them, each of a programme of any length.
//
// Block by block it is the engine's: the same sum of channels, the same momentary loudness and
// loudness codes, the same short-term loudness. What the service measures over windows is measured
// here over the whole programme. Two things are stricter than on a meter that has to show something
// from the start: short-term loudness has its first reading when there are 3 s of programme, and
// only such readings count in the maximum and in the loudness range (EBU Tech 3341 and 3342).

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
  LoudnessHistogram momentary{kLoudnessGateLu};  // one a block, of integrated loudness
  LoudnessHistogram shortTerm{kLraGateLu};       // one a second, of the loudness range
};

class ProgrammeMeter {
 public:
  /// Starts from empty. A channel of weight 0 (low-frequency effects) counts with its true peak
  /// only. `fileChannels` is what the front end measures, which the end of its scale depends on.
  /// REQUIRES: 1 to 32 channels, all of them below `fileChannels`, of speakers that are known.
  ProgrammeMeter(const Programme& programme, std::size_t fileChannels);

  ProgrammeMeter(const ProgrammeMeter&) = delete;
  ProgrammeMeter& operator=(const ProgrammeMeter&) = delete;

  /// Measures the next block, channel i of the file as meter i + 1.
  void Feed(const BlockReading& block);

  /// Counts the true peaks of what a programme ends with that is less than a block. There is no
  /// last block for a momentary, nor last 3 s for a short-term reading then; all other figures stay
  /// those of whole blocks.
  void FeedRest(const BlockReading& rest);

  /// The figures since the start; `seconds` is that of the blocks. No reading: for momentary and
  /// integrated loudness before the fourth block, for short-term loudness before the thirtieth, for
  /// the range before the first reading of a second behind that; for any loudness in silence below
  /// -70 LKFS (momentary: -99 LKFS), for the range also while its lower gate, 20 LU below the gated
  /// loudness, lies below -70 LKFS, and when readings lie beyond the end of their scale; for the
  /// true peak when all peaks were 0.
  Figures Read() const;

  /// The peaks of each channel, in the order of the programme; of one that occurs twice once.
  std::vector<ChannelFigures> ReadChannels() const;

  /// What integrated loudness and loudness range are made from, as it stands.
  const ProgrammeReadings& Readings() const { return mReadings; }

 private:
  // The highest reading so far, and the block it was first as high in, counted from 1.
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
  std::uint64_t mLargestPower;    // end of the scale of a channel's power
  double mWeights[kMeters] = {};  // of the channels of the programme
  std::uint32_t mMeters = 0;      // a bit for each of them

  std::uint64_t mBlocks = 0;
  bool mHasEnded = false;                                     // with less than a block
  std::array<std::uint64_t, kMomentaryBlocks> mLastPowers{};  // of 400 ms
  float mMomentary = kNoLoudnessLkfs;                         // of those, LKFS
  cCircBuf mShortTermCodes;
  cLoudInteg mShortTermReadings;
  float mShortTerm = kNoLoudnessLkfs;  // of the last 3 s, LKFS
  ProgrammeReadings mReadings;
  Maximum<float> mMaxMomentary{kNoLoudnessLkfs};    // LKFS
  Maximum<float> mMaxShortTerm{kNoLoudnessLkfs};    // LKFS
  Maximum<std::uint32_t> mMaxPeak{0};               // full scale 32768
  std::uint32_t mLastPeak = 0;                      // of the last block or rest
  std::array<std::uint32_t, kMeters> mTruePeaks{};  // highest of each channel of the file
  std::array<float, kMeters> mSamplePeaks{};        // the same, full scale 1.0
  bool mArePowersAtEnd = false;                     // a power that counts was at its end
  bool mAreCodesAtEnd = false;  // a momentary reading was beyond the last loudness code
};

}  // namespace louddesk
