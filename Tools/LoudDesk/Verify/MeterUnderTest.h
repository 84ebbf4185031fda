// What the test signals are measured by: the engine in this process, or a running service.

#pragma once

#include <memory>
#include <optional>

#include "BlockReading.h"
#include "SpeakerLayout.h"

namespace louddesk {

/// What a measurement is about. A meter may spoil the figures of the other kind.
enum class Subject {
  kLoudness,
  kTruePeak,
};

/// Figures of one moment; nothing where there is no reading.
struct MeterReadings {
  std::optional<double> momentary;     // LKFS
  std::optional<double> shortTerm;     // LKFS
  std::optional<double> integrated;    // LKFS
  std::optional<double> lra;           // LU
  std::optional<double> maxMomentary;  // LKFS
  std::optional<double> maxTruePeak;   // dBTP
};

class MeterUnderTest {
 public:
  virtual ~MeterUnderTest() = default;

  /// Starts a measurement from empty.
  virtual void Start(const SpeakerLayout& speakers, Subject subject) = 0;

  /// Measures the next block.
  virtual void Feed(const BlockReading& block) = 0;

  /// The figures after the last block.
  virtual MeterReadings Read() = 0;
};

/// The service's engine in this process, behind its dispatcher; one at a time.
std::unique_ptr<MeterUnderTest> MakeEngineUnderTest();

}  // namespace louddesk
