// Texts and defaults of the loudness records. Stateless apart from the records themselves.

#include "LuMessages.h"

#include <cstdio>

#include "TextTable.h"

namespace {

constexpr TextEntry<LoudStandards_e> kStandards[] = {
    {cLuConf::kDefaultStandardText, BS1770_3},
    {"EBU R128 (+9)", EBU_R128_9},
    {"EBU R128 (+18)", EBU_R128_18},
};

constexpr TextEntry<LoudWinType_e> kWindows[] = {
    {cLuConf::kDefaultWindowText, LOUD_WIN_TYPE_MOMENTARY},
    {"Short Term", LOUD_WIN_TYPE_SHORT},
    {cLuConf::kCustomWindowText, LOUD_WIN_TYPE_INTEGRATED},
};

constexpr TextEntry<LuAlarm_e> kAlarms[] = {
    {"Over", LU_ALARM_OVER},
    {"Under", LU_ALARM_UNDER},
    {cLuConf::kDefaultAlarmText, LU_ALARM_BOTH},
    {"Off", LU_ALARM_OFF},
};

constexpr TextEntry<LoudModes_e> kModes[] = {
    {cLuConf::kDefaultModeText, LOUD_MODE_CONTINUOUS},
    {cLuConf::kManualModeText, LOUD_MODE_START_STOP},
};

// "None" has no row because it is the fallback. "Restart" needs its own row because it contains
// "start", not "Start". It comes after "Start" because the first text of a value is the one that
// is written.
constexpr TextEntry<LuCmd_e> kCommands[] = {
    {cLuCmd::kStopText, LU_CMD_STOP},   {cLuCmd::kPauseText, LU_CMD_PAUSE},
    {cLuCmd::kStartText, LU_CMD_START}, {"Restart", LU_CMD_START},
    {cLuCmd::kPlayText, LU_CMD_PLAY},   {cLuCmd::kResetText, LU_CMD_RESET},
    {cLuCmd::kPrintText, LU_CMD_PRINT},
};

}  // namespace

LoudStandards_e cLuConf::ConvertToLoudnessStandardFromString(const char* text) {
  return FindBySubstring(kStandards, text, LOUD_STD_DEFAULT);
}

LoudWinType_e cLuConf::ConvertToLoudnessWindowFromString(const char* text) {
  return FindBySubstring(kWindows, text, DEFAULT_LOUD_WIN_TYPE);
}

LuAlarm_e cLuConf::ConvertToAlarmFromString(const char* text) {
  return FindBySubstring(kAlarms, text, LU_ALARM_BOTH);
}

LoudModes_e cLuConf::ConvertToModeFromString(const char* text) {
  return FindBySubstring(kModes, text, LOUD_MODE_DEFAULT);
}

const char* cLuConf::ConvertToLoudnessStandardStrFromEnum(LoudStandards_e standard) {
  return FindText(kStandards, standard, kDefaultStandardText);
}

const char* cLuConf::ConvertToLoudnessWindowStrFromEnum(LoudWinType_e window) {
  return FindText(kWindows, window, kDefaultWindowText);
}

const char* cLuConf::ConvertToAlarmStrFromEnum(LuAlarm_e alarm) {
  return FindText(kAlarms, alarm, kDefaultAlarmText);
}

const char* cLuConf::ConvertToModeStrFromEnum(teLoudModes mode) {
  return FindText(kModes, mode, kDefaultModeText);
}

void cLuConf::Reset() {
  const std::uint32_t userId = mlUserId;
  *this = cLuConf();
  mlUserId = userId;
}

LuCmd_e cLuCmd::ConvertToLuCmdFromString(const char* text) {
  return FindBySubstring(kCommands, text, LU_CMD_NONE);
}

const char* cLuCmd::ConvertToLuCmdStrFromEnum(LuCmd_e command) {
  return FindText(kCommands, command, kNoCommandText);
}

void cLuCmd::Reset() {
  mLuCmd = LU_CMD_NONE;
  msLuCmd = kNoCommandText;
}

void cLuCmd::PrintLuCmd() const {
  std::printf("\n\tLoudness command \n\t\tLuCmd: %s : %d\n\t\tLuUID: %u , CmdTS%u\n",
              msLuCmd.c_str(), static_cast<int>(mLuCmd), mlUserId, mlCmdTS);
  std::fflush(stdout);
}
