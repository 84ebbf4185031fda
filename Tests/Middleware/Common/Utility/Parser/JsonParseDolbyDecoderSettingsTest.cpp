// Dolby decoder settings, in the preset and as a separate document.

#include "JsonParseDolbyDecoderSettings.h"

#include <gtest/gtest.h>

#include <limits>

#include "DeepNesting.h"
#include "JsonText.h"

namespace {

constexpr char kDecoder[] =
    R"("DecoderConfig":{"SpeakerConfig":"7.1.4","StereoDownMixMode":"LtRt","VisualiserView":"3D",
       "AtmosDecode":true,"SurroundMix":true})";
constexpr char kDDPlus[] =
    R"("DDPlusConfig":{"CompressionMode":"RF","CompressionCut":0.5,"CompressionBoost":0.25})";
constexpr char kED2[] = R"("ED2Config":{"AudioPresentation":3})";
constexpr char kLoudness[] =
    R"("LoudnessConfig":{"Preset":"EBU","SpeechThreshold":15,"DialogueIntelligence":false})";
constexpr char kPresent[] = R"("IsDecModulePresent":true)";
constexpr char kStatus[] = R"("DecModuleStatus":"Ready")";

std::string Settings(std::initializer_list<const char*> members) {
  std::string text;
  for (const char* member : members)
    text += (text.empty() ? "{" : ",") + std::string(member);
  return text.empty() ? "{}" : text + "}";
}

std::string AllSettings() {
  return Settings({kDecoder, kDDPlus, kED2, kLoudness, kPresent, kStatus});
}

class DolbyDecoderSettingsTest : public testing::Test {
 protected:
  int Parse(const std::string& text) {
    return mSettings.ParseDolbyDecoderSettingsObject(Json(text));
  }

  void ExpectDefaults() {
    EXPECT_EQ(mSettings.msSpeakerConfig, "2.0");
    EXPECT_EQ(mSettings.msDownMixMode, "Auto");
    EXPECT_EQ(mSettings.msVisualiserMode, "Top View");
    EXPECT_FALSE(mSettings.mbAtmosDecode);
    EXPECT_FALSE(mSettings.mbSurroundUpMix);
    EXPECT_EQ(mSettings.msCompressionMode, "Line");
    EXPECT_EQ(mSettings.mfCompressionCut, 0.0F);
    EXPECT_EQ(mSettings.mfCompressionBoost, 0.0F);
    EXPECT_EQ(mSettings.miAudioPresentation, 0);
    EXPECT_EQ(mSettings.msRegulation, "ATSC");
    EXPECT_EQ(mSettings.miSpeechThreshold, 20);
    EXPECT_TRUE(mSettings.mbDialogueIntelli);
    EXPECT_FALSE(mSettings.mbIsDDModulePresent);
    EXPECT_EQ(mSettings.msDDModStatus, "Timeout");
    EXPECT_FALSE(mSettings.mbOriginFromFp);
  }

  void ExpectAllSettings() {
    EXPECT_EQ(mSettings.msSpeakerConfig, "7.1.4");
    EXPECT_EQ(mSettings.msDownMixMode, "LtRt");
    EXPECT_EQ(mSettings.msVisualiserMode, "3D");
    EXPECT_TRUE(mSettings.mbAtmosDecode);
    EXPECT_TRUE(mSettings.mbSurroundUpMix);
    EXPECT_EQ(mSettings.msCompressionMode, "RF");
    EXPECT_EQ(mSettings.mfCompressionCut, 0.5F);
    EXPECT_EQ(mSettings.mfCompressionBoost, 0.25F);
    EXPECT_EQ(mSettings.miAudioPresentation, 3);
    EXPECT_EQ(mSettings.msRegulation, "EBU");
    EXPECT_EQ(mSettings.miSpeechThreshold, 15);
    EXPECT_FALSE(mSettings.mbDialogueIntelli);
    EXPECT_TRUE(mSettings.mbIsDDModulePresent);
    EXPECT_EQ(mSettings.msDDModStatus, "Ready");
  }

  cDolbyDecoderSettingsParser mSettings;
};

}  // namespace

TEST_F(DolbyDecoderSettingsTest, StartsWithTheDefaults) {
  ExpectDefaults();
}

TEST_F(DolbyDecoderSettingsTest, ReadsEveryMember) {
  EXPECT_EQ(Parse(AllSettings()), 1);
  ExpectAllSettings();
  EXPECT_FALSE(mSettings.mbOriginFromFp);
}

TEST_F(DolbyDecoderSettingsTest, ResetRestoresEveryDefault) {
  Parse(AllSettings());
  mSettings.mbOriginFromFp = true;
  mSettings.ResetDolbyDecoderSettings();
  ExpectDefaults();
}

TEST_F(DolbyDecoderSettingsTest, ValueThatIsNotAnObjectFails) {
  for (const char* text : {"[]", "null", "1", "\"x\"", "true"})
    EXPECT_EQ(Parse(text), 0) << text;
  ExpectDefaults();
}

TEST_F(DolbyDecoderSettingsTest, MissingConfigurationFailsButTheOthersAreStored) {
  EXPECT_EQ(Parse(Settings({kDDPlus, kED2, kLoudness, kPresent, kStatus})), 0);
  EXPECT_EQ(mSettings.msSpeakerConfig, "2.0");
  EXPECT_EQ(mSettings.msRegulation, "EBU");

  EXPECT_EQ(Parse(Settings({kDecoder, kED2, kLoudness, kPresent, kStatus})), 0);
  EXPECT_EQ(mSettings.msSpeakerConfig, "7.1.4");

  EXPECT_EQ(Parse(Settings({kDecoder, kDDPlus, kED2, kPresent, kStatus})), 0);
  EXPECT_EQ(mSettings.miAudioPresentation, 3);
}

TEST_F(DolbyDecoderSettingsTest, WithoutED2ConfigTheDecoderConfigIsStoredButItFails) {
  EXPECT_EQ(Parse(Settings({kDecoder, kDDPlus, kLoudness, kPresent, kStatus})), 0);
  EXPECT_EQ(mSettings.msSpeakerConfig, "7.1.4");
  EXPECT_TRUE(mSettings.mbAtmosDecode);
  EXPECT_EQ(mSettings.msCompressionMode, "RF");
  EXPECT_EQ(mSettings.msRegulation, "EBU");
  EXPECT_EQ(mSettings.miAudioPresentation, 0);
}

TEST_F(DolbyDecoderSettingsTest, AfterAMissingConfigurationTheStatusIsNotRead) {
  EXPECT_EQ(Parse(Settings({kDecoder, kDDPlus, kLoudness, kPresent, kStatus})), 0);
  EXPECT_FALSE(mSettings.mbIsDDModulePresent);
  EXPECT_EQ(mSettings.msDDModStatus, "Timeout");
}

TEST_F(DolbyDecoderSettingsTest, ConfigurationThatIsNotAnObjectCountsAsMissing) {
  const char* const cases[] = {R"("DecoderConfig":[])", R"("DDPlusConfig":null)",
                               R"("ED2Config":3)", R"("LoudnessConfig":"EBU")"};
  for (const char* bad : cases)
    EXPECT_EQ(Parse(Settings({bad, kDecoder, kDDPlus, kED2, kLoudness, kPresent, kStatus})), 0)
        << bad;
}

TEST_F(DolbyDecoderSettingsTest, RequiredMemberMissingOrMistypedFails) {
  const char* const ddPlusCases[] = {
      R"("DDPlusConfig":{})",
      R"("DDPlusConfig":{"CompressionCut":1,"CompressionBoost":1})",
      R"("DDPlusConfig":{"CompressionMode":"RF","CompressionBoost":1})",
      R"("DDPlusConfig":{"CompressionMode":"RF","CompressionCut":1})",
      R"("DDPlusConfig":{"CompressionMode":1,"CompressionCut":1,"CompressionBoost":1})",
      R"("DDPlusConfig":{"CompressionMode":"RF","CompressionCut":"1","CompressionBoost":1})",
      R"("DDPlusConfig":{"CompressionMode":"RF","CompressionCut":1,"CompressionBoost":true})",
  };
  for (const char* ddPlus : ddPlusCases)
    EXPECT_EQ(Parse(Settings({kDecoder, ddPlus, kED2, kLoudness, kPresent, kStatus})), 0) << ddPlus;
  const char* const ed2Cases[] = {R"("ED2Config":{})", R"("ED2Config":{"AudioPresentation":"3"})",
                                  R"("ED2Config":{"AudioPresentation":3.0})"};
  for (const char* ed2 : ed2Cases)
    EXPECT_EQ(Parse(Settings({kDecoder, kDDPlus, ed2, kLoudness, kPresent, kStatus})), 0) << ed2;
}

TEST_F(DolbyDecoderSettingsTest, IncompleteCompressionStoresWhatIsThere) {
  constexpr char kCutOnly[] = R"("DDPlusConfig":{"CompressionCut":0.5})";
  EXPECT_EQ(Parse(Settings({kDecoder, kCutOnly, kED2, kLoudness, kPresent, kStatus})), 0);
  EXPECT_EQ(mSettings.mfCompressionCut, 0.5F);
  EXPECT_EQ(mSettings.msCompressionMode, "Line");
  EXPECT_EQ(mSettings.miAudioPresentation, 3);
}

TEST_F(DolbyDecoderSettingsTest, CompressionBoostIsStoredWhicheverMemberBeforeItFails) {
  for (const char* before : {"", R"("CompressionMode":"RF",)", R"("CompressionCut":0.5,)",
                             R"("CompressionMode":1,"CompressionCut":0.5,)",
                             R"("CompressionMode":"RF","CompressionCut":"0.5",)"}) {
    mSettings.ResetDolbyDecoderSettings();
    const std::string ddPlus =
        std::string(R"("DDPlusConfig":{)") + before + R"("CompressionBoost":0.25})";
    EXPECT_EQ(Parse(Settings({kDecoder, ddPlus.c_str(), kED2, kLoudness, kPresent, kStatus})), 0)
        << before;
    EXPECT_EQ(mSettings.mfCompressionBoost, 0.25F) << before;
  }
}

TEST_F(DolbyDecoderSettingsTest, WithoutDecoderConfigTheOthersAreStored) {
  EXPECT_EQ(Parse(Settings({kDDPlus, kED2, kLoudness, kPresent, kStatus})), 0);
  EXPECT_EQ(mSettings.msCompressionMode, "RF");
  EXPECT_EQ(mSettings.miAudioPresentation, 3);
  EXPECT_EQ(mSettings.msRegulation, "EBU");
}

TEST_F(DolbyDecoderSettingsTest, DecoderAndLoudnessMembersAreOptional) {
  EXPECT_EQ(Parse(Settings({R"("DecoderConfig":{})", kDDPlus, kED2, R"("LoudnessConfig":{})",
                            kPresent, kStatus})),
            1);
  EXPECT_EQ(mSettings.msSpeakerConfig, "2.0");
  EXPECT_EQ(mSettings.msRegulation, "ATSC");
  EXPECT_EQ(mSettings.miSpeechThreshold, 20);
  EXPECT_TRUE(mSettings.mbDialogueIntelli);
}

TEST_F(DolbyDecoderSettingsTest, MistypedOptionalTextsAndNumbersLeaveTheirFields) {
  EXPECT_EQ(
      Parse(Settings({R"("DecoderConfig":{"SpeakerConfig":2.0,"StereoDownMixMode":null,
                               "VisualiserView":[]})",
                      kDDPlus, kED2, R"("LoudnessConfig":{"Preset":1,"SpeechThreshold":"15"})",
                      kPresent, kStatus})),
      1);
  EXPECT_EQ(mSettings.msSpeakerConfig, "2.0");
  EXPECT_EQ(mSettings.msDownMixMode, "Auto");
  EXPECT_EQ(mSettings.msVisualiserMode, "Top View");
  EXPECT_EQ(mSettings.msRegulation, "ATSC");
  EXPECT_EQ(mSettings.miSpeechThreshold, 20);
}

TEST_F(DolbyDecoderSettingsTest, OnlyAJsonTrueSetsAFlag) {
  for (const char* value : {"false", "1", "\"true\"", "null", "[]"}) {
    mSettings.ResetDolbyDecoderSettings();
    mSettings.mbAtmosDecode = true;
    mSettings.mbSurroundUpMix = true;
    const std::string flag = value;
    const std::string decoder =
        "\"DecoderConfig\":{\"AtmosDecode\":" + flag + ",\"SurroundMix\":" + flag + "}";
    const std::string loudness = "\"LoudnessConfig\":{\"DialogueIntelligence\":" + flag + "}";
    EXPECT_EQ(
        Parse(Settings({decoder.c_str(), kDDPlus, kED2, loudness.c_str(), kPresent, kStatus})), 1)
        << value;
    EXPECT_FALSE(mSettings.mbAtmosDecode) << value;
    EXPECT_FALSE(mSettings.mbSurroundUpMix) << value;
    EXPECT_FALSE(mSettings.mbDialogueIntelli) << value;
  }
}

TEST_F(DolbyDecoderSettingsTest, CompressionTakesIntegersAndFractions) {
  struct Case {
    const char* number;
    float value;
  };
  constexpr float kHighest = std::numeric_limits<float>::max();
  const Case cases[] = {{"5", 5.0F},
                        {"-5", -5.0F},
                        {"0.25", 0.25F},
                        {"1e2", 100.0F},
                        {"4294967296", 4294967296.0F},
                        // Values beyond the range of float are clamped.
                        {"1e300", kHighest},
                        {"-1e300", -kHighest}};
  for (const Case& row : cases) {
    const std::string ddPlus =
        std::string(R"("DDPlusConfig":{"CompressionMode":"RF","CompressionCut":)") + row.number +
        ",\"CompressionBoost\":" + row.number + "}";
    EXPECT_EQ(Parse(Settings({kDecoder, ddPlus.c_str(), kED2, kLoudness, kPresent, kStatus})), 1)
        << row.number;
    EXPECT_EQ(mSettings.mfCompressionCut, row.value) << row.number;
    EXPECT_EQ(mSettings.mfCompressionBoost, row.value) << row.number;
  }
}

TEST_F(DolbyDecoderSettingsTest, StatusMembersAreRequired) {
  EXPECT_EQ(Parse(Settings({kDecoder, kDDPlus, kED2, kLoudness, kStatus})), 0);
  EXPECT_EQ(mSettings.msDDModStatus, "Timeout") << "not read after the failure";
  EXPECT_EQ(Parse(Settings({kDecoder, kDDPlus, kED2, kLoudness, kPresent})), 0);
  EXPECT_TRUE(mSettings.mbIsDDModulePresent) << "read before the failure";
  EXPECT_EQ(mSettings.msRegulation, "EBU");
}

TEST_F(DolbyDecoderSettingsTest, MistypedStatusMembersFail) {
  EXPECT_EQ(
      Parse(Settings({kDecoder, kDDPlus, kED2, kLoudness, R"("IsDecModulePresent":1)", kStatus})),
      0);
  EXPECT_EQ(
      Parse(Settings({kDecoder, kDDPlus, kED2, kLoudness, kPresent, R"("DecModuleStatus":null)"})),
      0);
}

TEST_F(DolbyDecoderSettingsTest, DocumentOfItsOwnIsRead) {
  EXPECT_EQ(mSettings.ParseDolbyDecoderSettings(AllSettings().c_str()), 1);
  ExpectAllSettings();
}

TEST_F(DolbyDecoderSettingsTest, DocumentOfItsOwnRestoresTheDefaultsFirst) {
  Parse(AllSettings());
  EXPECT_EQ(mSettings.ParseDolbyDecoderSettings("{}"), 0);
  ExpectDefaults();
}

TEST_F(DolbyDecoderSettingsTest, DocumentThatIsNotAnObjectFailsWithTheDefaults) {
  for (const char* text : {"", "{", "[]", "null", "{\"a\":}", "1"}) {
    Parse(AllSettings());
    EXPECT_EQ(mSettings.ParseDolbyDecoderSettings(text), 0) << text;
    ExpectDefaults();
  }
  EXPECT_EQ(mSettings.ParseDolbyDecoderSettings(nullptr), 0);
}

TEST_F(DolbyDecoderSettingsTest, DeepNestingIsRefused) {
  EXPECT_EQ(mSettings.ParseDolbyDecoderSettings(UnclosedArrays().c_str()), 0);
  const std::string nested = "{\"DecoderConfig\":" + NestedArrays() + "}";
  EXPECT_EQ(mSettings.ParseDolbyDecoderSettings(nested.c_str()), 0);
}
