// Properties of the routing map of every document.

#pragma once

#include "FuzzTarget.h"
#include "JsonParseAudioRouting.h"

namespace fuzz {

/// Asserts that the key of each entry matches its members, and that its enumerations have values
/// that a document can set.
inline void CheckRouting(const AudChannelOutputRoutingMap_t& map) {
  FUZZ_PROPERTY(map.size() <= kMaxRoutedChannels, "no more channels are kept than a unit has");
  for (const auto& [key, entry] : map) {
    FUZZ_PROPERTY(entry != nullptr, "no key is without an entry");
    FUZZ_PROPERTY(!(key < *entry) && !(*entry < key), "an entry stands under its own key");
    FUZZ_PROPERTY(key.mConnectorType >= SIOCT_NONE && key.mConnectorType < SIOCT_MAX,
                  "the connector is one that has a text");
    FUZZ_PROPERTY(key.mOutputType >= SOT_NONE && key.mOutputType < SOT_HP,
                  "the output type is one that has a text");
    FUZZ_PROPERTY(entry->mSpeakerType >= AST_NONE && entry->mSpeakerType <= AST_SPEAKER_MS,
                  "the speaker is one that has a text");
  }
}

}  // namespace fuzz
