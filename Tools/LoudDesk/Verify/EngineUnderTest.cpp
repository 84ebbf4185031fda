// The engine as a meter under test.

#include "MeterUnderTest.h"

namespace louddesk {

void EngineUnderTest::Start(const SpeakerLayout& speakers, Subject) {
  mMeter.Start(speakers);
}

void EngineUnderTest::Feed(const BlockReading& block) {
  mMeter.Feed(block);
}

MeterReadings EngineUnderTest::Read() {
  const Figures figures = mMeter.Read();
  return {figures.momentary, figures.shortTerm,    figures.integrated,
          figures.lra,       figures.maxMomentary, figures.maxTruePeak};
}

}  // namespace louddesk
