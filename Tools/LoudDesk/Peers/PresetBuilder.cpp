// Preset documents, written member by member.

#include "PresetBuilder.h"

#include "DocumentWriter.h"

namespace louddesk {
namespace {

void WritePlace(DocumentWriter& writer, int inputNo) {
  writer.Text("ConnectorType", "BNC").Signed("Slot", 1).Signed("Cage", 0);
  writer.Signed("InputNo", inputNo);
}

}  // namespace

PresetBuilder& PresetBuilder::Meter(int number, const std::string& speaker, int channel,
                                    const std::string& inputType) {
  mMeters.push_back({number, speaker, channel, inputType});
  return *this;
}

PresetBuilder& PresetBuilder::Cluster(int firstMeter, int numberOfMeters, const std::string& type) {
  mClusters.push_back({firstMeter, numberOfMeters, type});
  return *this;
}

PresetBuilder& PresetBuilder::Name(const std::string& preset, const std::string& program,
                                   const std::string& group) {
  mNames = Names{preset, program, group};
  return *this;
}

PresetBuilder& PresetBuilder::Repub(bool repub) {
  mRepub = repub;
  return *this;
}

PresetBuilder& PresetBuilder::SystemClock(const std::string& type) {
  mClockType = type;
  return *this;
}

PresetBuilder& PresetBuilder::WithoutSystemClock() {
  mClockType.reset();
  return *this;
}

std::string PresetBuilder::Json() const {
  DocumentWriter writer;
  writer.Signed("Count", 1).Flag("Repub", mRepub).Signed("SpeakerDelayMs", 0);
  WriteNames(writer);
  WriteClock(writer);
  writer.OpenArray("Clusters");
  for (const ClusterEntry& cluster : mClusters)
    WriteCluster(writer, cluster);
  writer.CloseArray().OpenObject("MeterSet");
  for (const MeterEntry& meter : mMeters)
    WriteMeter(writer, meter);
  writer.CloseObject();
  return writer.Finish();
}

void PresetBuilder::WriteNames(DocumentWriter& writer) const {
  if (!mNames)
    return;
  writer.OpenObject("Name").Text("Preset", mNames->preset).Text("Program", mNames->program);
  writer.Text("Group", mNames->group).CloseObject();
}

void PresetBuilder::WriteClock(DocumentWriter& writer) const {
  if (!mClockType)
    return;
  writer.OpenObject("SystemClockSource").Text("Type", *mClockType);
  WritePlace(writer, 1);
  writer.Signed("Pair", 1).CloseObject();
}

void PresetBuilder::WriteCluster(DocumentWriter& writer, const ClusterEntry& cluster) {
  writer.OpenObject(DocumentWriter::kNoKey).Text("Name", "Cluster").Text("Type", cluster.type);
  writer.Signed("FirstMeter", cluster.firstMeter).Signed("NumberOfMeters", cluster.numberOfMeters);
  writer.Flag("MuteOnPresetRecall", true).CloseObject();
}

void PresetBuilder::WriteMeter(DocumentWriter& writer, const MeterEntry& meter) {
  writer.OpenObject(std::to_string(meter.number).c_str()).Signed("VolumeDb", 0);
  writer.Signed("DelayMs", 0).Text("Speaker", meter.speaker).OpenObject("Source");
  writer.Signed("Channel", meter.channel);
  WritePlace(writer, meter.number);
  writer.Text("Type", meter.inputType).CloseObject().CloseObject();
}

PresetBuilder PresetForSpeakers(const std::vector<std::string>& speakers, unsigned cluster) {
  PresetBuilder preset;
  for (unsigned earlier = 1; earlier < cluster; ++earlier)
    preset.Cluster(1, 0);
  preset.Cluster(1, static_cast<int>(speakers.size()));
  int meter = 0;
  for (const std::string& speaker : speakers) {
    ++meter;
    preset.Meter(meter, speaker, meter);
  }
  return preset;
}

}  // namespace louddesk
