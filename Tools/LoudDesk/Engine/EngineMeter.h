// The service's own engine as a meter in this process, fed through the dispatcher as in the
// service. The engine has one state per process, so there is one `EngineMeter` at a time.

#pragma once

#include <cstdint>

#include "BlockReading.h"
#include "Figures.h"
#include "SpeakerLayout.h"

namespace louddesk {

/// The service's engine with its longest windows: two hours for the integrated loudness, three for
/// the loudness range.
class EngineMeter {
 public:
  /// Builds the engine.
  EngineMeter();

  /// Frees the engine.
  ~EngineMeter();

  EngineMeter(const EngineMeter&) = delete;
  EngineMeter& operator=(const EngineMeter&) = delete;

  /// Restarts the measurement for these speakers, with meter i + 1 for speaker i. Only the true
  /// peak of a channel of weight 0 (low-frequency effects) counts. REQUIRES: 1 to 32 known
  /// speakers.
  void Start(const SpeakerLayout& speakers);

  /// Measures the next block, sent through the dispatcher as a raw data message.
  void Feed(const BlockReading& reading);

  /// The current figures of the engine. Members that the engine does not measure keep the values of
  /// an empty `Figures`. `maxShortTerm` is the highest short-term loudness since the start.
  ///
  /// Integrated loudness and loudness range come directly from their integrators rather than from
  /// the results of each second, so that the last block counts. There is no reading
  /// - of any loudness before the fourth block and in silence below -70 LKFS (maximum momentary:
  ///   -99 LKFS),
  /// - of the loudness range while its lower gate, 20 LU below the gated loudness, is below -70
  ///   LKFS,
  /// - of the true peak of the last block before the fourth block.
  ///
  /// The maximum true peak includes the first three blocks, whose peaks the engine ignores. From
  /// the fourth block on, true peaks read -90.31 dBTP in silence, because the dispatcher passes on
  /// at least 1.
  Figures Read() const;

 private:
  std::uint64_t mBlocks = 0;      // since the start
  std::uint32_t mUnseenPeak = 0;  // largest peak of the blocks whose peaks the engine ignores
  float mMaxShortTerm;            // LKFS
};

}  // namespace louddesk
