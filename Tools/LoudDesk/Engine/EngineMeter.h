// The service's own engine as a meter in this process, fed through the dispatcher as the service
// feeds it. The engine keeps its state per process, so there is one `EngineMeter` at a time.

#pragma once

#include <cstdint>

#include "BlockReading.h"
#include "Figures.h"
#include "SpeakerLayout.h"

namespace louddesk {

/// The service's engine with the longest windows that it has: two hours for the integrated
/// loudness, three for the loudness range.
class EngineMeter {
 public:
  /// Builds the engine.
  EngineMeter();

  /// Frees the engine.
  ~EngineMeter();

  EngineMeter(const EngineMeter&) = delete;
  EngineMeter& operator=(const EngineMeter&) = delete;

  /// Starts a measurement of these speakers from empty, meter i + 1 for speaker i. A channel of
  /// weight 0 (low-frequency effects) counts with its true peak only. REQUIRES: 1 to 32 speakers,
  /// all of them known.
  void Start(const SpeakerLayout& speakers);

  /// Measures the next block, as a raw data message through the dispatcher.
  void Feed(const BlockReading& reading);

  /// The figures of the engine as it stands; what it does not know of is left as it is in an empty
  /// `Figures`. Short-term loudness is there from the fourth block on, and is its highest since the
  /// start too.
  ///
  /// Integrated loudness and loudness range come from their integrators, not from the once-a-second
  /// results, so that the last block counts. No reading: for any loudness before the fourth block
  /// and in silence below -70 LKFS (the maximum momentary: -99 LKFS), for the range also while its
  /// lower gate, 20 LU below the gated loudness, lies below -70 LKFS; for the true peak of the last
  /// block before the fourth. The maximum true peak counts the first three blocks, whose peaks the
  /// engine does not look at; in silence true peaks read -90.31 dBTP from the fourth block on, as
  /// the dispatcher hands over at least 1.
  Figures Read() const;

 private:
  std::uint64_t mBlocks = 0;      // since the start
  std::uint32_t mUnseenPeak = 0;  // largest of the blocks whose peaks the engine does not look at
  float mMaxShortTerm;            // LKFS
};

}  // namespace louddesk
