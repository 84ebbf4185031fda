// Which loudspeaker each channel of an audio file is for, by the file itself: its container tells
// it, or the standard of its format fixes it. Stateless.

#pragma once

#include <vector>

extern "C" {
#include <libavutil/channel_layout.h>
}

namespace louddesk {

/// Position of each channel, in the order of the channels; `AV_CHAN_NONE` for a channel that the
/// file declares to be for no loudspeaker. Empty when the file does not say.
using ChannelMap = std::vector<AVChannel>;

/// The map of a layout of FFmpeg's libraries. Channels of an ambisonic layout are for no
/// loudspeaker.
ChannelMap ChannelMapOf(const AVChannelLayout& layout);

}  // namespace louddesk
