// Describes formats in words.

#include "AudioFormat.h"

#include <fmt/format.h>

#include "ClockText.h"

namespace louddesk {
namespace {

std::string FormatText(const AudioFormat& format) {
  return fmt::format("{} channel{} at {} Hz", format.channels, format.channels == 1 ? "" : "s",
                     format.sampleRate);
}

}  // namespace

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

bool AreSame(const AudioFormat& a, const AudioFormat& b) {
  return a.channels == b.channels && a.sampleRate == b.sampleRate && a.positions == b.positions;
}

std::string ChangeText(const AudioFormat& from, const AudioFormat& to, double seconds) {
  const std::string before = FormatText(from);
  const std::string after = FormatText(to);
  const std::string change =
      before == after ? "to other speakers" : fmt::format("from {} to {}", before, after);
  return fmt::format("changes {} at {}; measure its parts separately", change,
                     ShortClockText(seconds));
}

}  // namespace louddesk
