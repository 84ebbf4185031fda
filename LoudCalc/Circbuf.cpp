// Ring of loudness codes, shared by the integrators. Reactor thread only.

#include "Circbuf.h"

#include <algorithm>

cCircBuf::cCircBuf(std::uint32_t maxNumElements)
    : pCircBuf(std::make_unique<std::uint16_t[]>(maxNumElements)),
      MaxNumElements(maxNumElements),
      CurrentElementIndx(maxNumElements - 1) {}

void cCircBuf::AddElement(std::uint16_t code) {
  ++CurrentElementIndx;
  if (CurrentElementIndx >= MaxNumElements)
    CurrentElementIndx = 0;
  pCircBuf[CurrentElementIndx] = code;
  if (NumElementsInUse < MaxNumElements)
    ++NumElementsInUse;
}

void cCircBuf::Reset() {
  std::fill_n(pCircBuf.get(), MaxNumElements, std::uint16_t{0});
  NumElementsInUse = 0;
  CurrentElementIndx = MaxNumElements - 1;
}
