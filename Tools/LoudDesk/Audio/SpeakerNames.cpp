// The table of names.

#include "SpeakerNames.h"

#include <strings.h>

#include "SpeakerTexts.h"

namespace louddesk {
namespace {

// The names of a speaker other than its text in presets.
struct SpeakerName {
  AudioSpeakerType_e speaker;
  const char* shortName;  // as broadcasters write it
  const char* otherName;  // as channel layouts of file formats write it
};

constexpr SpeakerName kSpeakerNames[] = {
    {AST_SPEAKER_LEFT, "L", "FL"},   {AST_SPEAKER_RIGHT, "R", "FR"},
    {AST_SPEAKER_CENTER, "C", "FC"}, {AST_SPEAKER_LFE, "LFE", "LFE"},
    {AST_SPEAKER_LS, "Ls", "SL"},    {AST_SPEAKER_RS, "Rs", "SR"},
    {AST_SPEAKER_BSL, "Lb", "BL"},   {AST_SPEAKER_BSR, "Rb", "BR"},
    {AST_SPEAKER_MS, "Cs", "BC"},
};

const char* TextOf(const SpeakerName& name) {
  return FindText(kSpeakerTexts, name.speaker, kNoSpeaker);
}

bool IsSame(const char* known, const std::string& name) {
  return strcasecmp(known, name.c_str()) == 0;
}

}  // namespace

std::optional<std::string> SpeakerNamed(const std::string& name) {
  if (IsSame(kNoSpeaker, name))
    return kNoSpeaker;
  for (const SpeakerName& known : kSpeakerNames)
    if (IsSame(TextOf(known), name) || IsSame(known.shortName, name) ||
        IsSame(known.otherName, name))
      return TextOf(known);
  return std::nullopt;
}

std::string ShortSpeakerName(const std::string& speaker) {
  for (const SpeakerName& known : kSpeakerNames)
    if (speaker == TextOf(known))
      return known.shortName;
  return speaker;
}

std::string SpeakerNamesInWords() {
  std::string words;
  for (const SpeakerName& known : kSpeakerNames)
    words += std::string(TextOf(known)) + " (" + known.shortName + "), ";
  return words.substr(0, words.size() - 2) + " and " + kNoSpeaker;
}

}  // namespace louddesk
