// Sliding-window loudness: the gated mean and the loudness range of the last readings. Made by
// LoudCalcInit, one per figure, on a ring of codes that it shares. Reactor thread only.

#pragma once

#include <cstdint>

#include "Bin.h"
#include "Circbuf.h"

/// Longest window: two hours of momentary readings, ten a second.
constexpr std::uint32_t kMaxWindowReadings = 72000;

/// EBU Tech 3342: how far the gate of the loudness range lies below the gated loudness.
constexpr float kLraGateDepthLu = 20.0F;

/// Histogram of the readings of one window. Every code goes into the ring first and then to each
/// integrator fed from it. The code that leaves an integrator's window is read from the ring again.
class cLoudInteg {
 public:
  cCircBuf* pCircBuf = nullptr;               // ring of the codes, not owned
  Cbin Bins;                                  // the readings in the window
  std::uint32_t MomLoudTail = 0;              // where in the ring the oldest counted code is
  std::uint32_t IntegrationTimeSamples = 1;   // window length in readings, at most 72000
  std::uint32_t NumSamplesReceived = 0;       // readings counted while the window fills
  std::uint32_t MaxNumElementsInCircBuf = 0;  // the ring's capacity in codes
  float RelativeGate = 0.0F;                  // relative gate in LU, negative

  /// An empty window with room for one reading. `relativeGate` is in LU, relative to the loudness
  /// above the absolute gate; -99.0 switches relative gating off. REQUIRES: `circBuf` outlives the
  /// integrator and holds one code more than the longest window, because the newest code is written
  /// before the oldest is removed.
  cLoudInteg(float relativeGate, cCircBuf* circBuf);

  /// Does not free the ring.
  ~cLoudInteg() = default;

  cLoudInteg(const cLoudInteg&) = delete;
  cLoudInteg& operator=(const cLoudInteg&) = delete;

  /// Empties the window and sets its length, at most `kMaxWindowReadings`. REQUIRES: the ring is
  /// reset too.
  void Reset(std::uint32_t integrationTimeSamples);

  /// Counts one reading; the oldest leaves once the window is full. REQUIRES: `code` is the newest
  /// in the ring.
  void AddNewSample(std::uint16_t code);

  /// Loudness of the window in LKFS, gated twice: with the absolute gate, then relative to the
  /// loudness above it (ITU-R BS.1770-3, Annex 1). A relative gate below the absolute one has no
  /// effect. -99.0 when no reading passes.
  float GetGatedLkfsReading() const;

  /// Gate of the loudness range in LKFS. The range is gated twice on purpose: with the window's own
  /// relative gate, and then 20 LU below the loudness that results from it.
  float GetLraGate() const;

  /// Loudness range of the window in LU (EBU Tech 3342). 0.0 when its gate lies below -70 LKFS.
  float GetLra() const;

 private:
  std::uint16_t OldestCode() const;
};
