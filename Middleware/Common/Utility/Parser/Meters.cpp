// The audio meters of the preset. Owned by the preset object; reactor thread only.

#include "Meters.h"

#include <stdexcept>

#include "JsonTextMember.h"
#include "PresetKeys.h"
#include "SharedField.h"
#include "SpeakerTexts.h"
#include "TextTable.h"

namespace {

// Indexed by loudspeaker position.
constexpr OutputAssignments_e kOutputAssignments[AST_SPEAKER_MAX] = {
    OPA_NONE,             // AST_NONE
    OPA_LEFT, OPA_RIGHT,  // front
    OPA_BOTH, OPA_BOTH,   // center, low-frequency effects
    OPA_LEFT, OPA_RIGHT,  // surround
    OPA_LEFT, OPA_RIGHT,  // back surround
    OPA_BOTH,             // mono surround
    OPA_LEFT, OPA_RIGHT,  // rear surround
    OPA_LEFT, OPA_RIGHT,  // top rear
    OPA_LEFT, OPA_RIGHT,  // headphones
    OPA_LEFT, OPA_RIGHT,  // top front
    OPA_LEFT, OPA_RIGHT,  // top middle
};

// A transport stream carries pictures and sound, so it is in both tables of inputs.
constexpr TextEntry<SysInputType_e> kTransportStream = {"VoIP.MPEG", SIT_TS_OVER_IP};
constexpr TextEntry<SysInputType_e> kNoInput = {"None", SIT_NONE};

constexpr TextEntry<SysInputType_e> kAudioInputTexts[] = {
    kNoInput,           {"Internal", SIT_NONE}, {"Analog", SIT_ANALOG},
    {"AES", SIT_AES},   {"Dolby", SIT_DOLBY},   kTransportStream,
    {"MADI", SIT_MADI}, {"AoIP", SIT_AOIP},
};

constexpr TextEntry<SysInputType_e> kVideoInputTexts[] = {kNoInput, kTransportStream};

constexpr TextEntry<SysInputType_e> kDigitalInputTexts[] = {
    {"ASI", SIT_ASI},     {"SDI", SIT_SDI},         {"ST-2022", SIT_SDI},
    {"ST-2110", SIT_SDI}, {"TOSLINK", SIT_TOSLINK},
};

constexpr TextEntry<SysIOConnectorType_e> kConnectorTexts[] = {
    {"None", SIOCT_NONE},       {"BNC", SIOCT_BNC},    {"SFP", SIOCT_SFP},
    {"Optical", SIOCT_OPTICAL}, {"XLR", SIOCT_XLR},    {"DB25", SIOCT_DB25},
    {"HD15", SIOCT_HD15},       {"RJ-45", SIOCT_RJ45}, {"DolbyDecoder", SIOCT_DOLBY_DECODER},
    {"6.35mm", SIOCT_6_35mm},   {"HDMI", SIOCT_HDMI},
};

// The text of an error about a meter. The name comes from outside and may be of any length.
std::string Complaint(const std::string& meterName, const char* fault) {
  constexpr std::size_t kLongestShown = 40;
  return "meter name \"" + meterName.substr(0, kLongestShown) + "\" " + fault;
}

// The number that a meter's name begins with. The error text of the conversion does not contain the
// name, so the error is thrown again with a text that does.
std::int32_t MeterNumber(const std::string& name) {
  try {
    return std::stoi(name);
  } catch (const std::invalid_argument&) {
    throw std::invalid_argument(Complaint(name, "is not a number"));
  } catch (const std::out_of_range&) {
    throw std::out_of_range(Complaint(name, "is out of range"));
  }
}

}  // namespace

int cMeter::ParseMeter(const rapidjson::Value& value) {
  if (!value.IsObject())
    return 0;
  json::Read(value, preset_key::kVolumeDb, miVolumeDb);
  json::Read(value, preset_key::kDelayMs, miDelayMs);
  if (json::ReadText(value, preset_key::kSpeaker, msSpeakerType, mSpeakerType,
                     ConvertToSpeakerTypeFromString))
    mOutputAssignments = ConvertToOutputAssignmentsFromSpeakerType(mSpeakerType);
  const rapidjson::Value* source = json::Find(value, preset_key::kSource);
  return source != nullptr ? ParseSource(*source) : 1;
}

int cMeter::ParseSource(const rapidjson::Value& source) {
  if (!source.IsObject())
    return 0;
  json::Read(source, preset_key::kChannel, miChannel);
  json::ReadText(source, preset_key::kConnectorType, msConnectorType, mConnectorType,
                 ConvertToConnectorTypeFromString);
  json::Read(source, preset_key::kCage, miCage);
  json::Read(source, preset_key::kSlot, miSlot);
  json::Read(source, preset_key::kInputNo, miInputNo);
  json::ReadText(source, preset_key::kType, msInputType, mInputType,
                 [](const char* text) { return ConvertToSysInputTypeFromString(text, false); });
  mbIsDolbySource = mInputType == SIT_DOLBY;
  return 1;
}

AudioSpeakerType_e cMeter::ConvertToSpeakerTypeFromString(const char* text) {
  return FindByEquality(kSpeakerTexts, text, AST_NONE);
}

OutputAssignments_e cMeter::ConvertToOutputAssignmentsFromSpeakerType(AudioSpeakerType_e speaker) {
  return speaker >= AST_NONE && speaker < AST_SPEAKER_MAX ? kOutputAssignments[speaker] : OPA_NONE;
}

SysInputType_e cMeter::ConvertToSysInputTypeFromString(const char* text, bool videoOnly) {
  const SysInputType_e type = videoOnly ? FindBySubstring(kVideoInputTexts, text, SIT_UNKNOWN)
                                        : FindBySubstring(kAudioInputTexts, text, SIT_UNKNOWN);
  return type != SIT_UNKNOWN ? type : FindBySubstring(kDigitalInputTexts, text, SIT_NONE);
}

SysIOConnectorType_e cMeter::ConvertToConnectorTypeFromString(const char* text) {
  return FindBySubstring(kConnectorTexts, text, SIOCT_NONE);
}

cMeterSet::cMeterSet(std::int32_t maxMeters) : miMaxAudioMeters(maxMeters) {
  InitMeters();
}

void cMeterSet::InitMeters() {
  mMeters.clear();
  for (std::int32_t meter = 0; meter < miMaxAudioMeters; ++meter)
    mMeters.emplace(meter, std::make_shared<cMeter>(meter));
}

void cMeterSet::ResetMeters() {
  mbIsDolbySource = false;
  for (auto& entry : mMeters)
    entry.second->ResetMeter();
}

int cMeterSet::ParseMeterSet(const rapidjson::Value& value) {
  if (!value.IsObject())
    return 0;
  int result = 1;
  bool hasDolby = false;
  for (const auto& member : value.GetObject()) {
    const std::string name(member.name.GetString(), member.name.GetStringLength());
    bool isDolby = false;
    result &= ParseMeter(ZeroBased(MeterNumber(name)), member.value, isDolby);
    hasDolby |= isDolby;
  }
  mbIsDolbySource = hasDolby;
  return result;
}

int cMeterSet::ParseMeter(std::int32_t index, const rapidjson::Value& value, bool& isDolby) {
  const std::shared_ptr<cMeter> meter = GetMeter(index);
  if (meter == nullptr)
    return 0;
  const int result = meter->ParseMeter(value);
  isDolby = meter->mbIsDolbySource;
  return result;
}

std::shared_ptr<cMeter> cMeterSet::GetMeter(std::int32_t meter) const {
  if (meter < 0 || meter >= miMaxAudioMeters)
    return nullptr;
  const auto entry = mMeters.find(meter);
  return entry != mMeters.end() ? entry->second : nullptr;
}

std::int32_t cMeterSet::GetClusterId(std::int32_t meter) const {
  return FieldOf(GetMeter(meter), &cMeter::miClusterId, -1);
}

SysInputType_e cMeterSet::GetInputType(std::int32_t meter) const {
  return FieldOf(GetMeter(meter), &cMeter::mInputType, SIT_NONE);
}

SysIOConnectorType_e cMeterSet::GetConnectorType(std::int32_t meter) const {
  return FieldOf(GetMeter(meter), &cMeter::mConnectorType, SIOCT_NONE);
}

AudioSpeakerType_e cMeterSet::GetSpeakerType(std::int32_t meter) const {
  return FieldOf(GetMeter(meter), &cMeter::mSpeakerType, AST_NONE);
}

OutputAssignments_e cMeterSet::GetOutputAssignments(std::int32_t meter) const {
  return FieldOf(GetMeter(meter), &cMeter::mOutputAssignments, OPA_NONE);
}

std::string cMeterSet::GetInputTypeStr(std::int32_t meter) const {
  return FieldOf(GetMeter(meter), &cMeter::msInputType, std::string());
}

std::string cMeterSet::GetConnectorTypeStr(std::int32_t meter) const {
  return FieldOf(GetMeter(meter), &cMeter::msConnectorType, std::string());
}

std::string cMeterSet::GetSpeakerTypeStr(std::int32_t meter) const {
  return FieldOf(GetMeter(meter), &cMeter::msSpeakerType, std::string());
}

std::int32_t cMeterSet::GetVolumeDb(std::int32_t meter, std::int32_t fallback) const {
  return FieldOf(GetMeter(meter), &cMeter::miVolumeDb, fallback);
}

std::int32_t cMeterSet::GetDelayMs(std::int32_t meter, std::int32_t fallback) const {
  return FieldOf(GetMeter(meter), &cMeter::miDelayMs, fallback);
}

std::int32_t cMeterSet::GetSlot(std::int32_t meter, std::int32_t fallback) const {
  return FieldOf(GetMeter(meter), &cMeter::miSlot, fallback);
}

std::int32_t cMeterSet::GetCage(std::int32_t meter, std::int32_t fallback) const {
  return FieldOf(GetMeter(meter), &cMeter::miCage, fallback);
}

std::int32_t cMeterSet::GetInputNo(std::int32_t meter, std::int32_t fallback) const {
  return FieldOf(GetMeter(meter), &cMeter::miInputNo, fallback);
}

std::int32_t cMeterSet::GetChannel(std::int32_t meter, std::int32_t fallback) const {
  return FieldOf(GetMeter(meter), &cMeter::miChannel, fallback);
}

int cMeterSet::SetClusterId(std::int32_t meter, std::int32_t clusterId) {
  return SetField(GetMeter(meter), &cMeter::miClusterId, clusterId);
}

int cMeterSet::SetVolumeDb(std::int32_t meter, std::int32_t volumeDb) {
  return SetField(GetMeter(meter), &cMeter::miVolumeDb, volumeDb);
}

int cMeterSet::SetSpeakerType(std::int32_t meter, AudioSpeakerType_e speakerType) {
  return SetField(GetMeter(meter), &cMeter::mSpeakerType, speakerType);
}
