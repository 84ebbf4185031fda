// The names of loudspeakers that users may give, and their texts in the unit's presets. Constant
// data.

#pragma once

#include <optional>
#include <string>

namespace louddesk {

/// The text for a channel without a speaker, which belongs to no programme.
constexpr char kNoSpeaker[] = "None";

/// The preset's text for a name, which may be long or short and in any case ("Left", "l", "FL"), or
/// `kNoSpeaker` for "None"; nothing for unknown names.
std::optional<std::string> SpeakerNamed(const std::string& name);

/// The short name for a preset's text: "L" for "Left". REQUIRES: the text is known.
std::string ShortSpeakerName(const std::string& speaker);

/// All long and short names: "Left (L), Right (R), ... and None".
std::string SpeakerNamesInWords();

}  // namespace louddesk
