// Which channels of a file form a programme, and which loudspeaker each one feeds. Stateless.

#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "SpeakerLayout.h"

namespace louddesk {

/// A channel of a programme.
struct ProgrammeChannel {
  std::size_t channel;  // index in the file, counted from 0
  std::string speaker;  // as named in the unit's presets
};

/// At most 32 channels. A channel may occur several times.
using Programme = std::vector<ProgrammeChannel>;

/// All channels of a layout that feed a speaker, in the order of the layout.
Programme ProgrammeOf(const SpeakerLayout& speakers);

/// Returns a programme of one channel as two loudspeakers play it: the channel feeds Left and
/// Right, which raises the loudness by 3.01 LU. Returns other programmes unchanged.
Programme AsDualMono(const Programme& programme);

/// The channels of a programme, counted from 1, each listed once: "1-6", "7,8".
std::string ChannelsInWords(const Programme& programme);

}  // namespace louddesk
