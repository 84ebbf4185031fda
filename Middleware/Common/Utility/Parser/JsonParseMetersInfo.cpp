// The preset document. Its object is owned by the dispatcher; reactor thread only.

#include "JsonParseMetersInfo.h"

#include <stdexcept>

#include "JsonAccess.h"
#include "LogMacros.h"
#include "PresetKeys.h"

namespace {

constexpr char kUnitName[] = "JsonParseMetersInfo";

LogSource Log() {
  return {kUnitName, cPresetParser::mpLogger, cPresetParser::mLogLevel};
}

// A section of the document and how it is read.
struct Section {
  const char* key;
  int withoutIt;  // result for a document that lacks the section
  int (*parse)(cPresetParser& preset, const rapidjson::Value& section);
};

// In the order in which the sections are read. If one fails, the others are still read.
constexpr Section kSections[] = {
    {preset_key::kClusters, 0,
     [](cPresetParser& preset, const rapidjson::Value& section) {
       return preset.ParseClusterSet(section, &preset);
     }},
    {preset_key::kMeterSet, 0,
     [](cPresetParser& preset, const rapidjson::Value& section) {
       return preset.ParseMeterSet(section);
     }},
    {preset_key::kSystemClockSource, 0,
     [](cPresetParser& preset, const rapidjson::Value& section) {
       return preset.ParseSystemClockSource(section);
     }},
    {"DolbyInputSource", 1,
     [](cPresetParser& preset, const rapidjson::Value& section) {
       return preset.ParseDolbyInputSource(section);
     }},
    {"VideoSource", 1,
     [](cPresetParser& preset, const rapidjson::Value& section) {
       return preset.ParseVideoSource(section);
     }},
};

void ParseEmset(const rapidjson::Value& document, cEmsetConfParser& emset) {
  const rapidjson::Value* conf = json::Find(document, "EmsetConfig");
  if (conf != nullptr) {
    LOUDCALC_PRINT(kUnitName, stdout, "\"EmsetConfig Parser\"");
    emset.ParseEmsetConf(*conf);
  } else {
    LOUDCALC_PRINT(kUnitName, stdout, "\"No EmsetConfig found\"");
  }
}

}  // namespace

cPresetParser::cPresetParser(int maxMeters) : cMeterSet(maxMeters), cClusterSet(maxMeters) {}

int cPresetParser::ParsePreset(const char* json, bool parseRouting, bool routingFlag,
                               int routingArg, cEmsetConfParser* emset) {
  ResetPreset();
  if (emset != nullptr)
    emset->ResetEmsetConfParser();
  rapidjson::Document document;
  if (!json::ParseObject(json, document))
    return 0;
  int ok = 0;
  try {
    ok = ParseDocument(document, parseRouting, routingFlag, routingArg, emset);
  } catch (const std::exception& fault) {
    LOUDCALC_LOG(Log(), Error, "\"Preset rejected: %s\"", fault.what());
    ClearRouting(parseRouting);
  }
  if (ok == 0)
    ResetPreset();
  return ok;
}

int cPresetParser::ParseDocument(const rapidjson::Value& document, bool parseRouting,
                                 bool routingFlag, int routingArg, cEmsetConfParser* emset) {
  const int ok = ParseSections(document);
  const rapidjson::Value* decoder = json::FindObject(document, "DolbyDecoderConf");
  if (decoder != nullptr)
    ParseDolbyDecoderSettingsObject(*decoder);
  ParseName(document);
  ParseCounters(document);
  if (emset != nullptr)
    ParseEmset(document, *emset);
  ClearRouting(parseRouting);
  if (parseRouting)
    ParseRouting(document, routingFlag, routingArg);
  return ok;
}

int cPresetParser::ParseSections(const rapidjson::Value& document) {
  int ok = 1;
  for (const Section& section : kSections) {
    const rapidjson::Value* value = json::Find(document, section.key);
    ok &= value != nullptr ? section.parse(*this, *value) : section.withoutIt;
  }
  return ok;
}

// A preset needs its group: presets of different groups may have the same name.
void cPresetParser::ParseName(const rapidjson::Value& document) {
  const rapidjson::Value* name = json::FindObject(document, preset_key::kName);
  if (name == nullptr)
    return;
  json::Read(*name, preset_key::kProgram, msProgramName);
  if (json::Read(*name, preset_key::kPreset, msPresetName) &&
      !json::Read(*name, preset_key::kGroup, msGroupName))
    throw std::invalid_argument("its name has a \"Preset\" but no \"Group\" text");
}

void cPresetParser::ParseCounters(const rapidjson::Value& document) {
  json::Read(document, preset_key::kCount, miCount);
  json::Read(document, "PubTS", mllPubTS);
  json::Read(document, preset_key::kSpeakerDelayMs, miSpeakerDelayMs);
  json::Read(document, preset_key::kRepub, mbRepub);
}

// Removes what an earlier document routed.
void cPresetParser::ClearRouting(bool keepKeys) {
  if (keepKeys)
    ClearRoutingContents();
  else
    mAcorMap.clear();
}

void cPresetParser::ParseRouting(const rapidjson::Value& document, bool routingFlag,
                                 int routingArg) {
  const rapidjson::Value* routing = json::Find(document, "AudioOutputRouting");
  if (routing == nullptr)
    return;
  ParseAudOutputRouting(*routing, routingFlag, routingArg);
  PrintAudOutputRouting();
}

void cPresetParser::ResetPreset() {
  ResetSystemClockSource();
  ResetMeters();
  ResetClusters();
  ResetVideoSource();
  ResetDolbyDecoderSettings();
  mbRepub = false;
  mbIsSourceSelected = false;
  mbApplyCommonDolbyConf = true;
  mbApplyDZMeterScreen = false;
  msPresetName.clear();
  msProgramName.clear();
  msGroupName.clear();
}
