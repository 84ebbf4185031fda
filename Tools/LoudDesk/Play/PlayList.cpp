// Builds sources from the options.

#include "PlayList.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <utility>

#include "ComplianceCases.h"

namespace louddesk {
namespace {

constexpr int kSampleRate = 48000;  // Hz, of generated signals unless a case has its own

// The allowed values of a level or a frequency.
struct Bounds {
  double lowest;
  double highest;
};

constexpr Bounds kFrequencies = {1.0, 20000.0};  // Hz
constexpr Bounds kToneLevels = {-120.0, 0.0};    // dBFS, peak
constexpr Bounds kNoiseLevels = {-120.0, -5.0};  // dBFS, rms

// Peak to rms ratio of uniformly distributed noise, whose mean square is a third of its squared
// peak.
const double kNoiseCrestDb = 10.0 * std::log10(3.0);

struct ToneValues {
  double hertz;
  double level;  // dBFS, peak
};

// The number; nothing unless the whole text is a number within the bounds.
std::optional<double> NumberIn(const std::string& text, const Bounds& bounds) {
  double value = 0.0;
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, value);
  const bool isNumber = error == std::errc() && rest == end;
  return isNumber && value >= bounds.lowest && value <= bounds.highest ? std::optional(value)
                                                                       : std::nullopt;
}

std::string BoundsText(const Bounds& bounds, const char* unit) {
  return fmt::format("{:g} to {:g} {}", bounds.lowest, bounds.highest, unit);
}

std::optional<ToneValues> ToneIn(const std::string& text) {
  const std::size_t comma = std::min(text.find(','), text.size());
  const auto hertz = NumberIn(text.substr(0, comma), kFrequencies);
  const auto level = NumberIn(text.substr(std::min(comma + 1, text.size())), kToneLevels);
  return hertz && level ? std::optional(ToneValues{*hertz, *level}) : std::nullopt;
}

// The cases with a signal that an identifier selects: one, or all of a document.
std::vector<const ComplianceCase*> TestSignalsOf(const std::string& id) {
  std::vector<const ComplianceCase*> signals;
  for (const ComplianceCase& known : ComplianceCases())
    if (IsMeantBy(known, id) && !known.runs.empty())
      signals.push_back(&known);
  return signals;
}

Playable File(const std::string& path, const std::optional<SpeakerLayout>& speakers) {
  return {path, false, [path, speakers] { return OpenFileSource(path, speakers); }};
}

Playable Generated(std::string name, Signal signal, int sampleRate = kSampleRate) {
  return {std::move(name), false,
          [signal = std::move(signal), sampleRate] { return MakeSource(signal, sampleRate); }};
}

Playable Generated(std::string name, StepSignal endless, const std::optional<double>& seconds) {
  if (seconds)
    endless.steps.front().seconds = *seconds;
  return Generated(std::move(name), Signal(std::move(endless)));
}

Playable TonePlayable(const std::string& text, const std::optional<double>& seconds) {
  const auto tone = ToneIn(text);
  if (!tone)
    throw PlayListError(CheckTone(text));
  return Generated("tone " + text, Tone(tone->hertz, tone->level), seconds);
}

Playable NoisePlayable(const std::string& text, const std::optional<double>& seconds) {
  const auto level = NumberIn(text, kNoiseLevels);
  if (!level)
    throw PlayListError(CheckNoise(text));
  return Generated("noise " + text, Noise(*level + kNoiseCrestDb), seconds);
}

void AddTestSignal(const ComplianceCase& signal, std::vector<Playable>& list) {
  std::size_t number = 0;
  for (const ComplianceRun& run : signal.runs) {
    std::string name = "case " + signal.id;
    if (signal.runs.size() > 1)
      name += ", " + std::to_string(++number) + " of " + std::to_string(signal.runs.size());
    list.push_back(
        Generated(std::move(name), run.signal, run.sampleRate > 0 ? run.sampleRate : kSampleRate));
    list.back().isMeasuredFromZero = true;
  }
}

void AddTestSignals(const std::string& id, std::vector<Playable>& list) {
  const std::string complaint = CheckTestSignal(id);
  if (!complaint.empty())
    throw PlayListError(complaint);
  for (const ComplianceCase* signal : TestSignalsOf(id))
    AddTestSignal(*signal, list);
}

// A tone or noise without a length must be the last source.
void CheckEnds(const PlayListOptions& options) {
  const std::size_t generated = options.tones.size() + options.noises.size();
  if (options.seconds && generated == 0)
    throw PlayListError("--duration is for --tone and --noise");
  const bool isFollowed = generated > 1 || options.isLooped || !options.cases.empty();
  if (!options.seconds && generated > 0 && isFollowed)
    throw PlayListError(
        "a tone or noise without --duration never ends: nothing can follow or loop it");
}

}  // namespace

std::vector<Playable> MakePlayList(const PlayListOptions& options) {
  if (options.files.empty() && options.tones.empty() && options.noises.empty() &&
      options.cases.empty())
    throw PlayListError("nothing to play; give a FILE, --tone, --noise or --case");
  CheckEnds(options);
  std::vector<Playable> list;
  for (const std::string& path : options.files)
    list.push_back(File(path, options.speakers));
  for (const std::string& tone : options.tones)
    list.push_back(TonePlayable(tone, options.seconds));
  for (const std::string& noise : options.noises)
    list.push_back(NoisePlayable(noise, options.seconds));
  for (const std::string& id : options.cases)
    AddTestSignals(id, list);
  return list;
}

std::string CheckTone(const std::string& text) {
  if (ToneIn(text))
    return "";
  return "\"" + text + "\" is not a tone; give FREQ,LEVEL of " + BoundsText(kFrequencies, "Hz") +
         " and " + BoundsText(kToneLevels, "dBFS");
}

std::string CheckNoise(const std::string& text) {
  if (NumberIn(text, kNoiseLevels))
    return "";
  return "\"" + text + "\" is not a noise level; give " + BoundsText(kNoiseLevels, "dBFS rms");
}

std::string CheckTestSignal(const std::string& id) {
  if (!TestSignalsOf(id).empty())
    return "";
  std::string complaint = "\"" + id + "\" is not a case that can be played; those are";
  for (const ComplianceCase& known : ComplianceCases())
    if (!known.runs.empty())
      complaint += " " + known.id;
  return complaint;
}

}  // namespace louddesk
