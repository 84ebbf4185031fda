// Test signals described as data, and the generators that play them. Every signal is made while it
// is read and is the same each time. Stateless but for the sources that are returned.

#pragma once

#include <limits>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "SampleSource.h"

namespace louddesk {

/// A level for silence.
constexpr double kSilenceDb = -std::numeric_limits<double>::infinity();

/// A length for what never ends.
constexpr double kEndless = std::numeric_limits<double>::infinity();

/// What the levels of a signal are levels of.
enum class Carrier {
  kSine,   // in phase on all channels, continuous over all steps
  kNoise,  // white, evenly distributed up to the peak level; another noise on each channel
};

/// The frequency of a sine.
struct Frequency {
  double value;
  enum class Unit {
    kHertz,
    kShareOfNominalRate,  // see `NominalRate`
  } unit = Unit::kHertz;
};

/// A stretch of constant level.
struct SignalStep {
  double seconds;
  std::vector<double> levels;  // peak, dBFS: one for all channels, or one for each
};

/// Steps of a carrier, one after another.
struct StepSignal {
  SpeakerLayout speakers;
  std::vector<SignalStep> steps;
  Carrier carrier = Carrier::kSine;
  Frequency frequency = {1000.0};
  double phaseDegrees = 0.0;  // at the first sample
  double fadeSeconds = 0.0;   // linear, at the beginning and at the end
};

/// Stereo, one second: a sine of a sixth of the nominal rate with an amplitude of 0.5, which holds
/// in its middle one period of a quarter of that rate with an amplitude of 1.0, without a break of
/// phase. Made at four times the nominal rate, low-passed, and thinned out from the sample `offset`
/// on, so that the crest falls on a sample (0) or between two (EBU Tech 3341, cases 20 to 23). With
/// short fades.
struct HiddenCrestSignal {
  int offset;  // 0 ... 3 samples of four times the nominal rate
};

using Signal = std::variant<StepSignal, HiddenCrestSignal>;

/// The rate in Hz whose shares true-peak signals are made of: the sample rate below 96 kHz, half of
/// it from there and a quarter from 192 kHz. A true-peak meter looks at four points a sample, at
/// two and at the samples alone (ITU-R BS.1770-3, Annex 2), that is at four points of this rate.
double NominalRate(int sampleRate);

/// A source that plays the signal from its beginning at a sample rate of 8 to 192 kHz. Steps begin
/// at the frame nearest to their time.
std::unique_ptr<SampleSource> MakeSource(const Signal& signal, int sampleRate);

/// Endless stereo signals of a peak level in dBFS.
StepSignal Tone(double hertz, double levelDb);
StepSignal Noise(double levelDb);

/// The signal `times` times in a row.
StepSignal Repeated(const StepSignal& signal, int times);

}  // namespace louddesk
