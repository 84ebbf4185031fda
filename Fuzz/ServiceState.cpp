// The service inside a fuzz target. Its singletons live as long as the process; their state is
// reset for each input.

#include "ServiceState.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <tuple>

#include "FuzzTarget.h"
#include "JsonParser.h"
#include "LcReactor.h"
#include "LoudCalcBase.h"
#include "LoudnessRecords.h"
#include "PubHandler.h"
#include "ReportingState.h"

namespace fuzz {

namespace {

constexpr std::uint32_t kAllActions =
    kActionRunning | kActionPlay | kActionPause | kActionStop | kActionReset | kActionStart;

auto FieldsOf(const LoudConfigUser_t& settings) {
  return std::tie(settings.WinType, settings.AlarmToleranceLu, settings.IntegWinSecs,
                  settings.LraWinTime, settings.mode, settings.ClusterId, settings.OriginFromFP4Cmd,
                  settings.OriginFromFP4Conf, settings.OriginFromFP4Prog);
}

bool IsBetween(int value, int lowest, int highest) {
  return value >= lowest && value <= highest;
}

// LKFS and LU are published in tenths, and no 64-bit power reaches 40 LKFS. The true peak is
// published in hundredths, and 16 bits stay below 6.03 dBTP.
void CheckFigures(const LoudnessData_t& figures) {
  for (const std::int16_t loudness : {figures.MaxMomentary, figures.Momentary, figures.ShortTerm,
                                      figures.Integrated, figures.Program})
    FUZZ_PROPERTY(IsBetween(loudness, kNoLoudnessCode, 400), "a loudness is in its range");
  FUZZ_PROPERTY(IsBetween(figures.Lra, 0, 800), "the loudness range is in its range");
  for (const std::int16_t peak : {figures.TruePeak, figures.MaxTruePeak})
    FUZZ_PROPERTY(IsBetween(peak, kNoTruePeakCode, 603), "a true peak is in its range");
  FUZZ_PROPERTY(
      figures.MaxMomentary >= figures.Momentary && figures.MaxTruePeak >= figures.TruePeak,
      "a maximum is not below the reading");
}

void CheckSettings() {
  FUZZ_PROPERTY(IsBetween(LoudConfigUser.WinType, 0, NUM_LOUD_WIN_TYPES - 1),
                "the window is one of the three");
  FUZZ_PROPERTY(IsBetween(LoudConfigUser.mode, 0, NUM_LOUD_MODES - 1),
                "the mode is one of the two");
  FUZZ_PROPERTY(LoudConfigUser.IntegWinSecs >= 1 && LoudConfigUser.IntegWinSecs <= 7200,
                "the integrated window has 1 to 7200 seconds");
  FUZZ_PROPERTY(LoudConfigUser.LraWinTime >= 9 && LoudConfigUser.LraWinTime <= 10800,
                "the range window has 9 to 10800 seconds");
}

void CheckProgramme() {
  for (unsigned i = 0; i < kRawMeters; ++i) {
    const double weight = cJsonParser::mChannelWeights[i];
    FUZZ_PROPERTY(weight >= 0.0 && weight <= 1.5, "a weight lies between 0 and 1.5");
    FUZZ_PROPERTY(weight == 0.0 || (cJsonParser::mlMetersInProgram >> i & 1u) != 0,
                  "only a meter of the programme has a weight");
  }
}

void CheckReporting() {
  FUZZ_PROPERTY((gluCalcActions & ~kAllActions) == 0, "there are no other actions");
  FUZZ_PROPERTY(glEnableProbeData <= 1, "reporting is on or off");
  FUZZ_PROPERTY(glInvalidSrcCount <= 10, "at most ten messages without a source");
  FUZZ_PROPERTY(gsLuConf[sizeof gsLuConf - 1] == '\0' && gsLuConf[sizeof gsLuConf - 2] == '\0',
                "the configuration text is terminated within 1023 bytes");
  FUZZ_PROPERTY(IsBetween(cJsonParser::mLastCmdExecuted, LU_CMD_NONE, LU_CMD_PLAY),
                "the last command carried out is one that is carried out");
}

// Destroys the object and builds it again in place, because it cannot be assigned.
template <typename Object, typename... Arguments>
void MakeAnew(Object& object, Arguments... arguments) {
  object.~Object();
  new (&object) Object(arguments...);
}

// Makes publishers that are not bound. Sockets without a peer drop all messages.
void MakePublishers() {
  gpLcPubs = cPubHandler::GetInstance();
  gpLcPubs->mpLuDataPubSocket = zsock_new(ZMQ_PUB);
  gpLcPubs->mpLuStatePubSocket = zsock_new(ZMQ_PUB);
}

bool MakeSingletons() {
  setenv("ZSYS_SIGHANDLER", "false", 0);  // signals belong to libFuzzer
  Logger* logger = Logger::GetInstance();
  // Every line is formatted, and then discarded.
  logger->mLogLevel = MsgLevel_Debug;
  logger->mConsoleAttached = true;
  cLcReactor::GetInstance();
  cJsonParser::GetInstance();
  LoudCalcInit();
  MakePublishers();
  return true;
}

void MakeSingletonsOnce() {
  static const bool isMade = MakeSingletons();
  FUZZ_PROPERTY(isMade && gpJsonParser != nullptr && gpReactor != nullptr, "the service is made");
}

void ResetDispatcher() {
  static_cast<cLuSettingsParser&>(*gpJsonParser) = cLuSettingsParser();
  MakeAnew(cJsonParser::mProbeMatrixConf, static_cast<int>(kRawMeters));
  cJsonParser::ResetLu();
  cJsonParser::mLastCmdExecuted = LU_CMD_NONE;
  cJsonParser::mbSysStatus = false;
  cJsonParser::mbDolbyDecoderDetected = false;
}

void ResetReporting() {
  gluCalcActions = 0;
  glEnableProbeData = 0;
  gbIsInvalidSrc = false;
  glInvalidSrcCount = 0;
  std::memset(gsLuConf, 0, sizeof gsLuConf);
}

}  // namespace

ServiceState TakeState() {
  ServiceState state;
  state.reader = *gpJsonParser;
  state.settings = LoudConfigUser;
  state.configuration.assign(gsLuConf, sizeof gsLuConf);
  state.users[0] = cLcReactor::mlCmdUserId;
  state.users[1] = cLcReactor::mlConfUserId;
  state.actions = gluCalcActions;
  state.isReporting = glEnableProbeData;
  state.isSourceInvalid = gbIsInvalidSrc;
  state.meters = cJsonParser::mlMetersInProgram;
  state.weights.assign(cJsonParser::mChannelWeights, cJsonParser::mChannelWeights + kRawMeters);
  state.isInOrder = cJsonParser::mbSysStatus;
  state.isDecoderDetected = cJsonParser::mbDolbyDecoderDetected;
  std::memcpy(state.blocks, DspCircBuf.data(), sizeof state.blocks);
  state.blocksCounted =
      SampleCounts.DspSubSample * 1000u + SampleCounts.MomSample * 10u + DspCircBufIndex;
  return state;
}

void CheckOnlyChanged(const ServiceState& before, const Changes& changes) {
  const ServiceState now = TakeState();
  FUZZ_PROPERTY(changes.reader || IsSame(now.reader, before.reader), "no record changes");
  FUZZ_PROPERTY(changes.settings || (FieldsOf(now.settings) == FieldsOf(before.settings) &&
                                     now.configuration == before.configuration),
                "no setting changes");
  FUZZ_PROPERTY(
      changes.actions || (now.actions == before.actions && now.users[0] == before.users[0] &&
                          now.users[1] == before.users[1]),
      "no action is raised and no user taken");
  FUZZ_PROPERTY(changes.reporting || now.isReporting == before.isReporting, "reporting stays");
  FUZZ_PROPERTY(changes.source || now.isSourceInvalid == before.isSourceInvalid,
                "the source stays valid or invalid");
  FUZZ_PROPERTY(changes.programme || (now.meters == before.meters && now.weights == before.weights),
                "the programme stays");
  FUZZ_PROPERTY(changes.status || (now.isInOrder == before.isInOrder &&
                                   now.isDecoderDetected == before.isDecoderDetected),
                "the system status stays");
  FUZZ_PROPERTY(changes.engine || (std::memcmp(now.blocks, before.blocks, sizeof now.blocks) == 0 &&
                                   now.blocksCounted == before.blocksCounted),
                "the engine is not run");
}

void CheckState() {
  CheckRecord(static_cast<const cLuConf&>(*gpJsonParser));
  CheckRecord(static_cast<const cLuCmd&>(*gpJsonParser));
  CheckSettings();
  CheckProgramme();
  CheckReporting();
  CheckFigures(LuData);
  CheckFigures(LuPausedData);
}

void StartEngine() {
  MakeSingletonsOnce();
  LoudConfigUser = LoudConfigUser_t();
  LoudCalcResultsAll = LoudCalcResultsAll_s();
  LuPausedData = LoudnessData_t();
  LoudCalcReset();
  ResetDispatcher();
}

void StartService(std::uint32_t meterSet, std::uint32_t cluster) {
  StartEngine();
  ResetReporting();
  cJsonParser::SetMeterSetNo(meterSet);
  cJsonParser::SetClusterNo(cluster);
  cLcReactor::SetMeterSetNo(meterSet);
  cLcReactor::SetClusterNo(cluster);
  cLcReactor::SetCmdUserId(0);
  cLcReactor::SetConfUserId(0);
}

}  // namespace fuzz
