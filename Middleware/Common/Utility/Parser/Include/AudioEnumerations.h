// Enumerations that the sections of the preset document share: what feeds a meter, through which
// connector, and which loudspeaker it stands for. Their values are part of the interface; the
// dispatcher indexes its speaker weights by `AudioSpeakerType_e`. Plain header, no JSON in it.

#pragma once

#include <cstdint>

/// Loudspeaker position of a meter. Positions from `AST_SPEAKER_LRS` on have no text in documents.
enum AudioSpeakerType_e : std::int32_t {
  AST_NONE = 0,
  AST_SPEAKER_LEFT = 1,
  AST_SPEAKER_RIGHT = 2,
  AST_SPEAKER_CENTER = 3,
  AST_SPEAKER_LFE = 4,   // low-frequency effects
  AST_SPEAKER_LS = 5,    // left surround
  AST_SPEAKER_RS = 6,    // right surround
  AST_SPEAKER_BSL = 7,   // back surround left
  AST_SPEAKER_BSR = 8,   // back surround right
  AST_SPEAKER_MS = 9,    // mono surround
  AST_SPEAKER_LRS = 10,  // left rear surround
  AST_SPEAKER_RRS = 11,  // right rear surround
  AST_SPEAKER_LTR = 12,  // left top rear
  AST_SPEAKER_RTR = 13,  // right top rear
  AST_SPEAKER_LHP = 14,  // left headphone
  AST_SPEAKER_RHP = 15,  // right headphone
  AST_SPEAKER_LTF = 16,  // left top front
  AST_SPEAKER_RTF = 17,  // right top front
  AST_SPEAKER_LTM = 18,  // left top middle
  AST_SPEAKER_RTM = 19,  // right top middle
  AST_SPEAKER_MAX = 20,
  AST_SPEAKER_INVALID = 21,
};

/// Physical kind of an input.
enum SysInputType_e : std::int32_t {
  SIT_NONE = 0,
  SIT_MADI = 1,
  SIT_SDI = 2,
  SIT_AOIP = 3,
  SIT_DOLBY = 4,
  SIT_AES = 5,
  SIT_ANALOG = 6,
  SIT_ASI = 7,
  SIT_TS_OVER_IP = 8,
  SIT_TOSLINK = 9,
  SIT_NUM_TYPES = 10,
  SIT_UNKNOWN = 11,
};

/// Connector of an input or output.
enum SysIOConnectorType_e : std::int32_t {
  SIOCT_NONE = 0,
  SIOCT_BNC = 1,
  SIOCT_SFP = 2,
  SIOCT_OPTICAL = 3,
  SIOCT_XLR = 4,
  SIOCT_DB25 = 5,
  SIOCT_HD15 = 6,
  SIOCT_RJ45 = 7,
  SIOCT_6_35mm = 8,
  SIOCT_HDMI = 9,
  SIOCT_DOLBY_DECODER = 10,
  SIOCT_MAX = 11,
  SIOCT_UNKNOWN = 12,
};
using SysInputOutputConnectorType_e = SysIOConnectorType_e;

/// Side of a stereo output on which a meter is heard. Note that right comes before left.
enum OutputAssignments_e : std::int32_t {
  OPA_NONE = 0,
  OPA_RIGHT = 1,
  OPA_LEFT = 2,
  OPA_BOTH = 3,
  OPA_UNKNOWN = 255,
};

/// Channel layout of a cluster (programme) of meters.
enum AudioChannelsClusterType_e : std::int32_t {
  ACCT_NONE = 0,
  ACCT_MONO = 1,
  ACCT_STEREO = 2,
  ACCT_5_1 = 3,
  ACCT_7_1 = 4,
  ACCT_CUSTOM = 5,
  ACCT_MAX = 6,
  ACCT_UNKNOWN = 7,
};
