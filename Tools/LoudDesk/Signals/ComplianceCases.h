// The test signals of the public standards with the figures that a meter must read of them, as
// data: ITU-R BS.1770, EBU Tech 3341 and EBU Tech 3342. Never changes.

#pragma once

#include <optional>
#include <string>
#include <vector>

#include "SpeakerLayout.h"
#include "TestSignals.h"

namespace louddesk {

/// What is read.
enum class Quantity {
  kMomentary,      // LKFS
  kShortTerm,      // LKFS
  kMaxShortTerm,   // the highest of the short-term readings, LKFS
  kIntegrated,     // LKFS
  kLra,            // LU
  kMaxMomentary,   // LKFS
  kMaxTruePeak,    // dBTP
  kWeightingGain,  // of the front end over the last second, from a sine of 0 dBFS; dB
};

/// Which of the readings between two blocks counts.
enum class Pick {
  kLast,
  kLowest,
  kHighest,
  kChange,  // the last one less the first one
};

/// How far a reading may lie from the figure expected.
struct Tolerance {
  double below;
  double above;
};

/// A figure that a meter must read.
struct Expectation {
  Quantity quantity;
  std::string detail;  // which of several, in words; empty when there is only one
  Pick pick;
  int firstBlock;       // the first and the last reading that count, by the number of blocks of
  int lastBlock;        // 100 ms that have been measured
  double standard;      // what the standard asks for
  double expected;      // what a meter reads that works in blocks of 100 ms
  Tolerance tolerance;  // about `expected`
};

/// One measurement from empty.
struct ComplianceRun {
  Signal signal;
  std::vector<Expectation> expectations;
  int sampleRate = 0;  // Hz; 0: the one that is asked for
};

/// A recording that must not be passed on: what a copy of it has to be, and the figures that a
/// meter must read at its end. Its length is that of the copy: no expectation counts blocks.
struct ComplianceRecording {
  SpeakerLayout speakers;
  std::vector<Expectation> expectations;
};

/// Either runs or a recording.
struct ComplianceCase {
  std::string id;      // document and number, for example "3341-5"
  std::string signal;  // in words
  std::vector<ComplianceRun> runs;
  std::optional<ComplianceRecording> recording = {};
};

/// All cases in the order of the standards.
const std::vector<ComplianceCase>& ComplianceCases();

/// Whether a case is meant by what a user asks for: its identifier, or that of its document alone.
bool IsMeantBy(const ComplianceCase& complianceCase, const std::string& wanted);

}  // namespace louddesk
