// The client of the process monitor, a singleton. Reactor thread only.

#include "HeartBeater.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "JsonAccess.h"
#include "LogMacros.h"
#include "MqNames.h"

namespace {

constexpr char kUnitName[] = "HeartBeater";

LogSource Log() {
  return {kUnitName, cHeartBeater::mpLogger, cHeartBeater::mLogLevel};
}

constexpr char kUnknownVersion[] = "Unknown";
constexpr char kCommandKey[] = "Command";

using JsonWriter = rapidjson::Writer<rapidjson::StringBuffer>;

void WriteHeartBeat(rapidjson::StringBuffer& text, const char* key, const char* version,
                    ProcessStatus_e status) {
  JsonWriter writer(text);
  writer.StartObject();
  writer.Key("HbKey");
  writer.String(key);
  writer.Key("Version");
  writer.String(version);
  writer.Key("State");
  writer.Int(status);
  writer.EndObject();
}

bool WriteAppCommand(rapidjson::StringBuffer& text, int command) {
  JsonWriter writer(text);
  return writer.StartObject() && writer.Key(kCommandKey) && writer.Int(command) &&
         writer.EndObject();
}

}  // namespace

cHeartBeater* cHeartBeater::mpHeartBeater = nullptr;
Logger* cHeartBeater::mpLogger = nullptr;
int cHeartBeater::mLogLevel = MsgLevel_Warn;

cHeartBeater* cHeartBeater::GetInstance() {
  if (mpHeartBeater == nullptr) {
    // CZMQ's own exit handler must be registered before ours, so that our socket goes first.
    zsys_init();
    mpLogger = Logger::GetInstance();
    mpHeartBeater = new cHeartBeater;
    std::atexit(DeleteInstance);
  }
  return mpHeartBeater;
}

void cHeartBeater::DeleteInstance() {
  if (mpHeartBeater == nullptr)
    return;
  mpHeartBeater->CloseMq();
  delete mpHeartBeater;
  mpHeartBeater = nullptr;
}

bool cHeartBeater::SetHeartBeatJson(const char* cpHbKey, const char* cpVersion,
                                    ProcessStatus_e status) {
  mbIsValidJson = false;
  if (cpHbKey == nullptr)
    return false;
  if (cpVersion == nullptr) {
    LOUDCALC_LOG(Log(), Warn, "\"HB Version not set by this process.!\"");
    cpVersion = kUnknownVersion;
  }
  rapidjson::StringBuffer text;
  WriteHeartBeat(text, cpHbKey, cpVersion, status);
  std::memset(ProcessBeat, 0, sizeof ProcessBeat);
  std::snprintf(ProcessBeat, sizeof ProcessBeat - 1, "%s", text.GetString());
  mbIsValidJson = true;
  return true;
}

bool cHeartBeater::ConnectMqOverTcp(const char* ipStr_in) {
  const char* address = ipStr_in != nullptr ? ipStr_in : kLocalHostAddress;
  return Connect(MqEndpoint::Tcp(address, kMonitorInletPort));
}

bool cHeartBeater::ConnectMqOverIpc() {
  return Connect(MqEndpoint::Ipc(kMonitorInletIpcName));
}

bool cHeartBeater::SendBeat() {
  if (pPushSocket == nullptr || !mbIsValidJson)
    return false;
  mLink.TakeNote();
  if (MqSendFirstText(pPushSocket, kHeartBeatTopic) == -1) {
    LOUDCALC_LOG(Log(), Error, "\"Failed to send HB Topic.\"");
    return false;
  }
  if (MqSendLastText(pPushSocket, ProcessBeat) == -1) {
    LOUDCALC_LOG(Log(), Error, "\"Failed to send HB message.\"");
    return false;
  }
  return true;
}

void cHeartBeater::RequestRepub() {
  if (pPushSocket == nullptr || !mbIsValidJson)
    return;
  mLink.TakeNote();
  if (MqSendOnlyText(pPushSocket, kRepublicationTopic) == -1)
    LOUDCALC_LOG(Log(), Error, "\"Failed to send HB Topic.\"");
}

void cHeartBeater::SendRebootCommand() {
  SendAppCommand(kAppCommandReboot);
}

void cHeartBeater::SendSwUpgradeCommand() {
  SendAppCommand(kAppCommandSwUpgrade);
}

int cHeartBeater::ParseAppCommand(const char* cpEncMessage_in) {
  rapidjson::Document document;
  std::int32_t command = -1;
  if (json::ParseObject(cpEncMessage_in, document))
    json::Read(document, kCommandKey, command);
  return command;
}

void cHeartBeater::TendLink() {
  mLink.Tend([](const char* endpoint) {
    LOUDCALC_LOG(Log(), Warn, "\"Connection to %s broke the protocol, connecting again\"",
                 endpoint);
  });
}

void cHeartBeater::CloseMq() {
  if (pPushSocket != nullptr)
    LOUDCALC_PRINT(kUnitName, stdout, "\"Heart Beater MQ cleanup!!!\"");
  mLink.Close();
}

bool cHeartBeater::Connect(const MqEndpoint& endpoint) {
  if (pPushSocket != nullptr) {
    LOUDCALC_LOG(Log(), Error, "\"Seems this instance already connected to %s\"", endpoint.Text());
    return false;
  }
  const auto connect = [&] {
    MqSockOwner socket = MqPushLink::NewSocket(endpoint);
    if (socket == nullptr)
      return false;
    LOUDCALC_LOG(Log(), Debug, "\"Tryig to connect %s\"", endpoint.Text());
    if (!mLink.Connect(std::move(socket), endpoint)) {
      LOUDCALC_LOG(Log(), Error, "\"Failed to connect to %s\"", endpoint.Text());
      return false;
    }
    LOUDCALC_LOG(Log(), Info, "\"Connected to %s\"", endpoint.Text());
    return true;
  };
  return MqGuard(connect, [](const char* title, const char* description) {
    LOUDCALC_LOG(Log(), Critical, "\"%s %s\"", title, description);
  });
}

// Frames: topic, {"Command":N}.
void cHeartBeater::SendAppCommand(int command) {
  if (pPushSocket == nullptr)
    return;
  try {
    mLink.TakeNote();
    rapidjson::StringBuffer text;
    if (!WriteAppCommand(text, command))
      LOUDCALC_LOG(Log(), Error, "\"Failed to prepare app cmd toipic.\"");
    else if (MqSendFirstText(pPushSocket, kForwardedCommandTopic) == -1)
      LOUDCALC_LOG(Log(), Error, "\"Failed to send App cmd Topic.\"");
    else if (MqSendLastText(pPushSocket, text.GetString()) == -1)
      LOUDCALC_LOG(Log(), Error, "\"Failed to send App cmd message.\"");
  } catch (const std::exception& error) {
    LOUDCALC_PRINT(kUnitName, stderr, "\"Exception %s\"", error.what());
  }
}
