// The dispatcher, a singleton. Reactor thread only.

#include "JsonParser.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Assertion.h"
#include "CommandTable.h"
#include "DispatcherHook.h"
#include "Endpoints.h"
#include "HeartBeater.h"
#include "JsonAccess.h"
#include "LogMacros.h"
#include "LoudCalcBase.h"
#include "LoudConfigUser.h"
#include "ReportingState.h"

cJsonParser* gpJsonParser = nullptr;

cJsonParser* cJsonParser::mpJsonParser = nullptr;
LogLevel_e cJsonParser::mLogLevel = MsgLevel_Info;
Logger* cJsonParser::mpLogger = nullptr;
cLcReactor* cJsonParser::mpReactor = nullptr;
cProbeMatrixConf cJsonParser::mProbeMatrixConf(kRawMeters);
std::uint32_t cJsonParser::mlMeterSetNo = 0;
std::uint32_t cJsonParser::mlClusterNo = 0;
std::uint32_t cJsonParser::mlMetersInProgram = 0;
LuCmd_e cJsonParser::mLastCmdExecuted = LU_CMD_NONE;
double cJsonParser::mChannelWeights[kRawMeters] = {};

const float LoudnessSpeakerWeight[AST_SPEAKER_MAX] = {
    0.0f,                                                           // no speaker
    1.0f,  1.0f,  1.0f,                                             // left, right, centre
    0.0f,                                                           // low-frequency effects
    1.41f, 1.41f, 1.41f, 1.41f,                                     // surrounds and back surrounds
    1.0f,                                                           // mono surround
    0.0f,  0.0f,  0.0f,  0.0f,  0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f  // all others
};

namespace {

constexpr char kUnitName[] = "JsonParser";

LogSource Log() {
  return {kUnitName, cJsonParser::mpLogger, cJsonParser::mLogLevel};
}

// Registers the dispatcher with the engine in every program that links this file.
[[maybe_unused]] const bool kIsHooked = [] {
  gpFetchDispatcher = &cJsonParser::GetInstance;
  return true;
}();

bool Contains(const char* topic, const char* text) {
  return std::strstr(topic, text) != nullptr;
}

bool Equals(const char* topic, const char* text) {
  return std::strcmp(topic, text) == 0;
}

bool IsTopicOf(const char* topic, const char* prefix, std::uint32_t number) {
  NumberedTopic_t expected = {};
  FormatNumberedTopic(expected, prefix, number);
  return std::strncmp(topic, expected, sizeof expected) == 0;
}

// The payload for printing. A message may have none.
const char* Printable(const char* payload) {
  return payload != nullptr ? payload : "(null)";
}

bool ConsoleEnabled() {
  return cJsonParser::mLogLevel != MsgLevel_None && cJsonParser::mLogLevel != MsgLevel_Notset;
}

bool IsUsableInput(SysInputType_e type) {
  return type >= SIT_MADI && type <= SIT_TOSLINK;
}

float SpeakerWeight(AudioSpeakerType_e speaker) {
  return speaker >= AST_NONE && speaker < AST_SPEAKER_MAX ? LoudnessSpeakerWeight[speaker] : 0.0f;
}

FrameBytes Bytes(zframe_t* frame) {
  return {zframe_data(frame), zframe_size(frame)};
}

}  // namespace

// Prints a console line, unless the class's log level is None or Notset.
#define LOUDCALC_CONSOLE(format, ...)                           \
  do {                                                          \
    if (ConsoleEnabled())                                       \
      LOUDCALC_PRINT(kUnitName, stdout, format, ##__VA_ARGS__); \
  } while (false)

cJsonParser* cJsonParser::GetInstance() {
  if (mpJsonParser == nullptr) {
    mpLogger = Logger::GetInstance();
    cJsonParseSysStatus::mpLogger = mpLogger;
    cPresetParser::mpLogger = mpLogger;
    mpReactor = cLcReactor::mpReactor;
    mpJsonParser = new cJsonParser;
    gpJsonParser = mpJsonParser;
    std::atexit(DeleteInstance);
  }
  return mpJsonParser;
}

void cJsonParser::DeleteInstance() {
  delete mpJsonParser;
  mpJsonParser = nullptr;
  gpJsonParser = nullptr;
  gpFetchedDispatcher = nullptr;
}

int cJsonParser::ParseMessage(const char* topic, const char* payload) {
  if (topic == nullptr || mpJsonParser == nullptr)
    return -1;
  if (payload != nullptr && strnlen(payload, json::kMaxDocumentSize + 1) > json::kMaxDocumentSize) {
    LOUDCALC_LOG(Log(), Warn, "\"Topic %s dropped: more than %zu bytes\"", topic,
                 json::kMaxDocumentSize);
    return 0;
  }
  return FindHandler(topic)(topic, payload);
}

cJsonParser::TopicHandler_t cJsonParser::FindHandler(const char* topic) {
  static constexpr struct {
    bool (*fits)(const char* topic, const char* text);
    const char* text;
    TopicHandler_t handle;
  } kRoutes[] = {
      {Contains, kCommandTopicPrefix, HandleCommand},
      {Equals, kApplicationCommandTopic, HandleApplicationCommand},
      {Equals, kSystemStatusTopic, HandleSystemStatus},
      {Contains, kConfigurationTopicPrefix, HandleConfiguration},
      {Equals, kHwmStatusTopic, HandleHwmStatus},
      {Equals, kEnableReportingTopic, HandleEnableReporting},
      {Contains, kPresetTopicPrefix, HandlePreset},
  };
  for (const auto& route : kRoutes) {
    if (route.fits(topic, route.text))
      return route.handle;
  }
  return HandleUnknown;
}

int cJsonParser::HandleCommand(const char* topic, const char* payload) {
  if (!IsTopicOf(topic, kCommandTopicPrefix, mlMeterSetNo))
    return 0;
  LOUDCALC_CONSOLE("\"%s\\n\\%s\\n\"", topic, Printable(payload));
  unsigned cluster = 0;
  if (!mpJsonParser->ParseCommand(payload, cluster)) {
    LOUDCALC_CONSOLE("\"%s\\n\\ failed parsing %d : %d\\n\"", topic, static_cast<int>(mlClusterNo),
                     static_cast<int>(cluster));
    return 0;
  }
  LOUDCALC_CONSOLE("\"%s\\n\\ parsed\\n\"", topic);
  mpJsonParser->PrintLuCmd();
  if (cluster != 0 && cluster != mlClusterNo)
    return 0;
  mpJsonParser->TakeCommandUser();
  LOUDCALC_PRINT(kUnitName, stdout, "\"Mode %d, %d\"", mpJsonParser->mMode, 1);
  mpJsonParser->RaiseCommandActions(topic);
  SetOriginFromFP4Cmd(mpJsonParser->mbIsCmdOriginFromFp);
  return 0;
}

bool cJsonParser::ParseCommand(const char* payload, unsigned& cluster) {
  unsigned meterSet = 0;
  if (ParseLuCmdJsonStr(payload, meterSet, cluster, mlClusterNo))
    return true;
  // The reader accepts only our own cluster; cluster 0 addresses every cluster.
  return cluster == 0 && ParseLuCmdJsonStr(payload, meterSet, cluster, 0);
}

void cJsonParser::TakeCommandUser() {
  if (mpReactor == nullptr)
    return;
  const std::uint32_t user = cLuCmd::mlUserId;
  mpReactor->SetCmdUserId(user != 0 ? user : mpReactor->GetConfUserId());
}

void cJsonParser::RaiseCommandActions(const char* topic) {
  if (!ApplyCommand(mLuCmd, mLastCmdExecuted, mMode, gluCalcActions, gluCalcActions))
    LOUDCALC_CONSOLE("\"Topic %s :: Unknown commad %d\"", topic, mLuCmd);
}

int cJsonParser::HandleApplicationCommand(const char*, const char* payload) {
  const int command = cHeartBeater::ParseAppCommand(payload);
  if (command == -1) {
    LOUDCALC_LOG(Log(), Error, "\"Failed to parse application.\"");
    return 0;
  }
  if (command != kAppCommandSwUpgrade && command != kAppCommandReboot)
    return 0;
  LOUDCALC_LOG(Log(), Warn, "\"Got app command %d. Exiting ...\"", command);
  return -1;
}

int cJsonParser::HandleSystemStatus(const char*, const char* payload) {
  mpJsonParser->ParseSysStatus(payload, true, false);
  return 0;
}

int cJsonParser::HandleConfiguration(const char* topic, const char* payload) {
  // Meter set 1 accepts its own topic; meter set 2 accepts all others with that prefix.
  const bool isFirstSet = IsTopicOf(topic, kConfigurationTopicPrefix, 1);
  if (!(mlMeterSetNo == 1 && isFirstSet) && !(mlMeterSetNo == 2 && !isFirstSet))
    return 0;
  if (!mpJsonParser->ParseLuConfJsonStr(payload)) {
    LOUDCALC_CONSOLE("\"%s\\n\\ failed parsing\\n\"", topic);
    return 0;
  }
  LOUDCALC_PRINT(kUnitName, stdout, "\"Mode %d\"", mpJsonParser->mMode);
  mpJsonParser->ApplyConfiguration(payload);
  gluCalcActions = Apply(kRestart, gluCalcActions);
  return 0;
}

void cJsonParser::ApplyConfiguration(const char* payload) {
  const std::uint32_t user = cLuConf::mlUserId;
  if (mpReactor != nullptr) {
    mpReactor->SetConfUserId(user);
    mpReactor->SetCmdUserId(user);
  }
  SetLuWinType(mLoudnessWindow);
  SetLuMode(mMode);
  SetLraWinTime(mlLraWindow);
  SetIntegWinTime(mlLoudnessWindowTime);
  SetOriginFromFP4Conf(mbIsConfOriginFromFp);
  // The last byte is never written, so at most 1022 characters are kept.
  std::memset(gsLuConf, 0, sizeof gsLuConf);
  std::snprintf(gsLuConf, sizeof gsLuConf - 1,
                "{\"ClusterId\":%u,\"MeterSet\":%u,\"UID\":%u,\"Conf\":%s}", mlClusterNo,
                mlMeterSetNo, user, payload);
}

int cJsonParser::HandleHwmStatus(const char*, const char*) {
  return 0;
}

int cJsonParser::HandleEnableReporting(const char* topic, const char* payload) {
  if (payload == nullptr)
    return 0;
  glEnableProbeData = Contains(payload, "true") ? 1 : 0;
  LOUDCALC_PRINT(kUnitName, stdout, "\"%s: %s   enable %s\"", topic, payload,
                 glEnableProbeData != 0 ? "true" : "false");
  return 0;
}

int cJsonParser::HandlePreset(const char* topic, const char* payload) {
  if (!IsTopicOf(topic, kPresetTopicPrefix, mlMeterSetNo))
    return 0;
  gluCalcActions = Apply(kStop, gluCalcActions);
  if (mProbeMatrixConf.ParsePreset(payload, true, false, 0, nullptr) == 0)
    LOUDCALC_LOG(Log(), Error, "\"Preset parsing failed so preset is reset to initial state\"");
  if (mProbeMatrixConf.mbRepub)
    LOUDCALC_CONSOLE("\"Preset republished!\\n\"");
  else
    RebuildProgramme();
  gluCalcActions = Apply(kRestart, gluCalcActions);
  return 0;
}

void cJsonParser::RebuildProgramme() {
  ResetLu();
  for (int meter = 0; meter < static_cast<int>(kRawMeters); ++meter)
    TakeMeter(meter);
  gbIsInvalidSrc = mlMetersInProgram == 0;
  glInvalidSrcCount = 0;
}

void cJsonParser::TakeMeter(int meter) {
  if (mProbeMatrixConf.GetChannel(meter, 0) == 0 ||
      !IsUsableInput(mProbeMatrixConf.GetInputType(meter)))
    return;
  const int cluster = mProbeMatrixConf.GetClusterId(meter);
  const float weight = SpeakerWeight(mProbeMatrixConf.GetSpeakerType(meter));
  if (static_cast<std::uint32_t>(cluster) + 1 == mlClusterNo)
    SetChannelWeight(static_cast<std::uint32_t>(meter) + 1, weight);
  LOUDCALC_PRINT(kUnitName, stdout, "\"#%d cl %d/%d  %f -> 0x%x :: %f\"", meter,
                 static_cast<int>(mlClusterNo), cluster, static_cast<double>(weight),
                 mlMetersInProgram, mChannelWeights[meter]);
}

int cJsonParser::HandleUnknown(const char* topic, const char*) {
  LOUDCALC_LOG(Log(), Warn, "\"Topic %s not handled\"", topic);
  return 0;
}

int cJsonParser::ParseBinaryMessage(const char* topic, zmsg_t* message) {
  if (topic == nullptr || mpJsonParser == nullptr)
    return -1;
  if (!Contains(topic, kRawDataTopicPrefix))
    return HandleUnknown(topic, nullptr);
  LoudnessRawDataParser(message);
  return 0;
}

int cJsonParser::LoudnessRawDataParser(zmsg_t* message) {
  LOUDCALC_ASSERT(nullptr != message, "nullptr != pMessage");
  zframe_t* peaks = zmsg_first(message);
  zframe_t* powers = zmsg_next(message);
  zframe_t* spare = zmsg_next(message);
  if (mlMetersInProgram == 0)
    return 0;
  return ParseLoudnessRawData(peaks, powers, spare) ? 1 : 0;
}

bool cJsonParser::ParseLoudnessRawData(zframe_t* peaks, zframe_t* powers, zframe_t* spare) {
  if (peaks == nullptr || powers == nullptr || spare == nullptr) {
    LOUDCALC_LOG(Log(), Warn, "\"Raw loudness data dropped: a frame is missing\"");
    return false;
  }
  ProgrammeBlock block{};
  if (zframe_size(peaks) == 0 || zframe_size(powers) == 0 || zframe_size(spare) == 0 ||
      !SumProgramme(Bytes(peaks), Bytes(powers), mlMetersInProgram, mChannelWeights, block)) {
    LOUDCALC_LOG(Log(), Warn, "\"Raw loudness data dropped: frames of %zu, %zu and %zu bytes\"",
                 zframe_size(peaks), zframe_size(powers), zframe_size(spare));
    return true;
  }
  // A sum or a peak of 0 counts as 1. Only the low 16 bits of the peak are used.
  LoudCalcUpdate(block.power != 0 ? block.power : 1,
                 static_cast<std::uint16_t>(block.peak != 0 ? block.peak : 1));
  return false;
}

void cJsonParser::SetChannelWeight(std::uint32_t meterNo, float weight) {
  LOUDCALC_ASSERT(meterNo > 0 && meterNo <= kRawMeters, "((meterNo > 0) && (meterNo <= ((32))))");
  LOUDCALC_ASSERT(weight >= 0.0f && weight <= 1.5f, "((weight >= 0.0) && (weight <= 1.5))");
  mlMetersInProgram |= 1u << (meterNo - 1);
  mChannelWeights[meterNo - 1] = static_cast<double>(weight);
}

void cJsonParser::ResetChannelWeight() {
  for (double& weight : mChannelWeights)
    weight = 0.0;
}

void cJsonParser::ResetLu() {
  mlMetersInProgram = 0;
  ResetChannelWeight();
}
