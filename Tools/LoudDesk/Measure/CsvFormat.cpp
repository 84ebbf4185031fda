// Writes rows of fields.

#include "CsvFormat.h"

#include <fmt/format.h>

#include "CsvText.h"
#include "FigureFormat.h"
#include "FigureText.h"
#include "SpeakerNames.h"

namespace louddesk {
namespace {

constexpr char kMissing[] = "";
constexpr char kYes[] = "yes";
constexpr char kNo[] = "no";

std::string Text(const std::optional<double>& figure) {
  return FigureText(figure, kMissing);
}

// The time of a maximum; empty without a reading, or for several files.
std::string TimeText(const std::optional<double>& maximum, double seconds) {
  return maximum && seconds > 0.0 ? Text(seconds) : kMissing;
}

std::string SpeakersOf(const Programme& programme) {
  std::string speakers;
  for (const ProgrammeChannel& member : programme)
    speakers += (speakers.empty() ? "" : " ") + ShortSpeakerName(member.speaker);
  return speakers;
}

std::string StabilityOf(const Figures& figures) {
  return !figures.lra ? kMissing : IsRangeUnstable(figures) ? kNo : kYes;
}

const FileFacts kNoFacts;

}  // namespace

std::string CsvHeader() {
  return CsvLine({"File",
                  "Files",
                  "Channels",
                  "Speakers",
                  "Format",
                  "Sample rate (Hz)",
                  "Size (bytes)",
                  "SHA-256",
                  "Duration (s)",
                  "Integrated loudness (LKFS)",
                  "Loudness range (LU)",
                  "Loudness range is stable",
                  "Maximum momentary (LKFS)",
                  "Maximum momentary at (s)",
                  "Maximum short-term (LKFS)",
                  "Maximum short-term at (s)",
                  "Maximum true peak (dBTP)",
                  "Maximum true peak at (s)",
                  "At least",
                  "Profile",
                  "Target (LKFS)",
                  "Gain to target (dB)",
                  "Gain up to peak limit (dB)",
                  "Verdict",
                  "Damage"});
}

std::string CsvRow(const Subject& subject, const Assessment& assessment, const Criteria& criteria) {
  const FileFacts& file = subject.file != nullptr ? *subject.file : kNoFacts;
  const Programme& programme = subject.programme->programme;
  const Figures& figures = subject.programme->figures;
  return CsvLine({file.path,
                  std::to_string(subject.files),
                  ChannelsInWords(programme),
                  SpeakersOf(programme),
                  file.format,
                  file.sampleRate > 0 ? std::to_string(file.sampleRate) : kMissing,
                  file.bytes ? std::to_string(*file.bytes) : kMissing,
                  file.sha256,
                  Text(figures.seconds),
                  Text(figures.integrated),
                  Text(figures.lra),
                  StabilityOf(figures),
                  Text(figures.maxMomentary),
                  TimeText(figures.maxMomentary, figures.maxMomentaryAt),
                  Text(figures.maxShortTerm),
                  TimeText(figures.maxShortTerm, figures.maxShortTermAt),
                  Text(figures.maxTruePeak),
                  TimeText(figures.maxTruePeak, figures.maxTruePeakAt),
                  fmt::format("{}", fmt::join(KeysAtLeast(figures), " ")),
                  criteria.name,
                  Text(criteria.target),
                  Text(assessment.gain.toTarget),
                  Text(assessment.gain.withinPeak),
                  MachineWordFor(assessment.judgement),
                  DamageOf(subject)});
}

std::string SeriesHeader() {
  return CsvLine({"File", "Channels", "Time (s)", "Momentary (LKFS)", "Short-term (LKFS)",
                  "Integrated (LKFS)", "Loudness range (LU)", "True peak (dBTP)", "Damaged"});
}

std::string SeriesRows(const Subject& subject) {
  const std::string path = subject.file->path;
  const std::string channels = ChannelsInWords(subject.programme->programme);
  const char* isDamaged = DamageOf(subject).empty() ? kNo : kYes;
  std::string rows;
  for (const SeriesPoint& point : subject.programme->points)
    rows +=
        CsvLine({path, channels, Text(point.seconds), Text(point.momentary), Text(point.shortTerm),
                 Text(point.integrated), Text(point.lra), Text(point.truePeak), isDamaged});
  return rows;
}

}  // namespace louddesk
