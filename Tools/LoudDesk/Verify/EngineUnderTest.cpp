// The engine as a meter under test.

#include "EngineMeter.h"
#include "MeterUnderTest.h"

namespace louddesk {
namespace {

class EngineUnderTest : public MeterUnderTest {
 public:
  void Start(const SpeakerLayout& speakers, Subject) override { mMeter.Start(speakers); }

  void Feed(const BlockReading& block) override { mMeter.Feed(block); }

  MeterReadings Read() override {
    const Figures figures = mMeter.Read();
    return {figures.momentary, figures.shortTerm,    figures.integrated,
            figures.lra,       figures.maxMomentary, figures.maxTruePeak};
  }

 private:
  EngineMeter mMeter;
};

}  // namespace

std::unique_ptr<MeterUnderTest> MakeEngineUnderTest() {
  return std::make_unique<EngineUnderTest>();
}

}  // namespace louddesk
