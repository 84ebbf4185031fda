// Loudspeaker positions of a file's channels.

#include "SpeakerLayout.h"

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
  const auto layout = chosen ? chosen : UsualLayout(file.Channels());
  if (!layout)
    throw AudioFileError(file.Path(), has + "; say with --speakers which speakers they feed");
  return *layout;
}

}  // namespace louddesk
