// Three sections of the preset: the sources of the unit's clock, Dolby stream and picture. Kept so
// that the preset object is complete; the loudness service reads none of them. They belong to the
// preset object; reactor thread only.

#pragma once

#include <rapidjson/document.h>

#include <cstdint>
#include <string>

#include "AudioEnumerations.h"

/// Reference of the unit's sample clock.
enum SystemClockType_e : std::int32_t {
  SCT_NONE = 0,
  SCT_MADI = 1,
  SCT_SDI = 2,
  SCT_AES = 3,
  SCT_AOIP = 4,
  SCT_INTERNAL = 5,
  SCT_TOSLINK = 6,
  SCT_NUM_CLOCKS = 7,
  SCT_UNKNOWN = 8,
};

class cSystemClockSource {
 public:
  /// Numbers back to their initial values and `msSysClockType` empty; `msSysClockConnectorType`
  /// keeps its text.
  void ResetSystemClockSource();

  /// Reads the "SystemClockSource" object. Members are optional; a source without "Type" is the
  /// internal clock. 0, leaving everything, when `value` is not an object, else 1.
  int ParseSystemClockSource(const rapidjson::Value& value);

  /// What a clock "Type" text stands for, found by the names it contains. `SCT_INTERNAL` for an
  /// input that carries no clock, a null and an unknown text.
  static SystemClockType_e ConvertToSysClockTypeFromString(const char* text);

  SystemClockType_e mSysClockType = SCT_NONE;                // source of the clock
  SysIOConnectorType_e mSysClockConnectorType = SIOCT_NONE;  // connector of that source
  std::int32_t miSysClockSlot = 0;                           // its slot
  std::int32_t miSysClockCage = 0;                           // its cage
  std::int32_t miSysClockInputNo = 0;                        // its number at the connector
  std::int32_t miSysClockPair = 0;                           // its channel pair
  std::int32_t miCount = -1;                                 // sequence counter, -1: none
  std::string msSysClockType;                                // source text as received
  std::string msSysClockConnectorType;                       // connector text as received
};

/// Nothing resets this section: the Dolby input in force stays until a document names another.
class cDolbyInputSource {
 public:
  /// Reads the "DolbyInputSource" object. Members that are missing or mistyped leave their fields.
  /// 0 when `value` is not an object, else 1.
  int ParseDolbyInputSource(const rapidjson::Value& value);

  SysInputType_e mDolbyInputType = SIT_NONE;              // input that carries the Dolby stream
  SysIOConnectorType_e mDolbyConnectorType = SIOCT_NONE;  // connector of that input
  std::int32_t miDolbySlot = 0;                           // its slot
  std::int32_t miDolbyCage = 0;                           // its cage
  std::int32_t miDolbyInputNo = 0;                        // its number at the connector
  std::int32_t miDolbyPair = 0;                           // its channel pair
  std::string msInputDolbyType;                           // input text as received
  std::string msDolbyConnectorType;                       // connector text as received
};

class cVideoSource {
 public:
  /// Numbers back to 0, `msStreamBitRate` and `msStreamResolution` empty; the two type texts stay.
  void ResetVideoSource();

  /// Reads the "VideoSource" object. Members that are missing or mistyped leave their fields. 0
  /// when `value` is not an object, else 1.
  int ParseVideoSource(const rapidjson::Value& value);

  SysInputType_e mVideoInputType = SIT_NONE;              // input that carries the picture
  SysIOConnectorType_e mVideoConnectorType = SIOCT_NONE;  // connector of that input
  std::int32_t miVideoSlot = 0;                           // its slot
  std::int32_t miVideoCage = 0;                           // its cage
  std::int32_t miVideoInputNo = 0;                        // its number at the connector
  std::int32_t miVideoPair = 0;                           // its channel pair
  std::string msVideoInputType;                           // input text as received
  std::string msVideoConnectorType;                       // connector text as received
  std::string msStreamBitRate;                            // bit rate of a stream, text as received
  std::string msStreamResolution;                         // resolution of a stream
};
