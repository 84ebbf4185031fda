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

/// All channels of a layout, in its order.
Programme ProgrammeOf(const SpeakerLayout& speakers);

}  // namespace louddesk
