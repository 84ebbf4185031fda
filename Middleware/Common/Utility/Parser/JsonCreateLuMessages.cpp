// Writer of the loudness messages. Belongs to one sender, on the reactor thread.

#include "JsonCreateLuMessages.h"

#include <rapidjson/document.h>
#include <rapidjson/writer.h>

#include "LuMessageKeys.h"

namespace {

/// A message under construction. Keys are literals; members are written in the order in which they
/// were added, each with the JSON type that its method names.
class MessageObject {
 public:
  void AddBool(const char* key, bool value) { Add(key, rapidjson::Value(value)); }
  void AddSigned(const char* key, std::int32_t value) { Add(key, rapidjson::Value(value)); }
  void AddUnsigned(const char* key, std::uint32_t value) { Add(key, rapidjson::Value(value)); }
  void AddText(const char* key, const std::string& text) {
    const auto length = static_cast<rapidjson::SizeType>(text.size());
    Add(key, rapidjson::Value(text.data(), length, mDocument.GetAllocator()));
  }

  /// Replaces the contents of `buffer` by this message and returns its zero-terminated text.
  const char* WriteTo(rapidjson::StringBuffer& buffer) const {
    buffer.Clear();
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    mDocument.Accept(writer);
    return buffer.GetString();
  }

 private:
  void Add(const char* key, rapidjson::Value value) {
    mDocument.AddMember(rapidjson::StringRef(key), value, mDocument.GetAllocator());
  }

  rapidjson::Document mDocument{rapidjson::kObjectType};
};

void AddCommand(MessageObject& message, LuCmd_e command) {
  message.AddText(lu_key::kCommand, cLuCmd::ConvertToLuCmdStrFromEnum(command));
}

/// Adds the last members of a command message with cluster information and of a cluster message
/// with a command.
void AddTimeUserAndMeterSet(MessageObject& message, const cLuCmd& command, unsigned meterSet) {
  message.AddUnsigned(lu_key::kCommandTimeStamp, command.mlCmdTS);
  message.AddUnsigned(lu_key::kWrittenUser, command.mlUserId);
  message.AddUnsigned(lu_key::kMeterSet, meterSet);
}

}  // namespace

const char* cLuSettingsCreater::PrepareLuCmdJsonStr(LuCmd_e Cmd, bool OriginFromFp,
                                                    bool add_cluster_info, unsigned meter_set) {
  MessageObject message;
  AddCommand(message, Cmd);
  if (add_cluster_info) {
    message.AddUnsigned(lu_key::kClusterId, mlClusterId);
    AddTimeUserAndMeterSet(message, *this, meter_set);
  } else {
    message.AddBool(lu_key::kOriginFromFp, OriginFromFp);
  }
  return message.WriteTo(msCmdBuffer);
}

const char* cLuSettingsCreater::PrepareLuClusterJsonStr(LuCmd_e Cmd, bool add_cmd_status,
                                                        unsigned meter_set) {
  MessageObject message;
  message.AddUnsigned(lu_key::kClusterId, mlClusterId);
  if (add_cmd_status) {
    AddCommand(message, Cmd);
    AddTimeUserAndMeterSet(message, *this, meter_set);
  } else {
    message.AddBool(lu_key::kOriginFromFp, mbIsCmdOriginFromFp);
  }
  return message.WriteTo(msCmdBuffer);
}

const char* cLuSettingsCreater::PrepareLuConfJsonStr() {
  MessageObject message;
  message.AddBool(lu_key::kOriginFromFp, mbIsConfOriginFromFp);
  message.AddUnsigned(lu_key::kClusterId, mlDefaultClusterId);
  message.AddUnsigned(lu_key::kLraWindow, mlLraWindow);
  message.AddSigned(lu_key::kAlarmTolerance, mlAlarmTolerance);
  message.AddSigned(lu_key::kReferenceLevel, mlReferenceLevel);
  message.AddUnsigned(lu_key::kLoudnessWindowTime, mlLoudnessWindowTime);
  message.AddText(lu_key::kLoudnessStandard, msLoudnessStandard);
  message.AddText(lu_key::kLoudnessWindow, msLoudnessWindow);
  message.AddText(lu_key::kMode, msMode);
  message.AddText(lu_key::kAlarm, msAlarm);
  return message.WriteTo(msCmdBuffer);
}
