// Routing section of the preset. Owned by the preset object; reactor thread only.

#include "JsonParseAudioRouting.h"

#include <iterator>
#include <limits>
#include <stdexcept>
#include <string>
#include <tuple>

#include "JsonTextMember.h"
#include "LabelledBlock.h"
#include "LogMacros.h"
#include "Meters.h"
#include "TextTable.h"

namespace {

constexpr char kUnitName[] = "JsonParseAudioRouting";

LogSource Log() {
  return {kUnitName, cAudOutputRouting::mpLogger, cAudOutputRouting::mLogLevel};
}

constexpr TextEntry<SysOutputType_e> kOutputTexts[] = {
    {"None", SOT_NONE},
    {"Analog", SOT_ANALOG},
    {"AES", SOT_AES},
    {"MADI", SOT_MADI},
    {"AoIP", SOT_AOIP},
    {"SDI", SOT_SDI},
    {"SpeakerHeadphone", SOT_SPEAKERS},
    {"HDMI", SOT_HDMI},
};

// The number that a slot's name begins with. False without one, or when an int cannot hold it.
bool SlotNumber(const char* name, std::int32_t& slot) {
  try {
    slot = std::stoi(name);
    return true;
  } catch (const std::logic_error&) {
    return false;
  }
}

// A flag of a pair is set only by a JSON true.
bool IsTrue(const rapidjson::Value& object, const char* key) {
  const rapidjson::Value* value = json::Find(object, key);
  return value != nullptr && value->IsTrue();
}

MeterSources_t IntegersOf(const rapidjson::Value& array) {
  MeterSources_t integers;
  if (!array.IsArray())
    return integers;
  for (const rapidjson::Value& element : array.GetArray())
    if (element.IsInt())
      integers.insert(element.GetInt());
  return integers;
}

}  // namespace

bool operator<(const cAudChannelOutputRoutingKey& left, const cAudChannelOutputRoutingKey& right) {
  return std::tie(left.miSlot, left.mConnectorType, left.mOutputType, left.miChannel) <
         std::tie(right.miSlot, right.mConnectorType, right.mOutputType, right.miChannel);
}

void cAudChannelOutputRouting::ClearContents() {
  const cAudChannelOutputRoutingKey key = *this;
  *this = cAudChannelOutputRouting();
  static_cast<cAudChannelOutputRoutingKey&>(*this) = key;
}

void cAudChannelOutputRouting::PrintAudChannelOutputRouting() const {
  LabelledBlock block;
  block.Add("\n\t\tSlot No:", miSlot)
      .Add("\n\t\tConnector Type:", mConnectorType)
      .Add("\n\t\tOutput Source Type:", mOutputType)
      .Add("\n\t\tChannel:", miChannel)
      .Add("\n\t\tPair:", miPair)
      .Add("\n\t\tSpeakerMix:", mbSpeakerMix)
      .Add("\n\t\tSoloMute:", mbSoloMute)
      .Add("\n\t\tHeadphoneMute:", mbHeadphoneMute)
      .Add("\n\t\tVolumeControl:", mbVolumeControl)
      .Add("\n\t\tOutputTrim:", miOutputTrimDb)
      .Add("\n\t\tSpeakerType:", mSpeakerType)
      .Add(mMeterSources.empty() ? "No Meter sources !!" : "Meter sources >>");
  for (const int meter : mMeterSources)
    block.Add(" ", meter);
  block.Print();
}

Logger* cAudOutputRouting::mpLogger = nullptr;
LogLevel_e cAudOutputRouting::mLogLevel = MsgLevel_Warn;

int cAudOutputRouting::ParseAudOutputRouting(const rapidjson::Value& value, bool routingFlag,
                                             int routingArg) {
  if (!value.IsObject())
    return 0;
  mChannelsMet = 0;
  const int result = routingFlag ? ParseAllSlots(value) : ParseOneSlot(value, routingArg);
  if (mChannelsMet > kMaxRoutedChannels)
    LOUDCALC_LOG(Log(), Warn, "\"Audio routing: channels beyond the first %zu skipped\"",
                 kMaxRoutedChannels);
  return result;
}

int cAudOutputRouting::ParseAllSlots(const rapidjson::Value& slots) {
  int result = 1;
  for (const auto& member : slots.GetObject()) {
    mAcor.ClearContents();
    if (SlotNumber(member.name.GetString(), mAcor.miSlot)) {
      result &= ParseAORSlot(member.value);
    } else {
      LOUDCALC_LOG(Log(), Warn,
                   "\"Audio routing slot %.40s skipped: its name is not a number in range\"",
                   member.name.GetString());
      result = 0;
    }
  }
  return result;
}

int cAudOutputRouting::ParseOneSlot(const rapidjson::Value& slots, std::int32_t slot) {
  mAcor = cAudChannelOutputRouting();
  const rapidjson::Value* connectors = json::Find(slots, std::to_string(slot).c_str());
  if (connectors == nullptr)
    return 0;
  mAcor.miSlot = slot;
  return ParseAORSlot(*connectors);
}

int cAudOutputRouting::ParseAORSlot(const rapidjson::Value& connectors) {
  if (!connectors.IsObject())
    return 0;
  int result = 1;
  for (const auto& member : connectors.GetObject()) {
    mAcor.mConnectorType = cMeter::ConvertToConnectorTypeFromString(member.name.GetString());
    result &= ParseAORConnector(member.value);
  }
  return result;
}

int cAudOutputRouting::ParseAORConnector(const rapidjson::Value& outputTypes) {
  if (!outputTypes.IsObject())
    return 0;
  int result = 1;
  for (const auto& member : outputTypes.GetObject()) {
    mAcor.mOutputType = ConvertToSysOutputTypeFromString(member.name.GetString());
    result &= ParseAOROutputType(member.value);
  }
  return result;
}

int cAudOutputRouting::ParseAOROutputType(const rapidjson::Value& outputType) {
  if (!outputType.IsObject())
    return 0;
  const rapidjson::Value* pairs = json::Find(outputType, "Pairs");
  return pairs != nullptr ? ParseAORPairs(*pairs) : 1;
}

int cAudOutputRouting::ParseAORPairs(const rapidjson::Value& pairs) {
  if (!pairs.IsArray())
    return 0;
  int result = 1;
  for (const rapidjson::Value& pair : pairs.GetArray())
    result &= ParseAORPair(pair);
  return result;
}

// A pair without a number is ignored: it must not inherit the number of the pair before it and
// overwrite that pair's channels.
int cAudOutputRouting::ParseAORPair(const rapidjson::Value& pair) {
  if (!pair.IsObject())
    return 0;
  mAcor.miPair = -1;
  json::Read(pair, "Pair", mAcor.miPair);
  mAcor.mbSpeakerMix = IsTrue(pair, "SpeakerMix");
  mAcor.mbSoloMute = IsTrue(pair, "SoloMute");
  mAcor.mbHeadphoneMute = IsTrue(pair, "HeadphoneMute");
  mAcor.mbVolumeControl = IsTrue(pair, "VolumeControl");
  const rapidjson::Value* channels = json::Find(pair, "OutputChannels");
  return channels != nullptr ? ParseAOROutputChannels(*channels) : 0;
}

int cAudOutputRouting::ParseAOROutputChannels(const rapidjson::Value& channels) {
  if (!channels.IsArray())
    return 0;
  int result = 1;
  std::int32_t index = 0;
  for (const rapidjson::Value& channel : channels.GetArray()) {
    if (++mChannelsMet > kMaxRoutedChannels)
      return 0;
    const std::int32_t channelIndex = index++;
    if (ParseAOROutputChannel(channel) == 0) {
      result = 0;
    } else if (mAcor.miPair != -1) {
      if (SetChannel(channelIndex))
        InsertAudChannelOutputRouting(mAcor);
      else
        result = 0;
    }
  }
  return result;
}

int cAudOutputRouting::ParseAOROutputChannel(const rapidjson::Value& channel) {
  mAcor.mMeterSources.clear();
  if (!channel.IsObject())
    return 0;
  // A channel without a speaker must not inherit that of the previous channel.
  const bool hasTrim = json::Read(channel, "OutputTrimDb", mAcor.miOutputTrimDb);
  const rapidjson::Value* speaker = json::Find(channel, "Speaker");
  const bool speakerIsText = speaker != nullptr && speaker->IsString();
  mAcor.mSpeakerType =
      cMeter::ConvertToSpeakerTypeFromString(speakerIsText ? speaker->GetString() : nullptr);
  const rapidjson::Value* sources = json::Find(channel, "MeterSources");
  if (sources != nullptr)
    mAcor.mMeterSources = IntegersOf(*sources);
  return hasTrim && sources != nullptr && (speaker == nullptr || speakerIsText);
}

// Pair 1 has the channels 1 and 2. False, without a change, if the channel is beyond the range of
// int.
bool cAudOutputRouting::SetChannel(std::int32_t index) {
  using Limits = std::numeric_limits<std::int32_t>;
  const std::int64_t channel = index + 2 * std::int64_t{mAcor.miPair} - 1;
  if (channel < Limits::min() || channel > Limits::max())
    return false;
  mAcor.miChannel = static_cast<std::int32_t>(channel);
  return true;
}

void cAudOutputRouting::ClearRoutingContents() {
  for (auto& entry : mAcorMap)
    entry.second->ClearContents();
}

void cAudOutputRouting::InsertAudChannelOutputRouting(const cAudChannelOutputRouting& record) {
  if (mAcorMap.size() >= kMaxRoutedChannels && mAcorMap.count(record) == 0)
    ForgetUnusedChannels();
  const auto entry = mAcorMap.find(record);
  if (entry == mAcorMap.end())
    mAcorMap.emplace(record, std::make_shared<cAudChannelOutputRouting>(record));
  else
    *entry->second = record;
  record.PrintAudChannelOutputRouting();
}

// Makes room in the map. Channels that the current document has named stay.
void cAudOutputRouting::ForgetUnusedChannels() {
  for (auto entry = mAcorMap.begin(); entry != mAcorMap.end();)
    entry = entry->second->miPair == -1 ? mAcorMap.erase(entry) : std::next(entry);
}

void cAudOutputRouting::PrintAudOutputRouting() const {
  LabelledBlock().Add("Audio routing itr map").Print();
  for (const auto& entry : mAcorMap)
    entry.second->PrintAudChannelOutputRouting();
}

SysOutputType_e cAudOutputRouting::ConvertToSysOutputTypeFromString(const char* text) {
  return FindBySubstring(kOutputTexts, text, SOT_NONE);
}
