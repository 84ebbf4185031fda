// One meter of the preset: the texts of its members and the meter object.

#include "Meters.h"

#include <gtest/gtest.h>

#include <limits>
#include <set>
#include <type_traits>

#include "JsonText.h"

namespace {

constexpr std::int32_t kLowest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kHighest = std::numeric_limits<std::int32_t>::max();

struct SpeakerCase {
  const char* text;
  AudioSpeakerType_e speaker;
  OutputAssignments_e output;
};

constexpr SpeakerCase kSpeakerCases[] = {
    {"Left", AST_SPEAKER_LEFT, OPA_LEFT},
    {"Right", AST_SPEAKER_RIGHT, OPA_RIGHT},
    {"Center", AST_SPEAKER_CENTER, OPA_BOTH},
    {"LowFrequencyEffects", AST_SPEAKER_LFE, OPA_BOTH},
    {"LeftSurround", AST_SPEAKER_LS, OPA_LEFT},
    {"RightSurround", AST_SPEAKER_RS, OPA_RIGHT},
    {"BackSurroundLeft", AST_SPEAKER_BSL, OPA_LEFT},
    {"BackSurroundRight", AST_SPEAKER_BSR, OPA_RIGHT},
    {"MonoSurround", AST_SPEAKER_MS, OPA_BOTH},
    {"left", AST_NONE, OPA_NONE},
    {"Left ", AST_NONE, OPA_NONE},
    {"LeftRearSurround", AST_NONE, OPA_NONE},
    {"None", AST_NONE, OPA_NONE},
    {"", AST_NONE, OPA_NONE},
};

std::string MeterWithSpeaker(const char* text) {
  return std::string(R"({"Speaker":")") + text + "\"}";
}

std::string MeterFedBy(const char* type) {
  return std::string(R"({"Source":{"Type":")") + type + "\"}}";
}

class MeterTest : public testing::Test {
 protected:
  int Parse(const std::string& text) { return mMeter.ParseMeter(Json(text)); }

  void ExpectInitial() {
    EXPECT_EQ(mMeter.miMeterNo, 7);
    EXPECT_EQ(mMeter.miVolumeDb, 0);
    EXPECT_EQ(mMeter.miDelayMs, 0);
    EXPECT_EQ(mMeter.mInputType, SIT_NONE);
    EXPECT_EQ(mMeter.mConnectorType, SIOCT_NONE);
    EXPECT_EQ(mMeter.mSpeakerType, AST_NONE);
    EXPECT_EQ(mMeter.mOutputAssignments, OPA_NONE);
    EXPECT_EQ(mMeter.miSlot, 0);
    EXPECT_EQ(mMeter.miCage, 0);
    EXPECT_EQ(mMeter.miInputNo, 0);
    EXPECT_EQ(mMeter.miChannel, 0);
    EXPECT_EQ(mMeter.miClusterId, -1);
    EXPECT_FALSE(mMeter.mbIsDolbySource);
    EXPECT_EQ(mMeter.msInputType + mMeter.msSpeakerType + mMeter.msConnectorType, "");
  }

  cMeter mMeter{7};
};

}  // namespace

// The values of each enumeration count up from 0 in this order.
template <typename Value>
void ExpectCountsFromZero(std::initializer_list<Value> values) {
  int expected = 0;
  for (const Value value : values)
    EXPECT_EQ(value, expected++);
}

TEST(AudioEnumerationsTest, ValuesAreThoseOfTheInterface) {
  ExpectCountsFromZero({AST_NONE,        AST_SPEAKER_LEFT,   AST_SPEAKER_RIGHT, AST_SPEAKER_CENTER,
                        AST_SPEAKER_LFE, AST_SPEAKER_LS,     AST_SPEAKER_RS,    AST_SPEAKER_BSL,
                        AST_SPEAKER_BSR, AST_SPEAKER_MS,     AST_SPEAKER_LRS,   AST_SPEAKER_RRS,
                        AST_SPEAKER_LTR, AST_SPEAKER_RTR,    AST_SPEAKER_LHP,   AST_SPEAKER_RHP,
                        AST_SPEAKER_LTF, AST_SPEAKER_RTF,    AST_SPEAKER_LTM,   AST_SPEAKER_RTM,
                        AST_SPEAKER_MAX, AST_SPEAKER_INVALID});
  ExpectCountsFromZero({SIT_NONE, SIT_MADI, SIT_SDI, SIT_AOIP, SIT_DOLBY, SIT_AES, SIT_ANALOG,
                        SIT_ASI, SIT_TS_OVER_IP, SIT_TOSLINK, SIT_NUM_TYPES, SIT_UNKNOWN});
  ExpectCountsFromZero({SIOCT_NONE, SIOCT_BNC, SIOCT_SFP, SIOCT_OPTICAL, SIOCT_XLR, SIOCT_DB25,
                        SIOCT_HD15, SIOCT_RJ45, SIOCT_6_35mm, SIOCT_HDMI, SIOCT_DOLBY_DECODER,
                        SIOCT_MAX, SIOCT_UNKNOWN});
  ExpectCountsFromZero({OPA_NONE, OPA_RIGHT, OPA_LEFT, OPA_BOTH});
  ExpectCountsFromZero(
      {ACCT_NONE, ACCT_MONO, ACCT_STEREO, ACCT_5_1, ACCT_7_1, ACCT_CUSTOM, ACCT_MAX, ACCT_UNKNOWN});
  EXPECT_EQ(OPA_UNKNOWN, 255);
  EXPECT_TRUE((std::is_same_v<SysInputOutputConnectorType_e, SysIOConnectorType_e>));
}

TEST_F(MeterTest, SpeakerTextsAreComparedWhole) {
  for (const SpeakerCase& row : kSpeakerCases) {
    EXPECT_EQ(cMeter::ConvertToSpeakerTypeFromString(row.text), row.speaker) << row.text;
    cMeter meter(0);
    EXPECT_EQ(meter.ParseMeter(Json(MeterWithSpeaker(row.text))), 1) << row.text;
    EXPECT_EQ(meter.mSpeakerType, row.speaker) << row.text;
    EXPECT_EQ(meter.mOutputAssignments, row.output) << row.text;
    EXPECT_EQ(meter.msSpeakerType, row.text);
  }
}

TEST_F(MeterTest, UnknownSpeakerTextTakesPositionAndSideOfAnEarlierOneAway) {
  Parse(MeterWithSpeaker("Left"));
  EXPECT_EQ(Parse(MeterWithSpeaker("Port")), 1);
  EXPECT_EQ(mMeter.mSpeakerType, AST_NONE);
  EXPECT_EQ(mMeter.mOutputAssignments, OPA_NONE);
  EXPECT_EQ(mMeter.msSpeakerType, "Port");
}

TEST_F(MeterTest, MissingSpeakerTextGivesNone) {
  EXPECT_EQ(cMeter::ConvertToSpeakerTypeFromString(nullptr), AST_NONE);
}

TEST_F(MeterTest, EveryLoudspeakerPositionHasItsSide) {
  const std::set<int> left = {1, 5, 7, 10, 12, 14, 16, 18};
  const std::set<int> right = {2, 6, 8, 11, 13, 15, 17, 19};
  const std::set<int> both = {3, 4, 9};
  for (int position = 0; position <= 19; ++position) {
    const OutputAssignments_e expected = left.count(position)    ? OPA_LEFT
                                         : right.count(position) ? OPA_RIGHT
                                         : both.count(position)  ? OPA_BOTH
                                                                 : OPA_NONE;
    EXPECT_EQ(cMeter::ConvertToOutputAssignmentsFromSpeakerType(
                  static_cast<AudioSpeakerType_e>(position)),
              expected)
        << position;
  }
}

TEST_F(MeterTest, NoPositionHasNoSide) {
  for (const std::int32_t position : {kLowest, -1, 0, 20, 21, 22, 255, kHighest})
    EXPECT_EQ(cMeter::ConvertToOutputAssignmentsFromSpeakerType(
                  static_cast<AudioSpeakerType_e>(position)),
              OPA_NONE)
        << position;
}

TEST_F(MeterTest, InputTextsAreFoundByTheNamesTheyContain) {
  struct Case {
    const char* text;
    SysInputType_e any;    // among all inputs
    SysInputType_e video;  // among inputs that carry pictures
  };
  const Case cases[] = {
      {"None", SIT_NONE, SIT_NONE},
      {"Internal", SIT_NONE, SIT_NONE},
      {"Analog", SIT_ANALOG, SIT_NONE},
      {"AES", SIT_AES, SIT_NONE},
      {"Dolby", SIT_DOLBY, SIT_NONE},
      {"VoIP.MPEG", SIT_TS_OVER_IP, SIT_TS_OVER_IP},
      {"MADI", SIT_MADI, SIT_NONE},
      {"AoIP", SIT_AOIP, SIT_NONE},
      {"ASI", SIT_ASI, SIT_ASI},
      {"SDI", SIT_SDI, SIT_SDI},
      {"ST-2022", SIT_SDI, SIT_SDI},
      {"ST-2110", SIT_SDI, SIT_SDI},
      {"TOSLINK", SIT_TOSLINK, SIT_TOSLINK},
      {"", SIT_NONE, SIT_NONE},
      {"unheard of", SIT_NONE, SIT_NONE},
      {"madi", SIT_NONE, SIT_NONE},
      {"3G-SDI 1", SIT_SDI, SIT_SDI},
      // If two names occur, the order of the search decides.
      {"SDI None", SIT_NONE, SIT_NONE},
      {"Analog None", SIT_NONE, SIT_NONE},
      {"AES None", SIT_NONE, SIT_NONE},
      {"VoIP.MPEG None", SIT_NONE, SIT_NONE},
      {"AES Internal", SIT_NONE, SIT_NONE},
      {"SDI Internal", SIT_NONE, SIT_SDI},
      {"Analog Internal", SIT_NONE, SIT_NONE},
      {"AES Analog", SIT_ANALOG, SIT_NONE},
      {"Dolby AES", SIT_AES, SIT_NONE},
      {"MADI AES", SIT_AES, SIT_NONE},
      {"AoIP AES67", SIT_AES, SIT_NONE},
      {"Dolby VoIP.MPEG", SIT_DOLBY, SIT_TS_OVER_IP},
      {"MADI Dolby", SIT_DOLBY, SIT_NONE},
      {"MADI VoIP.MPEG", SIT_TS_OVER_IP, SIT_TS_OVER_IP},
      {"AoIP MADI", SIT_MADI, SIT_NONE},
      {"AoIP ST-2110", SIT_AOIP, SIT_SDI},
      {"SDI ASI", SIT_ASI, SIT_ASI},
      {"ASI VoIP.MPEG", SIT_TS_OVER_IP, SIT_TS_OVER_IP},
      {"TOSLINK SDI", SIT_SDI, SIT_SDI},
      {"TOSLINK ST-2110", SIT_SDI, SIT_SDI},
  };
  for (const Case& row : cases) {
    EXPECT_EQ(cMeter::ConvertToSysInputTypeFromString(row.text, false), row.any) << row.text;
    EXPECT_EQ(cMeter::ConvertToSysInputTypeFromString(row.text, true), row.video) << row.text;
    cMeter meter(0);
    EXPECT_EQ(meter.ParseMeter(Json(MeterFedBy(row.text))), 1);
    EXPECT_EQ(meter.mInputType, row.any) << row.text;
    EXPECT_EQ(meter.msInputType, row.text);
  }
}

TEST_F(MeterTest, MissingInputTextGivesNone) {
  EXPECT_EQ(cMeter::ConvertToSysInputTypeFromString(nullptr, false), SIT_NONE);
  EXPECT_EQ(cMeter::ConvertToSysInputTypeFromString(nullptr, true), SIT_NONE);
}

TEST_F(MeterTest, ConnectorTextsAreFoundByTheNamesTheyContain) {
  struct Case {
    const char* text;
    SysIOConnectorType_e connector;
  };
  const Case cases[] = {
      {"None", SIOCT_NONE},
      {"BNC", SIOCT_BNC},
      {"SFP", SIOCT_SFP},
      {"Optical", SIOCT_OPTICAL},
      {"XLR", SIOCT_XLR},
      {"DB25", SIOCT_DB25},
      {"HD15", SIOCT_HD15},
      {"RJ-45", SIOCT_RJ45},
      {"DolbyDecoder", SIOCT_DOLBY_DECODER},
      {"6.35mm", SIOCT_6_35mm},
      {"HDMI", SIOCT_HDMI},
      {"RJ45", SIOCT_NONE},
      {"bnc", SIOCT_NONE},
      {"", SIOCT_NONE},
      {"Micro BNC", SIOCT_BNC},
      {"BNC None", SIOCT_NONE},
      {"SFP BNC", SIOCT_BNC},
      {"Optical SFP", SIOCT_SFP},
      {"XLR Optical", SIOCT_OPTICAL},
      {"DB25 XLR", SIOCT_XLR},
      {"HD15 DB25", SIOCT_DB25},
      {"RJ-45 HD15", SIOCT_HD15},
      {"DolbyDecoder RJ-45", SIOCT_RJ45},
      {"6.35mm DolbyDecoder", SIOCT_DOLBY_DECODER},
      {"HDMI 6.35mm", SIOCT_6_35mm},
  };
  for (const Case& row : cases)
    EXPECT_EQ(cMeter::ConvertToConnectorTypeFromString(row.text), row.connector) << row.text;
  EXPECT_EQ(cMeter::ConvertToConnectorTypeFromString(nullptr), SIOCT_NONE);
}

TEST_F(MeterTest, NewMeterIsNotFed) {
  ExpectInitial();
}

TEST_F(MeterTest, ReadsEveryMemberOfMeterAndSource) {
  EXPECT_EQ(Parse(R"({"VolumeDb":-6,"DelayMs":40,"Speaker":"Center",
                      "Source":{"Channel":3,"ConnectorType":"SFP 1","Cage":2,"Slot":1,
                                "InputNo":4,"Type":"DolbyE"}})"),
            1);
  EXPECT_EQ(mMeter.miMeterNo, 7);
  EXPECT_EQ(mMeter.miVolumeDb, -6);
  EXPECT_EQ(mMeter.miDelayMs, 40);
  EXPECT_EQ(mMeter.mSpeakerType, AST_SPEAKER_CENTER);
  EXPECT_EQ(mMeter.miChannel, 3);
  EXPECT_EQ(mMeter.mConnectorType, SIOCT_SFP);
  EXPECT_EQ(mMeter.msConnectorType, "SFP 1");
  EXPECT_EQ(mMeter.miCage, 2);
  EXPECT_EQ(mMeter.miSlot, 1);
  EXPECT_EQ(mMeter.miInputNo, 4);
  EXPECT_EQ(mMeter.mInputType, SIT_DOLBY);
  EXPECT_EQ(mMeter.msInputType, "DolbyE");
  EXPECT_TRUE(mMeter.mbIsDolbySource);
}

TEST_F(MeterTest, ResetKeepsOnlyTheIndex) {
  Parse(R"({"VolumeDb":1,"DelayMs":2,"Speaker":"Left","Source":{"Channel":3,"ConnectorType":"XLR",
            "Cage":4,"Slot":5,"InputNo":6,"Type":"Dolby"}})");
  mMeter.miClusterId = 3;
  mMeter.ResetMeter();
  ExpectInitial();
}

TEST_F(MeterTest, WithoutSourceTheMeterParses) {
  EXPECT_EQ(Parse("{}"), 1);
  EXPECT_EQ(mMeter.mInputType, SIT_NONE);
}

TEST_F(MeterTest, SourceThatIsNotAnObjectFailsAfterTheFieldsBeforeIt) {
  for (const char* source : {"[]", "null", "1", "\"MADI\"", "true"}) {
    mMeter.ResetMeter();
    EXPECT_EQ(Parse(std::string(R"({"VolumeDb":-3,"Speaker":"Left","Source":)") + source + "}"), 0)
        << source;
    EXPECT_EQ(mMeter.miVolumeDb, -3) << source;
    EXPECT_EQ(mMeter.mSpeakerType, AST_SPEAKER_LEFT) << source;
  }
}

TEST_F(MeterTest, MeterThatIsNotAnObjectFails) {
  for (const char* text : {"[]", "null", "1", "\"x\"", "false"})
    EXPECT_EQ(Parse(text), 0) << text;
}

TEST_F(MeterTest, MistypedMembersLeaveTheirFields) {
  EXPECT_EQ(Parse(R"({"VolumeDb":-6.0,"DelayMs":"4","Speaker":1,
                      "Source":{"Channel":4294967296,"ConnectorType":[],"Cage":1e1,"Slot":true,
                                "InputNo":null,"Type":{}}})"),
            1);
  ExpectInitial();
}

TEST_F(MeterTest, FirstOfDuplicateMembersCounts) {
  EXPECT_EQ(Parse(R"({"VolumeDb":1,"VolumeDb":2})"), 1);
  EXPECT_EQ(mMeter.miVolumeDb, 1);
}

TEST(ZeroBasedTest, CountsFromZeroWithoutOverflow) {
  EXPECT_EQ(ZeroBased(1), 0);
  EXPECT_EQ(ZeroBased(0), -1);
  EXPECT_EQ(ZeroBased(-5), -6);
  EXPECT_EQ(ZeroBased(kHighest), kHighest - 1);
  EXPECT_EQ(ZeroBased(kLowest), kLowest);
}
