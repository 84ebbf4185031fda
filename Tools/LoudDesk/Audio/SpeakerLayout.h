// Which loudspeaker each channel of a file feeds, by the texts that the unit's preset knows the
// positions by. Stateless.

#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "AudioEnumerations.h"
#include "AudioFile.h"

namespace louddesk {

/// Speaker text of each channel, in the order of the channels; entry i belongs to meter i + 1.
/// `kNoSpeaker` for a channel that belongs to no programme.
using SpeakerLayout = std::vector<std::string>;

/// The position that a speaker text stands for, `AST_NONE` for a text that the preset does not
/// know.
AudioSpeakerType_e SpeakerTypeOf(const std::string& speaker);

/// The texts for the names at the commas of a list like "Left,Right,Center" or "l,r,c"; a name that
/// is not known stays as it is. An empty list is one empty text.
SpeakerLayout SplitSpeakers(const std::string& list);

/// What is wrong with a list of speakers, as one line that tells the names that there are; empty
/// when every name is known and one at least is that of a speaker.
std::string CheckSpeakers(const std::string& list);

/// The layout that a number of channels usually means: 1 Center; 2 Left, Right; 6 Left, Right,
/// Center, LowFrequencyEffects, LeftSurround, RightSurround. Nothing for any other number.
std::optional<SpeakerLayout> UsualLayout(std::size_t channels);

/// The layout of a file: `chosen` when there is one, else that of the file's own positions, else
/// the usual one for its channels. Speakers beside the centre front count as Left and Right; those
/// at the back are the back surrounds only where there are surrounds at the sides too. Throws
/// `AudioFileError` when the number of channels is not that of `chosen`, when a position has no
/// text, as overhead, or when there are no positions and no usual layout.
SpeakerLayout LayoutFor(const AudioFile& file, const std::optional<SpeakerLayout>& chosen);

}  // namespace louddesk
