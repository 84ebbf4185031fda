// Properties of the loudness records. Stateless.

#include "LoudnessRecords.h"

#include <tuple>

#include "FuzzTarget.h"

namespace fuzz {

namespace {

auto FieldsOf(const cLuConf& conf) {
  return std::tie(conf.mlLraWindow, conf.msLoudnessStandard, conf.mLoudnessStandard,
                  conf.msLoudnessWindow, conf.mLoudnessWindow, conf.mlClusterId,
                  conf.mlDefaultClusterId, conf.mlAlarmTolerance, conf.msAlarm, conf.mAlarm,
                  conf.mlReferenceLevel, conf.msMode, conf.mMode, conf.mlLoudnessWindowTime,
                  conf.mlUserId);
}

auto FieldsOf(const cLuCmd& command) {
  return std::tie(command.msLuCmd, command.mLuCmd, command.mlCmdTS, command.mlUserId);
}

}  // namespace

bool IsSame(const cLuConf& left, const cLuConf& right) {
  return FieldsOf(left) == FieldsOf(right);
}

bool IsSame(const cLuCmd& left, const cLuCmd& right) {
  return FieldsOf(left) == FieldsOf(right);
}

bool IsSame(const cLuSettingsParser& left, const cLuSettingsParser& right) {
  return IsSame(static_cast<const cLuConf&>(left), right) &&
         IsSame(static_cast<const cLuCmd&>(left), right) &&
         left.mbIsCmdOriginFromFp == right.mbIsCmdOriginFromFp &&
         left.mbIsClustOriginFromFp == right.mbIsClustOriginFromFp &&
         left.mbIsConfOriginFromFp == right.mbIsConfOriginFromFp;
}

void CheckRecord(const cLuConf& conf) {
  FUZZ_PROPERTY(conf.mLoudnessStandard >= 0 && conf.mLoudnessStandard < NUM_LOUD_STANDARDS,
                "the standard is one of the three");
  FUZZ_PROPERTY(conf.mLoudnessWindow >= 0 && conf.mLoudnessWindow < NUM_LOUD_WIN_TYPES,
                "the window is one of the three");
  FUZZ_PROPERTY(conf.mAlarm > LU_ALARM_NONE && conf.mAlarm < LU_ALARM_MAX,
                "the alarm is one that has a text");
  FUZZ_PROPERTY(conf.mMode >= 0 && conf.mMode < NUM_LOUD_MODES, "the mode is one of the two");
  FUZZ_PROPERTY(conf.mLoudnessStandard ==
                    cLuConf::ConvertToLoudnessStandardFromString(conf.msLoudnessStandard.c_str()),
                "the standard is what its text means");
  FUZZ_PROPERTY(conf.mLoudnessWindow ==
                    cLuConf::ConvertToLoudnessWindowFromString(conf.msLoudnessWindow.c_str()),
                "the window is what its text means");
  FUZZ_PROPERTY(conf.mAlarm == cLuConf::ConvertToAlarmFromString(conf.msAlarm.c_str()),
                "the alarm is what its text means");
  FUZZ_PROPERTY(conf.mMode == cLuConf::ConvertToModeFromString(conf.msMode.c_str()),
                "the mode is what its text means");
}

void CheckRecord(const cLuCmd& command) {
  FUZZ_PROPERTY(command.mLuCmd >= LU_CMD_NONE && command.mLuCmd <= LU_CMD_PRINT,
                "the command is one that has a text, or none");
  FUZZ_PROPERTY(command.mLuCmd == cLuCmd::ConvertToLuCmdFromString(command.msLuCmd.c_str()),
                "the command is what its text means");
}

cLuSettingsParser UsedReader() {
  cLuSettingsParser reader;
  reader.mlLraWindow = 60;
  reader.msLoudnessStandard = "EBU R128 (+18)";
  reader.mLoudnessStandard = EBU_R128_18;
  reader.msLoudnessWindow = "Custom";
  reader.mLoudnessWindow = LOUD_WIN_TYPE_INTEGRATED;
  reader.mlClusterId = 4;
  reader.mlDefaultClusterId = 3;
  reader.mlAlarmTolerance = -7;
  reader.msAlarm = "Off";
  reader.mAlarm = LU_ALARM_OFF;
  reader.mlReferenceLevel = -31;
  reader.msMode = "Manual";
  reader.mMode = LOUD_MODE_START_STOP;
  reader.mlLoudnessWindowTime = 600;
  reader.cLuConf::mlUserId = 21;
  reader.msLuCmd = "Pause";
  reader.mLuCmd = LU_CMD_PAUSE;
  reader.mlCmdTS = 1234;
  reader.cLuCmd::mlUserId = 22;
  reader.mbIsCmdOriginFromFp = true;
  reader.mbIsConfOriginFromFp = true;
  return reader;
}

}  // namespace fuzz
