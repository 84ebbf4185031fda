// Ring of the most recent loudness codes, shared by the integrators fed from it, so that windows of
// several lengths need one copy of the history. Made by LoudCalcInit. Reactor thread only.

#pragma once

#include <cstdint>
#include <memory>

/// Keeps the last `MaxNumElements` loudness codes. Allocates once, at construction.
class cCircBuf {
 public:
  std::unique_ptr<std::uint16_t[]> pCircBuf;  // the codes, MaxNumElements of them, 0 ... 4000
  std::uint32_t MaxNumElements = 0;           // capacity in codes, fixed at construction
  std::uint32_t NumElementsInUse = 0;         // codes written, 0 ... MaxNumElements
  std::uint32_t CurrentElementIndx = 0;       // where the newest code is; the last slot when empty

  /// An empty ring of `maxNumElements` codes, all 0. REQUIRES: `maxNumElements` of at least 1.
  explicit cCircBuf(std::uint32_t maxNumElements);

  /// Frees the codes. No integrator may use the ring any more.
  ~cCircBuf() = default;

  cCircBuf(const cCircBuf&) = delete;
  cCircBuf& operator=(const cCircBuf&) = delete;

  /// Writes one code after the newest; in a full ring it replaces the oldest. The first code of an
  /// empty ring goes to index 0.
  void AddElement(std::uint16_t code);

  /// Empties the ring and sets all its codes to 0. REQUIRES: every integrator fed from it is reset
  /// too, because each starts reading at index 0.
  void Reset();
};
