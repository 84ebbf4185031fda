// Assigns loudspeakers to a file's channels.

#include "SpeakerLayout.h"

#include <algorithm>

#include "Meters.h"
#include "SpeakerNames.h"
#include "SpeakerTexts.h"

namespace louddesk {
namespace {

constexpr char kSeparator = ',';

// The usual layouts by number of channels.
constexpr AudioSpeakerType_e kMono[] = {AST_SPEAKER_CENTER};
constexpr AudioSpeakerType_e kStereo[] = {AST_SPEAKER_LEFT, AST_SPEAKER_RIGHT};
constexpr AudioSpeakerType_e kSurround51[] = {AST_SPEAKER_LEFT,   AST_SPEAKER_RIGHT,
                                              AST_SPEAKER_CENTER, AST_SPEAKER_LFE,
                                              AST_SPEAKER_LS,     AST_SPEAKER_RS};

// The speaker for a channel position in a file. ITU-R BS.1770 weights speakers by their position,
// so only front, side or back matters.
struct PlacedSpeaker {
  AVChannel position;
  AudioSpeakerType_e speaker;
  AudioSpeakerType_e behindSides;  // if the layout also has side surrounds
};

constexpr PlacedSpeaker kPlacedSpeakers[] = {
    {AV_CHAN_FRONT_LEFT, AST_SPEAKER_LEFT, AST_SPEAKER_LEFT},
    {AV_CHAN_FRONT_RIGHT, AST_SPEAKER_RIGHT, AST_SPEAKER_RIGHT},
    {AV_CHAN_FRONT_CENTER, AST_SPEAKER_CENTER, AST_SPEAKER_CENTER},
    {AV_CHAN_STEREO_LEFT, AST_SPEAKER_LEFT, AST_SPEAKER_LEFT},
    {AV_CHAN_STEREO_RIGHT, AST_SPEAKER_RIGHT, AST_SPEAKER_RIGHT},
    {AV_CHAN_FRONT_LEFT_OF_CENTER, AST_SPEAKER_LEFT, AST_SPEAKER_LEFT},
    {AV_CHAN_FRONT_RIGHT_OF_CENTER, AST_SPEAKER_RIGHT, AST_SPEAKER_RIGHT},
    {AV_CHAN_LOW_FREQUENCY, AST_SPEAKER_LFE, AST_SPEAKER_LFE},
    {AV_CHAN_LOW_FREQUENCY_2, AST_SPEAKER_LFE, AST_SPEAKER_LFE},
    {AV_CHAN_SIDE_LEFT, AST_SPEAKER_LS, AST_SPEAKER_LS},
    {AV_CHAN_SIDE_RIGHT, AST_SPEAKER_RS, AST_SPEAKER_RS},
    {AV_CHAN_BACK_LEFT, AST_SPEAKER_LS, AST_SPEAKER_BSL},
    {AV_CHAN_BACK_RIGHT, AST_SPEAKER_RS, AST_SPEAKER_BSR},
    {AV_CHAN_BACK_CENTER, AST_SPEAKER_MS, AST_SPEAKER_MS},
};

const char* TextOf(AudioSpeakerType_e speaker) {
  return FindText(kSpeakerTexts, speaker, "");
}

template <std::size_t kSpeakers>
SpeakerLayout LayoutOf(const AudioSpeakerType_e (&speakers)[kSpeakers]) {
  SpeakerLayout layout;
  for (const AudioSpeakerType_e speaker : speakers)
    layout.emplace_back(TextOf(speaker));
  return layout;
}

bool Contains(const ChannelMap& map, AVChannel position) {
  return std::find(map.begin(), map.end(), position) != map.end();
}

const PlacedSpeaker* FindPlaced(AVChannel position) {
  for (const PlacedSpeaker& speaker : kPlacedSpeakers)
    if (speaker.position == position)
      return &speaker;
  return nullptr;
}

SpeakerLayout PlacedLayout(const AudioFile& file) {
  const ChannelMap& map = file.Positions();
  if (Contains(map, AV_CHAN_NONE))
    throw AudioFileError(
        file.Path(), "does not say which speakers its channels feed; name them with --speakers");
  const bool hasSides = Contains(map, AV_CHAN_SIDE_LEFT) || Contains(map, AV_CHAN_SIDE_RIGHT);
  SpeakerLayout layout;
  for (const AVChannel position : map) {
    const PlacedSpeaker* speaker = FindPlaced(position);
    if (speaker == nullptr)
      throw AudioFileError(file.Path(), "feeds an unknown speaker with channel " +
                                            std::to_string(layout.size() + 1) +
                                            "; name all speakers with --speakers");
    layout.emplace_back(TextOf(hasSides ? speaker->behindSides : speaker->speaker));
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
    const std::string name = list.substr(begin, end == std::string::npos ? end : end - begin);
    speakers.push_back(SpeakerNamed(name).value_or(name));
  }
  return speakers;
}

std::string CheckSpeakers(const std::string& list) {
  const SpeakerLayout speakers = SplitSpeakers(list);
  for (const std::string& speaker : speakers)
    if (!SpeakerNamed(speaker))
      return "\"" + speaker + "\" is not a speaker; the speakers are " + SpeakerNamesInWords();
  const bool isAnyFed =
      std::any_of(speakers.begin(), speakers.end(),
                  [](const std::string& speaker) { return speaker != kNoSpeaker; });
  return isAnyFed ? "" : "no channel feeds a speaker";
}

std::optional<SpeakerLayout> UsualLayout(std::size_t channels) {
  for (const SpeakerLayout& layout : {LayoutOf(kMono), LayoutOf(kStereo), LayoutOf(kSurround51)})
    if (layout.size() == channels)
      return layout;
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
    throw AudioFileError(file.Path(), has + "; name their speakers with --speakers");
  return *layout;
}

}  // namespace louddesk
