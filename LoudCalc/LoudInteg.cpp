// Sliding-window loudness on a shared ring of codes. Reactor thread only.

#include "LoudInteg.h"

#include <algorithm>

cLoudInteg::cLoudInteg(float relativeGate, cCircBuf* circBuf)
    : pCircBuf(circBuf),
      MaxNumElementsInCircBuf(circBuf->MaxNumElements),
      RelativeGate(relativeGate) {}

void cLoudInteg::Reset(std::uint32_t integrationTimeSamples) {
  Bins.Reset();
  MomLoudTail = 0;
  IntegrationTimeSamples = std::min(integrationTimeSamples, kMaxWindowReadings);
  NumSamplesReceived = 0;
}

void cLoudInteg::AddNewSample(std::uint16_t code) {
  Bins.Increment(code);
  if (NumSamplesReceived < IntegrationTimeSamples) {
    ++NumSamplesReceived;
    return;
  }
  Bins.Decrement(OldestCode());
  ++MomLoudTail;
  if (MomLoudTail >= MaxNumElementsInCircBuf)
    MomLoudTail = 0;
}

float cLoudInteg::GetGatedLkfsReading() const {
  const float ungated = Bins.GetLoudnessLkfs(kAbsoluteGateLkfs);
  const float gate = ungated + RelativeGate;
  return gate < kAbsoluteGateLkfs ? ungated : Bins.GetLoudnessLkfs(gate);
}

float cLoudInteg::GetLraGate() const {
  return GetGatedLkfsReading() - kLraGateDepthLu;
}

float cLoudInteg::GetLra() const {
  const float gate = GetLraGate();
  return gate < kAbsoluteGateLkfs ? 0.0F : Bins.GetLra(Cbin::GetBinIndx(gate));
}

std::uint16_t cLoudInteg::OldestCode() const {
  return MomLoudTail < pCircBuf->MaxNumElements ? pCircBuf->pCircBuf[MomLoudTail]
                                                : std::uint16_t{0};
}
