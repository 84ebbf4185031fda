// The wiring of the service. The globals are written here only, on the reactor thread.

#include "ReactorMain.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "Assertion.h"
#include "BoardAddresses.h"
#include "Endpoints.h"
#include "HeartBeater.h"
#include "JsonParser.h"
#include "LcReactor.h"
#include "LogMacros.h"
#include "LoudCalcBase.h"
#include "LoudReport.h"
#include "MqNames.h"
#include "PubHandler.h"
#include "PublishLoudness.h"
#include "ServiceManager.h"
#include "Utilities.h"

Logger* gpLogger = nullptr;
std::int32_t oneSecondTimer = -1;
std::int32_t oneLuDataTimer = -1;

namespace {

constexpr char kUnitName[] = "ReactorMain";

// Writes lines of every level.
LogSource Log() {
  return {kUnitName, gpLogger, MsgLevel_Debug};
}

constexpr std::size_t kSecondPeriodMs = 1000;
constexpr std::size_t kLuDataPeriodMs = 100;
constexpr unsigned kLuDataTicksPerUpkeep = 3;
constexpr unsigned kSecondsPerRepublication = 5;

constexpr bool kText = false;
constexpr bool kBinary = true;

void MakeIpcDirectory() {
  if (if_dir_exists(kIpcDirectory) == -1 && do_mkdir(kIpcDirectory, 0777) != 0)
    LOUDCALC_LOG(Log(), Error, "\"Failed to make directory %s: %s\"", kIpcDirectory,
                 std::strerror(errno));
}

void StartHeartbeat(std::uint32_t meterSet) {
  static bool isStarted = false;
  if (isStarted)
    return;
  isStarted = true;
  cHeartBeater* heartBeater = cHeartBeater::GetInstance();
  cHeartBeater::mLogLevel = MsgLevel_Debug;
  char name[64] = {};
  if (meterSet == 0)
    std::snprintf(name, sizeof name, "%s", kHeartbeatProcessName);
  else
    std::snprintf(name, sizeof name, "%s%d", kHeartbeatProcessName, static_cast<int>(meterSet));
  heartBeater->SetHeartBeatJson(name, kHeartbeatVersion, PS_PROCESSING);
  if (heartBeater->mbIsValidJson)
    heartBeater->ConnectMqOverTcp(MainBoardAddress());
}

void StartPublishers(std::int32_t slot, const char* address, std::uint32_t meterSet,
                     std::uint32_t cluster) {
  gpLcPubs = cPubHandler::GetInstance();
  LOUDCALC_ASSERT(gpLcPubs != nullptr, "gpLcPubs != nullptr");
  gpLcPubs->SetMeterSetNo(meterSet);
  gpLcPubs->SetClusterNo(cluster);
  if (!gpLcPubs->Init(address))
    LOUDCALC_LOG(Log(), Critical, "\"Failed to initialize HWM Pubs.\"");
  gpLcPubs->SetSlot(slot);
  cPubHandler::SetLogLevel(MsgLevel_Info);
  PublishLoudnessInit();
}

// A publisher that could not be bound is null.
void WatchClients(cLcReactor& reactor) {
  for (zsock_t* publisher : {gpLcPubs->mpLuDataPubSocket, gpLcPubs->mpLuStatePubSocket})
    if (publisher != nullptr)
      reactor.WatchClients(publisher);
}

void DestroyPublishers(cLcReactor& reactor) {
  LOUDCALC_ASSERT(gpLcPubs != nullptr, "gpLcPubs != nullptr");
  for (zsock_t* publisher : {gpLcPubs->mpLuDataPubSocket, gpLcPubs->mpLuStatePubSocket})
    reactor.UnwatchClients(publisher);
  gpLcPubs->DestroyLuDataPubMq();
  gpLcPubs->DestroyLuStatePubMq();
}

// Connects the text socket to another server of the unit and subscribes it to the server's topics.
template <std::size_t kCount>
void ConnectServer(cLcReactor& reactor, const char* address, unsigned port,
                   const char* const (&topics)[kCount]) {
  NumberedTopic_t rows[kCount] = {};
  for (std::size_t i = 0; i < kCount; ++i)
    std::snprintf(rows[i], sizeof rows[i], "%s", topics[i]);
  const bool ret =
      reactor.AddMqSubsOverTcp(address, port, rows, static_cast<std::int32_t>(kCount), kText);
  LOUDCALC_ASSERT(ret == true, "ret == true");
}

void addHbMonMq(cLcReactor& reactor) {
  LOUDCALC_PRINT(kUnitName, stdout, "\"addHbMonMq %s:%u\"", MainBoardAddress(), kHbMonPort);
  ConnectServer(reactor, MainBoardAddress(), kHbMonPort, kHbMonTopics);
  LOUDCALC_PRINT(kUnitName, stdout, "\"addHbMonMq %d\"", 1);
}

// The hardware manager always runs on the main board, so the slot of this process does not matter.
void addHwmAtSlot(cLcReactor& reactor, std::int32_t /*slot*/) {
  ConnectServer(reactor, MainBoardAddress(), kHwmPort, kHwmTopics);
}

void addHwmMbForLuDspDataMq(cLcReactor& reactor, std::uint32_t meterSet) {
  LOUDCALC_PRINT(kUnitName, stdout, "\"addHwmMbForLuDspDataMq %d\"", static_cast<int>(meterSet));
  MqFileName_t file = {};
  NumberedTopic_t topics[1] = {};
  FormatRawDataFile(file, meterSet);
  FormatRawDataTopic(topics[0], meterSet);
  if (meterSet != 0) {
    LOUDCALC_PRINT(kUnitName, stdout, "\"IPC :: %s\"", file);
    LOUDCALC_PRINT(kUnitName, stdout, "\"Topic :: %s\"", topics[0]);
  }
  const bool ret = reactor.AddMqSubsOverIpc(file, topics, 1, kBinary);
  LOUDCALC_ASSERT(ret == true, "ret == true");
}

void SubscribeMeterSetTopics(cLcReactor& reactor, std::uint32_t meterSet) {
  for (const char* prefix : kMeterSetTopicPrefixes) {
    NumberedTopic_t topic = {};
    FormatNumberedTopic(topic, prefix, meterSet);
    const int length = static_cast<int>(std::strlen(topic));
    if (!reactor.SubscribeTopic(topic, length, kText))
      LOUDCALC_LOG(Log(), Error, "\"Failed to subscribe Appserver MQ topic %s/%d\"", topic, length);
  }
}

void addAppserverMq(cLcReactor& reactor, std::uint32_t meterSet) {
  LOUDCALC_PRINT(kUnitName, stdout, "\"addAppserverMq mainboard app server\"");
  ConnectServer(reactor, MainBoardAddress(), kAppserverPort, kAppserverTopics);
  LOUDCALC_PRINT(kUnitName, stdout, "\"addAppserverMq %d %d/%d\"", 1, static_cast<int>(meterSet),
                 1);
  if (meterSet <= kLastMeterSetWithTopics)
    SubscribeMeterSetTopics(reactor, meterSet);
}

void addQVAppserverMq(cLcReactor& reactor) {
  LOUDCALC_PRINT(kUnitName, stdout, "\"addQVAppserverMq local optkria\"");
  ConnectServer(reactor, OpticalBoardAddress(), kAppserverPort, kQVAppserverTopics);
}

void Subscribe(cLcReactor& reactor, std::int32_t slot, std::uint32_t meterSet) {
  addHbMonMq(reactor);
  addHwmAtSlot(reactor, slot);
  addHwmMbForLuDspDataMq(reactor, meterSet);
  addAppserverMq(reactor, meterSet);
  addQVAppserverMq(reactor);
}

void AddTimers(cLcReactor& reactor) {
  oneSecondTimer = reactor.AddTimer(DoEverySecond, nullptr, kSecondPeriodMs, 0);
  LOUDCALC_ASSERT(oneSecondTimer != -1, "oneSecondTimer != -1");
  oneLuDataTimer = reactor.AddTimer(LuDataUpdateCallback, nullptr, kLuDataPeriodMs, 0);
  LOUDCALC_ASSERT(oneLuDataTimer != -1, "oneLuDataTimer != -1");
}

ServiceManager& Manager() {
  static ServiceManager manager;
  return manager;
}

// Notifies the service manager and restores connections that peers broke and publishers' files that
// were removed.
void Upkeep() {
  Manager().NotifyReady();
  Manager().NotifyAlive();
  if (cLcReactor::mpReactor != nullptr)
    cLcReactor::mpReactor->TendLinks();
  if (cHeartBeater::mpHeartBeater != nullptr)
    cHeartBeater::mpHeartBeater->TendLink();
  if (gpLcPubs != nullptr)
    gpLcPubs->TendFiles();
  if (gpLogger != nullptr)
    gpLogger->TendLink();
}

}  // namespace

bool initReactorLoop(std::int32_t iSlot_in, const char* cpIp_in, std::uint32_t meter_set,
                     std::uint32_t cluster_no) {
  cLcReactor* preactor = cLcReactor::GetInstance();
  LOUDCALC_ASSERT(preactor != nullptr, "preactor != nullptr");
  LOUDCALC_PRINT(kUnitName, stdout, "\"initReactorLoop %d\"", iSlot_in);
  gpLogger = Logger::GetInstance();
  LOUDCALC_ASSERT(gpLogger != nullptr, "gpLogger != nullptr");
  gpJsonParser = cJsonParser::GetInstance();
  LOUDCALC_ASSERT(gpJsonParser != nullptr, "gpJsonParser != nullptr");
  cJsonParser::SetMeterSetNo(meter_set);
  cJsonParser::SetClusterNo(cluster_no);
  MakeIpcDirectory();
  preactor->SetSlot(iSlot_in);
  cLcReactor::SetMeterSetNo(meter_set);
  cLcReactor::SetClusterNo(cluster_no);
  LoudCalcInit();
  StartHeartbeat(meter_set);
  StartPublishers(iSlot_in, cpIp_in, meter_set, cluster_no);
  WatchClients(*preactor);
  Subscribe(*preactor, iSlot_in, meter_set);
  AddTimers(*preactor);
  return true;
}

bool startReactorLoop() {
  cLcReactor* preactor = cLcReactor::mpReactor;
  LOUDCALC_ASSERT(preactor != nullptr, "preactor != nullptr");
  preactor->SetReactorReader(mqReader);
  preactor->SetReactorReaderForBinaryData(mqReaderForBinaryData);
  preactor->StartLoop(MQ_DATA_TYPE_STRING_AND_BINARY);
  return true;
}

void cleanReactorLoop() {
  Manager().NotifyStopping();
  cLcReactor* preactor = cLcReactor::mpReactor;
  LOUDCALC_ASSERT(preactor != nullptr, "preactor != nullptr");
  if (preactor->IsValidReactor()) {
    for (const std::int32_t timer : {oneSecondTimer, oneLuDataTimer}) {
      if (timer != -1)
        preactor->EndTimer(timer);
    }
  }
  DestroyPublishers(*preactor);
  preactor->CloseMq();
  LoudCalcCleanup();
}

int DoEverySecond(zloop_t*, int, void*) {
  static unsigned seconds = 0;
  if (cHeartBeater::mpHeartBeater != nullptr)
    cHeartBeater::mpHeartBeater->SendBeat();
  ++seconds;
  if (seconds % kSecondsPerRepublication == 0) {
    UpdateLoudnessStateAndConf();
    seconds = 0;
  }
  return 0;
}

int LuDataUpdateCallback(zloop_t*, int, void*) {
  static unsigned ticks = 0;
  SendLoudnessData();
  ticks = (ticks + 1) % kLuDataTicksPerUpkeep;
  if (ticks == 0)
    Upkeep();
  return 0;
}

int mqReader(const char* topic, const char* data) {
  return cJsonParser::ParseMessage(topic, data);
}

int mqReaderForBinaryData(const char* topic, zmsg_t* message) {
  return cJsonParser::ParseBinaryMessage(topic, message);
}
