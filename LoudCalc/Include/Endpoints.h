// Endpoints, ports and topics that the service subscribes to, in one place. All are fixed; only the
// board addresses can be set (BoardAddresses.h).

#pragma once

#include <cstdint>
#include <cstdio>

#include "MqNames.h"
#include "MqReactor.h"

/// A topic made of a prefix and a number, zero-terminated.
using NumberedTopic_t = char[kMqTopicSize];

/// Writes `prefix` and `number` as a signed decimal into `topic`, cut at 127 characters.
inline void FormatNumberedTopic(NumberedTopic_t& topic, const char* prefix, std::uint32_t number) {
  std::snprintf(topic, sizeof topic, "%s%d", prefix, static_cast<int>(number));
}

// Process monitor, TCP, main board.
constexpr unsigned kHbMonPort = 10001;
constexpr char kSystemStatusTopic[] = "HbSysStatusEvent";
constexpr char kApplicationCommandTopic[] = "HbAppCmd";
constexpr const char* kHbMonTopics[] = {kSystemStatusTopic, kApplicationCommandTopic};

// Hardware manager, TCP, main board.
constexpr unsigned kHwmPort = 2000;
constexpr char kHwmStatusTopic[] = "HwmStatusOrRequest";
constexpr const char* kHwmTopics[] = {kHwmStatusTopic};

// Application servers, TCP, main board and optical board. A prefix is followed by the meter set.
constexpr unsigned kAppserverPort = 7000;
constexpr char kAppLoudnessCommandTopic[] = "AppLoudnessCmd";
constexpr char kPresetTopicPrefix[] = "AppProbeIOMatrixStream-";
constexpr char kConfigurationTopicPrefix[] = "AppProbeSetLuConf-";
constexpr char kCommandTopicPrefix[] = "AppIOQVLoudnessCmd-";
constexpr char kEnableReportingTopic[] = "QVProbeOptInputDataCmd";
constexpr const char* kAppserverTopics[] = {kAppLoudnessCommandTopic};
constexpr const char* kQVAppserverTopics[] = {kEnableReportingTopic};

/// The topics of a meter set, and the last meter set whose services subscribe to them.
constexpr const char* kMeterSetTopicPrefixes[] = {kPresetTopicPrefix, kConfigurationTopicPrefix,
                                                  kCommandTopicPrefix};
constexpr std::uint32_t kLastMeterSetWithTopics = 1;

/// Highest cluster number of a meter set; the lowest is 1. Each cluster has its own service.
constexpr int kMaxCluster = 8;

// Signal-processing stage, IPC: file and topic without a meter set, and their prefixes with one.
constexpr char kSharedRawDataFile[] = "hwmProg1LoudnessDataPub.ipc";
constexpr char kRawDataFilePrefix[] = "hwmProbeLuRawDataPub-";
constexpr char kSharedRawDataTopic[] = "LoudnessDspData";
constexpr char kRawDataTopicPrefix[] = "ProbeLuRawData-";

/// Write the file and the topic of the raw blocks of a meter set; 0 means no meter set.
inline void FormatRawDataFile(MqFileName_t& file, std::uint32_t meterSet) {
  if (meterSet == 0)
    std::snprintf(file, sizeof file, "%s", kSharedRawDataFile);
  else
    std::snprintf(file, sizeof file, "%s%d.ipc", kRawDataFilePrefix, static_cast<int>(meterSet));
}
inline void FormatRawDataTopic(NumberedTopic_t& topic, std::uint32_t meterSet) {
  if (meterSet == 0)
    std::snprintf(topic, sizeof topic, "%s", kSharedRawDataTopic);
  else
    FormatNumberedTopic(topic, kRawDataTopicPrefix, meterSet);
}

// Heartbeat of this service.
constexpr char kHeartbeatProcessName[] = "QvOptLuCal";
constexpr char kHeartbeatVersion[] = "Telvon8-v1.9.3";
