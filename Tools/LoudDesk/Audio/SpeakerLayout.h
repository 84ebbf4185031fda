// The loudspeaker of each channel of a file, named as in the unit's presets. Stateless.

#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "AudioEnumerations.h"
#include "AudioFile.h"

namespace louddesk {

/// The speaker text of each channel, in the order of the channels; entry i belongs to meter i + 1.
/// `kNoSpeaker` for a channel outside the programme.
using SpeakerLayout = std::vector<std::string>;

/// The position of a speaker text; `AST_NONE` for a text unknown to presets.
AudioSpeakerType_e SpeakerTypeOf(const std::string& speaker);

/// The speaker texts for a comma-separated list such as "Left,Right,Center" or "l,r,c". Unknown
/// names remain unchanged. An empty list gives one empty text.
SpeakerLayout SplitSpeakers(const std::string& list);

/// Checks a list of speakers. Returns one line that lists the known names, or an empty text if
/// every name is known and at least one is a speaker.
std::string CheckSpeakers(const std::string& list);

/// The usual layout for a number of channels: 1 Center; 2 Left, Right; 6 Left, Right, Center,
/// LowFrequencyEffects, LeftSurround, RightSurround. Nothing for any other number.
std::optional<SpeakerLayout> UsualLayout(std::size_t channels);

/// The layout of a file: `chosen` if given, otherwise from the positions in the file, otherwise the
/// usual one for its number of channels. Speakers left and right of the centre front count as Left
/// and Right. Those at the back count as back surrounds only if there are side surrounds too.
/// Throws `AudioFileError` if the number of channels differs from `chosen`, if a position has no
/// speaker text (such as overhead), or if there are neither positions nor a usual layout.
SpeakerLayout LayoutFor(const AudioFile& file, const std::optional<SpeakerLayout>& chosen);

}  // namespace louddesk
