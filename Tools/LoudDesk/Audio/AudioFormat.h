// What the samples of a file are, and what it says of its streams. Stateless.

#pragma once

extern "C" {
#include <libavutil/channel_layout.h>
}

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace louddesk {

/// Which loudspeaker each channel is for, in the order of the channels, by the file itself: its
/// container tells it, or the standard of its format fixes it. `AV_CHAN_NONE` for a channel that
/// the file declares to be for no loudspeaker. Empty when the file does not say.
using ChannelMap = std::vector<AVChannel>;

/// The map of a layout of FFmpeg's libraries. Channels of an ambisonic layout are for no
/// loudspeaker.
ChannelMap ChannelMapOf(const AVChannelLayout& layout);

struct AudioFormat {
  std::size_t channels = 0;
  int sampleRate = 0;    // Hz
  ChannelMap positions;  // of the channels; empty: the file does not say
};

/// Whether samples of one can follow those of the other in a programme.
bool AreSame(const AudioFormat& a, const AudioFormat& b);

/// Why a file is not one programme: its format changes at `seconds`.
std::string ChangeText(const AudioFormat& from, const AudioFormat& to, double seconds);

/// What a file says of one of its audio streams.
struct StreamInfo {
  std::string codec;              // "aac", "pcm_s24le"
  std::string format;             // "48000 Hz, stereo"
  std::optional<double> seconds;  // where the file says it
  std::string language;           // as the file says it; empty: it does not
  std::string title;              // likewise
  bool isChosen = false;          // measured unless another one is asked for
};

}  // namespace louddesk
