// Media flows of an Emset. Owned by the Emset parser; reactor thread only.

#include "EmsetFlow.h"

#include "JsonTextMember.h"
#include "LabelledBlock.h"
#include "TextTable.h"

namespace {

constexpr TextEntry<EmsetFlow_e> kFlowTexts[] = {
    {"Video", EmsetFlow_VIDEO},     {"Audio 1", EmsetFlow_AUDIO_1},
    {"Audio 2", EmsetFlow_AUDIO_2}, {"Audio 3", EmsetFlow_AUDIO_3},
    {"Audio 4", EmsetFlow_AUDIO_4}, {"Ancillary", EmsetFlow_ANCILLARY},
};

}  // namespace

int cEmsetNetworkSettings::ParseNetworkSettings(const rapidjson::Value& value) {
  if (!value.IsObject())
    return 0;
  json::Read(value, "EnableIGMP", mbEnableIGMP);
  json::Read(value, "SourceIP", msSourceIP);
  json::Read(value, "SourcePort", mlSourcePort);
  json::Read(value, "IGMPSrcIP", msIGMPSrcIP);
  json::Read(value, "DestinationIP", msDestinationIP);
  json::Read(value, "DestinationPort", mlDestinationPort);
  json::Read(value, "VLANTag", mlVLANTag);
  return 1;
}

int cEmsetFilter::ParseFilter(const rapidjson::Value& value) {
  if (!value.IsObject())
    return 0;
  json::Read(value, "VLAN", mbVLAN);
  json::Read(value, "DSTMac", mbDSTMac);
  json::Read(value, "DSTPort", mbDSTPort);
  json::Read(value, "DSTIP", mbDSTIP);
  json::Read(value, "SrcPort", mbSrcPort);
  json::Read(value, "SrcIP", mbSrcIP);
  return 1;
}

void cEmsetFilter::PrintFilter() const {
  LabelledBlock()
      .Add("\n\t\tVLAN: ", mbVLAN)
      .Add("\n\t\tDSTMac: ", mbDSTMac)
      .Add("\n\t\tDSTPort: ", mbDSTPort)
      .Add("\n\t\tDSTIP: ", mbDSTIP)
      .Add("\n\t\tSrcPort: ", mbSrcPort)
      .Add("\n\t\tSrcIP: ", mbSrcIP)
      .Print();
}

int cEmsetPrimaryFlow::ParsePrimaryFlow(const rapidjson::Value& value) {
  if (!value.IsObject())
    return 0;
  json::Read(value, "EnableFlow", mbEnableFlow);
  json::ReadText(value, "Flow", msFlow, mEmsetFlow, ConvertFlowStrToType);
  json::Read(value, "SenderType", msSenderType);
  json::Read(value, "AudioPacketTime", mlAudioPacketTime);
  json::Read(value, "AudioFormat", msAudioFormat);
  json::Read(value, "VideoFormat", msVideoFormat);
  json::Read(value, "NumberOfSDIChannels", mlNumberOfSDIChannels);
  if (const rapidjson::Value* network = json::Find(value, "NetworkSettings"))
    ParseNetworkSettings(*network);
  if (const rapidjson::Value* filter = json::Find(value, "Filter"))
    ParseFilter(*filter);
  return 1;
}

EmsetFlow_e cEmsetPrimaryFlow::ConvertFlowStrToType(const char* text) {
  return FindByEquality(kFlowTexts, text, EmsetFlow_UNKNOWN);
}

const char* cEmsetPrimaryFlow::ConvertFlowTypeToStr(EmsetFlow_e flow) {
  return FindText(kFlowTexts, flow, "Unknown");
}
