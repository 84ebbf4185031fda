// The test signals of ITU-R BS.1770, EBU Tech 3341 and EBU Tech 3342, with the figures that a meter
// must read. Constant data.

#pragma once

#include <optional>
#include <string>
#include <vector>

#include "SpeakerLayout.h"
#include "TestSignals.h"

namespace louddesk {

/// The figure that is read.
enum class Quantity {
  kMomentary,      // LKFS
  kShortTerm,      // LKFS
  kMaxShortTerm,   // highest short-term reading, LKFS
  kIntegrated,     // LKFS
  kLra,            // LU
  kMaxMomentary,   // LKFS
  kMaxTruePeak,    // dBTP
  kWeightingGain,  // of the front end over the last second, for a sine of 0 dBFS; dB
};

/// Which reading between the first and the last block counts.
enum class Pick {
  kLast,
  kLowest,
  kHighest,
  kChange,  // last reading minus first reading
};

/// How far a reading may be from the expected figure.
struct Tolerance {
  double below;
  double above;
};

/// A figure that a meter must read.
struct Expectation {
  Quantity quantity;
  std::string detail;  // distinguishes several figures of one case; empty for a single one
  Pick pick;
  int firstBlock;       // range of readings that count, as numbers of blocks of 100 ms
  int lastBlock;        // measured before the reading
  double standard;      // figure of the standard
  double expected;      // figure of a meter with blocks of 100 ms
  Tolerance tolerance;  // around `expected`
};

/// One measurement, started from empty.
struct ComplianceRun {
  Signal signal;
  std::vector<Expectation> expectations;
  int sampleRate = 0;  // Hz; 0: the requested one
};

/// A recording that may not be redistributed: the layout of a copy, and the figures that a meter
/// must read at its end. The length of a copy is unknown, so no expectation counts blocks.
struct ComplianceRecording {
  SpeakerLayout speakers;
  std::vector<Expectation> expectations;
};

/// A case consists of either runs or a recording.
struct ComplianceCase {
  std::string id;      // document and number, for example "3341-5"
  std::string signal;  // in words
  std::vector<ComplianceRun> runs;
  std::optional<ComplianceRecording> recording = {};
};

/// All cases in the order of the standards.
const std::vector<ComplianceCase>& ComplianceCases();

/// Whether `wanted`, an identifier from the user, selects a case: its own identifier or that of its
/// document.
bool IsMeantBy(const ComplianceCase& complianceCase, const std::string& wanted);

}  // namespace louddesk
