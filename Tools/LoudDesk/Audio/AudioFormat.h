// What the samples of a file are. Stateless.

#pragma once

#include <cstddef>
#include <string>

#include "ChannelMap.h"

namespace louddesk {

struct AudioFormat {
  std::size_t channels = 0;
  int sampleRate = 0;    // Hz
  ChannelMap positions;  // of the channels; empty: the file does not say
};

/// Whether samples of one can follow those of the other in a programme.
bool AreSame(const AudioFormat& a, const AudioFormat& b);

/// Why a file is not one programme: its format changes at `seconds`.
std::string ChangeText(const AudioFormat& from, const AudioFormat& to, double seconds);

}  // namespace louddesk
