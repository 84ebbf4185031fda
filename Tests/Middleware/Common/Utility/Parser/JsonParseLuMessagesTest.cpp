// Reader of configuration messages.

#include <gtest/gtest.h>

#include "DeepNesting.h"
#include "GoldenFile.h"
#include "JsonAccess.h"
#include "LuMessageReader.h"

namespace {

/// Resets the field of a required key of the configuration message to its default.
struct ConfKey {
  const char* key;
  void (*restoreDefault)(cLuConf&);
};

const ConfKey kUnsignedConfKeys[] = {
    {"ClusterId", [](cLuConf& conf) { conf.mlDefaultClusterId = 1; }},
    {"LraWindow", [](cLuConf& conf) { conf.mlLraWindow = 9; }},
    {"LoudnessWindowTime", [](cLuConf& conf) { conf.mlLoudnessWindowTime = 3; }},
};

const ConfKey kSignedConfKeys[] = {
    {"AlarmTolerance", [](cLuConf& conf) { conf.mlAlarmTolerance = 2; }},
    {"ReferenceLevel", [](cLuConf& conf) { conf.mlReferenceLevel = -24; }},
};

const ConfKey kTextConfKeys[] = {
    {"LoudnessStandard",
     [](cLuConf& conf) {
       conf.msLoudnessStandard = "ITU BS1770-3";
       conf.mLoudnessStandard = BS1770_3;
     }},
    {"LoudnessWindow",
     [](cLuConf& conf) {
       conf.msLoudnessWindow = "Momentary";
       conf.mLoudnessWindow = LOUD_WIN_TYPE_MOMENTARY;
     }},
    {"Alarm",
     [](cLuConf& conf) {
       conf.msAlarm = "Both";
       conf.mAlarm = LU_ALARM_BOTH;
     }},
    {"Mode",
     [](cLuConf& conf) {
       conf.msMode = "Continuous";
       conf.mMode = LOUD_MODE_CONTINUOUS;
     }},
};

class JsonParseLuMessagesTest : public LuMessageReader {
 protected:
  /// Expects that the message is refused but all its other keys are read.
  void ExpectConfRefusedButFor(const ConfKey& confKey, const Members& members) {
    StartAgain();
    EXPECT_FALSE(ReadConf(Text(members))) << Text(members);
    cLuSettingsParser expected = ParserAfterConf();
    confKey.restoreDefault(expected);
    EXPECT_EQ(Fields(parser_), Fields(expected)) << Text(members);
  }
};

// --- Refused texts ---

TEST_F(JsonParseLuMessagesTest, NewReaderHasDefaultsAndNoOrigin) {
  const cLuSettingsParser parser;
  cLuSettingsParser expected = ResetParser();
  expected.cLuConf::mlUserId = 0;
  expected.cLuCmd::mlUserId = 0;
  expected.mlCmdTS = 0;
  expected.mbIsCmdOriginFromFp = false;
  expected.mbIsConfOriginFromFp = false;
  EXPECT_EQ(Fields(parser), Fields(expected));
}

TEST_F(JsonParseLuMessagesTest, NullTextChangesNothing) {
  ExpectRefusedByEveryEntry(nullptr);
}

TEST_F(JsonParseLuMessagesTest, TextThatIsNotAnObjectChangesNothing) {
  for (const char* text : {"", "   ", "Start", "[]", "[{\"Command\":\"Start\",\"ClusterId\":1}]",
                           "null", "7", "\"Start\"", "{", "{\"ClusterId\":1", "{\"ClusterId\":1}}",
                           "{\"ClusterId\":1,}", "{\"Command\":\"Start\",\"ClusterId\":01}"})
    ExpectRefusedByEveryEntry(text);
}

TEST_F(JsonParseLuMessagesTest, TensOfThousandsOfLevelsAreRefused) {
  for (const std::string& text : {UnclosedArrays(), UnclosedObjects(), NestedArrays()})
    ExpectRefusedByEveryEntry(text.c_str());
}

TEST_F(JsonParseLuMessagesTest, LevelsUnderAnUnknownKeyDoNoHarm) {
  const std::string deep = NestedArrays(json::kMaxNesting - 1);
  EXPECT_TRUE(ReadConf("{\"Extra\":" + deep + "," + Text(kConf).substr(1)));
  EXPECT_TRUE(ReadCommand("{\"Extra\":" + deep + "," + Text(kCommand).substr(1)));
  EXPECT_TRUE(ReadCommandFor(1, "{\"Extra\":" + deep + "," + Text(kCommand).substr(1)));
  EXPECT_TRUE(ReadCluster("{\"Extra\":" + deep + "," + Text(kCluster).substr(1)));
}

TEST_F(JsonParseLuMessagesTest, ReadersWriteNoLines) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  for (const std::string& text : {std::string("no JSON"), std::string("{}"), Text(kConf)}) {
    ReadConf(text);
    ReadCommand(text);
    ReadCommandFor(1, text);
    ReadCluster(text);
  }
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

// --- Configuration ---

TEST_F(JsonParseLuMessagesTest, ConfigurationStoresEveryKeyOnTopOfTheDefaults) {
  EXPECT_TRUE(ReadConf(Text(kConf)));
  EXPECT_EQ(Fields(parser_), Fields(ParserAfterConf()));
}

TEST_F(JsonParseLuMessagesTest, ConfigurationKeysComeInAnyOrder) {
  Members reversed = kConf;
  std::reverse(reversed.begin(), reversed.end());
  EXPECT_TRUE(ReadConf(Text(reversed)));
  EXPECT_EQ(Fields(parser_), Fields(ParserAfterConf()));
}

TEST_F(JsonParseLuMessagesTest, ConfigurationIgnoresUnknownKeys) {
  Members members = kConf;
  members.insert(members.begin(), {{"MeterSet", "true"}, {"UID", "3"}, {"Extra", "{\"Alarm\":1}"}});
  EXPECT_TRUE(ReadConf(Text(members)));
  EXPECT_EQ(Fields(parser_), Fields(ParserAfterConf()));
}

TEST_F(JsonParseLuMessagesTest, ConfigurationKeysDistinguishCase) {
  Members members = Without(kConf, "ClusterId");
  members.push_back({"clusterId", "2"});
  ExpectConfRefusedButFor(kUnsignedConfKeys[0], members);
}

TEST_F(JsonParseLuMessagesTest, FirstOfDuplicateKeysCounts) {
  Members members = kConf;
  members.push_back({"ReferenceLevel", "-10"});
  members.push_back({"Mode", "7"});
  EXPECT_TRUE(ReadConf(Text(members)));
  EXPECT_EQ(Fields(parser_), Fields(ParserAfterConf()));
}

TEST_F(JsonParseLuMessagesTest, EmptyConfigurationLeavesDefaultsAndNoCommand) {
  EXPECT_FALSE(ReadConf("{}"));
  cLuSettingsParser expected = ResetParser();
  expected.mbIsConfOriginFromFp = false;
  EXPECT_EQ(Fields(parser_), Fields(expected));
  EXPECT_EQ(parser_.msLuCmd, "None");
  EXPECT_EQ(parser_.mlReferenceLevel, -24);
}

TEST_F(JsonParseLuMessagesTest, MissingConfigurationKeyKeepsItsDefaultAndTheOtherKeys) {
  for (const auto& confKey : kUnsignedConfKeys)
    ExpectConfRefusedButFor(confKey, Without(kConf, confKey.key));
  for (const auto& confKey : kSignedConfKeys)
    ExpectConfRefusedButFor(confKey, Without(kConf, confKey.key));
  for (const auto& confKey : kTextConfKeys)
    ExpectConfRefusedButFor(confKey, Without(kConf, confKey.key));
}

TEST_F(JsonParseLuMessagesTest, MistypedUnsignedConfigurationKeyCountsAsMissing) {
  for (const auto& confKey : kUnsignedConfKeys)
    for (const char* value : kNotUnsigned)
      ExpectConfRefusedButFor(confKey, With(kConf, confKey.key, value));
}

TEST_F(JsonParseLuMessagesTest, MistypedSignedConfigurationKeyCountsAsMissing) {
  for (const auto& confKey : kSignedConfKeys)
    for (const char* value : kNotSigned)
      ExpectConfRefusedButFor(confKey, With(kConf, confKey.key, value));
}

TEST_F(JsonParseLuMessagesTest, MistypedTextConfigurationKeyCountsAsMissing) {
  for (const auto& confKey : kTextConfKeys)
    for (const char* value : kNotText)
      ExpectConfRefusedButFor(confKey, With(kConf, confKey.key, value));
}

TEST_F(JsonParseLuMessagesTest, ReferenceLevelWithAFractionIsRefused) {
  EXPECT_FALSE(ReadConf(Text(With(kConf, "ReferenceLevel", "-23.0"))));
  EXPECT_EQ(parser_.mlReferenceLevel, -24);
  EXPECT_EQ(parser_.mlLoudnessWindowTime, 600u);
}

TEST_F(JsonParseLuMessagesTest, StandardThatIsANumberIsRefused) {
  EXPECT_FALSE(ReadConf(Text(With(kConf, "LoudnessStandard", "7"))));
  EXPECT_EQ(parser_.mLoudnessStandard, BS1770_3);
  EXPECT_EQ(parser_.msLoudnessStandard, "ITU BS1770-3");
}

TEST_F(JsonParseLuMessagesTest, WidestIntegersAreStoredUnclamped) {
  Members members = kConf;
  for (const char* key : {"ClusterId", "LraWindow", "LoudnessWindowTime", "UserID"})
    members = With(members, key, "4294967295");
  members = With(members, "AlarmTolerance", "-2147483648");
  members = With(members, "ReferenceLevel", "2147483647");
  EXPECT_TRUE(ReadConf(Text(members)));
  EXPECT_EQ(parser_.mlDefaultClusterId, 4294967295u);
  EXPECT_EQ(parser_.mlLraWindow, 4294967295u);
  EXPECT_EQ(parser_.mlLoudnessWindowTime, 4294967295u);
  EXPECT_EQ(parser_.cLuConf::mlUserId, 4294967295u);
  EXPECT_EQ(parser_.mlAlarmTolerance, -2147483647 - 1);
  EXPECT_EQ(parser_.mlReferenceLevel, 2147483647);
}

TEST_F(JsonParseLuMessagesTest, ZeroIsAValueLikeAnother) {
  Members members = kConf;
  for (const char* key : {"ClusterId", "LraWindow", "AlarmTolerance", "ReferenceLevel",
                          "LoudnessWindowTime", "UserID"})
    members = With(members, key, "0");
  EXPECT_TRUE(ReadConf(Text(members)));
  EXPECT_EQ(parser_.mlDefaultClusterId, 0u);
  EXPECT_EQ(parser_.mlLraWindow, 0u);
  EXPECT_EQ(parser_.mlAlarmTolerance, 0);
  EXPECT_EQ(parser_.mlReferenceLevel, 0);
  EXPECT_EQ(parser_.mlLoudnessWindowTime, 0u);
  EXPECT_EQ(parser_.cLuConf::mlUserId, 0u);
}

TEST_F(JsonParseLuMessagesTest, UnknownTextsAreKeptBesideTheFallbackOfTheirVocabulary) {
  Members members = kConf;
  for (const char* key : {"LoudnessStandard", "LoudnessWindow", "Alarm", "Mode"})
    members = With(members, key, "\"Else\"");
  EXPECT_TRUE(ReadConf(Text(members)));
  EXPECT_EQ(parser_.msLoudnessStandard, "Else");
  EXPECT_EQ(parser_.mLoudnessStandard, BS1770_3);
  EXPECT_EQ(parser_.msLoudnessWindow, "Else");
  EXPECT_EQ(parser_.mLoudnessWindow, LOUD_WIN_TYPE_MOMENTARY);
  EXPECT_EQ(parser_.msAlarm, "Else");
  EXPECT_EQ(parser_.mAlarm, LU_ALARM_BOTH);
  EXPECT_EQ(parser_.msMode, "Else");
  EXPECT_EQ(parser_.mMode, LOUD_MODE_CONTINUOUS);
}

TEST_F(JsonParseLuMessagesTest, ConfigurationClusterIsTheDefaultClusterOnly) {
  ASSERT_TRUE(ReadCluster(R"({"ClusterId":6})"));
  ASSERT_TRUE(ReadConf(Text(With(kConf, "ClusterId", "5"))));
  EXPECT_EQ(parser_.mlDefaultClusterId, 5u);
  EXPECT_EQ(parser_.mlClusterId, 1u) << "the reset's default";
}

TEST_F(JsonParseLuMessagesTest, ConfigurationOriginIsTrueOnlyForTrue) {
  EXPECT_TRUE(ReadConf(Text(With(kConf, "OriginFromFp", "false"))));
  EXPECT_FALSE(parser_.mbIsConfOriginFromFp);
  for (const char* value : kNotFlag) {
    parser_.mbIsConfOriginFromFp = true;
    EXPECT_TRUE(ReadConf(Text(With(kConf, "OriginFromFp", value)))) << value;
    EXPECT_FALSE(parser_.mbIsConfOriginFromFp) << value;
  }
  parser_.mbIsConfOriginFromFp = true;
  EXPECT_TRUE(ReadConf(Text(Without(kConf, "OriginFromFp"))));
  EXPECT_FALSE(parser_.mbIsConfOriginFromFp);
}

TEST_F(JsonParseLuMessagesTest, ConfigurationUserIsOptionalAndOtherwiseKept) {
  EXPECT_TRUE(ReadConf(Text(Without(kConf, "UserID"))));
  EXPECT_EQ(parser_.cLuConf::mlUserId, 88u);
  for (const char* value : kNotUnsigned) {
    EXPECT_TRUE(ReadConf(Text(With(kConf, "UserID", value)))) << value;
    EXPECT_EQ(parser_.cLuConf::mlUserId, 88u) << value;
  }
}

TEST_F(JsonParseLuMessagesTest, RefusedConfigurationStillTakesItsUserAndOrigin) {
  EXPECT_FALSE(ReadConf(R"({"UserID":17,"OriginFromFp":true})"));
  EXPECT_EQ(parser_.cLuConf::mlUserId, 17u);
  EXPECT_TRUE(parser_.mbIsConfOriginFromFp);
}

TEST_F(JsonParseLuMessagesTest, ConfigurationUserIsNotTheCommandsUser) {
  ASSERT_TRUE(ReadConf(Text(kConf)));
  EXPECT_EQ(parser_.cLuConf::mlUserId, 17u);
  EXPECT_EQ(parser_.cLuCmd::mlUserId, 222u);
}

// --- Example message ---

TEST_F(JsonParseLuMessagesTest, ExampleConfigurationIsRead) {
  EXPECT_TRUE(ReadConf(ReadGolden("configuration.json")));
  EXPECT_EQ(Fields(parser_), Fields(ParserAfterConf()));
}

}  // namespace
