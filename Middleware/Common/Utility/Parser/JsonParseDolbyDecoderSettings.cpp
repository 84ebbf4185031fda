// Dolby decoder settings. Owned by the preset object; reactor thread only.

#include "JsonParseDolbyDecoderSettings.h"

#include <algorithm>
#include <limits>

#include "JsonAccess.h"

namespace {

// A flag that is present is set by a JSON true and cleared by any other value.
void ReadFlag(const rapidjson::Value& object, const char* key, bool& out) {
  const rapidjson::Value* value = json::Find(object, key);
  if (value != nullptr)
    out = value->IsTrue();
}

// Any JSON number, held within the range of float.
bool ReadNumber(const rapidjson::Value& object, const char* key, float& out) {
  constexpr double kHighest = std::numeric_limits<float>::max();
  const rapidjson::Value* value = json::Find(object, key);
  if (value == nullptr || !value->IsNumber())
    return false;
  out = static_cast<float>(std::clamp(value->GetDouble(), -kHighest, kHighest));
  return true;
}

}  // namespace

void cDolbyDecoderSettingsParser::ResetDolbyDecoderSettings() {
  *this = cDolbyDecoderSettingsParser();
}

// All configurations are read before a failure returns, so that a document without one of them
// still sets the others.
int cDolbyDecoderSettingsParser::ParseDolbyDecoderSettingsObject(const rapidjson::Value& value) {
  if (!value.IsObject())
    return 0;
  bool success = ReadDecoderConfig(value);
  success &= ReadDDPlusConfig(value);
  success &= ReadED2Config(value);
  success &= ReadLoudnessConfig(value);
  return success && json::Read(value, "IsDecModulePresent", mbIsDDModulePresent) &&
         json::Read(value, "DecModuleStatus", msDDModStatus);
}

int cDolbyDecoderSettingsParser::ParseDolbyDecoderSettings(const char* json) {
  ResetDolbyDecoderSettings();
  rapidjson::Document document;
  return json::ParseObject(json, document) ? ParseDolbyDecoderSettingsObject(document) : 0;
}

bool cDolbyDecoderSettingsParser::ReadDecoderConfig(const rapidjson::Value& settings) {
  const rapidjson::Value* config = json::FindObject(settings, "DecoderConfig");
  if (config == nullptr)
    return false;
  json::Read(*config, "SpeakerConfig", msSpeakerConfig);
  json::Read(*config, "StereoDownMixMode", msDownMixMode);
  json::Read(*config, "VisualiserView", msVisualiserMode);
  ReadFlag(*config, "AtmosDecode", mbAtmosDecode);
  ReadFlag(*config, "SurroundMix", mbSurroundUpMix);
  return true;
}

bool cDolbyDecoderSettingsParser::ReadDDPlusConfig(const rapidjson::Value& settings) {
  const rapidjson::Value* config = json::FindObject(settings, "DDPlusConfig");
  if (config == nullptr)
    return false;
  bool complete = json::Read(*config, "CompressionMode", msCompressionMode);
  complete &= ReadNumber(*config, "CompressionCut", mfCompressionCut);
  complete &= ReadNumber(*config, "CompressionBoost", mfCompressionBoost);
  return complete;
}

bool cDolbyDecoderSettingsParser::ReadED2Config(const rapidjson::Value& settings) {
  const rapidjson::Value* config = json::FindObject(settings, "ED2Config");
  return config != nullptr && json::Read(*config, "AudioPresentation", miAudioPresentation);
}

bool cDolbyDecoderSettingsParser::ReadLoudnessConfig(const rapidjson::Value& settings) {
  const rapidjson::Value* config = json::FindObject(settings, "LoudnessConfig");
  if (config == nullptr)
    return false;
  json::Read(*config, "Preset", msRegulation);
  json::Read(*config, "SpeechThreshold", miSpeechThreshold);
  ReadFlag(*config, "DialogueIntelligence", mbDialogueIntelli);
  return true;
}
