// Which loudspeaker each channel of an audio file is for, by the file itself: libsndfile tells it
// of some formats, of others their own standards fix it. Stateless.

#pragma once

#include <sndfile.h>

#include <string>
#include <vector>

namespace louddesk {

/// Position of each channel, in the order of the channels, by the SF_CHANNEL_MAP_ values of
/// libsndfile; SF_CHANNEL_MAP_INVALID for a channel that the file declares to be for none.
using ChannelMap = std::vector<int>;

/// The map of a file that has been opened from `path`; empty when neither the file nor the standard
/// of its format says anything. WAV and its kin, and CAF: their channel mask or layout. FLAC: its
/// channel mask, or the order of RFC 9639. Ogg Vorbis: the order of Vorbis I, 4.3.9, which
/// is also that of Opus (RFC 7845, mapping families 0 and 1); other families of Opus leave the
/// channels without positions.
ChannelMap ChannelMapOf(const std::string& path, SNDFILE* file, const SF_INFO& info);

}  // namespace louddesk
