// The audio meters of the unit as the preset sets them up: what feeds each meter, which loudspeaker
// it stands for and to which cluster it belongs. Belongs to the preset object; reactor thread only.

#pragma once

#include <rapidjson/document.h>

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "AudioEnumerations.h"

/// Converts a one-based `number` of a document to a zero-based index. The lowest integer does not
/// change; it is not a valid index in either case.
constexpr std::int32_t ZeroBased(std::int32_t number) {
  return number > INT32_MIN ? number - 1 : number;
}

/// One audio meter. Made once with its index and never removed; documents overwrite its fields.
class cMeter {
 public:
  explicit cMeter(std::int32_t meterNo) : miMeterNo(meterNo) {}

  /// Returns every field but `miMeterNo` to its initial value.
  void ResetMeter() { *this = cMeter(miMeterNo); }

  /// Reads a meter object of the preset. Members that are missing or mistyped leave their fields. 0
  /// when `value` or its "Source" is not an object (fields set before stay set), else 1.
  int ParseMeter(const rapidjson::Value& value);

  /// The position that a "Speaker" text stands for; `AST_NONE` for a null or unknown text. The
  /// whole text must match.
  static AudioSpeakerType_e ConvertToSpeakerTypeFromString(const char* text);

  /// Side of the stereo output for a loudspeaker position; `OPA_NONE` for any other value.
  static OutputAssignments_e ConvertToOutputAssignmentsFromSpeakerType(AudioSpeakerType_e speaker);

  /// The input that a "Type" text stands for, found by the names it contains. With `videoOnly` the
  /// names of audio-only inputs do not count. `SIT_NONE` for a null or unknown text.
  static SysInputType_e ConvertToSysInputTypeFromString(const char* text, bool videoOnly);

  /// The connector that a "ConnectorType" text stands for, found by the name it contains.
  /// `SIOCT_NONE` for a null or unknown text.
  static SysIOConnectorType_e ConvertToConnectorTypeFromString(const char* text);

  std::int32_t miMeterNo;                             // zero-based index, fixed at creation
  std::int32_t miVolumeDb = 0;                        // monitoring volume, dB
  std::int32_t miDelayMs = 0;                         // monitoring delay, ms
  SysInputType_e mInputType = SIT_NONE;               // kind of the input that feeds the meter
  SysIOConnectorType_e mConnectorType = SIOCT_NONE;   // connector of that input
  AudioSpeakerType_e mSpeakerType = AST_NONE;         // loudspeaker position it stands for
  OutputAssignments_e mOutputAssignments = OPA_NONE;  // side of the stereo output
  std::int32_t miSlot = 0;                            // slot of the input
  std::int32_t miCage = 0;                            // cage of the input
  std::int32_t miInputNo = 0;                         // number of the input at its connector
  std::int32_t miChannel = 0;                         // channel within the input; 0: not fed
  std::int32_t miClusterId = -1;                      // zero-based cluster, -1: none
  bool mbIsDolbySource = false;                       // fed from the Dolby decoder
  std::string msInputType;                            // input text as received
  std::string msSpeakerType;                          // loudspeaker text as received
  std::string msConnectorType;                        // connector text as received

 private:
  int ParseSource(const rapidjson::Value& source);
};

using MeterMap_t = std::map<int, std::shared_ptr<cMeter>>;

/// The meters of one meter set. Every getter and setter takes a zero-based meter index; for an
/// index outside the set a getter returns its fallback.
class cMeterSet {
 public:
  /// A set of `maxMeters` meters in their initial state.
  explicit cMeterSet(std::int32_t maxMeters);

  /// Replaces all meters by new ones, 0 to `miMaxAudioMeters` - 1.
  void InitMeters();

  /// Returns every meter and the Dolby flag to the initial state.
  void ResetMeters();

  /// Reads the "MeterSet" object: each member's name is a meter number counted from one, its value
  /// the meter. 1 when every meter parsed; a meter that fails does not stop the others. Throws
  /// std::invalid_argument for a name that does not begin with a number and std::out_of_range for
  /// one beyond int, with a text that contains the name; meters already read keep their values.
  int ParseMeterSet(const rapidjson::Value& value);

  /// Reads one meter object into the meter `index` and its Dolby flag into `isDolby`. 0 when it
  /// failed; for an index outside the set `isDolby` stays untouched.
  int ParseMeter(std::int32_t index, const rapidjson::Value& value, bool& isDolby);

  /// The meter itself, empty if there is none.
  std::shared_ptr<cMeter> GetMeter(std::int32_t meter) const;

  std::int32_t GetClusterId(std::int32_t meter) const;                 // fallback -1
  SysInputType_e GetInputType(std::int32_t meter) const;               // fallback SIT_NONE
  SysIOConnectorType_e GetConnectorType(std::int32_t meter) const;     // fallback SIOCT_NONE
  AudioSpeakerType_e GetSpeakerType(std::int32_t meter) const;         // fallback AST_NONE
  OutputAssignments_e GetOutputAssignments(std::int32_t meter) const;  // fallback OPA_NONE
  std::string GetInputTypeStr(std::int32_t meter) const;               // fallback empty
  std::string GetConnectorTypeStr(std::int32_t meter) const;           // fallback empty
  std::string GetSpeakerTypeStr(std::int32_t meter) const;             // fallback empty
  std::int32_t GetVolumeDb(std::int32_t meter, std::int32_t fallback) const;
  std::int32_t GetDelayMs(std::int32_t meter, std::int32_t fallback) const;
  std::int32_t GetSlot(std::int32_t meter, std::int32_t fallback) const;
  std::int32_t GetCage(std::int32_t meter, std::int32_t fallback) const;
  std::int32_t GetInputNo(std::int32_t meter, std::int32_t fallback) const;
  std::int32_t GetChannel(std::int32_t meter, std::int32_t fallback) const;

  /// Each returns 1, or 0 for an index outside the set, which changes nothing.
  int SetClusterId(std::int32_t meter, std::int32_t clusterId);
  int SetVolumeDb(std::int32_t meter, std::int32_t volumeDb);
  int SetSpeakerType(std::int32_t meter, AudioSpeakerType_e speakerType);

  std::int32_t miMaxAudioMeters;  // number of meters in the set
  bool mbIsDolbySource = false;   // at least one meter of the last document is fed from Dolby
  MeterMap_t mMeters;             // the meters by zero-based index
};
