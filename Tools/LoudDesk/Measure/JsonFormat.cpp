// Writes JSON member by member.

#include "JsonFormat.h"

#include "FigureFormat.h"
#include "Utf8Text.h"

namespace louddesk {
namespace {

// The time of a maximum; null without a reading, or for several files.
void WriteTime(DocumentWriter& writer, const char* key, const std::optional<double>& maximum,
               double seconds) {
  writer.Figure(key, maximum && seconds > 0.0 ? std::optional<double>(seconds) : std::nullopt);
}

// Null if the text is empty.
void WriteText(DocumentWriter& writer, const char* key, const std::string& text) {
  if (text.empty())
    writer.Number(key, kJsonNull);
  else
    writer.Text(key, Utf8Of(text));
}

void WriteFile(DocumentWriter& writer, const Subject& subject) {
  const FileFacts* file = subject.file;
  if (file == nullptr) {
    writer.Number("File", kJsonNull).Number("Album", std::to_string(subject.files));
    return;
  }
  writer.Text("File", Utf8Of(file->path)).Number("Album", kJsonNull).Text("Format", file->format);
  writer.Signed("SampleRate", file->sampleRate).Number("Channels", std::to_string(file->channels));
  writer.Number("Bytes", file->bytes ? std::to_string(*file->bytes) : kJsonNull);
  WriteText(writer, "Sha256", file->sha256);
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

void WriteChannels(DocumentWriter& writer, const std::vector<ChannelFigures>& channels) {
  writer.OpenArray("ChannelPeaks");
  for (const ChannelFigures& channel : channels) {
    writer.OpenObject(DocumentWriter::kNoKey);
    writer.Number("Channel", std::to_string(channel.channel + 1)).Text("Speaker", channel.speakers);
    writer.Figure("TruePeak", channel.truePeak).Figure("SamplePeak", channel.samplePeak);
    writer.Flag("IsAtLeast", channel.isPeakAtLeast).CloseObject();
  }
  writer.CloseArray();
}

void WriteLimits(DocumentWriter& writer, const std::vector<Verdict>& verdicts) {
  writer.OpenArray("Limits");
  for (const Verdict& verdict : verdicts) {
    writer.OpenObject(DocumentWriter::kNoKey);
    writer.Text("Limit", verdict.key);
    writer.Figure("Lowest", verdict.range.lowest).Figure("Highest", verdict.range.highest);
    writer.Figure("Measured", verdict.measured);
    WriteText(writer, "Verdict", MachineWordFor(verdict.judgement));
    writer.CloseObject();
  }
  writer.CloseArray();
}

}  // namespace

void WriteFigures(DocumentWriter& writer, const Figures& figures) {
  writer.Figure("Seconds", figures.seconds);
  writer.Figure("Integrated", figures.integrated);
  writer.Figure("Lra", figures.lra);
  writer.Flag("LraIsStable", figures.lra && !IsRangeUnstable(figures));
  writer.Figure("MaxMomentary", figures.maxMomentary);
  WriteTime(writer, "MaxMomentaryAt", figures.maxMomentary, figures.maxMomentaryAt);
  writer.Figure("MaxShortTerm", figures.maxShortTerm);
  WriteTime(writer, "MaxShortTermAt", figures.maxShortTerm, figures.maxShortTermAt);
  writer.Figure("MaxTruePeak", figures.maxTruePeak);
  WriteTime(writer, "MaxTruePeakAt", figures.maxTruePeak, figures.maxTruePeakAt);
  writer.OpenArray("AtLeast");
  for (const std::string& key : KeysAtLeast(figures))
    writer.Text(DocumentWriter::kNoKey, key);
  writer.CloseArray();
}

void WriteJudgement(DocumentWriter& writer, const Assessment& assessment,
                    const Criteria& criteria) {
  writer.Text("Profile", criteria.name);
  writer.Figure("Target", criteria.target);
  writer.Figure("Gain", assessment.gain.toTarget);
  writer.Figure("GainWithinPeak", assessment.gain.withinPeak);
  WriteText(writer, "Verdict", MachineWordFor(assessment.judgement));
  WriteLimits(writer, assessment.verdicts);
}

std::string JsonLine(const Subject& subject, const Assessment& assessment,
                     const Criteria& criteria) {
  DocumentWriter writer;
  writer.Unsigned("Schema", kJsonSchema);
  WriteFile(writer, subject);
  WriteText(writer, "Damage", DamageOf(subject));
  WriteProgramme(writer, subject.programme->programme);
  WriteFigures(writer, subject.programme->figures);
  WriteChannels(writer, subject.programme->channels);
  WriteJudgement(writer, assessment, criteria);
  return writer.Finish() + "\n";
}

}  // namespace louddesk
