// Records and vocabulary of the loudness messages.

#include "LuMessages.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <type_traits>

namespace {

// The values travel in messages and are compared with stored ones.
static_assert(BS1770_3 == 0 && EBU_R128_9 == 1 && EBU_R128_18 == 2);
static_assert(NUM_LOUD_STANDARDS == 3 && LOUD_STD_DEFAULT == 0);
static_assert(LOUD_WIN_TYPE_MOMENTARY == 0 && LOUD_WIN_TYPE_SHORT == 1);
static_assert(LOUD_WIN_TYPE_INTEGRATED == 2 && NUM_LOUD_WIN_TYPES == 3);
static_assert(DEFAULT_LOUD_WIN_TYPE == 0);
static_assert(LU_ALARM_NONE == 0 && LU_ALARM_OVER == 1 && LU_ALARM_UNDER == 2);
static_assert(LU_ALARM_BOTH == 3 && LU_ALARM_OFF == 4 && LU_ALARM_MAX == 5);
static_assert(LOUD_MODE_CONTINUOUS == 0 && LOUD_MODE_START_STOP == 1);
static_assert(NUM_LOUD_MODES == 2 && LOUD_MODE_DEFAULT == 0);
static_assert(LU_CMD_NONE == 0 && LU_CMD_STOP == 1 && LU_CMD_PAUSE == 2 && LU_CMD_START == 3);
static_assert(LU_CMD_PLAY == 4 && LU_CMD_RESET == 5 && LU_CMD_PRINT == 6);
static_assert(LU_CMD_WAIT4CONF == 7 && LU_CMD_PROCESS_PROGRAM == 8);
static_assert(LU_CMD_PROCESS_LUCONF == 9 && LU_CMD_NUM_STATES == 10);
static_assert(sizeof(LoudStandards_e) == 4 && sizeof(LoudWinType_e) == 4);
static_assert(sizeof(LuAlarm_e) == 4 && sizeof(LoudModes_e) == 4 && sizeof(LuCmd_e) == 4);
static_assert(std::is_same_v<LoudModes_e, teLoudModes>);

static_assert(!std::is_polymorphic_v<cLuConf> && !std::is_polymorphic_v<cLuCmd>);
static_assert(std::is_copy_assignable_v<cLuConf> && std::is_copy_assignable_v<cLuCmd>);
static_assert(std::is_same_v<decltype(cLuConf::mlLraWindow), std::uint32_t>);
static_assert(std::is_same_v<decltype(cLuConf::mlAlarmTolerance), std::int32_t>);
static_assert(std::is_same_v<decltype(cLuConf::mlReferenceLevel), std::int32_t>);
static_assert(std::is_same_v<decltype(cLuCmd::mlCmdTS), std::uint32_t>);

template <typename Enumeration>
struct TextCase {
  const char* text;
  Enumeration expected;
};

template <typename Enumeration, std::size_t kCases>
void ExpectFromText(Enumeration (*convert)(const char*),
                    const TextCase<Enumeration> (&cases)[kCases]) {
  for (const auto& textCase : cases)
    EXPECT_EQ(convert(textCase.text), textCase.expected)
        << (textCase.text == nullptr ? "null" : textCase.text);
}

template <typename Enumeration, std::size_t kCases>
void ExpectToText(const char* (*convert)(Enumeration),
                  const TextCase<Enumeration> (&cases)[kCases]) {
  for (const auto& textCase : cases)
    EXPECT_STREQ(convert(textCase.expected), textCase.text) << "value " << textCase.expected;
}

void ExpectDefaultsButUser(const cLuConf& conf) {
  EXPECT_EQ(conf.mlLraWindow, 9u);
  EXPECT_EQ(conf.msLoudnessStandard, "ITU BS1770-3");
  EXPECT_EQ(conf.mLoudnessStandard, BS1770_3);
  EXPECT_EQ(conf.msLoudnessWindow, "Momentary");
  EXPECT_EQ(conf.mLoudnessWindow, LOUD_WIN_TYPE_MOMENTARY);
  EXPECT_EQ(conf.mlClusterId, 1u);
  EXPECT_EQ(conf.mlDefaultClusterId, 1u);
  EXPECT_EQ(conf.mlAlarmTolerance, 2);
  EXPECT_EQ(conf.msAlarm, "Both");
  EXPECT_EQ(conf.mAlarm, LU_ALARM_BOTH);
  EXPECT_EQ(conf.mlReferenceLevel, -24);
  EXPECT_EQ(conf.msMode, "Continuous");
  EXPECT_EQ(conf.mMode, LOUD_MODE_CONTINUOUS);
  EXPECT_EQ(conf.mlLoudnessWindowTime, 3u);
}

/// A configuration in which every field differs from its default.
cLuConf ChangedConf() {
  cLuConf conf;
  conf.mlLraWindow = 60;
  conf.msLoudnessStandard = "EBU R128 (+9)";
  conf.mLoudnessStandard = EBU_R128_9;
  conf.msLoudnessWindow = "Custom";
  conf.mLoudnessWindow = LOUD_WIN_TYPE_INTEGRATED;
  conf.mlClusterId = 4;
  conf.mlDefaultClusterId = 5;
  conf.mlAlarmTolerance = -6;
  conf.msAlarm = "Off";
  conf.mAlarm = LU_ALARM_OFF;
  conf.mlReferenceLevel = -18;
  conf.msMode = "Manual";
  conf.mMode = LOUD_MODE_START_STOP;
  conf.mlLoudnessWindowTime = 7200;
  conf.mlUserId = 17;
  return conf;
}

/// Redirects standard output to a pipe, to see the text that has left the process's buffer.
class PipedStdout {
 public:
  PipedStdout() {
    std::fflush(stdout);
    EXPECT_EQ(pipe2(ends_, O_NONBLOCK), 0);
    EXPECT_EQ(dup2(ends_[1], STDOUT_FILENO), STDOUT_FILENO);
  }

  ~PipedStdout() {
    std::fflush(stdout);
    dup2(original_, STDOUT_FILENO);
    for (const int descriptor : {original_, ends_[0], ends_[1]})
      close(descriptor);
  }

  std::string Arrived() const {
    char text[1024];
    const ssize_t length = read(ends_[0], text, sizeof text);
    return length > 0 ? std::string(text, static_cast<std::size_t>(length)) : std::string();
  }

 private:
  int original_ = dup(STDOUT_FILENO);
  int ends_[2] = {-1, -1};
};

// --- Text to enumeration ---

TEST(LuMessagesTest, StandardTextsConvert) {
  ExpectFromText<LoudStandards_e>(cLuConf::ConvertToLoudnessStandardFromString,
                                  {{"ITU BS1770-3", BS1770_3},
                                   {"EBU R128 (+9)", EBU_R128_9},
                                   {"EBU R128 (+18)", EBU_R128_18},
                                   {"scale EBU R128 (+18).", EBU_R128_18},
                                   {"EBU R128 (+9) or ITU BS1770-3", BS1770_3},
                                   {"EBU R128 (+18) or EBU R128 (+9)", EBU_R128_9},
                                   {"EBU R128", BS1770_3},
                                   {"EBU R128(+9)", BS1770_3},
                                   {"ebu r128 (+9)", BS1770_3},
                                   {"", BS1770_3},
                                   {nullptr, BS1770_3}});
}

TEST(LuMessagesTest, WindowTextsConvert) {
  ExpectFromText<LoudWinType_e>(cLuConf::ConvertToLoudnessWindowFromString,
                                {{"Momentary", LOUD_WIN_TYPE_MOMENTARY},
                                 {"Short Term", LOUD_WIN_TYPE_SHORT},
                                 {"Custom", LOUD_WIN_TYPE_INTEGRATED},
                                 {"Customised", LOUD_WIN_TYPE_INTEGRATED},
                                 {"Custom, Short Term", LOUD_WIN_TYPE_SHORT},
                                 {"Custom, Short Term, Momentary", LOUD_WIN_TYPE_MOMENTARY},
                                 {"ShortTerm", LOUD_WIN_TYPE_MOMENTARY},
                                 {"Integrated", LOUD_WIN_TYPE_MOMENTARY},
                                 {"custom", LOUD_WIN_TYPE_MOMENTARY},
                                 {"", LOUD_WIN_TYPE_MOMENTARY},
                                 {nullptr, LOUD_WIN_TYPE_MOMENTARY}});
}

TEST(LuMessagesTest, AlarmTextsConvert) {
  ExpectFromText<LuAlarm_e>(cLuConf::ConvertToAlarmFromString, {{"Over", LU_ALARM_OVER},
                                                                {"Under", LU_ALARM_UNDER},
                                                                {"Both", LU_ALARM_BOTH},
                                                                {"Off", LU_ALARM_OFF},
                                                                {"Switched Off", LU_ALARM_OFF},
                                                                {"Under and Over", LU_ALARM_OVER},
                                                                {"Both or Under", LU_ALARM_UNDER},
                                                                {"Off or Both", LU_ALARM_BOTH},
                                                                {"None", LU_ALARM_BOTH},
                                                                {"", LU_ALARM_BOTH}});
}

TEST(LuMessagesTest, LowerCaseOffIsNotAnAlarmText) {
  EXPECT_EQ(cLuConf::ConvertToAlarmFromString("off"), LU_ALARM_BOTH);
}

TEST(LuMessagesTest, NullAlarmTextMeansBoth) {
  EXPECT_EQ(cLuConf::ConvertToAlarmFromString(nullptr), LU_ALARM_BOTH);
}

TEST(LuMessagesTest, ModeTextsConvert) {
  ExpectFromText<LoudModes_e>(cLuConf::ConvertToModeFromString,
                              {{"Continuous", LOUD_MODE_CONTINUOUS},
                               {"Manual", LOUD_MODE_START_STOP},
                               {"Manually", LOUD_MODE_START_STOP},
                               {"Manual or Continuous", LOUD_MODE_CONTINUOUS},
                               {"Start Stop", LOUD_MODE_CONTINUOUS},
                               {"manual", LOUD_MODE_CONTINUOUS},
                               {"", LOUD_MODE_CONTINUOUS},
                               {nullptr, LOUD_MODE_CONTINUOUS}});
}

TEST(LuMessagesTest, CommandTextsConvert) {
  ExpectFromText<LuCmd_e>(cLuCmd::ConvertToLuCmdFromString, {{"Stop", LU_CMD_STOP},
                                                             {"Pause", LU_CMD_PAUSE},
                                                             {"Start", LU_CMD_START},
                                                             {"Play", LU_CMD_PLAY},
                                                             {"Reset", LU_CMD_RESET},
                                                             {"Print", LU_CMD_PRINT},
                                                             {"None", LU_CMD_NONE},
                                                             {"Wait", LU_CMD_NONE},
                                                             {"", LU_CMD_NONE},
                                                             {nullptr, LU_CMD_NONE}});
}

TEST(LuMessagesTest, TextThatContainsACommandIsThatCommand) {
  ExpectFromText<LuCmd_e>(
      cLuCmd::ConvertToLuCmdFromString,
      {{"ReStart", LU_CMD_START}, {"Starting", LU_CMD_START}, {"None Start", LU_CMD_START}});
}

TEST(LuMessagesTest, RestartIsAStartAndAStartIsWrittenAsStart) {
  ExpectFromText<LuCmd_e>(cLuCmd::ConvertToLuCmdFromString, {{"Restart", LU_CMD_START}});
  EXPECT_STREQ("Start", cLuCmd::ConvertToLuCmdStrFromEnum(LU_CMD_START));
}

TEST(LuMessagesTest, FirstCommandOfTheVocabularyWinsNotTheFirstOfTheText) {
  ExpectFromText<LuCmd_e>(cLuCmd::ConvertToLuCmdFromString, {{"Print Reset", LU_CMD_RESET},
                                                             {"Reset Play", LU_CMD_PLAY},
                                                             {"Play Start", LU_CMD_START},
                                                             {"Start Pause", LU_CMD_PAUSE},
                                                             {"Pause Stop", LU_CMD_STOP}});
}

TEST(LuMessagesTest, CommandTextsDistinguishCase) {
  for (const char* text : {"stop", "PAUSE", "start", "play", "reset", "print"})
    EXPECT_EQ(cLuCmd::ConvertToLuCmdFromString(text), LU_CMD_NONE) << text;
}

// --- Enumeration to text ---

TEST(LuMessagesTest, StandardsHaveTexts) {
  ExpectToText<LoudStandards_e>(cLuConf::ConvertToLoudnessStandardStrFromEnum,
                                {{"ITU BS1770-3", BS1770_3},
                                 {"EBU R128 (+9)", EBU_R128_9},
                                 {"EBU R128 (+18)", EBU_R128_18},
                                 {"ITU BS1770-3", NUM_LOUD_STANDARDS},
                                 {"ITU BS1770-3", static_cast<LoudStandards_e>(-1)}});
}

TEST(LuMessagesTest, WindowsHaveTexts) {
  ExpectToText<LoudWinType_e>(cLuConf::ConvertToLoudnessWindowStrFromEnum,
                              {{"Momentary", LOUD_WIN_TYPE_MOMENTARY},
                               {"Short Term", LOUD_WIN_TYPE_SHORT},
                               {"Custom", LOUD_WIN_TYPE_INTEGRATED},
                               {"Momentary", NUM_LOUD_WIN_TYPES},
                               {"Momentary", static_cast<LoudWinType_e>(-1)}});
}

TEST(LuMessagesTest, AlarmsHaveTextsAndNoneReadsBoth) {
  ExpectToText<LuAlarm_e>(cLuConf::ConvertToAlarmStrFromEnum, {{"Both", LU_ALARM_NONE},
                                                               {"Over", LU_ALARM_OVER},
                                                               {"Under", LU_ALARM_UNDER},
                                                               {"Both", LU_ALARM_BOTH},
                                                               {"Off", LU_ALARM_OFF},
                                                               {"Both", LU_ALARM_MAX}});
}

TEST(LuMessagesTest, ModesHaveTexts) {
  ExpectToText<LoudModes_e>(cLuConf::ConvertToModeStrFromEnum,
                            {{"Continuous", LOUD_MODE_CONTINUOUS},
                             {"Manual", LOUD_MODE_START_STOP},
                             {"Continuous", NUM_LOUD_MODES}});
}

TEST(LuMessagesTest, CommandsHaveTexts) {
  ExpectToText<LuCmd_e>(cLuCmd::ConvertToLuCmdStrFromEnum, {{"None", LU_CMD_NONE},
                                                            {"Stop", LU_CMD_STOP},
                                                            {"Pause", LU_CMD_PAUSE},
                                                            {"Start", LU_CMD_START},
                                                            {"Play", LU_CMD_PLAY},
                                                            {"Reset", LU_CMD_RESET},
                                                            {"Print", LU_CMD_PRINT}});
}

TEST(LuMessagesTest, InternalCommandsHaveNoTextOfTheirOwn) {
  ExpectToText<LuCmd_e>(cLuCmd::ConvertToLuCmdStrFromEnum, {{"None", LU_CMD_WAIT4CONF},
                                                            {"None", LU_CMD_PROCESS_PROGRAM},
                                                            {"None", LU_CMD_PROCESS_LUCONF},
                                                            {"None", LU_CMD_NUM_STATES},
                                                            {"None", static_cast<LuCmd_e>(-1)}});
}

// --- Records ---

TEST(LuMessagesTest, NewConfigurationHasTheDefaultsAndNoUser) {
  const cLuConf conf;
  ExpectDefaultsButUser(conf);
  EXPECT_EQ(conf.mlUserId, 0u);
}

TEST(LuMessagesTest, ResetRestoresTheConfigurationButItsUser) {
  cLuConf conf = ChangedConf();
  conf.Reset();
  ExpectDefaultsButUser(conf);
  EXPECT_EQ(conf.mlUserId, 17u);
}

TEST(LuMessagesTest, NewCommandIsNoneWithoutUserAndTime) {
  const cLuCmd command;
  EXPECT_EQ(command.msLuCmd, "None");
  EXPECT_EQ(command.mLuCmd, LU_CMD_NONE);
  EXPECT_EQ(command.mlCmdTS, 0u);
  EXPECT_EQ(command.mlUserId, 0u);
}

TEST(LuMessagesTest, ResetClearsTheCommandButNotItsUserAndTime) {
  cLuCmd command;
  command.msLuCmd = "Start";
  command.mLuCmd = LU_CMD_START;
  command.mlCmdTS = 7;
  command.mlUserId = 5;
  command.Reset();
  EXPECT_EQ(command.msLuCmd, "None");
  EXPECT_EQ(command.mLuCmd, LU_CMD_NONE);
  EXPECT_EQ(command.mlCmdTS, 7u);
  EXPECT_EQ(command.mlUserId, 5u);
}

// --- Printing ---

TEST(LuMessagesTest, CommandIsPrintedInThreeIndentedLines) {
  cLuCmd command;
  command.msLuCmd = "Start";
  command.mLuCmd = LU_CMD_START;
  command.mlUserId = 4294967295u;
  command.mlCmdTS = 2147483648u;
  testing::internal::CaptureStdout();
  command.PrintLuCmd();
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "\n\tLoudness command \n\t\tLuCmd: Start : 3"
            "\n\t\tLuUID: 4294967295 , CmdTS2147483648\n");
}

TEST(LuMessagesTest, PrintedCommandShowsTheStoredTextAsItIs) {
  cLuCmd command;
  command.msLuCmd = "Wait %s %n";
  testing::internal::CaptureStdout();
  command.PrintLuCmd();
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "\n\tLoudness command \n\t\tLuCmd: Wait %s %n : 0\n\t\tLuUID: 0 , CmdTS0\n");
}

TEST(LuMessagesTest, PrintedCommandLeavesTheProcessAtOnce) {
  const PipedStdout standardOutput;
  cLuCmd().PrintLuCmd();
  EXPECT_EQ(standardOutput.Arrived(),
            "\n\tLoudness command \n\t\tLuCmd: None : 0\n\t\tLuUID: 0 , CmdTS0\n");
}

}  // namespace
