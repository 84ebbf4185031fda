// Settings of the Dolby decoder as a separate document.

#include <cmath>
#include <tuple>

#include "FuzzTarget.h"
#include "JsonOracle.h"
#include "JsonParseDolbyDecoderSettings.h"

namespace {

using Settings = cDolbyDecoderSettingsParser;

auto FieldsOf(const Settings& settings) {
  return std::tie(settings.msSpeakerConfig, settings.msDownMixMode, settings.msVisualiserMode,
                  settings.mbAtmosDecode, settings.mbSurroundUpMix, settings.msCompressionMode,
                  settings.mfCompressionCut, settings.mfCompressionBoost,
                  settings.miAudioPresentation, settings.msRegulation, settings.miSpeechThreshold,
                  settings.mbDialogueIntelli, settings.mbIsDDModulePresent, settings.msDDModStatus,
                  settings.mbOriginFromFp);
}

// A reader in which an earlier document has set every field.
Settings UsedReader() {
  Settings reader;
  reader.ParseDolbyDecoderSettings(R"({
      "DecoderConfig":{"SpeakerConfig":"5.1","StereoDownMixMode":"LtRt",
                       "VisualiserView":"Front","AtmosDecode":true,"SurroundMix":true},
      "DDPlusConfig":{"CompressionMode":"RF","CompressionCut":0.5,"CompressionBoost":1},
      "ED2Config":{"AudioPresentation":2},
      "LoudnessConfig":{"Preset":"EBU","SpeechThreshold":15,"DialogueIntelligence":false},
      "IsDecModulePresent":true,"DecModuleStatus":"Ready"})");
  return reader;
}

bool HasAllConfigurations(const rapidjson::Value& settings) {
  return fuzz::HasObject(settings, "DecoderConfig") && fuzz::HasObject(settings, "DDPlusConfig") &&
         fuzz::HasObject(settings, "ED2Config") && fuzz::HasObject(settings, "LoudnessConfig");
}

bool IsComplete(const rapidjson::Value& settings) {
  if (!HasAllConfigurations(settings))
    return false;
  const rapidjson::Value& plus = *fuzz::Member(settings, "DDPlusConfig");
  return fuzz::HasText(plus, "CompressionMode") && fuzz::HasNumber(plus, "CompressionCut") &&
         fuzz::HasNumber(plus, "CompressionBoost") &&
         fuzz::HasSigned(*fuzz::Member(settings, "ED2Config"), "AudioPresentation") &&
         fuzz::HasBool(settings, "IsDecModulePresent") &&
         fuzz::HasText(settings, "DecModuleStatus");
}

}  // namespace

void fuzz::TestOneInput(Input input) {
  const Text text = input.TakeRest();
  Settings reader = UsedReader();
  FUZZ_PROPERTY(reader.mbAtmosDecode, "the used reader has been used");
  const int result = reader.ParseDolbyDecoderSettings(text.c_str());

  const Document document(text);
  FUZZ_PROPERTY(result == 0 || result == 1, "the result is 0 or 1");
  FUZZ_PROPERTY((result == 1) == (document.IsObject() && IsComplete(document.Root())),
                "settings are accepted when they are complete and only then");
  if (!document.IsObject())
    FUZZ_PROPERTY(FieldsOf(reader) == FieldsOf(Settings()), "no object leaves the defaults");
  FUZZ_PROPERTY(std::isfinite(reader.mfCompressionCut) && std::isfinite(reader.mfCompressionBoost),
                "the shares of the compression are finite");
  Settings fresh;
  FUZZ_PROPERTY(fresh.ParseDolbyDecoderSettings(text.c_str()) == result &&
                    FieldsOf(fresh) == FieldsOf(reader),
                "nothing survives from the document before");
}
