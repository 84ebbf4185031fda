// The routing section of the preset: which meters each audio output channel of the unit carries.
// Kept so that the preset object is complete; the loudness service reads none of it. Belongs to the
// preset object; reactor thread only.

#pragma once

#include <rapidjson/document.h>

#include <cstdint>
#include <map>
#include <memory>
#include <set>

#include "AudioEnumerations.h"
#include "Logger.h"

/// Kind of an output. The values match those of `SysInputType_e` where both have one, hence the
/// gaps.
enum SysOutputType_e : std::int32_t {
  SOT_NONE = 0,
  SOT_MADI = 1,
  SOT_SDI = 2,
  SOT_AOIP = 3,
  SOT_AES = 5,
  SOT_ANALOG = 6,
  SOT_SPEAKERS = 10,
  SOT_HDMI = 11,
  SOT_HP = 12,  // no text; cannot arrive in a document
  SOT_UNKNOWN = 13,
};

/// Where an output channel is. Ordered by its fields, the first one first.
class cAudChannelOutputRoutingKey {
 public:
  std::int32_t miSlot = -1;                          // slot of the output, -1: none
  SysIOConnectorType_e mConnectorType = SIOCT_NONE;  // its connector
  SysOutputType_e mOutputType = SOT_NONE;            // its kind
  std::int32_t miChannel = -1;                       // its channel, counted from one, -1: none
};

bool operator<(const cAudChannelOutputRoutingKey& left, const cAudChannelOutputRoutingKey& right);

using MeterSources_t = std::set<int>;

/// One output channel and its content.
class cAudChannelOutputRouting : public cAudChannelOutputRoutingKey {
 public:
  /// Returns everything but the key to its initial value.
  void ClearContents();

  /// Prints key and contents on standard output as one block.
  void PrintAudChannelOutputRouting() const;

  bool mbSpeakerMix = false;                   // takes part in the speaker mix
  bool mbSoloMute = false;                     // follows solo and mute
  bool mbHeadphoneMute = false;                // mutes with the headphones plugged in
  bool mbVolumeControl = false;                // follows the volume control
  std::int32_t miOutputTrimDb = 0;             // trim, dB
  AudioSpeakerType_e mSpeakerType = AST_NONE;  // loudspeaker connected to it
  std::int32_t miPair = -1;                    // channel pair, counted from one, -1: none
  MeterSources_t mMeterSources;                // numbers of the meters it carries
};

using AudChannelOutputRoutingMap_t =
    std::map<cAudChannelOutputRoutingKey, std::shared_ptr<cAudChannelOutputRouting>>;

/// Maximum number of channels that are read from one document. Each is printed. Its key stays in
/// the map after the document as long as there is room.
constexpr std::size_t kMaxRoutedChannels = 512;

class cAudOutputRouting {
 public:
  static Logger* mpLogger;      // null: silent; shared with the preset object
  static LogLevel_e mLogLevel;  // threshold of this class's lines

  /// Reads the "AudioOutputRouting" object: slots, in them connectors, in them output types, in
  /// them channel pairs. With `routingFlag` every slot is read, without it only the slot
  /// `routingArg`. Each complete channel goes into `mAcorMap` and is printed. A slot whose name
  /// does not begin with a number that an int holds is skipped with a log line. 1 when everything
  /// was well formed and, without `routingFlag`, the slot was there. Otherwise 0; everything that
  /// can be read is read even then. Channels beyond the first `kMaxRoutedChannels` are skipped with
  /// one log line.
  int ParseAudOutputRouting(const rapidjson::Value& value, bool routingFlag, int routingArg);

  /// The inner levels of the document, read into `mAcor`, whose slot, connector and output type are
  /// already set. Each returns 1, or 0 when something was not well formed; everything that can be
  /// read is read. All channels count towards the `kMaxRoutedChannels` of the last document.

  /// An array of pair objects.
  int ParseAORPairs(const rapidjson::Value& pairs);

  /// An object with the number ("Pair", -1 without it), the flags and the channels of a pair.
  int ParseAORPair(const rapidjson::Value& pair);

  /// An array of channel objects. Element i, counted from 0, goes into the map as channel i + 2 x
  /// pair - 1 of the output; in a pair without a number it is read but does not go into the map.
  int ParseAOROutputChannels(const rapidjson::Value& channels);

  /// An object with the trim ("OutputTrimDb", required), the "Speaker" (none without it) and the
  /// "MeterSources" (required) of one channel, which does not go into the map yet.
  int ParseAOROutputChannel(const rapidjson::Value& channel);

  /// Clears the contents of every entry of the map; the keys stay.
  void ClearRoutingContents();

  /// Puts a copy of `record` into the map in place of the entry with its key, and prints it. Before
  /// a new key goes into a map of `kMaxRoutedChannels` or more, entries with cleared contents are
  /// removed.
  void InsertAudChannelOutputRouting(const cAudChannelOutputRouting& record);

  /// Prints a heading and every entry of the map.
  void PrintAudOutputRouting() const;

  /// What an output-type text stands for, found by the name it contains; `SOT_NONE` for a null or
  /// unknown text.
  static SysOutputType_e ConvertToSysOutputTypeFromString(const char* text);

  cAudChannelOutputRouting mAcor;         // the record being filled while parsing
  AudChannelOutputRoutingMap_t mAcorMap;  // every channel read so far, kept between documents

 private:
  int ParseAllSlots(const rapidjson::Value& slots);
  int ParseOneSlot(const rapidjson::Value& slots, std::int32_t slot);
  int ParseAORSlot(const rapidjson::Value& connectors);
  int ParseAORConnector(const rapidjson::Value& outputTypes);
  int ParseAOROutputType(const rapidjson::Value& outputType);
  bool SetChannel(std::int32_t index);
  void ForgetUnusedChannels();

  std::size_t mChannelsMet = 0;  // channels found in the current document
};
