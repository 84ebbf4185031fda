// Writer of the loudness messages.

#include "JsonCreateLuMessages.h"

#include <gtest/gtest.h>

#include "GoldenFile.h"
#include "JsonParseLuMessages.h"

namespace {

/// A writer with the values of the example messages.
class JsonCreateLuMessagesTest : public testing::Test {
 protected:
  JsonCreateLuMessagesTest() {
    writer_.mlClusterId = 1;
    writer_.mlCmdTS = 7;
    writer_.cLuCmd::mlUserId = 5;
    writer_.cLuConf::mlUserId = 99;  // never written
  }

  std::string BufferText() { return writer_.msCmdBuffer.GetString(); }

  cLuSettingsCreater writer_;
};

// --- Command ---

TEST_F(JsonCreateLuMessagesTest, CommandWithoutClusterCarriesItsOriginAlone) {
  EXPECT_STREQ(writer_.PrepareLuCmdJsonStr(LU_CMD_RESET, true, false, 0),
               R"({"Command":"Reset","OriginFromFp":true})");
  EXPECT_STREQ(writer_.PrepareLuCmdJsonStr(LU_CMD_PAUSE, false, false, 2),
               R"({"Command":"Pause","OriginFromFp":false})");
}

TEST_F(JsonCreateLuMessagesTest, CommandWithClusterCarriesNoOrigin) {
  for (const bool origin : {false, true})
    EXPECT_STREQ(writer_.PrepareLuCmdJsonStr(LU_CMD_START, origin, true, 2),
                 R"({"Command":"Start","ClusterId":1,"CmdTS":7,"UID":5,"MeterSet":2})");
}

TEST_F(JsonCreateLuMessagesTest, CommandOriginIsTheArgumentNotTheField) {
  writer_.mbIsCmdOriginFromFp = true;
  EXPECT_STREQ(writer_.PrepareLuCmdJsonStr(LU_CMD_PLAY, false, false, 0),
               R"({"Command":"Play","OriginFromFp":false})");
}

TEST_F(JsonCreateLuMessagesTest, CommandIsTheArgumentNotTheRecord) {
  writer_.msLuCmd = "Pause";
  writer_.mLuCmd = LU_CMD_PAUSE;
  EXPECT_STREQ(writer_.PrepareLuCmdJsonStr(LU_CMD_STOP, false, false, 0),
               R"({"Command":"Stop","OriginFromFp":false})");
}

TEST_F(JsonCreateLuMessagesTest, CommandWithoutTextIsWrittenAsNone) {
  for (const LuCmd_e command :
       {LU_CMD_NONE, LU_CMD_WAIT4CONF, LU_CMD_PROCESS_PROGRAM, LU_CMD_PROCESS_LUCONF}) {
    EXPECT_STREQ(writer_.PrepareLuCmdJsonStr(command, false, false, 0),
                 R"({"Command":"None","OriginFromFp":false})");
    EXPECT_STREQ(writer_.PrepareLuCmdJsonStr(command, false, true, 2),
                 R"({"Command":"None","ClusterId":1,"CmdTS":7,"UID":5,"MeterSet":2})");
  }
}

TEST_F(JsonCreateLuMessagesTest, WidestNumbersAreWrittenUnsigned) {
  writer_.mlClusterId = 2147483648u;
  writer_.mlCmdTS = 4294967295u;
  writer_.cLuCmd::mlUserId = 4294967294u;
  EXPECT_STREQ(writer_.PrepareLuCmdJsonStr(LU_CMD_START, false, true, 4294967293u),
               R"({"Command":"Start","ClusterId":2147483648,"CmdTS":4294967295,)"
               R"("UID":4294967294,"MeterSet":4294967293})");
}

// --- Cluster ---

TEST_F(JsonCreateLuMessagesTest, ClusterWithoutCommandCarriesItsOriginAlone) {
  writer_.mlClusterId = 3;
  EXPECT_STREQ(writer_.PrepareLuClusterJsonStr(LU_CMD_STOP, false, 3),
               R"({"ClusterId":3,"OriginFromFp":false})");
  writer_.mbIsCmdOriginFromFp = true;
  EXPECT_STREQ(writer_.PrepareLuClusterJsonStr(LU_CMD_STOP, false, 3),
               R"({"ClusterId":3,"OriginFromFp":true})");
}

TEST_F(JsonCreateLuMessagesTest, ClusterOriginIsTheCommandsFlag) {
  writer_.mbIsClustOriginFromFp = true;
  writer_.mbIsConfOriginFromFp = true;
  EXPECT_STREQ(writer_.PrepareLuClusterJsonStr(LU_CMD_STOP, false, 3),
               R"({"ClusterId":1,"OriginFromFp":false})");
}

TEST_F(JsonCreateLuMessagesTest, ClusterWithCommandCarriesNoOrigin) {
  writer_.mlClusterId = 3;
  writer_.mbIsCmdOriginFromFp = true;
  EXPECT_STREQ(writer_.PrepareLuClusterJsonStr(LU_CMD_STOP, true, 2),
               R"({"ClusterId":3,"Command":"Stop","CmdTS":7,"UID":5,"MeterSet":2})");
}

// --- Configuration ---

TEST_F(JsonCreateLuMessagesTest, NewWriterWritesTheDefaultConfiguration) {
  cLuSettingsCreater writer;
  EXPECT_STREQ(writer.PrepareLuConfJsonStr(),
               R"({"OriginFromFp":false,"ClusterId":1,"LraWindow":9,"AlarmTolerance":2,)"
               R"("ReferenceLevel":-24,"LoudnessWindowTime":3,)"
               R"("LoudnessStandard":"ITU BS1770-3","LoudnessWindow":"Momentary",)"
               R"("Mode":"Continuous","Alarm":"Both"})");
}

TEST_F(JsonCreateLuMessagesTest, ConfigurationIsWrittenFromTheFields) {
  writer_.mbIsConfOriginFromFp = true;
  writer_.mlClusterId = 8;  // belongs to command and cluster messages
  writer_.mlDefaultClusterId = 4294967295u;
  writer_.mlLraWindow = 2147483648u;
  writer_.mlAlarmTolerance = -6;
  writer_.mlReferenceLevel = -2147483647 - 1;
  writer_.mlLoudnessWindowTime = 4294967295u;
  writer_.msLoudnessStandard = "EBU R128 (+9)";
  writer_.msLoudnessWindow = "Custom";
  writer_.msMode = "Manual";
  writer_.msAlarm = "Off";
  EXPECT_STREQ(writer_.PrepareLuConfJsonStr(),
               R"({"OriginFromFp":true,"ClusterId":4294967295,"LraWindow":2147483648,)"
               R"("AlarmTolerance":-6,"ReferenceLevel":-2147483648,)"
               R"("LoudnessWindowTime":4294967295,)"
               R"json("LoudnessStandard":"EBU R128 (+9)","LoudnessWindow":"Custom",)json"
               R"("Mode":"Manual","Alarm":"Off"})");
}

TEST_F(JsonCreateLuMessagesTest, ConfigurationTextWinsOverItsEnumeration) {
  writer_.msMode = "Continuous";
  writer_.mMode = LOUD_MODE_START_STOP;
  writer_.msAlarm = "Loud";
  writer_.mAlarm = LU_ALARM_OFF;
  const std::string text = writer_.PrepareLuConfJsonStr();
  EXPECT_NE(text.find(R"("Mode":"Continuous","Alarm":"Loud"})"), std::string::npos) << text;
}

TEST_F(JsonCreateLuMessagesTest, TextsAreEscaped) {
  writer_.msMode = "a\"b\\c\n\x01";
  writer_.msAlarm = std::string("\xC3\xA9/\0z", 5);
  const std::string text = writer_.PrepareLuConfJsonStr();
  EXPECT_NE(text.find("\"Mode\":\"a\\\"b\\\\c\\n\\u0001\",\"Alarm\":\"\xC3\xA9/\\u0000z\"}"),
            std::string::npos)
      << text;
}

// --- The shared buffer ---

TEST_F(JsonCreateLuMessagesTest, EveryWriterReplacesTheTextOfTheLast) {
  const char* text = writer_.PrepareLuCmdJsonStr(LU_CMD_START, false, true, 2);
  EXPECT_EQ(BufferText(), text);
  text = writer_.PrepareLuConfJsonStr();
  EXPECT_EQ(BufferText(), text);
  EXPECT_EQ(BufferText().find("Command"), std::string::npos);
  text = writer_.PrepareLuClusterJsonStr(LU_CMD_NONE, false, 0);
  EXPECT_EQ(BufferText(), text);
  EXPECT_EQ(BufferText(), R"({"ClusterId":1,"OriginFromFp":false})");
  text = writer_.PrepareLuCmdJsonStr(LU_CMD_STOP, false, false, 0);
  EXPECT_EQ(BufferText(), text);
  EXPECT_EQ(BufferText(), R"({"Command":"Stop","OriginFromFp":false})");
}

TEST_F(JsonCreateLuMessagesTest, OtherBuffersStayEmpty) {
  writer_.PrepareLuCmdJsonStr(LU_CMD_START, false, true, 2);
  writer_.PrepareLuClusterJsonStr(LU_CMD_STOP, true, 2);
  writer_.PrepareLuConfJsonStr();
  EXPECT_EQ(writer_.msClustBuffer.GetSize(), 0u);
  EXPECT_EQ(writer_.msConfBuffer.GetSize(), 0u);
}

TEST_F(JsonCreateLuMessagesTest, WritingChangesNoField) {
  const std::string before = writer_.PrepareLuConfJsonStr();
  writer_.PrepareLuCmdJsonStr(LU_CMD_START, true, true, 2);
  writer_.PrepareLuClusterJsonStr(LU_CMD_STOP, true, 2);
  EXPECT_EQ(writer_.PrepareLuConfJsonStr(), before);
  EXPECT_EQ(writer_.mLuCmd, LU_CMD_NONE);
  EXPECT_EQ(writer_.msLuCmd, "None");
}

// --- Writer and reader together ---

TEST_F(JsonCreateLuMessagesTest, WrittenConfigurationIsReadBackWithoutAUser) {
  writer_.mbIsConfOriginFromFp = true;
  writer_.mlDefaultClusterId = 4;
  writer_.mlReferenceLevel = -23;
  writer_.msLoudnessWindow = "Custom";
  cLuSettingsParser reader;
  reader.cLuConf::mlUserId = 3;
  ASSERT_TRUE(reader.ParseLuConfJsonStr(writer_.PrepareLuConfJsonStr()));
  EXPECT_TRUE(reader.mbIsConfOriginFromFp);
  EXPECT_EQ(reader.mlDefaultClusterId, 4u);
  EXPECT_EQ(reader.mlReferenceLevel, -23);
  EXPECT_EQ(reader.mLoudnessWindow, LOUD_WIN_TYPE_INTEGRATED);
  EXPECT_EQ(reader.cLuConf::mlUserId, 3u);
}

TEST_F(JsonCreateLuMessagesTest, WrittenCommandIsReadBackWithoutUserAndOrigin) {
  cLuSettingsParser reader;
  reader.cLuCmd::mlUserId = 3;
  reader.mbIsCmdOriginFromFp = true;
  unsigned meterSet = 0;
  unsigned cluster = 0;
  ASSERT_TRUE(reader.ParseLuCmdJsonStr(writer_.PrepareLuCmdJsonStr(LU_CMD_START, true, true, 2),
                                       meterSet, cluster, 1));
  EXPECT_EQ(reader.mLuCmd, LU_CMD_START);
  EXPECT_EQ(reader.mlCmdTS, 7u);
  EXPECT_EQ(cluster, 1u);
  EXPECT_EQ(meterSet, 2u);
  EXPECT_EQ(reader.cLuCmd::mlUserId, 3u);
  EXPECT_FALSE(reader.mbIsCmdOriginFromFp);
}

TEST_F(JsonCreateLuMessagesTest, WrittenClusterIsReadBackWithoutUser) {
  writer_.mlClusterId = 3;
  cLuSettingsParser reader;
  unsigned meterSet = 0;
  ASSERT_TRUE(reader.ParseLuClusterJsonStr(writer_.PrepareLuClusterJsonStr(LU_CMD_STOP, true, 2),
                                           meterSet));
  EXPECT_EQ(reader.mlClusterId, 3u);
  EXPECT_EQ(meterSet, 2u);
  EXPECT_EQ(reader.cLuCmd::mlUserId, 0u);
}

// --- Example messages ---

TEST_F(JsonCreateLuMessagesTest, ExampleMessagesAreWrittenByteForByte) {
  writer_.mlCmdTS = 1718000000;
  writer_.cLuCmd::mlUserId = 17;
  EXPECT_EQ(writer_.PrepareLuConfJsonStr(), ReadGolden("configuration-written.json"));
  EXPECT_EQ(writer_.PrepareLuCmdJsonStr(LU_CMD_START, false, true, 2),
            ReadGolden("command-acknowledgement.json"));
  EXPECT_EQ(writer_.PrepareLuCmdJsonStr(LU_CMD_RESET, true, false, 0),
            ReadGolden("command-written.json"));
  writer_.mlClusterId = 3;
  EXPECT_EQ(writer_.PrepareLuClusterJsonStr(LU_CMD_STOP, true, 2),
            ReadGolden("cluster-command-written.json"));
  writer_.mbIsCmdOriginFromFp = true;
  EXPECT_EQ(writer_.PrepareLuClusterJsonStr(LU_CMD_NONE, false, 0),
            ReadGolden("cluster-written.json"));
}

}  // namespace
