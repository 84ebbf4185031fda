// Reader of command and cluster messages.

#include <gtest/gtest.h>

#include "GoldenFile.h"
#include "LuMessageReader.h"

namespace {

using JsonParseLuCommandsTest = LuMessageReader;

// --- Command without filter ---

TEST_F(JsonParseLuCommandsTest, CommandIsStoredAndTheConfigurationKept) {
  EXPECT_TRUE(ReadCommand(Text(kCommand)));
  EXPECT_EQ(Fields(parser_), Fields(ParserAfterCommand()));
}

TEST_F(JsonParseLuCommandsTest, EveryCommandTextIsRead) {
  const std::vector<std::pair<std::string, LuCmd_e>> commands = {
      {"Stop", LU_CMD_STOP}, {"Pause", LU_CMD_PAUSE}, {"Start", LU_CMD_START},
      {"Play", LU_CMD_PLAY}, {"Reset", LU_CMD_RESET}, {"Print", LU_CMD_PRINT}};
  for (const auto& [text, command] : commands) {
    EXPECT_TRUE(ReadCommand("{\"Command\":\"" + text + "\"}")) << text;
    EXPECT_EQ(parser_.msLuCmd, text);
    EXPECT_EQ(parser_.mLuCmd, command) << text;
  }
}

TEST_F(JsonParseLuCommandsTest, UnknownCommandIsAcceptedAsNone) {
  EXPECT_TRUE(ReadCommand(R"({"Command":"Wait"})"));
  EXPECT_EQ(parser_.mLuCmd, LU_CMD_NONE);
  EXPECT_EQ(parser_.msLuCmd, "Wait");
}

TEST_F(JsonParseLuCommandsTest, MissingCommandIsRefusedButTimeUserAndOriginAreTaken) {
  EXPECT_FALSE(ReadCommand(Text(Without(kCommand, "Command"))));
  cLuSettingsParser expected = ParserAfterCommand();
  expected.cLuCmd::Reset();
  EXPECT_EQ(Fields(parser_), Fields(expected));
}

TEST_F(JsonParseLuCommandsTest, MistypedCommandIsRefused) {
  for (const char* value : kNotText) {
    StartAgain();
    EXPECT_FALSE(ReadCommand(Text(With(kCommand, "Command", value)))) << value;
    EXPECT_EQ(parser_.msLuCmd, "None") << value;
    EXPECT_EQ(parser_.mLuCmd, LU_CMD_NONE) << value;
  }
}

TEST_F(JsonParseLuCommandsTest, CommandOriginIsTrueOnlyForTrue) {
  EXPECT_TRUE(ReadCommand(Text(With(kCommand, "OriginFromFp", "false"))));
  EXPECT_FALSE(parser_.mbIsCmdOriginFromFp);
  for (const char* value : kNotFlag) {
    parser_.mbIsCmdOriginFromFp = true;
    EXPECT_TRUE(ReadCommand(Text(With(kCommand, "OriginFromFp", value)))) << value;
    EXPECT_FALSE(parser_.mbIsCmdOriginFromFp) << value;
  }
  parser_.mbIsCmdOriginFromFp = true;
  EXPECT_TRUE(ReadCommand(Text(Without(kCommand, "OriginFromFp"))));
  EXPECT_FALSE(parser_.mbIsCmdOriginFromFp);
}

TEST_F(JsonParseLuCommandsTest, CommandKeepsTheLastTimeAndUserWhenItHasNone) {
  for (const char* value : kNotUnsigned) {
    StartAgain();
    EXPECT_TRUE(ReadCommand(Text(With(With(kCommand, "CmdTS", value), "UserID", value)))) << value;
    EXPECT_EQ(parser_.mlCmdTS, 111u) << value;
    EXPECT_EQ(parser_.cLuCmd::mlUserId, 222u) << value;
  }
  StartAgain();
  EXPECT_TRUE(ReadCommand(R"({"Command":"Stop"})"));
  EXPECT_EQ(parser_.mlCmdTS, 111u);
  EXPECT_EQ(parser_.cLuCmd::mlUserId, 222u);
}

TEST_F(JsonParseLuCommandsTest, CommandReadsNoUserFromTheKeyOfWrittenMessages) {
  EXPECT_TRUE(ReadCommand(R"({"Command":"Stop","UID":5})"));
  EXPECT_EQ(parser_.cLuCmd::mlUserId, 222u);
}

TEST_F(JsonParseLuCommandsTest, WidestTimeAndUserAreStored) {
  EXPECT_TRUE(ReadCommand(R"({"Command":"Stop","CmdTS":4294967295,"UserID":4294967295})"));
  EXPECT_EQ(parser_.mlCmdTS, 4294967295u);
  EXPECT_EQ(parser_.cLuCmd::mlUserId, 4294967295u);
}

TEST_F(JsonParseLuCommandsTest, EmptyCommandMessageClearsCommandAndOrigin) {
  EXPECT_FALSE(ReadCommand("{}"));
  cLuSettingsParser expected = UsedParser();
  expected.cLuCmd::Reset();
  expected.mbIsCmdOriginFromFp = false;
  EXPECT_EQ(Fields(parser_), Fields(expected));
}

// --- Command for one cluster ---

TEST_F(JsonParseLuCommandsTest, CommandForThisClusterIsRead) {
  EXPECT_TRUE(ReadCommandFor(1, Text(kCommand)));
  EXPECT_EQ(Fields(parser_), Fields(ParserAfterCommand()));
  EXPECT_EQ(cluster_, 1u);
  EXPECT_EQ(meterSet_, 2u);
}

TEST_F(JsonParseLuCommandsTest, CommandForAnotherClusterIsRefusedBeforeAnythingElseIsRead) {
  EXPECT_FALSE(ReadCommandFor(1, Text(With(kCommand, "ClusterId", "2"))));
  EXPECT_EQ(cluster_, 2u);
  EXPECT_EQ(meterSet_, 0u);
  cLuSettingsParser expected = UsedParser();
  expected.cLuCmd::Reset();
  expected.mbIsCmdOriginFromFp = false;
  EXPECT_EQ(Fields(parser_), Fields(expected));
}

TEST_F(JsonParseLuCommandsTest, FilterZeroAcceptsAnyCluster) {
  EXPECT_TRUE(ReadCommandFor(0, Text(With(kCommand, "ClusterId", "2"))));
  EXPECT_EQ(cluster_, 2u);
  EXPECT_EQ(Fields(parser_), Fields(ParserAfterCommand()));
  StartAgain();
  EXPECT_TRUE(ReadCommandFor(0, Text(Without(kCommand, "ClusterId"))));
  EXPECT_EQ(cluster_, 0u);
  EXPECT_EQ(Fields(parser_), Fields(ParserAfterCommand()));
}

TEST_F(JsonParseLuCommandsTest, CommandWithoutClusterCountsAsClusterZero) {
  EXPECT_FALSE(ReadCommandFor(1, Text(Without(kCommand, "ClusterId"))));
  EXPECT_EQ(cluster_, 0u);
  for (const char* value : kNotUnsigned) {
    StartAgain();
    EXPECT_FALSE(ReadCommandFor(1, Text(With(kCommand, "ClusterId", value)))) << value;
    EXPECT_EQ(cluster_, 0u) << value;
    EXPECT_EQ(parser_.msLuCmd, "None") << value;
  }
}

TEST_F(JsonParseLuCommandsTest, FilteredCommandChangesNoClusterOfTheConfiguration) {
  ASSERT_TRUE(ReadCommandFor(1, Text(kCommand)));
  EXPECT_EQ(parser_.mlClusterId, 44u);
  EXPECT_EQ(parser_.mlDefaultClusterId, 55u);
}

TEST_F(JsonParseLuCommandsTest, FilteredCommandWithoutCommandTakesTheRest) {
  EXPECT_FALSE(ReadCommandFor(1, Text(Without(kCommand, "Command"))));
  cLuSettingsParser expected = ParserAfterCommand();
  expected.cLuCmd::Reset();
  EXPECT_EQ(Fields(parser_), Fields(expected));
  EXPECT_EQ(meterSet_, 2u);
}

TEST_F(JsonParseLuCommandsTest, FilteredCommandWithoutOptionalKeysIsRead) {
  EXPECT_TRUE(ReadCommandFor(1, R"({"ClusterId":1,"Command":"Wait"})"));
  cLuSettingsParser expected = UsedParser();
  expected.msLuCmd = "Wait";
  expected.mLuCmd = LU_CMD_NONE;
  expected.mbIsCmdOriginFromFp = false;
  EXPECT_EQ(Fields(parser_), Fields(expected));
  EXPECT_EQ(meterSet_, 0u);
}

TEST_F(JsonParseLuCommandsTest, FilteredCommandTreatsMistypedOptionalKeysAsMissing) {
  for (const char* value : kNotUnsigned) {
    StartAgain();
    Members members = kCommand;
    for (const char* key : {"MeterSet", "CmdTS", "UserID"})
      members = With(members, key, value);
    EXPECT_TRUE(ReadCommandFor(1, Text(members))) << value;
    EXPECT_EQ(meterSet_, 0u) << value;
    EXPECT_EQ(parser_.mlCmdTS, 111u) << value;
    EXPECT_EQ(parser_.cLuCmd::mlUserId, 222u) << value;
  }
  for (const char* value : kNotFlag) {
    StartAgain();
    EXPECT_TRUE(ReadCommandFor(1, Text(With(kCommand, "OriginFromFp", value)))) << value;
    EXPECT_FALSE(parser_.mbIsCmdOriginFromFp) << value;
  }
}

TEST_F(JsonParseLuCommandsTest, WidestClusterAndMeterSetAreHandedOut) {
  EXPECT_TRUE(ReadCommandFor(4294967295u,
                             R"({"ClusterId":4294967295,"MeterSet":4294967295,"Command":"Play"})"));
  EXPECT_EQ(cluster_, 4294967295u);
  EXPECT_EQ(meterSet_, 4294967295u);
}

// --- Cluster ---

TEST_F(JsonParseLuCommandsTest, ClusterMessageIsStoredAndNothingReset) {
  EXPECT_TRUE(ReadCluster(Text(kCluster)));
  EXPECT_EQ(Fields(parser_), Fields(ParserAfterCluster()));
  EXPECT_EQ(meterSet_, 2u);
}

TEST_F(JsonParseLuCommandsTest, ClusterMessageChangesTheAddressedClusterOnly) {
  ASSERT_TRUE(ReadCluster(R"({"ClusterId":4294967295})"));
  EXPECT_EQ(parser_.mlClusterId, 4294967295u);
  EXPECT_EQ(parser_.mlDefaultClusterId, 55u);
}

TEST_F(JsonParseLuCommandsTest, ClusterMessageSharesTheCommandsOrigin) {
  parser_.mbIsCmdOriginFromFp = false;
  EXPECT_TRUE(ReadCluster(R"({"ClusterId":3,"OriginFromFp":true})"));
  EXPECT_TRUE(parser_.mbIsCmdOriginFromFp);
  EXPECT_FALSE(parser_.mbIsClustOriginFromFp);
  EXPECT_TRUE(ReadCluster(R"({"ClusterId":3})"));
  EXPECT_FALSE(parser_.mbIsCmdOriginFromFp);
  EXPECT_TRUE(parser_.mbIsConfOriginFromFp) << "the configuration's origin is its own";
}

TEST_F(JsonParseLuCommandsTest, NothingSetsTheReservedOriginFlag) {
  ReadConf(Text(kConf));
  ReadCommand(Text(kCommand));
  ReadCommandFor(1, Text(kCommand));
  ReadCluster(Text(kCluster));
  EXPECT_FALSE(parser_.mbIsClustOriginFromFp);
}

TEST_F(JsonParseLuCommandsTest, ClusterMessageWithoutClusterTakesTheRest) {
  for (const char* value : kNotUnsigned) {
    StartAgain();
    EXPECT_FALSE(ReadCluster(Text(With(kCluster, "ClusterId", value)))) << value;
    cLuSettingsParser expected = ParserAfterCluster();
    expected.mlClusterId = 44;
    EXPECT_EQ(Fields(parser_), Fields(expected)) << value;
    EXPECT_EQ(meterSet_, 2u) << value;
  }
  StartAgain();
  EXPECT_FALSE(ReadCluster(Text(Without(kCluster, "ClusterId"))));
  EXPECT_EQ(parser_.mlClusterId, 44u);
  EXPECT_EQ(parser_.mlCmdTS, 7u);
}

TEST_F(JsonParseLuCommandsTest, ClusterMessageTreatsMistypedOptionalKeysAsMissing) {
  for (const char* value : kNotUnsigned) {
    StartAgain();
    Members members = kCluster;
    for (const char* key : {"MeterSet", "CmdTS", "UserID"})
      members = With(members, key, value);
    EXPECT_TRUE(ReadCluster(Text(members))) << value;
    EXPECT_EQ(meterSet_, 0u) << value;
    EXPECT_EQ(parser_.mlCmdTS, 111u) << value;
    EXPECT_EQ(parser_.cLuCmd::mlUserId, 222u) << value;
  }
  for (const char* value : kNotFlag) {
    StartAgain();
    EXPECT_TRUE(ReadCluster(Text(With(kCluster, "OriginFromFp", value)))) << value;
    EXPECT_FALSE(parser_.mbIsCmdOriginFromFp) << value;
  }
}

TEST_F(JsonParseLuCommandsTest, FirstOfDuplicateKeysCountsInCommandAndCluster) {
  EXPECT_TRUE(
      ReadCommandFor(1, R"({"ClusterId":1,"ClusterId":2,"Command":"Stop","Command":"Play"})"));
  EXPECT_EQ(parser_.mLuCmd, LU_CMD_STOP);
  EXPECT_TRUE(ReadCommand(R"({"Command":"Play","Command":7})"));
  EXPECT_EQ(parser_.mLuCmd, LU_CMD_PLAY);
  EXPECT_TRUE(ReadCluster(R"({"ClusterId":8,"ClusterId":9})"));
  EXPECT_EQ(parser_.mlClusterId, 8u);
}

// --- Example messages ---

TEST_F(JsonParseLuCommandsTest, ExampleCommandIsRead) {
  EXPECT_TRUE(ReadCommandFor(1, ReadGolden("command.json")));
  cLuSettingsParser expected = ParserAfterCommand();
  expected.mlCmdTS = 1718000000;
  expected.cLuCmd::mlUserId = 17;
  EXPECT_EQ(Fields(parser_), Fields(expected));
  EXPECT_EQ(cluster_, 1u);
  EXPECT_EQ(meterSet_, 2u);
}

TEST_F(JsonParseLuCommandsTest, ExampleClusterIsRead) {
  EXPECT_TRUE(ReadCluster(ReadGolden("cluster.json")));
  cLuSettingsParser expected = ParserAfterCluster();
  expected.mlCmdTS = 1718000000;
  expected.cLuCmd::mlUserId = 17;
  EXPECT_EQ(Fields(parser_), Fields(expected));
  EXPECT_EQ(meterSet_, 2u);
}

}  // namespace
