// The routing section of the preset, for every slot and for one: any JSON value.

#include <climits>
#include <set>
#include <string>
#include <tuple>

#include "JsonOracle.h"
#include "Meters.h"
#include "RoutingProperties.h"

namespace {

// Names and contents of all entries.
bool IsSame(const AudChannelOutputRoutingMap_t& left, const AudChannelOutputRoutingMap_t& right) {
  if (left.size() != right.size())
    return false;
  auto other = right.begin();
  for (const auto& [key, entry] : left) {
    const cAudChannelOutputRouting& one = *entry;
    const cAudChannelOutputRouting& two = *other->second;
    if (key < other->first || other->first < key || one.miPair != two.miPair ||
        one.mbSpeakerMix != two.mbSpeakerMix || one.mbSoloMute != two.mbSoloMute ||
        one.mbHeadphoneMute != two.mbHeadphoneMute || one.mbVolumeControl != two.mbVolumeControl ||
        one.miOutputTrimDb != two.miOutputTrimDb || one.mSpeakerType != two.mSpeakerType ||
        one.mMeterSources != two.mMeterSources)
      return false;
    ++other;
  }
  return true;
}

using Keys = std::set<std::tuple<int, int, int, std::int64_t>>;  // slot, connector, output, channel

bool IsChannel(const rapidjson::Value& channel) {
  return fuzz::HasSigned(channel, "OutputTrimDb") &&
         fuzz::Member(channel, "MeterSources") != nullptr &&
         (fuzz::Member(channel, "Speaker") == nullptr || fuzz::HasText(channel, "Speaker"));
}

// Pair 1 has the channels 1 and 2. A pair without a number has none, and a channel number beyond
// the range of an int does not count.
void AddChannels(const rapidjson::Value& pair, int slot, int connector, int output, Keys& keys) {
  const std::int64_t number = fuzz::SignedOf(pair, "Pair", -1);
  const rapidjson::Value* channels = fuzz::Member(pair, "OutputChannels");
  if (number == -1 || channels == nullptr || !channels->IsArray())
    return;
  for (rapidjson::SizeType i = 0; i < channels->Size(); ++i) {
    const std::int64_t channel = i + 2 * number - 1;
    if (IsChannel((*channels)[i]) && channel >= INT_MIN && channel <= INT_MAX)
      keys.insert({slot, connector, output, channel});
  }
}

void AddConnectors(const rapidjson::Value& connectors, int slot, Keys& keys) {
  if (!connectors.IsObject())
    return;
  for (const auto& connector : connectors.GetObject()) {
    if (!connector.value.IsObject())
      continue;
    for (const auto& output : connector.value.GetObject()) {
      const rapidjson::Value* pairs = fuzz::Member(output.value, "Pairs");
      if (pairs == nullptr || !pairs->IsArray())
        continue;
      for (const auto& pair : pairs->GetArray())
        AddChannels(
            pair, slot, cMeter::ConvertToConnectorTypeFromString(connector.name.GetString()),
            cAudOutputRouting::ConvertToSysOutputTypeFromString(output.name.GetString()), keys);
    }
  }
}

// The channels of one slot that a document routes, computed independently of its reader.
Keys ExpectedKeys(const rapidjson::Value& value, int slot) {
  Keys keys;
  const rapidjson::Value* connectors = fuzz::Member(value, std::to_string(slot).c_str());
  if (connectors != nullptr)
    AddConnectors(*connectors, slot, keys);
  return keys;
}

Keys KeysOf(const AudChannelOutputRoutingMap_t& map) {
  Keys keys;
  for (const auto& each : map)
    keys.insert({each.first.miSlot, each.first.mConnectorType, each.first.mOutputType,
                 each.first.miChannel});
  return keys;
}

void CheckFreshEntries(const AudChannelOutputRoutingMap_t& map) {
  for (const auto& each : map)
    FUZZ_PROPERTY(each.second->miPair != -1, "no channel without a pair is entered");
}

void Read(cAudOutputRouting& routing, const rapidjson::Value& value, bool allSlots, int slot) {
  const int result = routing.ParseAudOutputRouting(value, allSlots, slot);
  FUZZ_PROPERTY(result == 0 || result == 1, "the result is 0 or 1");
  FUZZ_PROPERTY(value.IsObject() || result == 0, "a value that is not an object fails");
  fuzz::CheckRouting(routing.mAcorMap);
}

// Reads the document once, and a second time on top of the result.
AudChannelOutputRoutingMap_t CheckReading(const rapidjson::Value& value, bool allSlots, int slot) {
  cAudOutputRouting routing;
  Read(routing, value, allSlots, slot);
  CheckFreshEntries(routing.mAcorMap);
  cAudOutputRouting again = routing;
  again.mAcorMap.clear();
  Read(again, value, allSlots, slot);
  FUZZ_PROPERTY(IsSame(routing.mAcorMap, again.mAcorMap),
                "nothing survives from the document before");
  again.ClearRoutingContents();
  for (const auto& [key, entry] : again.mAcorMap)
    FUZZ_PROPERTY(entry->miPair == -1 && entry->mMeterSources.empty(), "cleared: the key alone");
  FUZZ_PROPERTY(again.mAcorMap.size() == routing.mAcorMap.size(), "cleared: the keys stay");
  return routing.mAcorMap;
}

}  // namespace

void fuzz::TestOneInput(Input input) {
  const Document document(input.TakeRest());
  if (!document.IsJson())
    return;
  const AudChannelOutputRoutingMap_t all = CheckReading(document.Root(), true, 0);
  for (const int slot : {0, 1, -1}) {
    const AudChannelOutputRoutingMap_t one = CheckReading(document.Root(), false, slot);
    FUZZ_PROPERTY(
        KeysOf(one) == ExpectedKeys(document.Root(), slot) || one.size() == kMaxRoutedChannels,
        "every complete channel of the slot is entered and no other");
    for (const auto& [key, entry] : one) {
      FUZZ_PROPERTY(all.count(key) == 1 || all.size() == kMaxRoutedChannels,
                    "a channel of one slot is among those of all slots, unless they are too many");
    }
  }
}
