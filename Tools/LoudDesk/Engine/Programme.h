// Which channels of a file belong together, and which loudspeaker each of them feeds. Stateless.

#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "SpeakerLayout.h"

namespace louddesk {

/// A channel as part of a programme.
struct ProgrammeChannel {
  std::size_t channel;  // of the file, counted from 0
  std::string speaker;  // text of the unit's preset
};

/// At most 32 channels; one may occur several times.
using Programme = std::vector<ProgrammeChannel>;

/// All channels of a layout that feed a speaker, in its order.
Programme ProgrammeOf(const SpeakerLayout& speakers);

/// `programme` as two loudspeakers play it when it is one channel: that channel feeds Left and
/// Right, which reads 3.01 LU more. Programmes of more channels stay as they are.
Programme AsDualMono(const Programme& programme);

/// "1-6", "7,8": the channels of a programme, counted from 1, each once.
std::string ChannelsInWords(const Programme& programme);

}  // namespace louddesk
