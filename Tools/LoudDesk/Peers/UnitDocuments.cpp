// Documents of the application server and the process monitor.

#include "UnitDocuments.h"

#include "DocumentWriter.h"
#include "JsonAccess.h"
#include "LuMessageKeys.h"

namespace louddesk {
namespace {

// Text of a channel that belongs to no programme: no channel feeds its meter.
constexpr char kNoSpeaker[] = "None";

void WritePlace(DocumentWriter& writer, int inputNo) {
  writer.Text("ConnectorType", "BNC").Signed("Slot", 1).Signed("Cage", 0);
  writer.Signed("InputNo", inputNo);
}

void WriteClock(DocumentWriter& writer, const std::string& type) {
  writer.OpenObject("SystemClockSource").Text("Type", type);
  WritePlace(writer, 1);
  writer.Signed("Pair", 1).CloseObject();
}

void WriteCluster(DocumentWriter& writer, const Preset::Cluster& cluster) {
  writer.OpenObject(DocumentWriter::kNoKey).Text("Name", "Cluster").Text("Type", cluster.type);
  writer.Signed("FirstMeter", cluster.firstMeter).Signed("NumberOfMeters", cluster.numberOfMeters);
  writer.Flag("MuteOnPresetRecall", true).CloseObject();
}

void WriteMeter(DocumentWriter& writer, const Preset::Meter& meter) {
  writer.OpenObject(std::to_string(meter.number).c_str()).Signed("VolumeDb", 0);
  writer.Signed("DelayMs", 0).Text("Speaker", meter.speaker).OpenObject("Source");
  writer.Signed("Channel", meter.channel);
  WritePlace(writer, meter.number);
  writer.Text("Type", meter.type).CloseObject().CloseObject();
}

}  // namespace

std::string Preset::Json() const {
  DocumentWriter writer;
  writer.Signed("Count", 1).Flag("Repub", isRepublished).Signed("SpeakerDelayMs", 0);
  if (name) {
    writer.OpenObject("Name").Text("Preset", name->preset).Text("Program", name->program);
    writer.Text("Group", name->group).CloseObject();
  }
  if (clock)
    WriteClock(writer, *clock);
  writer.OpenArray("Clusters");
  for (const Cluster& cluster : clusters)
    WriteCluster(writer, cluster);
  writer.CloseArray().OpenObject("MeterSet");
  for (const Meter& meter : meters)
    WriteMeter(writer, meter);
  return writer.CloseObject().Finish();
}

Preset PresetForSpeakers(const std::vector<std::string>& speakers, unsigned cluster) {
  Preset preset;
  preset.clusters.assign(cluster, {1, 0});
  preset.clusters.back().numberOfMeters = static_cast<int>(speakers.size());
  int number = 0;
  for (const std::string& speaker : speakers) {
    ++number;
    preset.meters.push_back({number, speaker, speaker == kNoSpeaker ? 0 : number});
  }
  return preset;
}

std::string LoudnessConfiguration::Json() const {
  return DocumentWriter()
      .Flag(lu_key::kOriginFromFp, originFromFp)
      .Unsigned(lu_key::kClusterId, clusterId)
      .Unsigned(lu_key::kLraWindow, lraWindow)
      .Text(lu_key::kLoudnessStandard, loudnessStandard)
      .Text(lu_key::kLoudnessWindow, loudnessWindow)
      .Signed(lu_key::kAlarmTolerance, alarmTolerance)
      .Text(lu_key::kAlarm, alarm)
      .Signed(lu_key::kReferenceLevel, referenceLevel)
      .Text(lu_key::kMode, mode)
      .Unsigned(lu_key::kLoudnessWindowTime, loudnessWindowTime)
      .Unsigned(lu_key::kReadUser, userId)
      .Finish();
}

std::optional<LoudnessConfiguration> ReadConfiguration(const std::string& json) {
  rapidjson::Document document;
  LoudnessConfiguration read;
  if (!json::ParseObject(json.c_str(), document) ||
      !json::Read(document, lu_key::kClusterId, read.clusterId) ||
      !json::Read(document, lu_key::kLraWindow, read.lraWindow) ||
      !json::Read(document, lu_key::kLoudnessStandard, read.loudnessStandard) ||
      !json::Read(document, lu_key::kLoudnessWindow, read.loudnessWindow) ||
      !json::Read(document, lu_key::kAlarmTolerance, read.alarmTolerance) ||
      !json::Read(document, lu_key::kAlarm, read.alarm) ||
      !json::Read(document, lu_key::kReferenceLevel, read.referenceLevel) ||
      !json::Read(document, lu_key::kMode, read.mode) ||
      !json::Read(document, lu_key::kLoudnessWindowTime, read.loudnessWindowTime))
    return std::nullopt;
  json::Read(document, lu_key::kReadUser, read.userId);
  json::Read(document, lu_key::kOriginFromFp, read.originFromFp);
  return read;
}

std::string LoudnessCommand::Json() const {
  return DocumentWriter()
      .Unsigned(lu_key::kClusterId, clusterId)
      .Flag(lu_key::kOriginFromFp, originFromFp)
      .Text(lu_key::kCommand, command)
      .Unsigned(lu_key::kMeterSet, meterSet)
      .Unsigned(lu_key::kCommandTimeStamp, timeStamp)
      .Unsigned(lu_key::kReadUser, userId)
      .Finish();
}

std::string EnableReportingJson(bool enable) {
  return DocumentWriter().Flag("Enable", enable).Finish();
}

}  // namespace louddesk
