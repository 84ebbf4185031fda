// Writes the documents of the application server and the process monitor.

#include "UnitDocuments.h"

#include <algorithm>
#include <ctime>

#include "DocumentWriter.h"
#include "JsonAccess.h"
#include "LuMessageKeys.h"
#include "Meters.h"
#include "PresetKeys.h"

namespace louddesk {
namespace {

namespace key = preset_key;

void WritePlace(DocumentWriter& writer, int inputNo) {
  writer.Text(key::kConnectorType, "BNC").Signed(key::kSlot, 1).Signed(key::kCage, 0);
  writer.Signed(key::kInputNo, inputNo);
}

void WriteClock(DocumentWriter& writer, const std::string& type) {
  writer.OpenObject(key::kSystemClockSource).Text(key::kType, type);
  WritePlace(writer, 1);
  writer.Signed(key::kPair, 1).CloseObject();
}

void WriteCluster(DocumentWriter& writer, const Preset::Cluster& cluster) {
  writer.OpenObject(DocumentWriter::kNoKey)
      .Text(key::kName, "Cluster")
      .Text(key::kType, cluster.type);
  writer.Signed(key::kFirstMeter, cluster.firstMeter)
      .Signed(key::kNumberOfMeters, cluster.numberOfMeters);
  writer.Flag(key::kMuteOnPresetRecall, true).CloseObject();
}

void WriteMeter(DocumentWriter& writer, const Preset::Meter& meter) {
  writer.OpenObject(std::to_string(meter.number).c_str()).Signed(key::kVolumeDb, 0);
  writer.Signed(key::kDelayMs, 0).Text(key::kSpeaker, meter.speaker).OpenObject(key::kSource);
  writer.Signed(key::kChannel, meter.channel);
  WritePlace(writer, meter.number);
  writer.Text(key::kType, meter.type).CloseObject().CloseObject();
}

}  // namespace

std::string Preset::Json() const {
  DocumentWriter writer;
  writer.Signed(key::kCount, 1).Flag(key::kRepub, isRepublished).Signed(key::kSpeakerDelayMs, 0);
  if (name) {
    writer.OpenObject(key::kName)
        .Text(key::kPreset, name->preset)
        .Text(key::kProgram, name->program);
    writer.Text(key::kGroup, name->group).CloseObject();
  }
  if (clock)
    WriteClock(writer, *clock);
  writer.OpenArray(key::kClusters);
  for (const Cluster& cluster : clusters)
    WriteCluster(writer, cluster);
  writer.CloseArray().OpenObject(key::kMeterSet);
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
    const bool isSpeaker = cMeter::ConvertToSpeakerTypeFromString(speaker.c_str()) != AST_NONE;
    preset.meters.push_back({number, speaker, isSpeaker ? number : 0});
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

unsigned NextTimeStamp(unsigned last) {
  return std::max(last + 1, static_cast<unsigned>(std::time(nullptr)));
}

std::string EnableReportingJson(bool enable) {
  return DocumentWriter().Flag("Enable", enable).Finish();
}

}  // namespace louddesk
