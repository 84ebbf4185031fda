// The sample format of a file and the properties of its streams. Stateless.

#pragma once

extern "C" {
#include <libavutil/channel_layout.h>
}

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace louddesk {

/// The loudspeaker of each channel, in the order of the channels, as stored in the container or
/// defined by the standard of its format. `AV_CHAN_NONE` for a channel that the file declares to
/// have no loudspeaker. Empty if the file does not specify loudspeakers.
using ChannelMap = std::vector<AVChannel>;

/// The map of a layout from FFmpeg's libraries. Channels of an ambisonic layout have no
/// loudspeaker.
ChannelMap ChannelMapOf(const AVChannelLayout& layout);

struct AudioFormat {
  std::size_t channels = 0;
  int sampleRate = 0;    // Hz
  ChannelMap positions;  // of the channels; empty: not specified
};

/// Whether samples of both formats can be in one programme.
bool AreSame(const AudioFormat& a, const AudioFormat& b);

/// The error for a file whose format changes at `seconds`.
std::string ChangeText(const AudioFormat& from, const AudioFormat& to, double seconds);

/// The properties of one audio stream, as stored in the file.
struct StreamInfo {
  std::string codec;              // "aac", "pcm_s24le"
  std::string format;             // "48000 Hz, stereo"
  std::optional<double> seconds;  // nothing if not stored
  std::string language;           // as stored; empty if not stored
  std::string title;              // as stored; empty if not stored
  bool isChosen = false;          // measured by default
};

}  // namespace louddesk
