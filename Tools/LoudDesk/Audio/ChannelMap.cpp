// Channel maps from what FFmpeg's libraries say.

#include "ChannelMap.h"

#include <cstddef>

namespace louddesk {

ChannelMap ChannelMapOf(const AVChannelLayout& layout) {
  const auto channels = static_cast<std::size_t>(layout.nb_channels);
  if (layout.order == AV_CHANNEL_ORDER_UNSPEC)
    return {};
  if (layout.order == AV_CHANNEL_ORDER_AMBISONIC)
    return ChannelMap(channels, AV_CHAN_NONE);
  ChannelMap map;
  for (unsigned i = 0; i < channels; ++i)
    map.push_back(av_channel_layout_channel_from_index(&layout, i));
  return map;
}

}  // namespace louddesk
