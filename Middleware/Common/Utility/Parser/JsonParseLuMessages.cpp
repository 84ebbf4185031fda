// Reader of the loudness messages. Owned by the dispatcher, on the reactor thread.

#include "JsonParseLuMessages.h"

#include "JsonTextMember.h"
#include "LuMessageKeys.h"

namespace {

/// Reads keys that a message must have and remembers whether one was missing.
class RequiredKeys {
 public:
  explicit RequiredKeys(const rapidjson::Value& object) : mObject(object) {}

  template <typename Number>
  void ReadNumber(const char* key, Number& out) {
    Note(json::Read(mObject, key, out));
  }

  /// Stores the text and the enumeration that it stands for, so that they never disagree.
  template <typename Enumeration>
  void ReadText(const char* key, std::string& text, Enumeration& value,
                Enumeration (*convert)(const char*)) {
    Note(json::ReadText(mObject, key, text, value, convert));
  }

  bool AllFound() const { return mAllFound; }

 private:
  void Note(bool found) { mAllFound = mAllFound && found; }

  const rapidjson::Value& mObject;
  bool mAllFound = true;
};

/// Whether the sender marked the message as one from the front panel.
bool ReadOrigin(const rapidjson::Value& message) {
  bool fromFrontPanel = false;
  json::Read(message, lu_key::kOriginFromFp, fromFrontPanel);
  return fromFrontPanel;
}

bool ReadCommand(const rapidjson::Value& message, cLuCmd& command) {
  return json::ReadText(message, lu_key::kCommand, command.msLuCmd, command.mLuCmd,
                        cLuCmd::ConvertToLuCmdFromString);
}

void ReadTimeAndUser(const rapidjson::Value& message, cLuCmd& command) {
  json::Read(message, lu_key::kCommandTimeStamp, command.mlCmdTS);
  json::Read(message, lu_key::kReadUser, command.mlUserId);
}

}  // namespace

bool cLuSettingsParser::ParseLuConfJsonStr(const char* cpEncMessage_in) {
  rapidjson::Document message;
  if (!json::ParseObject(cpEncMessage_in, message))
    return false;

  cLuCmd::Reset();
  cLuConf::Reset();
  mbIsConfOriginFromFp = ReadOrigin(message);

  RequiredKeys keys(message);
  keys.ReadNumber(lu_key::kClusterId, mlDefaultClusterId);
  keys.ReadNumber(lu_key::kLraWindow, mlLraWindow);
  keys.ReadText(lu_key::kLoudnessStandard, msLoudnessStandard, mLoudnessStandard,
                ConvertToLoudnessStandardFromString);
  keys.ReadText(lu_key::kLoudnessWindow, msLoudnessWindow, mLoudnessWindow,
                ConvertToLoudnessWindowFromString);
  keys.ReadNumber(lu_key::kAlarmTolerance, mlAlarmTolerance);
  keys.ReadText(lu_key::kAlarm, msAlarm, mAlarm, ConvertToAlarmFromString);
  keys.ReadNumber(lu_key::kReferenceLevel, mlReferenceLevel);
  keys.ReadText(lu_key::kMode, msMode, mMode, ConvertToModeFromString);
  keys.ReadNumber(lu_key::kLoudnessWindowTime, mlLoudnessWindowTime);

  json::Read(message, lu_key::kReadUser, cLuConf::mlUserId);
  return keys.AllFound();
}

bool cLuSettingsParser::ParseLuCmdJsonStr(const char* cpEncMessage_in) {
  rapidjson::Document message;
  if (!json::ParseObject(cpEncMessage_in, message))
    return false;

  cLuCmd::Reset();
  mbIsCmdOriginFromFp = ReadOrigin(message);
  const bool isCommand = ReadCommand(message, *this);
  ReadTimeAndUser(message, *this);
  return isCommand;
}

bool cLuSettingsParser::ParseLuCmdJsonStr(const char* cpEncMessage_in, unsigned& meter_set_no_out,
                                          unsigned& cluster_id_out, unsigned filter_cluster_id) {
  meter_set_no_out = 0;
  cluster_id_out = 0;
  rapidjson::Document message;
  if (!json::ParseObject(cpEncMessage_in, message))
    return false;

  cLuCmd::Reset();
  mbIsCmdOriginFromFp = false;
  json::Read(message, lu_key::kClusterId, cluster_id_out);
  if (filter_cluster_id != 0 && cluster_id_out != filter_cluster_id)
    return false;

  mbIsCmdOriginFromFp = ReadOrigin(message);
  const bool isCommand = ReadCommand(message, *this);
  json::Read(message, lu_key::kMeterSet, meter_set_no_out);
  ReadTimeAndUser(message, *this);
  return isCommand;
}

bool cLuSettingsParser::ParseLuClusterJsonStr(const char* cpEncMessage_in,
                                              unsigned& meter_set_no_out) {
  meter_set_no_out = 0;
  rapidjson::Document message;
  if (!json::ParseObject(cpEncMessage_in, message))
    return false;

  mbIsCmdOriginFromFp = ReadOrigin(message);
  const bool hasCluster = json::Read(message, lu_key::kClusterId, mlClusterId);
  json::Read(message, lu_key::kMeterSet, meter_set_no_out);
  ReadTimeAndUser(message, *this);
  return hasCluster;
}
