// Reporting: the action machine of the 100 ms tick and the republication of every fifth second.
// Stateless; reactor thread only.

#include "LoudReport.h"

#include <algorithm>
#include <cstdio>

#include "DispatcherHook.h"
#include "Endpoints.h"
#include "JsonCreateLuMessages.h"
#include "JsonParser.h"
#include "LcReactor.h"
#include "LoudCalcBase.h"
#include "MqListener.h"
#include "PublishLoudness.h"
#include "ReportingState.h"

namespace {

// When the source becomes invalid, ten messages without readings are sent. The first five are still
// marked valid.
constexpr std::uint64_t kInvalidSrcMessages = 10;
constexpr std::uint64_t kInvalidSrcMarkedValid = 5;

constexpr std::size_t kLongestMeterSet = sizeof "-2147483648" - 1;
constexpr std::size_t kLongestTopic =
    std::max({sizeof kAcknowledgementTopicPrefix, sizeof kAcknowledgementRepubTopicPrefix,
              sizeof kCurrentConfTopicPrefix, sizeof kCurrentConfRepubTopicPrefix}) -
    1 + kLongestMeterSet;
static_assert(kLongestTopic <= kMqLongestSubscription, "clients may subscribe to every topic");

std::uint32_t MeterSetNo() {
  return cLcReactor::mpReactor != nullptr ? cLcReactor::mlMeterSetNo : 1;
}

std::uint32_t ClusterNo() {
  return cLcReactor::mpReactor != nullptr ? cLcReactor::mlClusterNo : 1;
}

void Publish(LoudnessData_t& data, bool validSource) {
  PublishLoudnessData(data, validSource ? 1 : 0,
                      static_cast<std::int16_t>(cJsonParser::mLastCmdExecuted),
                      static_cast<std::int16_t>(ClusterNo()));
}

void PublishInvalidSource() {
  if (glInvalidSrcCount >= kInvalidSrcMessages)
    return;
  cJsonParser::mLastCmdExecuted = LU_CMD_NONE;
  LoudnessData_t noReading;
  Publish(noReading, glInvalidSrcCount < kInvalidSrcMarkedValid);
  ++glInvalidSrcCount;
}

void PublishResults() {
  const LuCmd_e last = cJsonParser::mLastCmdExecuted;
  Publish(last == LU_CMD_STOP || last == LU_CMD_PAUSE ? LuPausedData : LuData, true);
}

void PerformReset() {
  LoudCalcReset();
  Publish(LuData, !gbIsInvalidSrc);
  SendCommand(LU_CMD_RESET, false);
}

void Acknowledge(LuCmd_e cmd) {
  cJsonParser::mLastCmdExecuted = cmd;
  SendCommand(cmd, false);
}

void PerformPause() {
  LuPausedData = LuData;
  Acknowledge(LU_CMD_PAUSE);
}

void PerformPlay() {
  Acknowledge(LU_CMD_PLAY);
}

void PerformStop() {
  LuPausedData = LuData;
  Acknowledge(LU_CMD_STOP);
}

void PerformStart() {
  cJsonParser::mLastCmdExecuted = LU_CMD_START;
  if (gsLuConf[0] != '\0')
    SendCurrentConf(false);
  SendCommand(LU_CMD_START, false);
}

struct Action {
  std::uint32_t bit;
  void (*perform)();
};

// In the order in which pending actions are performed, one per tick.
constexpr Action kActions[] = {
    {kActionReset, PerformReset}, {kActionPause, PerformPause}, {kActionPlay, PerformPlay},
    {kActionStop, PerformStop},   {kActionStart, PerformStart},
};

void PerformFirstPendingAction() {
  for (const Action& action : kActions) {
    if ((gluCalcActions & action.bit) == 0)
      continue;
    const std::uint32_t before = gluCalcActions;
    action.perform();
    gluCalcActions &= ~action.bit;
    std::printf("LuCalc States chnages 0x%X --> 0x%X . \n", before, gluCalcActions);
    std::fflush(stdout);
    return;
  }
}

}  // namespace

void SendLoudnessData() {
  if (glEnableProbeData == 0)
    return;
  if (gbIsInvalidSrc)
    PublishInvalidSource();
  else if (gluCalcActions == kActionRunning)
    PublishResults();
  else
    PerformFirstPendingAction();
}

void UpdateLoudnessStateAndConf() {
  SendCommand(cJsonParser::mLastCmdExecuted, true);
  if (!gbIsInvalidSrc && gsLuConf[0] != '\0')
    SendCurrentConf(true);
}

void SendCommand(LuCmd_e cmd, bool repub) {
  const std::uint32_t meterSet = MeterSetNo();
  cLuSettingsCreater creator;
  creator.cLuConf::Reset();
  creator.cLuCmd::Reset();
  creator.mlClusterId = ClusterNo();
  creator.cLuCmd::mlUserId = cLcReactor::mlCmdUserId;
  creator.mlCmdTS = gpFetchedDispatcher != nullptr ? gpFetchedDispatcher->mlCmdTS : 0;
  const char* text = creator.PrepareLuCmdJsonStr(cmd, false, meterSet >= 1, meterSet);
  NumberedTopic_t topic = {};
  FormatNumberedTopic(topic, repub ? kAcknowledgementRepubTopicPrefix : kAcknowledgementTopicPrefix,
                      meterSet);
  PublishLoudnessCommand(topic, text);
}

void SendCurrentConf(bool repub) {
  NumberedTopic_t topic = {};
  FormatNumberedTopic(topic, repub ? kCurrentConfRepubTopicPrefix : kCurrentConfTopicPrefix,
                      MeterSetNo());
  PublishLoudnessConf(topic, gsLuConf);
}
