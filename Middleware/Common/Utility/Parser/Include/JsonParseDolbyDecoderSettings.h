// Settings of the unit's Dolby decoder, either as part of the preset or as a separate document. The
// loudness service keeps them and does not act on them. Reactor thread only.

#pragma once

#include <rapidjson/document.h>

#include <cstdint>
#include <string>

class cDolbyDecoderSettingsParser {
 public:
  /// Returns every setting to its default.
  void ResetDolbyDecoderSettings();

  /// Reads the settings object. 1 when all of these are present with the right types: the four
  /// configurations, the required members of "DDPlusConfig" and "ED2Config", and both status
  /// members; else 0. Members that are present are stored even then, except that the status members
  /// are not read after a failure in the configurations.
  int ParseDolbyDecoderSettingsObject(const rapidjson::Value& value);

  /// Restores the defaults and reads the document `json` whose root is the settings object. 0 also
  /// when it is null, does not parse or is not an object.
  int ParseDolbyDecoderSettings(const char* json);

  std::string msSpeakerConfig = "2.0";        // layout of the decoded loudspeakers
  std::string msDownMixMode = "Auto";         // how stereo is mixed down
  std::string msVisualiserMode = "Top View";  // view of the object visualiser
  bool mbAtmosDecode = false;                 // objects are decoded
  bool mbSurroundUpMix = false;               // channels are mixed up to surround
  std::string msCompressionMode = "Line";     // dynamic range compression mode
  float mfCompressionCut = 0.0F;              // share of the compression's cut applied
  float mfCompressionBoost = 0.0F;            // share of the compression's boost applied
  std::int32_t miAudioPresentation = 0;       // presentation of an ED2 stream
  std::string msRegulation = "ATSC";          // loudness preset of the decoder
  std::int32_t miSpeechThreshold = 20;        // share of speech for dialogue gating, percent
  bool mbDialogueIntelli = true;              // loudness is measured on dialogue
  bool mbIsDDModulePresent = false;           // decoder module is fitted
  std::string msDDModStatus = "Timeout";      // state the module reports
  bool mbOriginFromFp = false;                // set on the front panel; not filled here

 private:
  bool ReadDecoderConfig(const rapidjson::Value& settings);
  bool ReadDDPlusConfig(const rapidjson::Value& settings);
  bool ReadED2Config(const rapidjson::Value& settings);
  bool ReadLoudnessConfig(const rapidjson::Value& settings);
};
