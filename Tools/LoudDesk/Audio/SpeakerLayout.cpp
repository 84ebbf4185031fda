// Loudspeaker positions of a file's channels.

#include "SpeakerLayout.h"

#include <algorithm>

#include "JsonParseMetersInfo.h"

namespace louddesk {
namespace {

constexpr char kSeparator = ',';

const SpeakerLayout kMono = {"Center"};
const SpeakerLayout kStereo = {"Left", "Right"};
const SpeakerLayout kSurround51 = {"Left",         "Right",        "Center", "LowFrequencyEffects",
                                   "LeftSurround", "RightSurround"};

// For messages: every text that stands for a position.
constexpr char kSpeakerTexts[] =
    "Left, Right, Center, LowFrequencyEffects, LeftSurround, RightSurround, BackSurroundLeft, "
    "BackSurroundRight, MonoSurround";

// A position that a file may give a channel, and the text for it. ITU-R BS.1770 weighs speakers by
// where they stand, so that what matters is front, side or back.
struct PlacedSpeaker {
  int position;
  const char* text;
  const char* textBehindSides;  // where there are surrounds at the sides as well
};

constexpr PlacedSpeaker kPlacedSpeakers[] = {
    {SF_CHANNEL_MAP_MONO, "Center", "Center"},
    {SF_CHANNEL_MAP_LEFT, "Left", "Left"},
    {SF_CHANNEL_MAP_RIGHT, "Right", "Right"},
    {SF_CHANNEL_MAP_CENTER, "Center", "Center"},
    {SF_CHANNEL_MAP_FRONT_LEFT, "Left", "Left"},
    {SF_CHANNEL_MAP_FRONT_RIGHT, "Right", "Right"},
    {SF_CHANNEL_MAP_FRONT_CENTER, "Center", "Center"},
    {SF_CHANNEL_MAP_FRONT_LEFT_OF_CENTER, "Left", "Left"},
    {SF_CHANNEL_MAP_FRONT_RIGHT_OF_CENTER, "Right", "Right"},
    {SF_CHANNEL_MAP_LFE, "LowFrequencyEffects", "LowFrequencyEffects"},
    {SF_CHANNEL_MAP_SIDE_LEFT, "LeftSurround", "LeftSurround"},
    {SF_CHANNEL_MAP_SIDE_RIGHT, "RightSurround", "RightSurround"},
    {SF_CHANNEL_MAP_REAR_LEFT, "LeftSurround", "BackSurroundLeft"},
    {SF_CHANNEL_MAP_REAR_RIGHT, "RightSurround", "BackSurroundRight"},
    {SF_CHANNEL_MAP_REAR_CENTER, "MonoSurround", "MonoSurround"},
};

bool Contains(const ChannelMap& map, int position) {
  return std::find(map.begin(), map.end(), position) != map.end();
}

const PlacedSpeaker* FindPlaced(int position) {
  for (const PlacedSpeaker& speaker : kPlacedSpeakers)
    if (speaker.position == position)
      return &speaker;
  return nullptr;
}

SpeakerLayout PlacedLayout(const AudioFile& file) {
  const ChannelMap& map = file.Positions();
  if (Contains(map, SF_CHANNEL_MAP_INVALID))
    throw AudioFileError(file.Path(),
                         "does not say which speakers its channels feed; say it with --speakers");
  const bool hasSides =
      Contains(map, SF_CHANNEL_MAP_SIDE_LEFT) || Contains(map, SF_CHANNEL_MAP_SIDE_RIGHT);
  SpeakerLayout layout;
  for (const int position : map) {
    const PlacedSpeaker* speaker = FindPlaced(position);
    if (speaker == nullptr)
      throw AudioFileError(file.Path(), "feeds a speaker that has no name here with channel " +
                                            std::to_string(layout.size() + 1) +
                                            "; name all with --speakers");
    layout.emplace_back(hasSides ? speaker->textBehindSides : speaker->text);
  }
  return layout;
}

std::string CountOfChannels(std::size_t channels) {
  return std::to_string(channels) + (channels == 1 ? " channel" : " channels");
}

}  // namespace

AudioSpeakerType_e SpeakerTypeOf(const std::string& speaker) {
  return cMeter::ConvertToSpeakerTypeFromString(speaker.c_str());
}

SpeakerLayout SplitSpeakers(const std::string& list) {
  SpeakerLayout speakers;
  std::size_t begin = 0;
  for (std::size_t end = 0; end != std::string::npos; begin = end + 1) {
    end = list.find(kSeparator, begin);
    speakers.push_back(list.substr(begin, end == std::string::npos ? end : end - begin));
  }
  return speakers;
}

std::string CheckSpeakers(const std::string& list) {
  for (const std::string& speaker : SplitSpeakers(list))
    if (SpeakerTypeOf(speaker) == AST_NONE)
      return "\"" + speaker + "\" is no speaker; there are " + kSpeakerTexts;
  return "";
}

std::optional<SpeakerLayout> UsualLayout(std::size_t channels) {
  for (const SpeakerLayout* layout : {&kMono, &kStereo, &kSurround51})
    if (layout->size() == channels)
      return *layout;
  return std::nullopt;
}

SpeakerLayout LayoutFor(const AudioFile& file, const std::optional<SpeakerLayout>& chosen) {
  const std::string has = "has " + CountOfChannels(file.Channels());
  if (chosen && chosen->size() != file.Channels())
    throw AudioFileError(file.Path(),
                         has + ", but --speakers names " + std::to_string(chosen->size()));
  if (chosen)
    return *chosen;
  if (!file.Positions().empty())
    return PlacedLayout(file);
  const auto layout = UsualLayout(file.Channels());
  if (!layout)
    throw AudioFileError(file.Path(), has + "; say with --speakers which speakers they feed");
  return *layout;
}

}  // namespace louddesk
