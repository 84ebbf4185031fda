// Clock, Dolby-input and video sections of the preset. Owned by the preset object; reactor thread
// only.

#include "JsonParseSources.h"

#include "JsonTextMember.h"
#include "Meters.h"
#include "PresetKeys.h"
#include "TextTable.h"

namespace {

constexpr char kBitRateKey[] = "StreamBitRate";

// The order of the search counts. Sources that cannot carry a clock have rows too, which give the
// internal clock.
constexpr TextEntry<SystemClockType_e> kClockTexts[] = {
    {"None", SCT_NONE},        {"Internal", SCT_INTERNAL},  {"Analog", SCT_INTERNAL},
    {"AES", SCT_AES},          {"Dolby", SCT_INTERNAL},     {"TOSLINK", SCT_TOSLINK},
    {"CAT1100", SCT_INTERNAL}, {"VoIP.MPEG", SCT_INTERNAL}, {"MADI", SCT_MADI},
    {"AoIP", SCT_AOIP},        {"ASI", SCT_INTERNAL},       {"SDI", SCT_SDI},
    {"ST-2022", SCT_SDI},      {"ST-2110", SCT_SDI},
};

SysInputType_e InputType(const char* text) {
  return cMeter::ConvertToSysInputTypeFromString(text, false);
}

void ReadConnector(const rapidjson::Value& source, std::string& text, SysIOConnectorType_e& type) {
  json::ReadText(source, preset_key::kConnectorType, text, type,
                 cMeter::ConvertToConnectorTypeFromString);
}

// Location of a source in the unit.
struct Place {
  std::int32_t& slot;
  std::int32_t& cage;
  std::int32_t& inputNo;
  std::int32_t& pair;
};

void ReadPlace(const rapidjson::Value& source, const Place& place) {
  json::Read(source, preset_key::kPair, place.pair);
  json::Read(source, preset_key::kInputNo, place.inputNo);
  json::Read(source, preset_key::kCage, place.cage);
  json::Read(source, preset_key::kSlot, place.slot);
}

}  // namespace

void cSystemClockSource::ResetSystemClockSource() {
  const std::string connectorText = msSysClockConnectorType;
  *this = cSystemClockSource();
  msSysClockConnectorType = connectorText;
}

int cSystemClockSource::ParseSystemClockSource(const rapidjson::Value& value) {
  if (!value.IsObject())
    return 0;
  const bool hasType = json::Read(value, preset_key::kType, msSysClockType);
  mSysClockType = ConvertToSysClockTypeFromString(hasType ? msSysClockType.c_str() : nullptr);
  ReadConnector(value, msSysClockConnectorType, mSysClockConnectorType);
  ReadPlace(value, {miSysClockSlot, miSysClockCage, miSysClockInputNo, miSysClockPair});
  return 1;
}

SystemClockType_e cSystemClockSource::ConvertToSysClockTypeFromString(const char* text) {
  return FindBySubstring(kClockTexts, text, SCT_INTERNAL);
}

int cDolbyInputSource::ParseDolbyInputSource(const rapidjson::Value& value) {
  if (!value.IsObject())
    return 0;
  json::ReadText(value, preset_key::kType, msInputDolbyType, mDolbyInputType, InputType);
  ReadConnector(value, msDolbyConnectorType, mDolbyConnectorType);
  ReadPlace(value, {miDolbySlot, miDolbyCage, miDolbyInputNo, miDolbyPair});
  return 1;
}

void cVideoSource::ResetVideoSource() {
  const std::string inputText = msVideoInputType;
  const std::string connectorText = msVideoConnectorType;
  *this = cVideoSource();
  msVideoInputType = inputText;
  msVideoConnectorType = connectorText;
}

int cVideoSource::ParseVideoSource(const rapidjson::Value& value) {
  if (!value.IsObject())
    return 0;
  json::ReadText(value, preset_key::kType, msVideoInputType, mVideoInputType, InputType);
  ReadConnector(value, msVideoConnectorType, mVideoConnectorType);
  ReadPlace(value, {miVideoSlot, miVideoCage, miVideoInputNo, miVideoPair});
  std::uint32_t bitRate = 0;
  if (json::Read(value, kBitRateKey, bitRate))
    msStreamBitRate = std::to_string(bitRate);
  else
    json::Read(value, kBitRateKey, msStreamBitRate);
  json::Read(value, "StreamResolution", msStreamResolution);
  return 1;
}
