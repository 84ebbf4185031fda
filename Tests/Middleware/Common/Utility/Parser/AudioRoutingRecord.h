// Routing records for tests.

#pragma once

#include "JsonParseAudioRouting.h"

/// An empty record for that output channel.
inline cAudChannelOutputRouting Record(std::int32_t slot, SysIOConnectorType_e connector,
                                       SysOutputType_e output, std::int32_t channel) {
  cAudChannelOutputRouting record;
  record.miSlot = slot;
  record.mConnectorType = connector;
  record.mOutputType = output;
  record.miChannel = channel;
  return record;
}
