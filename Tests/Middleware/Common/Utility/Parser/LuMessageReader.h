// Messages, expected records and helpers for the tests of the reader of loudness messages.

#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <tuple>
#include <vector>

#include "JsonParseLuMessages.h"

// For each type, JSON values that are not of that type.
inline constexpr const char* kNotUnsigned[] = {"9.0",   "9.5",  "1e1",  "-1",  "4294967296",
                                               "\"1\"", "true", "null", "[1]", "{}"};
inline constexpr const char* kNotSigned[] = {"9.0",        "-23.0",       "1e1",   "2147483648",
                                             "4294967296", "-2147483649", "\"1\"", "true",
                                             "null",       "{}"};
inline constexpr const char* kNotText[] = {"7", "true", "null", "[\"Both\"]", "{}"};
inline constexpr const char* kNotFlag[] = {"1", "0", "\"true\"", "null", "[true]"};

/// One member of a message: key and JSON value.
struct Member {
  std::string key;
  std::string value;
};
using Members = std::vector<Member>;

inline std::string Text(const Members& members) {
  std::string text;
  for (const Member& member : members)
    text += (text.empty() ? "{\"" : ",\"") + member.key + "\":" + member.value;
  return text.empty() ? "{}" : text + "}";
}

inline Members With(Members members, const std::string& key, const std::string& value) {
  for (Member& member : members)
    if (member.key == key)
      member.value = value;
  return members;
}

inline Members Without(Members members, const std::string& key) {
  members.erase(std::remove_if(members.begin(), members.end(),
                               [&](const Member& member) { return member.key == key; }),
                members.end());
  return members;
}

/// Every field of a reader.
inline auto Fields(const cLuSettingsParser& parser) {
  const cLuConf& conf = parser;
  const cLuCmd& command = parser;
  return std::make_tuple(
      std::make_tuple(conf.mlLraWindow, conf.msLoudnessStandard, conf.mLoudnessStandard,
                      conf.msLoudnessWindow, conf.mLoudnessWindow, conf.mlClusterId,
                      conf.mlDefaultClusterId, conf.mlAlarmTolerance, conf.msAlarm, conf.mAlarm,
                      conf.mlReferenceLevel, conf.msMode, conf.mMode, conf.mlLoudnessWindowTime,
                      conf.mlUserId),
      std::make_tuple(command.msLuCmd, command.mLuCmd, command.mlCmdTS, command.mlUserId),
      std::make_tuple(parser.mbIsCmdOriginFromFp, parser.mbIsClustOriginFromFp,
                      parser.mbIsConfOriginFromFp));
}

/// A reader in which every field except the reserved flag differs from its default. Except for the
/// origins, its values do not occur in the messages below.
inline cLuSettingsParser UsedParser() {
  cLuSettingsParser parser;
  parser.mlLraWindow = 99;
  parser.msLoudnessStandard = "EBU R128 (+9)";
  parser.mLoudnessStandard = EBU_R128_9;
  parser.msLoudnessWindow = "Short Term";
  parser.mLoudnessWindow = LOUD_WIN_TYPE_SHORT;
  parser.mlClusterId = 44;
  parser.mlDefaultClusterId = 55;
  parser.mlAlarmTolerance = 6;
  parser.msAlarm = "Off";
  parser.mAlarm = LU_ALARM_OFF;
  parser.mlReferenceLevel = -31;
  parser.msMode = "Manually";
  parser.mMode = LOUD_MODE_START_STOP;
  parser.mlLoudnessWindowTime = 77;
  parser.cLuConf::mlUserId = 88;
  parser.msLuCmd = "Pause";
  parser.mLuCmd = LU_CMD_PAUSE;
  parser.mlCmdTS = 111;
  parser.cLuCmd::mlUserId = 222;
  parser.mbIsCmdOriginFromFp = true;
  parser.mbIsConfOriginFromFp = true;
  return parser;
}

/// A used reader after a reset.
inline cLuSettingsParser ResetParser() {
  cLuSettingsParser parser = UsedParser();
  parser.cLuConf::Reset();
  parser.cLuCmd::Reset();
  return parser;
}

/// A complete configuration message. No value is the default; the members are in the order in which
/// the keys are read.
inline const Members kConf = {{"OriginFromFp", "true"},
                              {"ClusterId", "2"},
                              {"LraWindow", "60"},
                              {"LoudnessStandard", "\"EBU R128 (+18)\""},
                              {"LoudnessWindow", "\"Custom\""},
                              {"AlarmTolerance", "1"},
                              {"Alarm", "\"Over\""},
                              {"ReferenceLevel", "-23"},
                              {"Mode", "\"Manual\""},
                              {"LoudnessWindowTime", "600"},
                              {"UserID", "17"}};

inline const Members kCommand = {{"ClusterId", "1"},       {"OriginFromFp", "true"},
                                 {"Command", "\"Start\""}, {"MeterSet", "2"},
                                 {"CmdTS", "7"},           {"UserID", "5"}};

inline const Members kCluster = {{"OriginFromFp", "true"},
                                 {"ClusterId", "3"},
                                 {"MeterSet", "2"},
                                 {"CmdTS", "7"},
                                 {"UserID", "5"}};

/// A used reader after `kConf`.
inline cLuSettingsParser ParserAfterConf() {
  cLuSettingsParser parser = ResetParser();
  parser.mbIsConfOriginFromFp = true;
  parser.mlDefaultClusterId = 2;
  parser.mlLraWindow = 60;
  parser.msLoudnessStandard = "EBU R128 (+18)";
  parser.mLoudnessStandard = EBU_R128_18;
  parser.msLoudnessWindow = "Custom";
  parser.mLoudnessWindow = LOUD_WIN_TYPE_INTEGRATED;
  parser.mlAlarmTolerance = 1;
  parser.msAlarm = "Over";
  parser.mAlarm = LU_ALARM_OVER;
  parser.mlReferenceLevel = -23;
  parser.msMode = "Manual";
  parser.mMode = LOUD_MODE_START_STOP;
  parser.mlLoudnessWindowTime = 600;
  parser.cLuConf::mlUserId = 17;
  return parser;
}

/// A used reader after `kCommand`, read by either function.
inline cLuSettingsParser ParserAfterCommand() {
  cLuSettingsParser parser = UsedParser();
  parser.mbIsCmdOriginFromFp = true;
  parser.msLuCmd = "Start";
  parser.mLuCmd = LU_CMD_START;
  parser.mlCmdTS = 7;
  parser.cLuCmd::mlUserId = 5;
  return parser;
}

/// A used reader after `kCluster`.
inline cLuSettingsParser ParserAfterCluster() {
  cLuSettingsParser parser = UsedParser();
  parser.mlClusterId = 3;
  parser.mlCmdTS = 7;
  parser.cLuCmd::mlUserId = 5;
  return parser;
}

/// A used reader and the results of its last call.
class LuMessageReader : public testing::Test {
 protected:
  bool ReadConf(const std::string& text) { return parser_.ParseLuConfJsonStr(text.c_str()); }

  bool ReadCommand(const std::string& text) { return parser_.ParseLuCmdJsonStr(text.c_str()); }

  bool ReadCommandFor(unsigned filter, const std::string& text) {
    return parser_.ParseLuCmdJsonStr(text.c_str(), meterSet_, cluster_, filter);
  }

  bool ReadCluster(const std::string& text) {
    return parser_.ParseLuClusterJsonStr(text.c_str(), meterSet_);
  }

  void StartAgain() {
    parser_ = UsedParser();
    meterSet_ = kStale;
    cluster_ = kStale;
  }

  /// Expects that every function refuses the text and changes no field, and that the outputs are 0.
  void ExpectRefusedByEveryEntry(const char* text) {
    const std::string shown = text == nullptr ? "null" : std::string(text).substr(0, 40);
    const auto before = Fields(parser_);
    EXPECT_FALSE(parser_.ParseLuConfJsonStr(text)) << shown;
    EXPECT_FALSE(parser_.ParseLuCmdJsonStr(text)) << shown;
    EXPECT_FALSE(parser_.ParseLuCmdJsonStr(text, meterSet_, cluster_, 0)) << shown;
    EXPECT_EQ(std::make_tuple(meterSet_, cluster_), std::make_tuple(0u, 0u)) << shown;
    meterSet_ = kStale;
    EXPECT_FALSE(parser_.ParseLuClusterJsonStr(text, meterSet_)) << shown;
    EXPECT_EQ(meterSet_, 0u) << shown;
    EXPECT_EQ(Fields(parser_), before) << shown;
  }

  static constexpr unsigned kStale = 333;  // value of the outputs before a call

  cLuSettingsParser parser_ = UsedParser();
  unsigned meterSet_ = kStale;
  unsigned cluster_ = kStale;
};
