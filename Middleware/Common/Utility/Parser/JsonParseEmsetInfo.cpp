// Emset configuration of the preset. Owned by the caller who passes it to the preset; reactor
// thread only.

#include "JsonParseEmsetInfo.h"

#include <algorithm>

#include "JsonAccess.h"
#include "LabelledBlock.h"

namespace {

// Calls `parse` with each of the `places` and the element of `array` at the same index. Ignores
// further elements.
template <typename Places, typename Parse>
void ForEachPlace(const rapidjson::Value& array, Places& places, Parse parse) {
  const std::size_t count = std::min<std::size_t>(array.Size(), places.size());
  for (std::size_t index = 0; index < count; ++index)
    parse(places[index], array[static_cast<rapidjson::SizeType>(index)]);
}

}  // namespace

int cEmsetReference::ParseReference(const rapidjson::Value& value) {
  if (!value.IsObject())
    return 0;
  json::Read(value, "VideoLines", mlVideoLines);
  json::Read(value, "VideoPixels", mlVideoPixels);
  json::Read(value, "uSecondUnits", mluSecondUnits);
  json::Read(value, "OffsetMode", msOffsetMode);
  PrintReference();
  return 1;
}

void cEmsetReference::PrintReference() const {
  LabelledBlock()
      .Add("\n\t\tVideoLines: ", mlVideoLines)
      .Add("\n\t\tVideoPixels: ", mlVideoPixels)
      .Add("\n\t\tuSecondUnits: ", mluSecondUnits)
      .Add("\n\t\tOffsetMode: ", msOffsetMode)
      .Print();
}

void cEmsetSignals::ClearFlows() {
  for (cEmsetPrimaryFlow& flow : mFlows)
    flow.ClearPrimaryFlow();
}

int cEmsetSignals::ParseSignals(const rapidjson::Value& value) {
  if (!value.IsObject())
    return 0;
  const rapidjson::Value* flows = json::FindObject(value, "Flows");
  const int result = flows != nullptr ? ParseFlows(*flows) : 0;
  if (const rapidjson::Value* reference = json::Find(value, "Reference"))
    ParseReference(*reference);
  if (const rapidjson::Value* ptp = json::Find(value, "PTP"))
    ParseSfpPTPSettings(*ptp);
  return result;
}

int cEmsetSignals::ParseFlows(const rapidjson::Value& value) {
  const rapidjson::Value* primary = json::FindArray(value, "Primary");
  int result = 0;
  if (primary != nullptr)
    ForEachPlace(*primary, mFlows,
                 [&result](cEmsetPrimaryFlow& flow, const rapidjson::Value& element) {
                   result |= flow.ParsePrimaryFlow(element);
                 });
  return result;
}

const cEmsetPrimaryFlow* cEmsetSignals::GetPrimaryFlow(EmsetFlow_e flow) const {
  if (flow >= EmsetFlow_MAX)
    return nullptr;
  const auto found =
      std::find_if(mFlows.begin(), mFlows.end(),
                   [flow](const cEmsetPrimaryFlow& each) { return each.mEmsetFlow == flow; });
  return found != mFlows.end() ? &*found : nullptr;
}

int cEmsetInfo::ParseEmsetInfo(const rapidjson::Value& value) {
  mbIsValidConf = false;
  if (!value.IsObject())
    return 0;
  json::Read(value, "Slot", mlSlot);
  json::Read(value, "Cage", mlCage);
  json::Read(value, "DisplayName", msDisplayName);
  const rapidjson::Value* emsetSignals = json::Find(value, "Signals");
  mbIsValidConf = emsetSignals != nullptr && ParseSignals(*emsetSignals) != 0;
  return mbIsValidConf;
}

// An Emset that the next document does not contain must not be found afterwards.
void cEmsetConfParser::ResetEmsetConfParser() {
  mbIsValidConf = false;
  for (cEmsetInfo& emset : mEmsets) {
    emset.mbIsValidConf = false;
    emset.ClearFlows();
    for (const cEmsetPrimaryFlow& flow : emset.mFlows)
      flow.PrintFilter();
  }
}

int cEmsetConfParser::ParseEmsetConf(const rapidjson::Value& value) {
  ResetEmsetConfParser();
  if (!value.IsArray())
    return 0;
  ForEachPlace(value, mEmsets, [](cEmsetInfo& emset, const rapidjson::Value& element) {
    emset.ParseEmsetInfo(element);
  });
  mbIsValidConf = true;
  return 1;
}

int cEmsetConfParser::ParseSfpModuleStatus(const char* json) {
  rapidjson::Document document;
  if (!json::ParseObject(json, document))
    return 0;
  json::Read(document, "Enable", mbIsSfpModuleEnabled);
  return 1;
}

const cEmsetInfo* cEmsetConfParser::GetEmsetInfoForSFP(std::uint32_t slot,
                                                       std::uint32_t cage) const {
  if (!mbIsValidConf)
    return nullptr;
  const auto found = std::find_if(mEmsets.begin(), mEmsets.end(), [=](const cEmsetInfo& emset) {
    return emset.mbIsValidConf && emset.mlSlot == slot && emset.mlCage == cage;
  });
  return found != mEmsets.end() ? &*found : nullptr;
}
