// Readers of the process monitor's messages. Reactor thread only.

#include "JsonParseHbMonMessages.h"

#include <exception>
#include <string_view>

#include "Assertion.h"
#include "JsonAccess.h"
#include "LogMacros.h"

namespace {

constexpr char kUnitName[] = "JsonParseHbMonMessages";

LogSource StatusLog() {
  return {kUnitName, cJsonParseSysStatus::mpLogger, cJsonParseSysStatus::mLogLevel};
}

LogSource CommandLog() {
  return {kUnitName, cJsonParseHbMonCommand::mpLogger, cJsonParseHbMonCommand::mLogLevel};
}

constexpr char kSystemStatusKey[] = "SystemStatus";
constexpr char kDolbyDecoderKey[] = "DolbyDecoder";
constexpr char kDecoderStateKey[] = "State";
constexpr char kCommandKey[] = "Command";

constexpr std::string_view kStatusInOrder = "Okay";
constexpr std::string_view kDecoderRunning = "Processing";

constexpr std::int32_t kNoCommand = -1;

bool BeginsWith(const rapidjson::Value& text, std::string_view beginning) {
  return std::string_view(text.GetString(), text.GetStringLength()).substr(0, beginning.size()) ==
         beginning;
}

}  // namespace

bool cJsonParseSysStatus::mbSysStatus = false;
bool cJsonParseSysStatus::mbDolbyDecoderDetected = false;
Logger* cJsonParseSysStatus::mpLogger = nullptr;
std::int32_t cJsonParseSysStatus::mLogLevel = MsgLevel_Default;

Logger* cJsonParseHbMonCommand::mpLogger = nullptr;
std::int32_t cJsonParseHbMonCommand::mLogLevel = MsgLevel_Default;

bool cJsonParseSysStatus::ParseSysStatus(const char* cpEncMessage_in, bool _detect_dlb_status,
                                         bool _default) {
  try {
    if (ReadStatus(cpEncMessage_in, _detect_dlb_status))
      return true;
  } catch (const std::exception& exception) {
    LOUDCALC_PRINT(kUnitName, stderr, "\"Exception %s\"", exception.what());
  }
  LOUDCALC_LOG(StatusLog(), Error, "\"Failed to parse message setting default to %lu\"",
               static_cast<unsigned long>(_default));
  mbSysStatus = _default;
  return false;
}

bool cJsonParseSysStatus::ReadStatus(const char* text, bool detectDecoder) {
  if (text == nullptr)
    return false;
  rapidjson::Document doc;
  if (!json::Parse(text, doc)) {
    LOUDCALC_LOG(StatusLog(), Error, "\"Not a valid json string %s.\"", text);
    return false;
  }
  LOUDCALC_ASSERT(doc.IsObject(), "doc.IsObject()");
  const rapidjson::Value* status = json::Find(doc, kSystemStatusKey);
  if (status == nullptr)
    return false;
  LOUDCALC_ASSERT(status->IsString(), "vSysStatus.IsString()");

  mbSysStatus = BeginsWith(*status, kStatusInOrder);
  LOUDCALC_LOG(StatusLog(), Warn, "\"Got System status %s %d.\"", status->GetString(),
               mbSysStatus ? 1 : 0);
  if (mbSysStatus && detectDecoder && !mbDolbyDecoderDetected)
    DetectDecoder(doc);
  return true;
}

void cJsonParseSysStatus::DetectDecoder(const rapidjson::Value& message) {
  const rapidjson::Value* decoder = json::Find(message, kDolbyDecoderKey);
  if (decoder == nullptr)
    return;
  LOUDCALC_ASSERT(decoder->IsObject(), "vDolbyDec.IsObject()");
  const rapidjson::Value* state = json::Find(*decoder, kDecoderStateKey);
  if (state == nullptr)
    return;
  LOUDCALC_ASSERT(state->IsString(), "vState.IsString()");

  mbDolbyDecoderDetected = BeginsWith(*state, kDecoderRunning);
  if (mbDolbyDecoderDetected)
    LOUDCALC_LOG(StatusLog(), Warn, "\"Dolby decoder detected.\"");
}

bool cJsonParseHbMonCommand::ParseSysStatus(const char* cpEncMessage_in) {
  try {
    if (ReadCommand(cpEncMessage_in))
      return true;
  } catch (const std::exception& exception) {
    LOUDCALC_PRINT(kUnitName, stderr, "\"Exception %s\"", exception.what());
  }
  LOUDCALC_LOG(CommandLog(), Error, "\"Failed to parse message HbMonitor Command\"");
  miHBMonCommand = kNoCommand;
  return false;
}

bool cJsonParseHbMonCommand::ReadCommand(const char* text) {
  if (text == nullptr)
    return false;
  rapidjson::Document doc;
  if (!json::Parse(text, doc)) {
    LOUDCALC_LOG(CommandLog(), Error, "\"HBMonitor Parse : Not a valid json string %s.\"", text);
    return false;
  }
  LOUDCALC_ASSERT(doc.IsObject(), "doc.IsObject()");
  const rapidjson::Value* command = json::Find(doc, kCommandKey);
  if (command == nullptr || command->IsNull())
    return false;
  LOUDCALC_ASSERT(command->IsInt(), "vCommand.IsInt()");
  miHBMonCommand = command->GetInt();
  return true;
}
