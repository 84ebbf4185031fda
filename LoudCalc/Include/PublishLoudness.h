// The engine's way to the publishers. Reactor thread only. Call PublishLoudnessInit before any
// other function: without a publisher the process stops.

#pragma once

#include <cstdint>

#include "LoudnessData.h"

/// Makes the publisher, unless it exists, and stores it in `gpLcPubs`. Binds nothing. The process
/// stops when the publisher cannot be made.
void PublishLoudnessInit();

/// Publishes the loudness-data message (see PubHandler.h) and returns 0. The data socket must be
/// bound.
int PublishLoudnessData(LoudnessData_t& Lu_in, std::int16_t is_valid_src_in, std::int16_t cmd_in,
                        std::int16_t cluster_id);

/// Publish a JSON text: a configuration, the acknowledgement of a command. The state socket must be
/// bound.
void PublishLoudnessConf(const char* cpTopic_in, const char* cpJStr_in);
void PublishLoudnessCommand(const char* cpTopic_in, const char* cpJStr_in);

/// Publishes nothing: there is no message for clusters.
void PublishLoudnessCluster();

/// Does nothing: the publisher is freed at process exit.
void PublishLoudnessCleanup();
