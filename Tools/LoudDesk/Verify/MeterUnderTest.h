// A meter that measures the test signals: the engine in this process, or a running service.

#pragma once

#include "BlockReading.h"
#include "EngineMeter.h"
#include "Figures.h"
#include "SpeakerLayout.h"

namespace louddesk {

/// The quantity that a measurement is for. Figures of the other kind may be wrong.
enum class Measurand {
  kLoudness,
  kTruePeak,
};

class MeterUnderTest {
 public:
  virtual ~MeterUnderTest() = default;

  /// Restarts the measurement from empty.
  virtual void Start(const SpeakerLayout& speakers, Measurand measurand) = 0;

  /// Measures the next block.
  virtual void Feed(const BlockReading& block) = 0;

  /// The figures after the last block; nothing where there is no reading. Only loudness, its range
  /// and maxima, and the maximum true peak are used.
  virtual Figures Read() = 0;
};

/// The service's engine in this process, fed through its dispatcher. One object at a time.
class EngineUnderTest : public MeterUnderTest {
 public:
  void Start(const SpeakerLayout& speakers, Measurand) override { mMeter.Start(speakers); }
  void Feed(const BlockReading& block) override { mMeter.Feed(block); }
  Figures Read() override { return mMeter.Read(); }

 private:
  EngineMeter mMeter;
};

}  // namespace louddesk
