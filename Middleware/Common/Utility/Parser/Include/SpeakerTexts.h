// The loudspeaker positions by name, as documents spell them.

#pragma once

#include "AudioEnumerations.h"
#include "TextTable.h"

/// Every name of a position. All other positions have none.
constexpr TextEntry<AudioSpeakerType_e> kSpeakerTexts[] = {
    {"Left", AST_SPEAKER_LEFT},
    {"Right", AST_SPEAKER_RIGHT},
    {"Center", AST_SPEAKER_CENTER},
    {"LowFrequencyEffects", AST_SPEAKER_LFE},
    {"LeftSurround", AST_SPEAKER_LS},
    {"RightSurround", AST_SPEAKER_RS},
    {"BackSurroundLeft", AST_SPEAKER_BSL},
    {"BackSurroundRight", AST_SPEAKER_BSR},
    {"MonoSurround", AST_SPEAKER_MS},
};
