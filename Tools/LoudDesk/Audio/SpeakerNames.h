// The names that a user may give a loudspeaker, and the texts that the unit's preset knows it by.
// Never changes.

#pragma once

#include <optional>
#include <string>

namespace louddesk {

/// Text of a channel that feeds no speaker and belongs to no programme.
constexpr char kNoSpeaker[] = "None";

/// The preset's text for a name in any case, long or short ("Left", "l", "FL"), `kNoSpeaker` among
/// them; nothing for a name that means no speaker.
std::optional<std::string> SpeakerNamed(const std::string& name);

/// "L" for "Left": the short name of a preset's text, which is known.
std::string ShortSpeakerName(const std::string& speaker);

/// Long and short names: "Left (L), Right (R), ... and None".
std::string SpeakerNamesInWords();

}  // namespace louddesk
