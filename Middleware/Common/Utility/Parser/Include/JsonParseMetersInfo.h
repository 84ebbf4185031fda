// The preset document of the unit: which input feeds each meter, which loudspeaker it stands for
// and how meters form clusters, with the other sections of the same document. One object, owned by
// the dispatcher, used from the reactor thread only.

#pragma once

#include <cstdint>
#include <string>

#include "Clusters.h"
#include "JsonParseAudioRouting.h"
#include "JsonParseDolbyDecoderSettings.h"
#include "JsonParseEmsetInfo.h"
#include "JsonParseSources.h"
#include "Meters.h"

class cPresetParser : public cSystemClockSource,
                      public cMeterSet,
                      public cClusterSet,
                      public cVideoSource,
                      public cDolbyInputSource,
                      public cDolbyDecoderSettingsParser,
                      public cAudOutputRouting {
 public:
  // The preset and its routing section log through one logger (null: silent) from one level on.
  using cAudOutputRouting::mLogLevel;
  using cAudOutputRouting::mpLogger;

  /// A preset for `maxMeters` meters and as many clusters, in the reset state.
  explicit cPresetParser(int maxMeters);

  cPresetParser(const cPresetParser&) = delete;
  cPresetParser& operator=(const cPresetParser&) = delete;

  /// Reads a preset document. `parseRouting` asks for the routing section, `routingFlag` and
  /// `routingArg` say which slots of it (`cAudOutputRouting::ParseAudOutputRouting`); `emset`,
  /// which may be null, receives the Emset configuration. Returns 1, or 0 when the document is
  /// null, not a JSON object, lacks "Clusters", "MeterSet" or "SystemClockSource" or has a bad one,
  /// or has a "DolbyInputSource" or "VideoSource" that is not an object; the preset is then in its
  /// reset state. Reading stops at a meter name that is not a number in the range of int and at a
  /// string "Preset" without a string "Group". Such a document also leaves an error line that names
  /// the fault, and the routing without contents. Decoder settings, routing and Emset configuration
  /// do not affect the result.
  int ParsePreset(const char* json, bool parseRouting, bool routingFlag, int routingArg,
                  cEmsetConfParser* emset);

  /// Returns everything to its initial value except the counters `miCount`, `mllPubTS` and
  /// `miSpeakerDelayMs`, the Dolby input, the texts that the clock and video sources keep, and the
  /// routing, which only a document that is read changes.
  void ResetPreset();

  std::int32_t miCount = 0;            // sequence counter of the publisher, kept over a reset
  std::uint64_t mllPubTS = 0;          // publication time stamp, kept over a reset
  std::uint32_t miSpeakerDelayMs = 0;  // delay of the loudspeakers, ms, kept over a reset
  bool mbRepub = false;                // republication of the preset already in force
  bool mbIsSourceSelected = false;     // not filled by this service
  bool mbApplyCommonDolbyConf = true;  // not filled by this service
  bool mbApplyDZMeterScreen = false;   // not filled by this service
  std::string msPresetName;            // name of the preset
  std::string msProgramName;           // name of the programme
  std::string msGroupName;             // name of the group the preset belongs to

 private:
  int ParseSections(const rapidjson::Value& document);
  void ParseName(const rapidjson::Value& document);
  void ParseCounters(const rapidjson::Value& document);
  void ClearRouting(bool keepKeys);
  void ParseRouting(const rapidjson::Value& document, bool routingFlag, int routingArg);
  int ParseDocument(const rapidjson::Value& document, bool parseRouting, bool routingFlag,
                    int routingArg, cEmsetConfParser* emset);
};
