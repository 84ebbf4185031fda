// Test signals described as data, and sources that play them. Samples are computed on reading and
// are the same each time. Stateless but for the returned sources.

#pragma once

#include <limits>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "SampleSource.h"

namespace louddesk {

/// The level of silence.
constexpr double kSilenceDb = -std::numeric_limits<double>::infinity();

/// The length of an endless step.
constexpr double kEndless = std::numeric_limits<double>::infinity();

/// The waveform of a signal.
enum class Carrier {
  kSine,   // in phase on all channels, continuous over all steps
  kNoise,  // white, uniformly distributed up to the peak level; independent on each channel
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
  std::vector<double> levels;  // peak, dBFS: one for all channels, or one per channel
};

/// Consecutive steps of one carrier.
struct StepSignal {
  SpeakerLayout speakers;
  std::vector<SignalStep> steps;
  Carrier carrier = Carrier::kSine;
  Frequency frequency = {1000.0};
  double phaseDegrees = 0.0;  // at the first sample
  double fadeSeconds = 0.0;   // linear, at the start and at the end
};

/// Stereo, one second: a sine of a sixth of the nominal rate with an amplitude of 0.5. One period
/// in the middle has a quarter of that rate and an amplitude of 1.0, with continuous phase. The
/// signal is generated at four times the nominal rate, low-passed, and decimated from sample
/// `offset` on, so that the crest is on a sample (0) or between two (EBU Tech 3341, cases 20 to
/// 23). Has short fades.
struct HiddenCrestSignal {
  int offset;  // 0 ... 3, in samples at four times the nominal rate
};

using Signal = std::variant<StepSignal, HiddenCrestSignal>;

/// The rate in Hz to which the frequencies of true-peak signals refer: the sample rate below 96
/// kHz, half of it from 96 kHz and a quarter from 192 kHz. True-peak meters oversample by four, two
/// and one at these rates (ITU-R BS.1770-3, Annex 2), always to four times the nominal rate.
double NominalRate(int sampleRate);

/// A source that plays the signal from its start at a sample rate of 8 to 192 kHz. Each step starts
/// at the frame nearest to its time.
std::unique_ptr<SampleSource> MakeSource(const Signal& signal, int sampleRate);

/// Endless stereo signals. `levelDb` is the peak level in dBFS.
StepSignal Tone(double hertz, double levelDb);
StepSignal Noise(double levelDb);

/// The signal `times` times in a row.
StepSignal Repeated(const StepSignal& signal, int times);

}  // namespace louddesk
