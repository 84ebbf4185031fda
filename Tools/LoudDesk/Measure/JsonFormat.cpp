// JSON, member by member.

#include "JsonFormat.h"

#include "DocumentWriter.h"
#include "FigureFormat.h"
#include "FigureText.h"
#include "Utf8Text.h"

namespace louddesk {
namespace {

constexpr char kMissing[] = "null";

// In the order of `LimitedFigure`: the key of the figure that a limit is about.
constexpr const char* kLimitKeys[] = {"Integrated", "MaxTruePeak", "MaxShortTerm", "MaxMomentary",
                                      "Lra"};

void WriteFigure(DocumentWriter& writer, const char* key, const std::optional<double>& figure) {
  writer.Number(key, FigureText(figure, kMissing));
}

// The time of a maximum; none where there is no reading, and none in several files.
void WriteTime(DocumentWriter& writer, const char* key, const std::optional<double>& maximum,
               double seconds) {
  WriteFigure(writer, key,
              maximum && seconds > 0.0 ? std::optional<double>(seconds) : std::nullopt);
}

void WriteText(DocumentWriter& writer, const char* key, const std::optional<std::string>& text) {
  if (text)
    writer.Text(key, Utf8Of(*text));
  else
    writer.Number(key, kMissing);
}

void WriteFile(DocumentWriter& writer, const Subject& subject) {
  const FileFacts* file = subject.file;
  if (file == nullptr) {
    writer.Number("File", kMissing).Number("Album", std::to_string(subject.files));
    return;
  }
  writer.Text("File", Utf8Of(file->path)).Number("Album", kMissing).Text("Format", file->format);
  writer.Signed("SampleRate", file->sampleRate).Number("Channels", std::to_string(file->channels));
  writer.Number("Bytes", file->bytes ? std::to_string(*file->bytes) : kMissing);
  WriteText(writer, "Sha256",
            file->sha256.empty() ? std::nullopt : std::optional<std::string>(file->sha256));
}

void WriteProgramme(DocumentWriter& writer, const Programme& programme) {
  writer.OpenObject("Programme").OpenArray("Channels");
  for (const ProgrammeChannel& member : programme)
    writer.Number(DocumentWriter::kNoKey, std::to_string(member.channel + 1));
  writer.CloseArray().OpenArray("Speakers");
  for (const ProgrammeChannel& member : programme)
    writer.Text(DocumentWriter::kNoKey, member.speaker);
  writer.CloseArray().CloseObject();
}

void WriteFigures(DocumentWriter& writer, const Figures& figures) {
  WriteFigure(writer, "Seconds", figures.seconds);
  WriteFigure(writer, "Integrated", figures.integrated);
  WriteFigure(writer, "Lra", figures.lra);
  writer.Flag("LraIsStable", figures.lra && !IsRangeUnstable(figures));
  WriteFigure(writer, "MaxMomentary", figures.maxMomentary);
  WriteTime(writer, "MaxMomentaryAt", figures.maxMomentary, figures.maxMomentaryAt);
  WriteFigure(writer, "MaxShortTerm", figures.maxShortTerm);
  WriteTime(writer, "MaxShortTermAt", figures.maxShortTerm, figures.maxShortTermAt);
  WriteFigure(writer, "MaxTruePeak", figures.maxTruePeak);
  WriteTime(writer, "MaxTruePeakAt", figures.maxTruePeak, figures.maxTruePeakAt);
  writer.OpenArray("AtLeast");
  for (const std::string& key : KeysAtLeast(figures))
    writer.Text(DocumentWriter::kNoKey, key);
  writer.CloseArray();
}

void WriteChannels(DocumentWriter& writer, const std::vector<ChannelFigures>& channels) {
  writer.OpenArray("ChannelPeaks");
  for (const ChannelFigures& channel : channels) {
    writer.OpenObject(DocumentWriter::kNoKey);
    writer.Number("Channel", std::to_string(channel.channel + 1)).Text("Speaker", channel.speakers);
    WriteFigure(writer, "TruePeak", channel.truePeak);
    WriteFigure(writer, "SamplePeak", channel.samplePeak);
    writer.Flag("IsAtLeast", channel.isPeakAtLeast).CloseObject();
  }
  writer.CloseArray();
}

void WriteLimits(DocumentWriter& writer, const std::vector<Verdict>& verdicts) {
  writer.OpenArray("Limits");
  for (const Verdict& verdict : verdicts) {
    writer.OpenObject(DocumentWriter::kNoKey);
    writer.Text("Limit", kLimitKeys[static_cast<std::size_t>(verdict.figure)]);
    WriteFigure(writer, "Lowest", verdict.range.lowest);
    WriteFigure(writer, "Highest", verdict.range.highest);
    WriteFigure(writer, "Measured", verdict.measured);
    WriteText(writer, "Verdict", MachineWordFor(verdict.judgement));
    writer.CloseObject();
  }
  writer.CloseArray();
}

}  // namespace

std::string JsonLine(const Subject& subject, const Assessment& assessment,
                     const Criteria& criteria) {
  DocumentWriter writer;
  writer.Unsigned("Schema", kJsonSchema);
  WriteFile(writer, subject);
  const std::string damage = DamageOf(subject);
  WriteText(writer, "Damage", damage.empty() ? std::nullopt : std::optional<std::string>(damage));
  WriteProgramme(writer, subject.programme->programme);
  WriteFigures(writer, subject.programme->figures);
  WriteChannels(writer, subject.programme->channels);
  writer.Text("Profile", criteria.name);
  WriteFigure(writer, "Target", criteria.target);
  WriteFigure(writer, "Gain", assessment.gain.toTarget);
  WriteFigure(writer, "GainWithinPeak", assessment.gain.withinPeak);
  WriteText(writer, "Verdict", MachineWordFor(assessment.judgement));
  WriteLimits(writer, assessment.verdicts);
  return writer.Finish() + "\n";
}

}  // namespace louddesk
