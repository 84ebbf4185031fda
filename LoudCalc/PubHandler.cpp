// The publisher of the loudness service, a singleton. Reactor thread only.

#include "PubHandler.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Assertion.h"
#include "LogMacros.h"
#include "MqSupport.h"

namespace {

constexpr char kUnitName[] = "PubHandler";

void FormatName(MqFileName_t& name, const char* prefix) {
  FormatPublisherFile(name, prefix, cPubHandler::mlMeterSetNo, cPubHandler::mlClusterNo);
}

zframe_t* MakeFrame(const LuDataFrame_t& frame, const LuDataContent_t& content) {
  if (frame.value == nullptr)
    return zframe_new(kLoudnessDataTopic, sizeof kLoudnessDataTopic - 1);
  const std::int16_t value = content.*frame.value;
  return zframe_new(&value, sizeof value);
}

LogSource Log() {
  return {kUnitName, cPubHandler::mpLogger, cPubHandler::mLogLevel};
}

void LogNews(MqFileNews news, zsock_t* socket) {
  switch (news) {
    case MqFileNews::kNone:
      break;
    case MqFileNews::kTaken:
      LOUDCALC_LOG(Log(), Warn, "\"Somebody else has taken %s: new clients do not come here\"",
                   zsock_endpoint(socket));
      break;
    case MqFileNews::kBoundAnew:
      LOUDCALC_LOG(Log(), Warn, "\"Bound anew to %s, whose file was gone\"",
                   zsock_endpoint(socket));
      break;
    case MqFileNews::kNotReplaced:
      LOUDCALC_LOG(Log(), Warn, "\"File of %s is gone and cannot be bound anew: %s\"",
                   zsock_endpoint(socket), std::strerror(errno));
      break;
  }
}

void ReportException(const char* title, const char* description) {
  LOUDCALC_PRINT(kUnitName, stderr, "\"%s %s\"", title, description);
}

}  // namespace

void FormatPublisherFile(MqFileName_t& file, const char* prefix, std::uint32_t meterSet,
                         std::uint32_t cluster) {
  if (meterSet == 0)
    std::snprintf(file, sizeof file, "%s", kSharedPublisherFile);
  else
    std::snprintf(file, sizeof file, "%sm%dc%d.ipc", prefix, static_cast<int>(meterSet),
                  static_cast<int>(cluster));
}

cPubHandler* gpLcPubs = nullptr;

cPubHandler* cPubHandler::mpPub = nullptr;
Logger* cPubHandler::mpLogger = nullptr;
LogLevel_e cPubHandler::mLogLevel = MsgLevel_Default;
std::uint32_t cPubHandler::mlMeterSetNo = 0;
std::uint32_t cPubHandler::mlClusterNo = 0;

cPubHandler* cPubHandler::GetInstance() {
  if (mpPub != nullptr)
    return mpPub;
  cPubHandler* created = MqGuard([] { return new cPubHandler; }, ReportException);
  if (created == nullptr)
    return nullptr;
  // CZMQ's own exit handler must be registered before ours, so that our sockets go first.
  zsys_init();
  mpLogger = Logger::GetInstance();
  mpPub = created;
  std::atexit(DeleteInstance);
  return mpPub;
}

void cPubHandler::DeleteInstance() {
  delete mpPub;
  mpPub = nullptr;
  gpLcPubs = nullptr;
}

cPubHandler::~cPubHandler() {
  Cleanup();
}

bool cPubHandler::Init(const char*) {
  return BindMq();
}

bool cPubHandler::BindMq() {
  const bool isDataBound = BindLuDataPubMq();
  const bool isStateBound = BindLuStatePubMq();
  return isDataBound && isStateBound;
}

bool cPubHandler::BindLuDataPubMq() {
  return BindOnce(mpLuDataPubSocket, kDataPublisherFilePrefix, mDataFile);
}

bool cPubHandler::BindLuStatePubMq() {
  return BindOnce(mpLuStatePubSocket, kStatePublisherFilePrefix, mStateFile);
}

bool cPubHandler::BindOnce(MqSock_t*& socket, const char* prefix, MqListenerFile& file) {
  if (socket != nullptr)
    return true;
  MqFileName_t name = {};
  FormatName(name, prefix);
  socket = BindMqOverIpc(name, nullptr);
  if (socket != nullptr)
    file.Watch(socket);
  return socket != nullptr;
}

void cPubHandler::DestroyLuDataPubMq() {
  mDataFile.Unwatch();
  DestroyMq(mpLuDataPubSocket);
}

void cPubHandler::DestroyLuStatePubMq() {
  mStateFile.Unwatch();
  DestroyMq(mpLuStatePubSocket);
}

void cPubHandler::Cleanup() {
  DestroyLuDataPubMq();
  DestroyLuStatePubMq();
}

void cPubHandler::TendFiles() {
  // Without a meter set the state socket has replaced the data socket's file on purpose.
  if (mlMeterSetNo != 0)
    LogNews(mDataFile.Tend(), mpLuDataPubSocket);
  LogNews(mStateFile.Tend(), mpLuStatePubSocket);
}

bool cPubHandler::SendJson(const char* topic, const char* json) {
  LOUDCALC_ASSERT(nullptr != mpLuStatePubSocket, "__null != mpLuStatePubSocket");
  return MqPubHandler::SendJson(mpLuStatePubSocket, topic, json);
}

bool cPubHandler::SendLoudnessData(const LoudnessData_t& data, std::int16_t isValidSrc,
                                   std::int16_t cmd, std::int16_t clusterId) {
  LOUDCALC_ASSERT(nullptr != mpLuDataPubSocket, "__null != mpLuDataPubSocket");
  const LuDataContent_t content{data, isValidSrc, cmd, clusterId};
  zframe_t* frames[kLuDataFrameCount];
  for (std::size_t i = 0; i < kLuDataFrameCount; ++i)
    frames[i] = MakeFrame(kLuDataFrames[i], content);
  for (std::size_t i = 0; i < kLuDataFrameCount; ++i)
    LOUDCALC_ASSERT(nullptr != frames[i], kLuDataFrames[i].missingText);
  for (std::size_t i = 0; i < kLuDataFrameCount; ++i) {
    const int flags = i + 1 < kLuDataFrameCount ? ZFRAME_MORE : 0;
    const auto send = [&] { return zframe_send(&frames[i], mpLuDataPubSocket, flags); };
    const int Result = i == 0 ? MqUninterrupted(send) : MqSendFurther(send);
    LOUDCALC_ASSERT(0 == Result, "0 == Result");
  }
  return true;
}
